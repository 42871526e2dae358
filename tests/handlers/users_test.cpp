#include <cstdint>
#include <cstring>
#include <map>
#include <string>
#include <tuple>
#include <vector>

#include "handlers/user_records.h"
#include "oqDevSDK_door_lock.h"
#include "support/fixture.h"

namespace {

using usertest::Attrs;
using usertest::XmlMessage;
using Cfg = oqDevSDK_DoorLock_SetUserCfg_S;

constexpr int kCmdSetUser = 18857;
constexpr int kCmdQueryUsers = 20160;
// Allocations of one query of a full table, with room to spare.
constexpr long kScannedAllocations = 64;
constexpr int kTableCode = OQDEVSDK_DOORLOCK_FROM_DEV_USER_INFO;
constexpr int kSetCode = OQDEVSDK_DOORLOCK_TO_DEV_SET_USER;

// A set-user request whose parts a test replaces one at a time.
struct SetReq {
    std::string opt = R"(<OptType Type="1" Index="3"/>)";
    std::string user = R"(<User Index="3" Type="2" Name="alice" RemarkName="al"/>)";
    std::string expire = R"(Enable="1" Begin="2021-03-07 08:05:00" End="2022-01-01 00:00:00")";
    std::string dates =
        R"(<DateList><Date Weekday="1,2,7" Begin="08:30" End="18:05" Num="5" Available="3"/>)"
        R"(</DateList>)";
    std::string auth = R"(<Auth Pwd="1" Card="2" Finger="3" Face="4"/>)";
    std::string contents;

    std::string Xml() const {
        return "<Request>" + opt + "<UserInfo>" + user + "<Expire " + expire + ">" + dates +
               "</Expire>" + auth + contents + "</UserInfo></Request>";
    }
};

class UsersTest : public dltest::ModuleTest {
  protected:
    void SetUp() override {
        ModuleTest::SetUp();
        oqsim::set_tz("UTC");
        InitModule();
        Device().SetRuntime(kTableCode, *usertest::MakeTable(1));
    }

    // Delivers one request through the kernel and reads the response back;
    // checks its id, sequence number, result and element order (the user list
    // after DevSerial).
    XmlMessage Send(int cmd, const std::string &body, int result = 0) {
        Device().received.clear();
        oqsim::clear_logs();
        const XmlMessage rsp = usertest::ReadMessage(Request(cmd, ++seq_, body));
        EXPECT_EQ(LastSent().rec.iCmdId, cmd + 1);
        EXPECT_EQ(LastSent().rec.uiMsgSeq, seq_);
        std::vector<std::string> tags = {"Result", "DevSerial"};
        tags.resize(2 + rsp.users.size(), "UserInfo");
        EXPECT_EQ(rsp.tags, tags);
        EXPECT_EQ(rsp.texts, (std::map<std::string, std::string>{{"Result", std::to_string(result)},
                                                                 {"DevSerial", "SIMLOCK0001"}}));
        return rsp;
    }
    Cfg Sent() {
        EXPECT_EQ(Device().CountReceived(kSetCode), 1);
        EXPECT_EQ(Device().received.at(0).len, OQDEVSDK_DOORLOCK_TO_DEV_SET_USER_LEN);
        return Device().LastReceived<Cfg>(kSetCode);
    }

