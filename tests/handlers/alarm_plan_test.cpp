#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "CMarkupSTL.h"
#include "handlers/handlers.h"
#include "handlers/plans_harness.h"
#include "oqDevSDK_door_lock.h"
#include "support/fixture.h"

namespace {

using Record = oqDevSDK_DoorLock_SetAlarmPlan_S;
using List = oqDevSDK_DoorLock_AlarmPlanList_S;
using plantest::ElemText;
using plantest::RunHandler;

// Allocations of one query of a full plan list, with room to spare.
constexpr long kScannedAllocations = 64;

std::string Dates(int n) {
    std::string out = "<DateList>";
    for (int i = 0; i < n; ++i) {
        out += "<Date Begin=\"0" + std::to_string(i) + ":1" + std::to_string(i) + "\" End=\"2" +
               std::to_string(i) + ":3" + std::to_string(i) + "\"/>";
    }
    return out + "</DateList>";
}

std::string Users(int n) {
    std::string out = "<UserList>";
    for (int i = 0; i < n; ++i) {
        out +=
            "<User Index=\"" + std::to_string(i + 1) + "\" Name=\"u" + std::to_string(i) + "\"/>";
    }
    return out + "</UserList>";
}

std::string SetBody(const std::string &opt, const std::string &inside) {
    return "<OptType " + opt + "/><Plan Enable=\"1\" Weekday=\"1,7\">" + inside + "</Plan>";
}

// The record handed to the lock, read from the heap: it is too large for the
// stack.
std::unique_ptr<Record> Sent() {
    auto rec = std::make_unique<Record>();
    const dltest::Received *got =
        dltest::FakeDevice::Get().Find(OQDEVSDK_DOORLOCK_TO_DEV_SET_ALARM_PLAN);
    EXPECT_NE(got, nullptr);
    if (got != nullptr && got->bytes.size() == sizeof(Record)) {
        std::memcpy(rec.get(), got->bytes.data(), sizeof(Record));
    }
    return rec;
}

class AlarmPlanTest : public dltest::ModuleTest {
  protected:
    void SetUp() override {
        ModuleTest::SetUp();
        InitModule();
    }
};

TEST_F(AlarmPlanTest, CreateSendsTheWholeRecord) {
    std::string rsp =
        RunHandler(&norla::ReqHnd_SetNotBackAlarmPlan, SetBody("Type=\"0\"", Dates(2) + Users(2)));
    EXPECT_EQ(ResultOf(rsp), 0);
    EXPECT_EQ(ElemText(rsp, "Index"), "1");

    auto want = std::make_unique<Record>();
    want->ucEnable = 1;
    want->ucWeekday = 0x03;
    want->usDateNum = 2;
    want->astDate[0] = {0, 10, 20, 30};
    want->astDate[1] = {1, 11, 21, 31};
    want->usUserNum = 2;
    want->astUser[0].usIndex = 0;
    std::strcpy(want->astUser[0].szName, "u0");
    want->astUser[1].usIndex = 1;
    std::strcpy(want->astUser[1].szName, "u1");
    const dltest::Received *got = Device().Find(OQDEVSDK_DOORLOCK_TO_DEV_SET_ALARM_PLAN);
    ASSERT_NE(got, nullptr);
    ASSERT_EQ(got->len, sizeof(Record));
    EXPECT_EQ(std::memcmp(got->bytes.data(), want.get(), sizeof(Record)), 0);
}

TEST_F(AlarmPlanTest, SetOutcomes) {
    struct Case {
        const char *what;
        std::string body;
        int deviceRet;
        int result;
        bool sent;
        uint8_t optType;
        uint16_t index;
        uint16_t dates;
        uint16_t users;
        std::string indexText;
        std::string log;
    };
    const Case cases[] = {
        {"six dates fill four", SetBody("Type=\"0\"", Dates(6)), 0, 0, true, 0, 0, 4, 0, "1", ""},
        {"change reads the plan", SetBody("Type=\"1\" Index=\"3\"", Dates(1) + Users(1)), 0, 0,
         true, 1, 2, 1, 1, "3", ""},
        {"unknown code reads the plan", SetBody("Type=\"9\" Index=\"2\"", ""), 0, 0, true, 9, 1, 0,
         0, "2", ""},
        {"delete reads only Index", "<OptType Type=\"2\" Index=\"4\"/>", 0, 0, true, 2, 3, 0, 0,
         "4", ""},
        {"users without DateList", SetBody("Type=\"0\"", Users(3)), 0, 0, true, 0, 0, 0, 3, "1",
         ""},
        {"device refusal", SetBody("Type=\"0\"", ""), 0x18001, 4, true, 0, 0, 0, 0, "1",
         "Failed to set NotBackAlarm plan."},
        {"Date without End",
         SetBody("Type=\"0\"",
                 "<DateList><Date Begin=\"01:00\" End=\"02:00\"/><Date "
                 "Begin=\"03:00\"/></DateList>"),
         0, 3, false, 0, 0, 0, 0, "1", "[Index 1]Failed to find attrib:End."},
        {"User without Name", SetBody("Type=\"0\"", "<UserList><User Index=\"1\"/></UserList>"), 0,
         3, false, 0, 0, 0, 0, "1", "[Index 0]Failed to find attrib:Name."},
        {"no Plan", "<OptType Type=\"0\"/>", 0, 3, false, 0, 0, 0, 0, "1",
         "Failed to find elem:Plan"},
        {"no Weekday", "<OptType Type=\"0\"/><Plan Enable=\"1\"/>", 0, 3, false, 0, 0, 0, 0, "1",
         "Failed to find attrib:Weekday"},
        {"change without Index", SetBody("Type=\"1\"", ""), 0, 3, false, 0, 0, 0, 0, "1",
         "Failed to find attrib:Index"},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.what);
        Device().Reset();
        Device().recv_result[OQDEVSDK_DOORLOCK_TO_DEV_SET_ALARM_PLAN] = c.deviceRet;
        std::string rsp = RunHandler(&norla::ReqHnd_SetNotBackAlarmPlan, c.body);
        EXPECT_EQ(ResultOf(rsp), c.result);
        EXPECT_EQ(ElemText(rsp, "Index"), c.indexText);
        EXPECT_EQ(Device().CountReceived(OQDEVSDK_DOORLOCK_TO_DEV_SET_ALARM_PLAN), c.sent ? 1 : 0);
        if (c.sent) {
            auto rec = Sent();
            EXPECT_EQ(rec->ucOptType, c.optType);
            EXPECT_EQ(rec->usIndex, c.index);
            EXPECT_EQ(rec->usDateNum, c.dates);
            EXPECT_EQ(rec->usUserNum, c.users);
        } else {
            EXPECT_TRUE(HasLog(1, "Failed to ParseSetNotBackAlarmPlan."));
        }
        if (!c.log.empty()) {
            EXPECT_TRUE(HasLog(1, c.log)) << c.log;
        }
    }
}

