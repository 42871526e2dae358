#include <algorithm>
#include <cstring>
#include <string>
#include <tuple>

#include "handlers/handlers.h"
#include "handlers/plans_harness.h"
#include "oqdev_time.h"

namespace {

using Verify = oqDevSDK_DoorLock_UserVerify_S;
using Plan = oqDevSDK_DoorLock_AutoFaceUnlockPlan_S;
using plantest::RunHandler;
using UserVerifyTest = plantest::HandlerTest;

constexpr int kPlanFrom = OQDEVSDK_DOORLOCK_FROM_DEV_AUTO_FACE_PLAN;
constexpr int kPlanTo = OQDEVSDK_DOORLOCK_TO_DEV_AUTO_FACE_PLAN;

TEST_F(UserVerifyTest, TriggerUserVerify) {
    const std::string longId(40, 'i');
    // body, verification result the lock writes, result, user id and time-out
    // of the record ("" when none reached the lock), log.
    const std::tuple<std::string, uint32_t, int, std::string, uint32_t, const char *> cases[] = {
        {"<UserID>u7</UserID><Timeout>30</Timeout>", 0, 0, "u7", 30, ""},
        {"<UserID>u7</UserID><Timeout>0</Timeout>", 0, 0, "u7", 120, ""},
        {"<UserID>u7</UserID><Timeout>soon</Timeout>", 0, 0, "u7", 120, ""},
        {"<UserID>" + longId + "</UserID><Timeout>5</Timeout>", 0, 0, longId.substr(0, 31), 5, ""},
        {"<UserID>u</UserID><Timeout>5</Timeout>", 1, 0x180003, "u", 5, ""},
        {"<UserID>u</UserID><Timeout>5</Timeout>", 9, 0x180004, "u", 5, ""},
        {"<Timeout>5</Timeout>", 0, 3, "", 0, "Failed to find elem:UserID."},
        {"<UserID>u</UserID>", 0, 3, "", 0, "Failed to find elem:Timeout."},
        {"<Timeout>5</Timeout><UserID>u</UserID>", 0, 3, "", 0, "Failed to find elem:Timeout."},
    };
    for (const auto &[body, verified, result, userId, timeout, log] : cases) {
        SCOPED_TRACE(body + " " + std::to_string(verified));
        Device().Reset();
        Device().on_recv = [v = verified](oqDevSDK_DoorLock_Msg_S *msg) {
            static_cast<Verify *>(msg->pData)->uiVerifyResult = v;
            return 0;
        };
        int ret = 0;
        EXPECT_EQ(ResultOf(RunHandler(&norla::ReqHnd_TriggerUserVerify, body, &ret)), result);
        EXPECT_EQ(ret, result);
        const dltest::Received *got = Device().Find(OQDEVSDK_DOORLOCK_TO_DEV_USER_VERIFY);
        ASSERT_EQ(got != nullptr, !userId.empty());
        if (got != nullptr) {
            ASSERT_EQ(got->len, sizeof(Verify));
            const Verify rec = Device().LastReceived<Verify>(OQDEVSDK_DOORLOCK_TO_DEV_USER_VERIFY);
            EXPECT_EQ(rec.szUserId, userId);
            EXPECT_EQ(rec.uiTimeout, timeout);
            EXPECT_EQ(rec.uiVerifyResult, 0u);
        }
        EXPECT_TRUE(*log == '\0' || HasLog(1, log)) << log;
    }
}

// The lock's plan before a set: on, channel 3, one slot on every day.
Plan LockPlan() {
    Plan plan;
    std::memset(&plan, 0, sizeof plan);
    plan.uiHeadWord = 0xA5A5A5A5u;
    plan.uiChannel = 3;
    plan.iEnable = 1;
    for (auto &day : plan.astDay) {
        day[0] = {oqdev_ParseTimeHHMM("01:00"), oqdev_ParseTimeHHMM("02:00")};
    }
    return plan;
}

std::string Actor(int planType = 19) {
    return "<Actor Channel=\"2\" PlanType=\"" + std::to_string(planType) + "\">D</Actor>";
}

class VerifyPlanTest : public plantest::HandlerTest {
  protected:
    // Runs a device plan set on the lock's plan; true when it forced the
    // plan's report.
    bool SetDevPlan(const std::string &body, int *ret) {
        Device().Reset();
        Device().SetRuntime(kPlanFrom, LockPlan());
        oqsim::clear_logs();
        const size_t before = oqsim::status_ops().size();
        *ret = -5;
        const int result = ResultOf(RunHandler(&norla::ReqHnd_SetDevPlan, body, ret));
        EXPECT_EQ(result, *ret == 0 ? 0 : 131);
        const auto &ops = oqsim::status_ops();
        return std::find(ops.begin() + static_cast<long>(before), ops.end(), "force 121") !=
               ops.end();
    }
};

TEST_F(VerifyPlanTest, SetDevPlanMergesIntoTheLocksPlan) {
    const Plan lock = LockPlan();
    const std::string slots = "<Plan B=\"08:00\" E=\"09:30\"/></Date>";
    // body, iEnable sent, day whose slot becomes 08:00-09:30 while the other
    // days are emptied (-1: the lock's table is kept, -2: it is emptied).
    const std::tuple<std::string, int32_t, int, int> cases[] = {
        {Actor(), 1, -1, 0},
        {"<Enable>0</Enable>" + Actor(), 0, -1, 0},
        {"<Enable>5</Enable>" + Actor(), 1, -1, 0},
        {"<Enable>1</Enable>" + Actor() + "<Date Weekday=\"2\"><Plan B=\"01:00\" E=\"02:00\"/>" +
             slots,
         1, 2, 1},
        // Weekday 7 and a letter are skipped but still count as a schedule.
        {Actor() + "<Date Weekday=\"7\">" + slots + "<Date Weekday=\"x\">" + slots, 1, -2, 0},
    };
    for (const auto &[body, enable, day, slot] : cases) {
        SCOPED_TRACE(body);
        int ret = 0;
        EXPECT_TRUE(SetDevPlan(body, &ret));
        EXPECT_EQ(ret, 0);
        ASSERT_EQ(Device().CountReceived(kPlanTo), 1);
        const Plan got = Device().LastReceived<Plan>(kPlanTo);
        Plan want = lock;
        want.uiChannel = 2;
        want.iEnable = enable;
        if (day != -1) {
            std::memset(want.astDay, 0, sizeof want.astDay);
        }
        if (day >= 0) {
            want.astDay[day][0] = lock.astDay[0][0];
            want.astDay[day][slot] = {8 * 60, 9 * 60 + 30};
        }
        EXPECT_EQ(std::memcmp(&got, &want, sizeof want), 0);
    }
}

TEST_F(VerifyPlanTest, SetDevPlanReadsSevenDatesOfFourSlotsAtMost) {
    std::string body = Actor();
    for (int d = 0; d < 6; ++d) {
        body += "<Date Weekday=\"" + std::to_string(d) + "\">";
        for (int s = 0; s < 5; ++s) {
            body +=
                "<Plan B=\"1" + std::to_string(s) + ":00\" E=\"2" + std::to_string(s) + ":00\"/>";
        }
        body += "</Date>";
    }
    // Day 6 twice: the second overwrites from slot 0; the eighth Date is
    // never read.
    body += "<Date Weekday=\"6\"><Plan B=\"03:00\" E=\"04:00\"/></Date>";
    body += "<Date Weekday=\"0\"><Plan B=\"05:00\" E=\"06:00\"/></Date>";
    int ret = 0;
    SetDevPlan(body, &ret);
    const Plan got = Device().LastReceived<Plan>(kPlanTo);
    for (int d = 0; d < 6; ++d) {
        for (int s = 0; s < 4; ++s) {
            EXPECT_EQ(got.astDay[d][s].uiBegin, static_cast<uint32_t>((10 + s) * 60)) << d << s;
            EXPECT_EQ(got.astDay[d][s].uiEnd, static_cast<uint32_t>((20 + s) * 60)) << d << s;
        }
    }
    EXPECT_EQ(got.astDay[6][0].uiBegin, 3u * 60);
    EXPECT_EQ(got.astDay[6][1].uiBegin, 0u);
}

TEST_F(VerifyPlanTest, SetDevPlanRefusesOtherPlanTypesAndMissingActors) {
    for (const auto &[body, log] :
         {std::pair{Actor(18), "unspport plan type "},
          {"<Enable>1</Enable><Date Weekday=\"1\"/>", "without actor element."}}) {
        int ret = 0;
        EXPECT_FALSE(SetDevPlan(body, &ret));
        EXPECT_EQ(ret, -1);
        EXPECT_TRUE(Device().received.empty());
        EXPECT_TRUE(HasLog(1, log)) << log;
        EXPECT_TRUE(HasLog(3, "ReqHnd_SetDevPlan"));
    }
}

}  // namespace
