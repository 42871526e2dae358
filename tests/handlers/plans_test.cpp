#include <algorithm>
#include <cstdint>
#include <cstring>
#include <memory>
#include <numeric>
#include <string>
#include <vector>

#include "handlers/handlers.h"
#include "support/fixture.h"
#include "vocabulary.h"

namespace {

using norla::kCmdQueryAlarmPlans;
using norla::kCmdQuerySnapPwds;
using norla::kCmdSetAlarmPlan;
using norla::kCmdSetDevPlan;
using norla::kCmdSetSnapPwd;
using norla::kCmdTriggerUserVerify;

using SnapPwd = oqDevSDK_DoorLock_SetSnapPwd_S;
using AlarmPlan = oqDevSDK_DoorLock_SetAlarmPlan_S;
using AlarmList = oqDevSDK_DoorLock_AlarmPlanList_S;
using FacePlan = oqDevSDK_DoorLock_AutoFaceUnlockPlan_S;
using Verify = oqDevSDK_DoorLock_UserVerify_S;

constexpr int kSnapSet = OQDEVSDK_DOORLOCK_TO_DEV_SET_SNAP_PWD;
constexpr int kAlarmList = OQDEVSDK_DOORLOCK_FROM_DEV_ALARM_PLANS;
// Allocations of one query of a full plan list, with room to spare.
constexpr long kScannedAllocations = 64;

// The last record of `type` the lock got, on the heap (some are too large for
// the stack); null when none of that size.
template <typename T>
std::unique_ptr<T> Sent(int type) {
    const dltest::Received *got = dltest::FakeDevice::Get().Find(type);
    if (got == nullptr || got->bytes.size() != sizeof(T)) {
        return nullptr;
    }
    auto rec = std::make_unique<T>();
    std::memcpy(static_cast<void *>(rec.get()), got->bytes.data(), sizeof(T));
    return rec;
}

// `n` dates 0i:1i-2i:3i, or `n` users i+1 named ui.
std::string Items(const std::string &list, int n) {
    std::string out = "<" + list + ">";
    for (int i = 0; i < n; ++i) {
        const std::string d = std::to_string(i);
        out += list == "DateList"
                   ? "<Date Begin=\"0" + d + ":1" + d + "\" End=\"2" + d + ":3" + d + "\"/>"
                   : "<User Index=\"" + std::to_string(i + 1) + "\" Name=\"u" + d + "\"/>";
    }
    return out + "</" + list + ">";
}

std::string AlarmBody(const std::string &opt, const std::string &inside = "") {
    return "<OptType " + opt + "/><Plan Enable=\"1\" Weekday=\"1,7\">" + inside + "</Plan>";
}

std::string Actor(int planType = 19) {
    return "<Actor Channel=\"2\" PlanType=\"" + std::to_string(planType) + "\">D</Actor>";
}

class PlansTest : public dltest::ModuleTest {
  protected:
    void SetUp() override {
        ModuleTest::SetUp();
        oqsim::set_tz("UTC");
        InitModule();
    }
    // Delivers a request through the kernel; returns the response from its
    // root element on.
    std::string Run(int cmd, const std::string &body) {
        oqsim::clear_logs();
        const std::string rsp = Request(cmd, ++seq_, "<Request>" + body + "</Request>");
        EXPECT_EQ(LastSent().rec.iCmdId, cmd + 1);
        return rsp.substr(std::min(rsp.find("<Response>"), rsp.size()));
    }