    uint32_t seq_ = 500;
};

TEST_F(UsersTest, AddAndDeleteFillTheSetRecordFieldByField) {
    EXPECT_EQ(Send(kCmdSetUser, SetReq{}.Xml()).users.size(), 1u);
    oqDevSDK_DoorLock_User_S user = {2, 2,  1,  "alice", "al", 1615104300, 1640995200,
                                     1, {}, {}, 1,       2,    3,          4};
    user.astDate[0] = {8, 30, 18, 5, 0x07, {}, 5, 3};
    const Cfg want = {1, 0, 2, user, OQDEVSDK_DOORLOCK_USER_NO_CONTENTS, 0, 0, 0, {}};
    Cfg got = Sent();
    EXPECT_EQ(std::memcmp(&got, &want, sizeof want), 0);

    Send(kCmdSetUser, R"(<Request><OptType Type="2" Index="5"/></Request>)");
    const Cfg del = {2, 0, 4, {}, 0, 0, 0, 0, {}};
    got = Sent();
    EXPECT_EQ(std::memcmp(&got, &del, sizeof del), 0) << "a delete carries only the index";
}

// Type 256 is operation 0, which carries no index: only user 1 fits it.
TEST_F(UsersTest, OperationZeroAndTheLimitsOfTheRecord) {
    SetReq req;
    req.opt = R"(<OptType Type="256"/>)";
    req.user = R"(<User Index="1" Type="1" Name=")" + std::string(70, 'n') + R"("/>)";
    req.dates = "<DateList>";
    for (int i = 1; i <= 5; ++i) {
        req.dates += R"(<Date Weekday=")" + std::to_string(i) + R"(" Begin="0)" +
                     std::to_string(i) + R"(:00" End="23:59" Num="-1"/>)";
    }
    req.dates += "</DateList>";
    req.contents = R"(<Contents><Content index="2" type="3" action="1" str=")" +
                   std::string(80, 's') + R"("/></Contents>)";
    Send(kCmdSetUser, req.Xml());
    const Cfg got = Sent();
    EXPECT_EQ(got.ucOptType, 0);
    EXPECT_EQ(got.usOptIndex, 0);
    EXPECT_EQ(got.stUser.szName, std::string(63, 'n'));
    EXPECT_STREQ(got.stUser.szRemarkName, "");
    EXPECT_EQ(std::to_string(got.iContentsAction) + " " + std::to_string(got.ucContentAction) +
                  " " + std::to_string(got.ucContentType) + " " +
                  std::to_string(got.usContentIndex) + " " + got.szContentStr,
              "0 1 3 1 " + std::string(63, 's'));
    ASSERT_EQ(got.stUser.usDateNum, OQDEVSDK_DOORLOCK_MAX_USER_DATES);
    for (int i = 0; i < OQDEVSDK_DOORLOCK_MAX_USER_DATES; ++i) {
        const oqDevSDK_DoorLock_UserDate_S &d = got.stUser.astDate[i];
        EXPECT_EQ(d.ucWeekday, 1u << (i + 1));
        EXPECT_EQ(d.iBeginHour, i + 1);
        EXPECT_EQ(d.iNum, -1);
        EXPECT_EQ(d.iAvailable, -1);
    }
}

TEST_F(UsersTest, BadRequestsNeverReachTheDevice) {
    const std::string date =
        R"(<Date Weekday="1" Begin="01:00" End="02:00" Num="1" Available="1"/>)";
    const std::tuple<std::string SetReq::*, std::string, const char *> cases[] = {
        {&SetReq::opt, "<Opt/>", "Failed to find elem:OptType"},
        {&SetReq::opt, R"(<OptType Type="" Index="3"/>)", "Failed to find attrib:Type"},
        {&SetReq::opt, R"(<OptType Type="1"/>)", "Failed to find attrib:Index"},
        {&SetReq::opt, R"(<OptType Type="0"/>)", "User index[2] is not expected[0]"},
        {&SetReq::user, R"(<User Index="4" Type="1" Name="a"/>)",
         "User index[3] is not expected[2]"},
        {&SetReq::user, R"(<User Index="3" Type="1"/>)", "Failed to find attrib:Name"},
        {&SetReq::expire, R"(Enable="1" Begin="2021-01-01")", "Failed to find attrib:End"},
        {&SetReq::dates, "<DateList>" + date + R"(<Date Begin="01:00"/></DateList>)",
         "[Index 1]Failed to find attrib:Weekday"},
        {&SetReq::dates,
         R"(<DateList><Date Weekday="1" Begin="01:00" End="02:00" Num="3"/></DateList>)",
         "[Index 0]Failed to find attrib:Available."},
        {&SetReq::auth, "", "Failed to find elem:Auth"},
        {&SetReq::auth, R"(<Auth Pwd="1" Card="1" Finger="1"/>)", "Failed to find attrib:Face."},
        {&SetReq::contents, R"(<Contents><Content index="1" type="1"/></Contents>)",
         "Failed to find attrib:action."},
    };
    for (const auto &[part, value, log] : cases) {
        SCOPED_TRACE(log);
        SetReq req;
        req.*part = value;
        EXPECT_EQ(Send(kCmdSetUser, req.Xml(), 3).users.size(), 1u)
            << "the list comes with every answer";
        EXPECT_TRUE(HasLog(1, log));
        EXPECT_TRUE(HasLog(1, "Failed to ParseSetUserInfo."));
        EXPECT_TRUE(Device().received.empty());
    }
}

