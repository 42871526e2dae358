#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "CMarkupSTL.h"
#include "handlers/handlers.h"
#include "handlers/plans_harness.h"
#include "oqDevSDK_door_lock.h"
#include "oqdev_time.h"
#include "status/items.h"
#include "support/fixture.h"

namespace {

using Plan = oqDevSDK_DoorLock_AutoFaceUnlockPlan_S;

constexpr const char *kChangedLog = "auto face unlock plan IsChanged";

Plan EmptyPlan(int32_t enable) {
    Plan plan;
    std::memset(&plan, 0, sizeof plan);
    plan.uiHeadWord = 7;
    plan.uiChannel = 1;
    plan.iEnable = enable;
    return plan;
}

Plan BusyPlan() {
    Plan plan = EmptyPlan(1);
    plan.astDay[0][0] = {oqdev_ParseTimeHHMM("06:30"), oqdev_ParseTimeHHMM("07:15")};
    plan.astDay[3][1] = {oqdev_ParseTimeHHMM("12:00"), oqdev_ParseTimeHHMM("13:00")};
    plan.astDay[6][3] = {oqdev_ParseTimeHHMM("22:00"), oqdev_ParseTimeHHMM("24:00")};
    return plan;
}

class FacePlanTest : public dltest::ModuleTest {
  protected:
    void SetUp() override {
        ModuleTest::SetUp();
        InitModule();
        norla::DoorAutoFaceUnlockPlan_Reset();
    }

