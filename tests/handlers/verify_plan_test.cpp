#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <string>

#include "handlers/handlers.h"
#include "handlers/plans_harness.h"
#include "oqDevSDK_door_lock.h"
#include "oqdev_time.h"
#include "support/fixture.h"

namespace {

using Verify = oqDevSDK_DoorLock_UserVerify_S;
using Plan = oqDevSDK_DoorLock_AutoFaceUnlockPlan_S;
using plantest::RunHandler;

class VerifyPlanTest : public dltest::ModuleTest {
  protected:
    void SetUp() override {
        ModuleTest::SetUp();
        InitModule();
    }
};

TEST_F(VerifyPlanTest, TriggerUserVerify) {
    const std::string longId(40, 'i');
    struct Case {
        const char *what;
        std::string body;
        int deviceRet;
        uint32_t verifyResult;
        int result;
        bool sent;
        std::string userId;
        uint32_t timeout;
        std::string log;
    };
    const Case cases[] = {
        {"verified", "<UserID>u7</UserID><Timeout>30</Timeout>", 0, 0, 0, true, "u7", 30, ""},
        {"timeout 0", "<UserID>u7</UserID><Timeout>0</Timeout>", 0, 0, 0, true, "u7", 120, ""},
        {"timeout not a number", "<UserID>u7</UserID><Timeout>soon</Timeout>", 0, 0, 0, true, "u7",
         120, ""},
        {"id cut to 31", "<UserID>" + longId + "</UserID><Timeout>5</Timeout>", 0, 0, 0, true,
         longId.substr(0, 31), 5, ""},
        {"first refusal", "<UserID>u</UserID><Timeout>5</Timeout>", 0, 1, 0x180003, true, "u", 5,
         ""},
        {"other refusal", "<UserID>u</UserID><Timeout>5</Timeout>", 0, 9, 0x180004, true, "u", 5,
         ""},
        {"device failure", "<UserID>u</UserID><Timeout>5</Timeout>", -1, 0, 4, true, "u", 5,
         "Failed to trigger user verify."},
        {"no UserID", "<Timeout>5</Timeout>", 0, 0, 3, false, "", 0, "Failed to find elem:UserID."},
        {"no Timeout", "<UserID>u</UserID>", 0, 0, 3, false, "", 0, "Failed to find elem:Timeout."},
        {"Timeout before UserID", "<Timeout>5</Timeout><UserID>u</UserID>", 0, 0, 3, false, "", 0,
         "Failed to find elem:Timeout."},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.what);
        Device().Reset();
        Device().on_recv = [&c](oqDevSDK_DoorLock_Msg_S *msg) {
            static_cast<Verify *>(msg->pData)->uiVerifyResult = c.verifyResult;
            return c.deviceRet;
        };
        int ret = 0;
        std::string rsp = RunHandler(&norla::ReqHnd_TriggerUserVerify, c.body, &ret);
        EXPECT_EQ(ResultOf(rsp), c.result);
        EXPECT_EQ(ret, c.result);
        ASSERT_EQ(Device().CountReceived(OQDEVSDK_DOORLOCK_TO_DEV_USER_VERIFY), c.sent ? 1 : 0);
        if (c.sent) {
            EXPECT_EQ(Device().received.back().len, sizeof(Verify));
            Verify rec = Device().LastReceived<Verify>(OQDEVSDK_DOORLOCK_TO_DEV_USER_VERIFY);
            EXPECT_EQ(std::string(rec.szUserId), c.userId);
            EXPECT_EQ(rec.uiTimeout, c.timeout);
            EXPECT_EQ(rec.uiVerifyResult, 0u);
        }
        if (!c.log.empty()) {
            EXPECT_TRUE(HasLog(1, c.log)) << c.log;
        }
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

// Whether the handler asked for a report of the plan item since `before`.
bool ForcedSince(size_t before) {
    const auto &ops = oqsim::status_ops();
    return std::find(ops.begin() + static_cast<std::ptrdiff_t>(before), ops.end(), "force 121") !=
           ops.end();
}

std::string Actor(int planType = 19) {
    return "<Actor Channel=\"2\" PlanType=\"" + std::to_string(planType) + "\">D</Actor>";
}

TEST_F(VerifyPlanTest, SetDevPlanMergesIntoTheLocksPlan) {
    const Plan lock = LockPlan();
    const uint32_t t0800 = oqdev_ParseTimeHHMM("08:00");
    const uint32_t t0930 = oqdev_ParseTimeHHMM("09:30");
    struct Case {
        const char *what;
        std::string body;
        int32_t enable;
        // Slots that must differ from the lock's: day, slot, begin, end; day
        // -1 when the table is kept, -2 when it is emptied.
        int day;
        int slot;
    };
    const Case cases[] = {
        {"no Enable keeps iEnable and the schedule", Actor(), 1, -1, 0},
        {"Enable 0 turns it off", "<Enable>0</Enable>" + Actor(), 0, -1, 0},
        {"Enable 5 turns it on", "<Enable>5</Enable>" + Actor(), 1, -1, 0},
        {"one weekday empties the others",
         "<Enable>1</Enable>" + Actor() +
             "<Date Weekday=\"2\"><Plan B=\"01:00\" E=\"02:00\"/><Plan B=\"08:00\" "
             "E=\"09:30\"/></Date>",
         1, 2, 1},
        {"weekday 7 and a letter are skipped but count as a schedule",
         Actor() + "<Date Weekday=\"7\"><Plan B=\"08:00\" E=\"09:30\"/></Date><Date "
                   "Weekday=\"x\"><Plan B=\"08:00\" E=\"09:30\"/></Date>",
         1, -2, 0},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.what);
        Device().Reset();
        Device().SetRuntime(OQDEVSDK_DOORLOCK_FROM_DEV_AUTO_FACE_PLAN, lock);
        size_t opsBefore = oqsim::status_ops().size();
        int ret = -5;
        std::string rsp = RunHandler(&norla::ReqHnd_SetDevPlan, c.body, &ret);
        EXPECT_EQ(ret, 0);
        EXPECT_EQ(ResultOf(rsp), 0);
        ASSERT_EQ(Device().CountReceived(OQDEVSDK_DOORLOCK_TO_DEV_AUTO_FACE_PLAN), 1);
        Plan got = Device().LastReceived<Plan>(OQDEVSDK_DOORLOCK_TO_DEV_AUTO_FACE_PLAN);
        EXPECT_EQ(got.uiHeadWord, lock.uiHeadWord);
        EXPECT_EQ(got.uiChannel, 2u);
        EXPECT_EQ(got.iEnable, c.enable);
        Plan want = lock;
        if (c.day != -1) {
            std::memset(want.astDay, 0, sizeof want.astDay);
        }
        if (c.day >= 0) {
            want.astDay[c.day][0] = lock.astDay[0][0];
            want.astDay[c.day][c.slot] = {t0800, t0930};
        }
        EXPECT_EQ(std::memcmp(got.astDay, want.astDay, sizeof want.astDay), 0);
        EXPECT_TRUE(ForcedSince(opsBefore));
    }
}

TEST_F(VerifyPlanTest, SetDevPlanReadsSevenDatesOfFourSlotsAtMost) {
    std::string body = Actor();
    // Eight Dates: day 6 twice (the second overwrites from slot 0), then an
    // eighth for day 0 that is never read.
    for (int d = 0; d < 6; ++d) {
        body += "<Date Weekday=\"" + std::to_string(d) + "\">";
        for (int s = 0; s < 5; ++s) {
            body +=
                "<Plan B=\"1" + std::to_string(s) + ":00\" E=\"2" + std::to_string(s) + ":00\"/>";
        }
        body += "</Date>";
    }
    body += "<Date Weekday=\"6\"><Plan B=\"03:00\" E=\"04:00\"/></Date>";
    body += "<Date Weekday=\"0\"><Plan B=\"05:00\" E=\"06:00\"/></Date>";
    Device().SetRuntime(OQDEVSDK_DOORLOCK_FROM_DEV_AUTO_FACE_PLAN, LockPlan());
    RunHandler(&norla::ReqHnd_SetDevPlan, body);
    Plan got = Device().LastReceived<Plan>(OQDEVSDK_DOORLOCK_TO_DEV_AUTO_FACE_PLAN);
    for (int d = 0; d < 6; ++d) {
        for (int s = 0; s < 4; ++s) {
            EXPECT_EQ(got.astDay[d][s].uiBegin, static_cast<uint32_t>((10 + s) * 60)) << d << s;
            EXPECT_EQ(got.astDay[d][s].uiEnd, static_cast<uint32_t>((20 + s) * 60)) << d << s;
        }
    }
    EXPECT_EQ(got.astDay[6][0].uiBegin, 3u * 60);
    EXPECT_EQ(got.astDay[6][1].uiBegin, 0u);
}

TEST_F(VerifyPlanTest, SetDevPlanFailures) {
    struct Case {
        const char *what;
        std::string body;
        int getRet;
        int recvRet;
        int ret;
        int result;
        bool sent;
        bool forced;
        std::string log;
    };
    const Case cases[] = {
        {"plan type 18", Actor(18), 0, 0, -1, 131, false, false, "unspport plan type "},
        {"no Actor", "<Enable>1</Enable><Date Weekday=\"1\"/>", 0, 0, -1, 131, false, false,
         "without actor element."},
        {"fetch fails", Actor(), 0x18004, 0, -1, 131, false, false,
         "DoorLock SetDevplan get runtimeinfo error"},
        {"send fails", Actor(), 0, 0x18007, 0x18007, 4, true, true, ""},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.what);
        Device().Reset();
        size_t opsBefore = oqsim::status_ops().size();
        Device().SetRuntime(OQDEVSDK_DOORLOCK_FROM_DEV_AUTO_FACE_PLAN, LockPlan());
        Device().get_result[OQDEVSDK_DOORLOCK_FROM_DEV_AUTO_FACE_PLAN] = c.getRet;
        Device().recv_result[OQDEVSDK_DOORLOCK_TO_DEV_AUTO_FACE_PLAN] = c.recvRet;
        int ret = 0;
        std::string rsp = RunHandler(&norla::ReqHnd_SetDevPlan, c.body, &ret);
        EXPECT_EQ(ret, c.ret);
        EXPECT_EQ(ResultOf(rsp), c.result);
        EXPECT_EQ(Device().CountReceived(OQDEVSDK_DOORLOCK_TO_DEV_AUTO_FACE_PLAN), c.sent ? 1 : 0);
        EXPECT_EQ(ForcedSince(opsBefore), c.forced);
        if (!c.log.empty()) {
            EXPECT_TRUE(HasLog(1, c.log)) << c.log;
        }
        EXPECT_TRUE(HasLog(3, "ReqHnd_SetDevPlan"));
    }
}

}  // namespace

