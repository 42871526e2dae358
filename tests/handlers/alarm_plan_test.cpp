#include <cstring>
#include <memory>
#include <string>
#include <tuple>
#include <vector>

#include "handlers/handlers.h"
#include "handlers/plans_harness.h"

namespace {

using Record = oqDevSDK_DoorLock_SetAlarmPlan_S;
using List = oqDevSDK_DoorLock_AlarmPlanList_S;
using plantest::RunHandler;
using AlarmPlanTest = plantest::HandlerTest;

constexpr int kListCode = OQDEVSDK_DOORLOCK_FROM_DEV_ALARM_PLANS;
// Allocations of one query of a full plan list, with room to spare.
constexpr long kScannedAllocations = 64;

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

std::string SetBody(const std::string &opt, const std::string &inside = "") {
    return "<OptType " + opt + "/><Plan Enable=\"1\" Weekday=\"1,7\">" + inside + "</Plan>";
}

// The record handed to the lock, on the heap: it is too large for the stack.
std::unique_ptr<Record> Sent() {
    const dltest::Received *got =
        dltest::FakeDevice::Get().Find(OQDEVSDK_DOORLOCK_TO_DEV_SET_ALARM_PLAN);
    if (got == nullptr || got->bytes.size() != sizeof(Record)) {
        return nullptr;
    }
    auto rec = std::make_unique<Record>();
    std::memcpy(rec.get(), got->bytes.data(), sizeof(Record));
    return rec;
}

TEST_F(AlarmPlanTest, CreateSendsTheWholeRecord) {
    RunHandler(&norla::ReqHnd_SetNotBackAlarmPlan,
               SetBody("Type=\"0\"", Items("DateList", 2) + Items("UserList", 2)));
    auto want = std::make_unique<Record>();
    want->ucEnable = 1;
    want->ucWeekday = 0x03;
    want->usDateNum = 2;
    want->astDate[0] = {0, 10, 20, 30};
    want->astDate[1] = {1, 11, 21, 31};
    want->usUserNum = 2;
    std::strcpy(want->astUser[0].szName, "u0");
    want->astUser[1].usIndex = 1;
    std::strcpy(want->astUser[1].szName, "u1");
    const auto got = Sent();
    ASSERT_NE(got, nullptr);
    EXPECT_EQ(std::memcmp(got.get(), want.get(), sizeof(Record)), 0);
}

TEST_F(AlarmPlanTest, SetOutcomes) {
    const std::string noEnd =
        "<DateList><Date Begin=\"01:00\" End=\"02:00\"/><Date Begin=\"03:00\"/></DateList>";
    // body, "type index dates users" of the record ("" when the request was
    // refused with 3), Index text, log.
    const std::tuple<std::string, const char *, const char *, const char *> cases[] = {
        {SetBody("Type=\"0\"", Items("DateList", 6)), "0 0 4 0", "1", ""},
        {SetBody("Type=\"0\"", Items("UserList", 503)), "0 0 0 500", "1", ""},
        {SetBody("Type=\"1\" Index=\"3\"", Items("DateList", 1) + Items("UserList", 1)), "1 2 1 1",
         "3", ""},
        {SetBody("Type=\"9\" Index=\"2\""), "9 1 0 0", "2", ""},
        {"<OptType Type=\"2\" Index=\"4\"/>", "2 3 0 0", "4", ""},
        {SetBody("Type=\"0\"", noEnd), "", "1", "[Index 1]Failed to find attrib:End."},
        {SetBody("Type=\"0\"", "<UserList><User Index=\"1\"/></UserList>"), "", "1",
         "[Index 0]Failed to find attrib:Name."},
        {"<OptType Type=\"0\"/>", "", "1", "Failed to find elem:Plan"},
        {"<OptType Type=\"0\"/><Plan Enable=\"1\"/>", "", "1", "Failed to find attrib:Weekday"},
        {SetBody("Type=\"1\""), "", "1", "Failed to find attrib:Index"},
    };
    for (const auto &[body, sent, index, log] : cases) {
        SCOPED_TRACE(body.substr(0, 80));
        Device().Reset();
        oqsim::clear_logs();
        const std::string rsp = RunHandler(&norla::ReqHnd_SetNotBackAlarmPlan, body);
        EXPECT_EQ(ResultOf(rsp), *sent == '\0' ? 3 : 0);
        EXPECT_EQ(plantest::ElemText(rsp, "Index"), index);
        const auto rec = Sent();
        EXPECT_EQ(rec == nullptr
                      ? ""
                      : std::to_string(rec->ucOptType) + " " + std::to_string(rec->usIndex) + " " +
                            std::to_string(rec->usDateNum) + " " + std::to_string(rec->usUserNum),
                  sent);
        EXPECT_EQ(HasLog(1, "Failed to ParseSetNotBackAlarmPlan."), *sent == '\0');
        EXPECT_TRUE(*log == '\0' || HasLog(1, log)) << log;
    }
}

// Every plan claims more dates and users than fit; the names fill their
// fields without a terminator.
std::unique_ptr<List> MakeList(uint16_t count) {
    auto list = std::make_unique<List>();
    list->usCount = count;
    for (uint16_t i = 0; i < OQDEVSDK_DOORLOCK_MAX_ALARM_PLANS; ++i) {
        oqDevSDK_DoorLock_AlarmPlanInfo_S &plan = list->astPlan[i];
        plan.usIndex = i;
        plan.ucEnable = 1;
        plan.ucWeekday = 0x41;
        plan.usDateNum = 9;
        plan.usUserNum = 700;
        for (auto &d : plan.astDate) {
            d = {7, 5, 18, 0};
        }
        for (auto &u : plan.astUser) {
            u.usIndex = 41;
            std::memset(u.szName, 'x', sizeof u.szName);
        }
    }
    return list;
}

// One line per Plan: its attributes, then each list's items (repeats left
// out) and their count.
std::vector<std::string> Plans(const std::string &rsp) {
    std::vector<std::string> out;
    auto xml = plantest::Inside(rsp);
    while (xml->FindElem("Plan")) {
        out.push_back(plantest::Attribs(*xml, nullptr, {"Index", "Enable", "Weekday"}));
        xml->IntoElem();
        for (const char *list : {"DateList", "UserList"}) {
            EXPECT_TRUE(xml->FindElem(list, true)) << list;
            xml->IntoElem();
            std::string last;
            int n = 0;
            for (; xml->FindElem(nullptr); ++n) {
                const std::string item =
                    plantest::Attribs(*xml, nullptr, {"Begin", "End", "Index", "Name"});
                out.back() += item == last ? "" : item;
                last = item;
            }
            out.back() += " x" + std::to_string(n);
            xml->OutOfElem();
        }
        xml->OutOfElem();
    }
    return out;
}

TEST_F(AlarmPlanTest, QueryListsAtMostEightPlansWithinTheirArrays) {
    for (auto [count, plans] : {std::pair<uint16_t, int>{0, 0}, {1, 1}, {10, 8}}) {
        Device().SetRuntime(kListCode, *MakeList(count));
        const std::string rsp = RunHandler(&norla::ReqHnd_QueryNotBackAlarmPlans, "");
        EXPECT_EQ(ResultOf(rsp), 0);
        std::vector<std::string> want;
        for (int i = 1; i <= plans; ++i) {
            want.push_back(" " + std::to_string(i) + " 1 6,7 07:05 18:00   x4   42 " +
                           std::string(64, 'x') + " x500");
        }
        EXPECT_EQ(Plans(rsp), want) << count;
    }
}

// Memory that runs out half way through the plans is answered with 4, never
// with a list cut short.
TEST_F(AlarmPlanTest, QueryCutShortByMemoryAnswersFour) {
    Device().SetRuntime(kListCode, *MakeList(OQDEVSDK_DOORLOCK_MAX_ALARM_PLANS));
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

}  // namespace