    // Polls the lock's `plan` into the cache and reports it; returns the
    // report's text.
    std::string Report(const Plan &plan) {
        Device().SetRuntime(OQDEVSDK_DOORLOCK_FROM_DEV_AUTO_FACE_PLAN, plan);
        norla::DoorAutoFaceUnlockPlan_IsChanged();
        EXPECT_EQ(norla::DoorAutoFaceUnlockPlan_Report(0), 0);
        return LastSent().body;
    }
};

TEST_F(FacePlanTest, ChangeDetection) {
    Device().SetRuntime(OQDEVSDK_DOORLOCK_FROM_DEV_AUTO_FACE_PLAN, BusyPlan());
    EXPECT_EQ(norla::DoorAutoFaceUnlockPlan_IsChanged(), 1);
    EXPECT_TRUE(HasLog(3, kChangedLog));

    oqsim::clear_logs();
    EXPECT_EQ(norla::DoorAutoFaceUnlockPlan_IsChanged(), 0);
    EXPECT_FALSE(HasLog(3, kChangedLog));

    const struct {
        int error;
        int answer;
    } errors[] = {{0x18004, -1}, {0x4, -1}, {0x18005, 0}, {-1, 0}};
    for (const auto &e : errors) {
        SCOPED_TRACE(e.error);
        Device().get_result[OQDEVSDK_DOORLOCK_FROM_DEV_AUTO_FACE_PLAN] = e.error;
        EXPECT_EQ(norla::DoorAutoFaceUnlockPlan_IsChanged(), e.answer);
    }
    Device().get_result.clear();
    EXPECT_EQ(norla::DoorAutoFaceUnlockPlan_IsChanged(), 0) << "a failed fetch kept the cache";

    Plan other = BusyPlan();
    other.uiHeadWord = 8;
    Device().SetRuntime(OQDEVSDK_DOORLOCK_FROM_DEV_AUTO_FACE_PLAN, other);
    EXPECT_EQ(norla::DoorAutoFaceUnlockPlan_IsChanged(), 1) << "every byte counts";

    EXPECT_EQ(norla::DoorAutoFaceUnlockPlan_Reset(), 0);
    EXPECT_EQ(norla::DoorAutoFaceUnlockPlan_IsChanged(), 1);
    Device().SetRuntime(OQDEVSDK_DOORLOCK_FROM_DEV_AUTO_FACE_PLAN, EmptyPlan(0));
    EXPECT_EQ(norla::DoorAutoFaceUnlockPlan_IsChanged(), 1);
}

// Day texts of the report: for each Date, its Weekday and its "B-E" slots.
struct ReportedPlan {
    std::string enable;
    std::string force;
    std::vector<std::string> days;
};

ReportedPlan ParseReport(const std::string &body) {
    ReportedPlan out;
    auto xml = plantest::Inside(body);
    EXPECT_FALSE(xml->FindElem("DevSerial", true));
    EXPECT_TRUE(xml->FindElem("Authorization", true));
    EXPECT_EQ(xml->x_GetData(), "");
    EXPECT_TRUE(xml->FindElem("Type"));
    EXPECT_EQ(xml->x_GetData(), "DevicePlan");
    EXPECT_TRUE(xml->FindElem("Params"));
    xml->IntoElem();
    EXPECT_TRUE(xml->FindElem("Enable"));
    out.enable = xml->x_GetData();
    EXPECT_TRUE(xml->FindElem("Force"));
    out.force = xml->x_GetData();
    EXPECT_TRUE(xml->FindElem("Actor"));
    EXPECT_EQ(xml->x_GetData(), "D");
    EXPECT_EQ(xml->x_GetAttrib("Channel"), "1");
    EXPECT_EQ(xml->x_GetAttrib("PlanType"), "19");
    EXPECT_EQ(xml->x_GetAttrib("EventType"), "0");
    while (xml->FindElem("Date")) {
        std::string day = xml->x_GetAttrib("Weekday") + ":";
        xml->IntoElem();
        while (xml->FindElem("Plan")) {
            day += " " + xml->x_GetAttrib("B") + "-" + xml->x_GetAttrib("E");
        }
        xml->OutOfElem();
        out.days.push_back(day);
    }
    return out;
}

TEST_F(FacePlanTest, ReportCarriesTheCachedPlan) {
    const struct {
        const char *what;
        Plan plan;
        bool poll;
        ReportedPlan want;
    } cases[] = {
        {"all slots empty",
         EmptyPlan(0),
         true,
         {"0", "1", {"0:", "1:", "2:", "3:", "4:", "5:", "6:"}}},
        {"one slot on day 6",
         [] {
             Plan p = EmptyPlan(1);
             p.astDay[6][3] = {oqdev_ParseTimeHHMM("08:05"), oqdev_ParseTimeHHMM("09:00")};
             return p;
         }(),
         true,
         {"1", "0", {"0:", "1:", "2:", "3:", "4:", "5:", "6: 08:05-09:00"}}},
        {"reset cache reported by force",
         BusyPlan(),
         false,
         {"-1", "1", {"0:", "1:", "2:", "3:", "4:", "5:", "6:"}}},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.what);
        norla::DoorAutoFaceUnlockPlan_Reset();
        Device().SetRuntime(OQDEVSDK_DOORLOCK_FROM_DEV_AUTO_FACE_PLAN, c.plan);
        if (c.poll) {
            ASSERT_EQ(norla::DoorAutoFaceUnlockPlan_IsChanged(), 1);
        }
        oqsim::clear_logs();
        ASSERT_EQ(norla::DoorAutoFaceUnlockPlan_Report(42), 0);
        EXPECT_TRUE(HasLog(3, "start to report ayuo face unlock plan"));
        const oqsim::Sent &sent = LastSent();
        EXPECT_EQ(sent.rec.iCmdId, norla::kCmdReportAutoFacePlan);
        EXPECT_EQ(sent.rec.ucIsResponse, 0);
        EXPECT_EQ(sent.version, "v1.0.0");
        ReportedPlan got = ParseReport(sent.body);
        EXPECT_EQ(got.enable, c.want.enable);
        EXPECT_EQ(got.force, c.want.force);
        EXPECT_EQ(got.days, c.want.days);
    }
}