    uint32_t seq_ = 700;
};

// The response carries the index and password the lock wrote into the record;
// a delete carries only the index.
TEST_F(PlansTest, SnapPasswordCreateAndDeleteSendTheRecordByteForByte) {
    Device().on_recv = [](oqDevSDK_DoorLock_Msg_S *msg) {
        auto *rec = static_cast<SnapPwd *>(msg->pData);
        rec->usIndex = 2;
        std::memcpy(rec->szPwd, "84736251", 9);
        return 0;
    };
    std::string rsp =
        Run(kCmdSetSnapPwd, "<OptType Type=\"0\"/><Info><User Name=\"" + std::string(70, 'n') +
                                "\"/><Expire Begin=\"2021-03-07 08:05:00\" End=\"2021-12-31 "
                                "23:59:59\"/><Limit Num=\"5\"/></Info>");
    // 2021-03-07 08:05:00 and 2021-12-31 23:59:59 UTC
    SnapPwd want = {0, 0, 0, {}, 1615104300, 1640995199, 5, 5, {}};
    std::memset(want.szName, 'n', sizeof want.szName - 1);
    ASSERT_NE(Sent<SnapPwd>(kSnapSet), nullptr);
    EXPECT_EQ(std::memcmp(Sent<SnapPwd>(kSnapSet).get(), &want, sizeof want), 0);
    EXPECT_EQ(rsp, "<Response><Result>0</Result><Index>3</Index><Pwd>84736251</Pwd></Response>");

    Device().on_recv = nullptr;
    rsp = Run(kCmdSetSnapPwd, "<OptType Type=\"2\" Index=\"5\"/>");
    want = {2, 0, 4, {}, 0, 0, 0, 0, {}};
    EXPECT_EQ(std::memcmp(Sent<SnapPwd>(kSnapSet).get(), &want, sizeof want), 0);
    EXPECT_EQ(rsp, "<Response><Result>0</Result><Index>5</Index><Pwd/></Response>");
}

TEST_F(PlansTest, BadRequestsNeverReachTheLock) {
    const std::string alarmNoEnd =
        "<DateList><Date Begin=\"01:00\" End=\"02:00\"/><Date Begin=\"03:00\"/></DateList>";
    const char *const snap = "Failed to ParseSetSnapPassword.";
    const char *const alarm = "Failed to ParseSetNotBackAlarmPlan.";
    // command, body, result, logs
    const struct {
        int cmd;
        std::string body;
        int result;
        const char *log;
        const char *log2;
    } cases[] = {
        {kCmdSetSnapPwd, "<OptType Type=\"1\" Index=\"5\"/>", 3, "Invalid operation type:1", snap},
        {kCmdSetAlarmPlan, AlarmBody("Type=\"0\"", alarmNoEnd), 3,
         "[Index 1]Failed to find attrib:End.", alarm},
        {kCmdTriggerUserVerify, "<Timeout>5</Timeout>", 3, "Failed to find elem:UserID.", ""},
        {kCmdTriggerUserVerify, "<Timeout>5</Timeout><UserID>u</UserID>", 3,
         "Failed to find elem:Timeout.", ""},
        {kCmdSetDevPlan, Actor(18), 131, "unspport plan type ", ""},
    };
    for (const auto &[cmd, body, result, log, log2] : cases) {
        SCOPED_TRACE(body);
        EXPECT_EQ(ResultOf(Run(cmd, body)), result);
        EXPECT_TRUE(HasLog(1, log)) << log;
        EXPECT_TRUE(*log2 == '\0' || HasLog(1, log2)) << log2;
    }
    EXPECT_TRUE(Device().received.empty());
}

TEST_F(PlansTest, SnapPasswordListHoldsAtMostThreeEntries) {
    oqDevSDK_DoorLock_SnapPwdList_S list;
    std::memset(&list, 0, sizeof list);
    std::string infos[OQDEVSDK_DOORLOCK_MAX_SNAP_PWDS];
    for (uint16_t i = 0; i < OQDEVSDK_DOORLOCK_MAX_SNAP_PWDS; ++i) {
        const int32_t limit = i == 0 ? -1 : 10 + i;
        list.astEntry[i] = {static_cast<uint16_t>(i + 4), {}, {}, 1615104300, 1640995199, limit, 3};
        // The last name fills its field without a terminator.
        std::memset(list.astEntry[i].szName, 'a' + i, i == 2 ? 64 : 1);
        infos[i] = "<Info Index=\"" + std::to_string(i + 5) + "\"><User Name=\"" +
                   std::string(i == 2 ? 64 : 1, static_cast<char>('a' + i)) +
                   "\"/><Expire Begin=\"2021-03-07 08:05:00\" End=\"2021-12-31 23:59:59\"/>"
                   "<Limit Num=\"" +
                   std::to_string(limit) + "\" AvailableCount=\"" + (i == 0 ? "-1" : "3") +
                   "\"/></Info>";
    }
    for (auto [count, shown] : {std::pair<uint16_t, int>{0, 0}, {3, 3}, {5, 3}}) {
        list.usCount = count;
        Device().SetRuntime(OQDEVSDK_DOORLOCK_FROM_DEV_SNAP_PWDS, list);
        const std::string rsp = Run(kCmdQuerySnapPwds, "");
        EXPECT_EQ(rsp, "<Response><Result>0</Result>" +
                           std::accumulate(infos, infos + shown, std::string()) + "</Response>");
    }
}

TEST_F(PlansTest, AlarmPlanSetCountsAndIndexes) {
    // body, "type index dates users" of the record, Index text
    const struct {
        std::string body;
        const char *sent;
        const char *index;
    } cases[] = {
        {AlarmBody("Type=\"0\"", Items("DateList", 6)), "0 0 4 0", "1"},
        {AlarmBody("Type=\"0\"", Items("UserList", 503)), "0 0 0 500", "1"},
        {AlarmBody("Type=\"1\" Index=\"3\"", Items("DateList", 1) + Items("UserList", 1)),
         "1 2 1 1", "3"},
        {"<OptType Type=\"2\" Index=\"4\"/>", "2 3 0 0", "4"},
    };
    for (const auto &[body, sent, index] : cases) {
        const std::string rsp = Run(kCmdSetAlarmPlan, body);
        EXPECT_EQ(rsp, "<Response><Result>0</Result><Index>" + std::string(index) +
                           "</Index></Response>");
        const auto rec = Sent<AlarmPlan>(OQDEVSDK_DOORLOCK_TO_DEV_SET_ALARM_PLAN);
        ASSERT_NE(rec, nullptr);
        EXPECT_EQ(std::to_string(rec->ucOptType) + " " + std::to_string(rec->usIndex) + " " +
                      std::to_string(rec->usDateNum) + " " + std::to_string(rec->usUserNum),
                  sent);
    }
}

// Every plan claims more dates and users than fit; the names fill their
// fields without a terminator.
std::unique_ptr<AlarmList> MakeAlarmList(uint16_t count) {
    auto list = std::make_unique<AlarmList>();
    list->usCount = count;
    for (uint16_t i = 0; i < OQDEVSDK_DOORLOCK_MAX_ALARM_PLANS; ++i) {
        oqDevSDK_DoorLock_AlarmPlanInfo_S &plan = list->astPlan[i];
        plan.usIndex = i;
        plan.ucEnable = 1;
        plan.ucWeekday = 0x41;
        plan.usDateNum = 9;
        plan.usUserNum = 700;
        std::fill(std::begin(plan.astDate), std::end(plan.astDate),
                  oqDevSDK_DoorLock_AlarmPeriod_S{7, 5, 18, 0});
        for (auto &u : plan.astUser) {
            u.usIndex = 41;
            std::memset(u.szName, 'x', sizeof u.szName);
        }
    }
    return list;
}

TEST_F(PlansTest, AlarmPlanListHoldsAtMostEightPlansWithinTheirArrays) {
    std::string lists = "<DateList>";
    for (int d = 0; d < OQDEVSDK_DOORLOCK_MAX_ALARM_PLAN_DATES; ++d) {
        lists += "<Date Begin=\"07:05\" End=\"18:00\"/>";
    }
    lists += "</DateList><UserList>";
    for (int u = 0; u < OQDEVSDK_DOORLOCK_MAX_ALARM_PLAN_USERS; ++u) {
        lists += "<User Index=\"42\" Name=\"" + std::string(64, 'x') + "\"/>";
    }
    for (auto [count, plans] : {std::pair<uint16_t, int>{0, 0}, {1, 1}, {10, 8}}) {
        Device().SetRuntime(kAlarmList, *MakeAlarmList(count));
        std::string want = "<Response><Result>0</Result>";
        for (int i = 1; i <= plans; ++i) {
            want += "<Plan Index=\"" + std::to_string(i) + "\" Enable=\"1\" Weekday=\"6,7\">" +
                    lists + "</UserList></Plan>";
        }
        const std::string rsp = Run(kCmdQueryAlarmPlans, "");
        EXPECT_TRUE(rsp == want + "</Response>") << count << " plans: " << rsp.substr(0, 300);
    }
}

// Whatever the lock reports as a time of day goes out whole, as in the user
// list.
TEST_F(PlansTest, AlarmPlanListPrintsExtremeTimesWhole) {
    auto list = MakeAlarmList(1);
    list->astPlan[0].usDateNum = 1;
    list->astPlan[0].usUserNum = 0;
    list->astPlan[0].astDate[0] = {INT32_MIN, INT32_MIN, INT32_MAX, -1};
    Device().SetRuntime(kAlarmList, *list);
    EXPECT_EQ(Run(kCmdQueryAlarmPlans, ""),
              "<Response><Result>0</Result><Plan Index=\"1\" Enable=\"1\" Weekday=\"6,7\">"
              "<DateList><Date Begin=\"-2147483648:-2147483648\" End=\"2147483647:-1\"/>"
              "</DateList><UserList/></Plan></Response>");
}

// Memory that runs out half way through the plans is answered with 4, never
// with a list cut short.
TEST_F(PlansTest, AlarmPlanListCutShortByMemoryAnswersFour) {
    Device().SetRuntime(kAlarmList, *MakeAlarmList(OQDEVSDK_DOORLOCK_MAX_ALARM_PLANS));
    int cuts = 0;
    for (long n = 1; n <= kScannedAllocations && cuts == 0; ++n) {
        oqsim::clear_logs();
        dltest::ArmAllocationFault(n, false);
        const std::string rsp = Request(kCmdQueryAlarmPlans, 9, "<Request/>");
        dltest::DisarmAllocationFault();
        if (HasLog(1, "Failed to fill NotBackAlarmPlans info.")) {
            ++cuts;
            EXPECT_EQ(ResultOf(rsp), 4) << "allocation " << n;
        }
    }
    EXPECT_EQ(cuts, 1);
}

TEST_F(PlansTest, UserVerificationResultsAndTimeOuts) {
    const std::string longId(40, 'i');
    // body, verification result the lock writes, result, user id and time-out
    // of the record
    const struct {
        std::string body;
        uint32_t verified;
        int result;
        std::string userId;
        uint32_t timeout;
    } cases[] = {
        {"<UserID>u7</UserID><Timeout>30</Timeout>", 0, 0, "u7", 30},
        {"<UserID>u7</UserID><Timeout>0</Timeout>", 0, 0, "u7", 120},
        {"<UserID>u7</UserID><Timeout>soon</Timeout>", 0, 0, "u7", 120},
        {"<UserID>" + longId + "</UserID><Timeout>5</Timeout>", 1, norla::kResultVerifyFailed,
         longId.substr(0, 31), 5},
        {"<UserID>u</UserID><Timeout>5</Timeout>", 9, norla::kResultVerifyOther, "u", 5},
    };
    for (const auto &[body, verified, result, userId, timeout] : cases) {
        SCOPED_TRACE(body);
        Device().on_recv = [v = verified](oqDevSDK_DoorLock_Msg_S *msg) {
            static_cast<Verify *>(msg->pData)->uiVerifyResult = v;
            return 0;
        };
        EXPECT_EQ(ResultOf(Run(kCmdTriggerUserVerify, body)), result);
        const auto rec = Sent<Verify>(OQDEVSDK_DOORLOCK_TO_DEV_USER_VERIFY);
        ASSERT_NE(rec, nullptr);
        EXPECT_EQ(rec->szUserId, userId);
        EXPECT_EQ(rec->uiTimeout, timeout);
        EXPECT_EQ(rec->uiVerifyResult, 0u);
    }
}

TEST_F(PlansTest, DevicePlanSetMergesIntoTheLocksPlan) {
    // The lock's plan before a set: on, channel 3, 01:00-02:00 every day.
    FacePlan lock = {0xA5A5A5A5u, 3, 1, {}};
    for (auto &day : lock.astDay) {
        day[0] = {60, 120};
    }
    const std::string slot = "<Plan B=\"08:00\" E=\"09:30\"/></Date>";
    // body, iEnable sent, day whose slot `slot` becomes 08:00-09:30 while the
    // other days are emptied (-1: the lock's table is kept, -2: it is emptied)
    const struct {
        std::string body;
        int32_t enable;
        int day;
        int slotIndex;
    } cases[] = {
        {Actor(), 1, -1, 0},
        {"<Enable>0</Enable>" + Actor(), 0, -1, 0},
        {"<Enable>1</Enable>" + Actor() + "<Date Weekday=\"2\"><Plan B=\"01:00\" E=\"02:00\"/>" +
             slot,
         1, 2, 1},
        // Weekday 7 and a letter are skipped but still count as a schedule.
        {Actor() + "<Date Weekday=\"7\">" + slot + "<Date Weekday=\"x\">" + slot, 1, -2, 0},
    };
    for (const auto &[body, enable, day, slotIndex] : cases) {
        SCOPED_TRACE(body);
        Device().SetRuntime(OQDEVSDK_DOORLOCK_FROM_DEV_AUTO_FACE_PLAN, lock);
        const size_t ops = oqsim::status_ops().size();
        EXPECT_EQ(ResultOf(Run(kCmdSetDevPlan, body)), 0);
        EXPECT_EQ(oqsim::status_ops().size(), ops + 1);
        EXPECT_EQ(oqsim::status_ops().back(), "force 121");
        FacePlan want = lock;
        want.uiChannel = 2;
        want.iEnable = enable;
        if (day != -1) {
            std::memset(want.astDay, 0, sizeof want.astDay);
        }
        if (day >= 0) {
            want.astDay[day][0] = lock.astDay[0][0];
            want.astDay[day][slotIndex] = {8 * 60, 9 * 60 + 30};
        }
        const auto got = Sent<FacePlan>(OQDEVSDK_DOORLOCK_TO_DEV_AUTO_FACE_PLAN);
        ASSERT_NE(got, nullptr);
        EXPECT_EQ(std::memcmp(got.get(), &want, sizeof want), 0);
    }
}

}  // namespace