namespace {

TEST_F(VerifyPlanTest, EveryPlanCommandAnswersThroughTheKernel) {
    Device().SetRuntime(OQDEVSDK_DOORLOCK_FROM_DEV_AUTO_FACE_PLAN, LockPlan());
    const struct {
        int cmd;
        std::string body;
        int result;
    } cases[] = {
        {18859, "<OptType Type=\"2\" Index=\"1\"/>", 0},
        {18861, "", 0},
        {18855, "<OptType Type=\"2\" Index=\"1\"/>", 0},
        {18853, "", 0},
        {18849, "<UserID>u</UserID><Timeout>1</Timeout>", 0},
        {18731, "<Enable>1</Enable>" + Actor(), 0},
        {18731, Actor(18), 131},
    };
    uint32_t seq = 700;
    for (const auto &c : cases) {
        SCOPED_TRACE(c.cmd);
        std::string rsp = Request(c.cmd, ++seq, "<Request>" + c.body + "</Request>");
        EXPECT_EQ(ResultOf(rsp), c.result);
        const oqsim::Sent &sent = LastSent();
        EXPECT_EQ(sent.rec.iCmdId, c.cmd + 1);
        EXPECT_EQ(sent.rec.uiMsgSeq, seq);
        EXPECT_EQ(sent.rec.ucIsResponse, 1);
    }
}

}  // namespace