// A day's non-empty slots in order: the report skips empty slots and a set
// fills a day from slot 0, so this is what survives a round trip.
std::vector<std::vector<uint32_t>> Schedule(const Plan &plan) {
    std::vector<std::vector<uint32_t>> days;
    for (const auto &day : plan.astDay) {
        days.emplace_back();
        for (const auto &slot : day) {
            if (slot.uiBegin != 0 || slot.uiEnd != 0) {
                days.back().push_back(slot.uiBegin);
                days.back().push_back(slot.uiEnd);
            }
        }
    }
    return days;
}

Plan FullPlan() {
    Plan plan = EmptyPlan(1);
    uint32_t minute = 0;
    for (auto &day : plan.astDay) {
        for (auto &slot : day) {
            slot = {minute, minute + 30};
            minute += 45;
        }
    }
    return plan;
}

// What the platform sends back as the module reported it sets the same plan.
TEST_F(FacePlanTest, ReportedPlanSetsTheSameSchedule) {
    const Plan plans[] = {BusyPlan(), EmptyPlan(0), FullPlan()};
    for (const Plan &reported : plans) {
        std::string body = Report(reported);
        size_t open = body.find("<Params>");
        size_t close = body.find("</Params>");
        ASSERT_NE(open, std::string::npos);
        ASSERT_NE(close, std::string::npos);
        std::string params = body.substr(open + 8, close - open - 8);

        Plan lock = FullPlan();
        lock.iEnable = 1 - reported.iEnable;
        lock.astDay[2][2] = {1, 2};
        Device().Reset();
        Device().SetRuntime(OQDEVSDK_DOORLOCK_FROM_DEV_AUTO_FACE_PLAN, lock);
        int ret = -1;
        plantest::RunHandler(&norla::ReqHnd_SetDevPlan, params, &ret);
        ASSERT_EQ(ret, 0);
        Plan set = Device().LastReceived<Plan>(OQDEVSDK_DOORLOCK_TO_DEV_AUTO_FACE_PLAN);
        EXPECT_EQ(set.iEnable, reported.iEnable);
        EXPECT_EQ(Schedule(set), Schedule(reported));
    }
    // A plan without gaps comes back slot for slot.
    Plan set = Device().LastReceived<Plan>(OQDEVSDK_DOORLOCK_TO_DEV_AUTO_FACE_PLAN);
    Plan full = FullPlan();
    EXPECT_EQ(std::memcmp(set.astDay, full.astDay, sizeof set.astDay), 0);
}

}  // namespace

namespace {

int PlanReports() {
    int n = 0;
    for (const oqsim::Sent &sent : oqsim::sent()) {
        n += sent.rec.iCmdId == norla::kCmdReportAutoFacePlan ? 1 : 0;
    }
    return n;
}

TEST_F(FacePlanTest, ReportThatRunsOutOfMemoryIsNotSent) {
    dltest::ArmAllocationFault(1, false);
    EXPECT_EQ(norla::DoorAutoFaceUnlockPlan_Report(0), -1);
    dltest::DisarmAllocationFault();
    EXPECT_TRUE(oqsim::sent().empty());
    EXPECT_TRUE(HasLog(1, "Failed to build auto face unlock plan report."));
}

// Polled by the status-report module: reported on change and after every set
// handed to the lock, even when the lock's plan stayed the same.
TEST_F(FacePlanTest, ReportedOnChangeAndAfterEverySet) {
    Device().SetRuntime(OQDEVSDK_DOORLOCK_FROM_DEV_AUTO_FACE_PLAN, BusyPlan());
    oqsim::poll();
    EXPECT_EQ(PlanReports(), 1);
    oqsim::poll();
    EXPECT_EQ(PlanReports(), 1);

    std::string rsp =
        Request(18731, 9, "<Request><Actor Channel=\"1\" PlanType=\"19\"/></Request>");
    EXPECT_EQ(ResultOf(rsp), 0);
    oqsim::poll();
    EXPECT_EQ(PlanReports(), 2);
    oqsim::poll();
    EXPECT_EQ(PlanReports(), 2);
}

}  // namespace