TEST_F(AlarmPlanTest, SetStopsAtFiveHundredUsers) {
    RunHandler(&norla::ReqHnd_SetNotBackAlarmPlan, SetBody("Type=\"0\"", Users(503)));
    auto rec = Sent();
    EXPECT_EQ(rec->usUserNum, 500);
    EXPECT_STREQ(rec->astUser[499].szName, "u499");
    EXPECT_EQ(rec->astUser[499].usIndex, 499);
}

TEST_F(AlarmPlanTest, SetWithoutMemoryAnswersIndexZero) {
    dltest::FailAllocations(sizeof(Record));
    std::string rsp = RunHandler(&norla::ReqHnd_SetNotBackAlarmPlan, SetBody("Type=\"0\"", ""));
    EXPECT_EQ(ResultOf(rsp), 4);
    EXPECT_EQ(ElemText(rsp, "Index"), "0");
    EXPECT_TRUE(HasLog(1, "Failed to malloc mem, size=34076."));
    EXPECT_TRUE(Device().received.empty());
}

std::unique_ptr<List> MakeList(uint16_t count) {
    auto list = std::make_unique<List>();
    list->usCount = count;
    for (uint16_t i = 0; i < OQDEVSDK_DOORLOCK_MAX_ALARM_PLANS; ++i) {
        oqDevSDK_DoorLock_AlarmPlanInfo_S &plan = list->astPlan[i];
        plan.usIndex = i;
        plan.ucEnable = 1;
        plan.ucWeekday = 0x41;
    }
    return list;
}

// Number of Plan elements; every one must hold a DateList and a UserList,
// empty or not.
int CountPlans(const std::string &rsp) {
    auto xml = plantest::Inside(rsp);
    int n = 0;
    for (; xml->FindElem("Plan"); ++n) {
        xml->IntoElem();
        EXPECT_TRUE(xml->FindElem("DateList"));
        EXPECT_TRUE(xml->FindElem("UserList"));
        xml->OutOfElem();
    }
    return n;
}

TEST_F(AlarmPlanTest, QueryListsAtMostEightPlans) {
    const struct {
        uint16_t count;
        int plans;
    } cases[] = {{0, 0}, {1, 1}, {10, 8}};
    for (const auto &c : cases) {
        SCOPED_TRACE(c.count);
        Device().SetRuntime(OQDEVSDK_DOORLOCK_FROM_DEV_ALARM_PLANS, *MakeList(c.count));
        std::string rsp = RunHandler(&norla::ReqHnd_QueryNotBackAlarmPlans, "");
        EXPECT_EQ(ResultOf(rsp), 0);
        EXPECT_EQ(CountPlans(rsp), c.plans);
    }
}