// The device may claim more users and dates than fit and fill names without
// a terminator: the list stays within the table.
TEST_F(UsersTest, QueryWritesTheWholeTable) {
    for (auto [count, listed] : {std::pair{0u, 0u}, {1u, 1u}, {600u, 500u}}) {
        SCOPED_TRACE(count);
        auto table = usertest::MakeTable(count, 9);
        std::memset(table->astUser[0].szName, 'x', sizeof table->astUser[0].szName);
        Device().SetRuntime(kTableCode, *table);
        const XmlMessage rsp = Send(kCmdQueryUsers, "<Request/>");
        ASSERT_EQ(rsp.users.size(), listed);
        for (unsigned int i = 0; i < listed; i += 166) {
            const usertest::XmlUser &u = rsp.users[i];
            const std::string n = std::to_string(i);
            EXPECT_EQ(u.user, (Attrs{{"Index", std::to_string(i + 1)},
                                     {"Type", std::to_string(i % 3)},
                                     {"Name", i == 0 ? std::string(64, 'x') : "user" + n},
                                     {"RemarkName", "remark" + n}}));
            EXPECT_EQ(u.expire, (Attrs{{"Enable", "1"},
                                       {"Begin", "2021-03-07 08:05:00"},
                                       {"End", "2022-01-01 00:00:00"}}));
            EXPECT_EQ(u.auth, (Attrs{{"Pwd", "1"}, {"Card", "2"}, {"Finger", "3"}, {"Face", n}}));
            ASSERT_EQ(u.dates.size(), 4u);
            EXPECT_EQ(u.dates[0], (Attrs{{"Begin", "08:00"},
                                         {"End", "18:30"},
                                         {"Weekday", "1,6,7"},
                                         {"Num", "-1"},
                                         {"Available", "-1"}}));
            EXPECT_EQ(u.dates[3].at("Num") + " " + u.dates[3].at("Available"), "3 7");
        }
    }
}

// Memory that runs out half way through the list is answered with 4: a list
// cut short never passes for the lock's users.
TEST_F(UsersTest, QueryCutShortByMemoryAnswersFour) {
    Device().SetRuntime(kTableCode, *usertest::MakeTable(OQDEVSDK_DOORLOCK_MAX_USERS, 4));
    int cuts = 0;
    for (long n = 1; n <= kScannedAllocations && cuts == 0; ++n) {
        oqsim::clear_logs();
        dltest::ArmAllocationFault(n, false);
        const std::string body = Request(kCmdQueryUsers, 9, "<Request/>");
        dltest::DisarmAllocationFault();
        for (const oqsim::LogLine &line : oqsim::logs()) {
            if (line.text.rfind("Failed to fill user info, index=", 0) == 0) {
                ++cuts;
                EXPECT_EQ(ResultOf(body), 4) << "allocation " << n;
            }
        }
    }
    EXPECT_EQ(cuts, 1);
}

}  // namespace
