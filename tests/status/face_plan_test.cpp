#include <cstring>
#include <string>
#include <vector>

#include "oqDevSDK_door_lock.h"
#include "oqdev_time.h"
#include "status/items.h"
#include "support/fixture.h"

namespace {

using Plan = oqDevSDK_DoorLock_AutoFaceUnlockPlan_S;
constexpr int kPlanCode = OQDEVSDK_DOORLOCK_FROM_DEV_AUTO_FACE_PLAN;

constexpr uint32_t kSlots = OQDEVSDK_DOORLOCK_FACE_PLAN_SLOTS;

// Every slot taken when `full` (nothing left to fill from slot 0 on a set);
// else empty but for 08:05-09:00 in slot `day6Slot` of day 6, if given.
Plan MakePlan(int32_t enable, bool full, int day6Slot = -1) {
    Plan plan;
    std::memset(&plan, 0, sizeof plan);
    plan.uiHeadWord = 7;
    plan.uiChannel = 1;
    plan.iEnable = enable;
    for (uint32_t n = 0; full && n < 7 * kSlots; ++n) {
        plan.astDay[n / kSlots][n % kSlots] = {n * 45, n * 45 + 30};
    }
    if (day6Slot >= 0) {
        plan.astDay[6][day6Slot] = {oqdev_ParseTimeHHMM("08:05"), oqdev_ParseTimeHHMM("09:00")};
    }
    return plan;
}

// Bodies of the plan reports sent since the last clear.
std::vector<std::string> PlanReports() {
    std::vector<std::string> bodies;
    for (const oqsim::Sent &sent : oqsim::sent()) {
        if (sent.rec.iCmdId == norla::kCmdReportAutoFacePlan) {
            bodies.push_back(sent.body);
        }
    }
    return bodies;
}

class FacePlanTest : public dltest::ModuleTest {
  protected:
    void SetUp() override {
        ModuleTest::SetUp();
        InitModule();
        norla::DoorAutoFaceUnlockPlan_Reset();
    }
};

// Fetch errors of class 4 are passed up, the others are no change; either way
// the cache stays. Every byte counts.
TEST_F(FacePlanTest, ChangeDetection) {
    Plan plan = MakePlan(1, false, 3);
    Device().SetRuntime(kPlanCode, plan);
    EXPECT_EQ(norla::DoorAutoFaceUnlockPlan_IsChanged(), 1);
    EXPECT_TRUE(HasLog(3, "auto face unlock plan IsChanged"));
    EXPECT_EQ(norla::DoorAutoFaceUnlockPlan_IsChanged(), 0);
    plan.uiHeadWord = 8;
    Device().SetRuntime(kPlanCode, plan);
    const int errors[][2] = {{0x18004, -1}, {0x4, -1}, {0x18005, 0}, {-1, 0}, {0, 1}};
    for (const auto &error : errors) {
        Device().get_result[kPlanCode] = error[0];
        EXPECT_EQ(norla::DoorAutoFaceUnlockPlan_IsChanged(), error[1]) << error[0];
    }
    // A reset cache is reported as it stands, by force.
    norla::DoorAutoFaceUnlockPlan_Reset();
    ASSERT_EQ(norla::DoorAutoFaceUnlockPlan_Report(42), 0);
    EXPECT_TRUE(HasLog(3, "start to report ayuo face unlock plan"));
    EXPECT_NE(LastSent().body.find("<Params><Enable>-1</Enable><Force>1</Force>"),
              std::string::npos);
}

// Polled by the status-report module, the plan is reported on change and
// after every set, even when the lock's plan stayed the same. What the
// platform sends back as reported sets the same plan, each day filled from
// slot 0.
TEST_F(FacePlanTest, ReportedPlanSetsTheSamePlan) {
    const std::string head = R"(<Actor Channel="1" PlanType="19" EventType="0">D</Actor>)"
                             R"(<Date Weekday="0"/><Date Weekday="1"/><Date Weekday="2"/>)"
                             R"(<Date Weekday="3"/><Date Weekday="4"/><Date Weekday="5"/>)";
    const struct {
        Plan plan;
        Plan set;
        std::string params;  // empty: not checked
    } cases[] = {
        {MakePlan(0, false), MakePlan(0, false),
         "<Enable>0</Enable><Force>1</Force>" + head + R"(<Date Weekday="6"/>)"},
        {MakePlan(1, false, 3), MakePlan(1, false, 0),
         "<Enable>1</Enable><Force>0</Force>" + head +
             R"(<Date Weekday="6"><Plan B="08:05" E="09:00"/></Date>)"},
        {MakePlan(1, true), MakePlan(1, true), ""},
    };
    for (const auto &c : cases) {
        Device().SetRuntime(kPlanCode, c.plan);
        oqsim::clear_sent();
        oqsim::poll();
        oqsim::poll();
        const std::vector<std::string> reports = PlanReports();
        ASSERT_EQ(reports.size(), 1u);
        const std::string open = "<Request><Authorization/><Type>DevicePlan</Type><Params>";
        const size_t at = reports[0].find(open);
        const size_t end = reports[0].find("</Params></Request>");
        ASSERT_TRUE(at != std::string::npos && end != std::string::npos) << reports[0];
        const std::string params = reports[0].substr(at + open.size(), end - at - open.size());
        EXPECT_TRUE(c.params.empty() || params == c.params) << params;

        Plan lock = MakePlan(1 - c.plan.iEnable, true);
        lock.astDay[2][2] = {1, 2};
        Device().SetRuntime(kPlanCode, lock);
        oqsim::clear_sent();
        ASSERT_EQ(ResultOf(Request(18731, 9, "<Request>" + params + "</Request>")), 0);
        Plan set = Device().LastReceived<Plan>(OQDEVSDK_DOORLOCK_TO_DEV_AUTO_FACE_PLAN);
        EXPECT_EQ(set.iEnable, c.set.iEnable);
        EXPECT_EQ(std::memcmp(set.astDay, c.set.astDay, sizeof set.astDay), 0);
        Device().SetRuntime(kPlanCode, c.plan);
        oqsim::poll();
        oqsim::poll();
        EXPECT_EQ(PlanReports().size(), 1u);
    }
}

TEST_F(FacePlanTest, ReportThatRunsOutOfMemoryIsNotSent) {
    dltest::ArmAllocationFault(1, false);
    EXPECT_EQ(norla::DoorAutoFaceUnlockPlan_Report(0), -1);
    dltest::DisarmAllocationFault();
    EXPECT_TRUE(oqsim::sent().empty());
    EXPECT_TRUE(HasLog(1, "Failed to build auto face unlock plan report."));
}

}  // namespace