TEST_F(AlarmPlanTest, QueryWritesOnePlanWithClampedCounts) {
    auto list = MakeList(1);
    oqDevSDK_DoorLock_AlarmPlanInfo_S &plan = list->astPlan[0];
    plan.usIndex = 6;
    plan.usDateNum = 9;
    for (auto &d : plan.astDate) {
        d = {7, 5, 18, 0};
    }
    plan.usUserNum = 700;
    for (auto &u : plan.astUser) {
        u.usIndex = 41;
        std::memset(u.szName, 'x', sizeof u.szName);
    }
    Device().SetRuntime(OQDEVSDK_DOORLOCK_FROM_DEV_ALARM_PLANS, *list);
    auto xml = plantest::Inside(RunHandler(&norla::ReqHnd_QueryNotBackAlarmPlans, ""));
    ASSERT_TRUE(xml->FindElem("Plan"));
    EXPECT_EQ(xml->x_GetAttrib("Index"), "7");
    EXPECT_EQ(xml->x_GetAttrib("Enable"), "1");
    EXPECT_EQ(xml->x_GetAttrib("Weekday"), "6,7");
    xml->IntoElem();
    ASSERT_TRUE(xml->FindElem("DateList"));
    xml->IntoElem();
    int dates = 0;
    while (xml->FindElem("Date")) {
        EXPECT_EQ(xml->x_GetAttrib("Begin"), "07:05");
        EXPECT_EQ(xml->x_GetAttrib("End"), "18:00");
        ++dates;
    }
    EXPECT_EQ(dates, 4);
    xml->OutOfElem();
    ASSERT_TRUE(xml->FindElem("UserList"));
    xml->IntoElem();
    int users = 0;
    while (xml->FindElem("User")) {
        EXPECT_EQ(xml->x_GetAttrib("Index"), "42");
        EXPECT_EQ(xml->x_GetAttrib("Name"), std::string(64, 'x'));
        ++users;
    }
    EXPECT_EQ(users, 500);
}

// Memory that runs out half way through the plans is answered with 4, never
// with a list cut short.
TEST_F(AlarmPlanTest, QueryCutShortByMemoryAnswersFour) {
    auto list = MakeList(OQDEVSDK_DOORLOCK_MAX_ALARM_PLANS);
    for (auto &plan : list->astPlan) {
        plan.usUserNum = OQDEVSDK_DOORLOCK_MAX_ALARM_PLAN_USERS;
    }
    Device().SetRuntime(OQDEVSDK_DOORLOCK_FROM_DEV_ALARM_PLANS, *list);
    // The documents the harness prepares are not the handler's to fail.
    dltest::ArmAllocationFault(kScannedAllocations * 2, false);
    RunHandler([](CMarkupSTL &, CMarkupSTL &) noexcept { return 0; }, "");
    const long harness = dltest::ArmedAllocations();
    dltest::DisarmAllocationFault();
    int cuts = 0;
    for (long n = harness + 1; n <= harness + kScannedAllocations && cuts == 0; ++n) {
        oqsim::clear_logs();
        dltest::ArmAllocationFault(n, false);
        const std::string rsp = RunHandler(&norla::ReqHnd_QueryNotBackAlarmPlans, "");
        dltest::DisarmAllocationFault();
        if (HasLog(1, "Failed to fill NotBackAlarmPlans info.")) {
            ++cuts;
            EXPECT_EQ(ResultOf(rsp), 4) << "allocation " << n;
        }
    }
    EXPECT_EQ(cuts, 1);
}

TEST_F(AlarmPlanTest, QueryFailures) {
    Device().get_result[OQDEVSDK_DOORLOCK_FROM_DEV_ALARM_PLANS] = 7;
    std::string rsp = RunHandler(&norla::ReqHnd_QueryNotBackAlarmPlans, "");
    EXPECT_EQ(ResultOf(rsp), 4);
    EXPECT_TRUE(HasLog(1, "Failed to get NotBackAlarmPlans info."));

    Device().get_result.clear();
    dltest::FailAllocations(sizeof(List));
    rsp = RunHandler(&norla::ReqHnd_QueryNotBackAlarmPlans, "");
    EXPECT_EQ(ResultOf(rsp), 4);
    EXPECT_TRUE(HasLog(1, "Failed to malloc mem, size=272580."));
    EXPECT_EQ(CountPlans(rsp), 0);
}

}  // namespace
