#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <memory>
#include <string>

#include "oqDevSDK_door_lock.h"
#include "support/fixture.h"
#include "vocabulary.h"

namespace {

using norla::kCmdQueryUserInfo;
using norla::kCmdSetUserInfo;

using Cfg = oqDevSDK_DoorLock_SetUserCfg_S;
using Table = oqDevSDK_DoorLock_UserInfo_S;

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

// A table claiming `users` users (every field derived from the slot) with
// `dates` date slots each, the first without a use limit.
std::unique_ptr<Table> MakeTable(unsigned int users, unsigned int dates) {
    auto table = std::make_unique<Table>();
    table->usUserNum = static_cast<uint16_t>(users);
    for (unsigned int i = 0; i < users && i < OQDEVSDK_DOORLOCK_MAX_USERS; ++i) {
        const auto n = static_cast<uint16_t>(i);
        const auto type = static_cast<uint8_t>(i % 3);
        const auto days = static_cast<uint16_t>(dates);
        oqDevSDK_DoorLock_User_S &u = table->astUser[i];
        u = {n, type, 1, {}, {}, 1615104300, 1640995200, days, {}, {}, 1, 2, 3, n};
        std::snprintf(u.szName, sizeof u.szName, "user%u", i);
        std::snprintf(u.szRemarkName, sizeof u.szRemarkName, "remark%u", i);
        for (int32_t d = 0; d < OQDEVSDK_DOORLOCK_MAX_USER_DATES; ++d) {
            u.astDate[d] = {8, d, 18, 30, 0x43, {}, d == 0 ? -1 : d, 7};
        }
    }
    return table;
}

// The whole response for a table with four date slots: the result, DevSerial,
// then the first `users` users, the first of them named `first`.
std::string Response(int result, unsigned int users, const std::string &first = "user0") {
    std::string dates;
    for (int d = 0; d < OQDEVSDK_DOORLOCK_MAX_USER_DATES; ++d) {
        dates += "<Date Begin=\"08:0" + std::to_string(d) + "\" End=\"18:30\" Weekday=\"1,6,7\"" +
                 (d == 0 ? " Num=\"-1\" Available=\"-1\"/>"
                         : " Num=\"" + std::to_string(d) + "\" Available=\"7\"/>");
    }
    std::string out = "<Response><Result>" + std::to_string(result) +
                      "</Result><DevSerial>SIMLOCK0001</DevSerial>";
    for (unsigned int i = 0; i < users; ++i) {
        const std::string n = std::to_string(i);
        out += "<UserInfo><User Index=\"" + std::to_string(i + 1) + "\" Type=\"" +
               std::to_string(i % 3) + "\" Name=\"" + (i == 0 ? first : "user" + n) +
               "\" RemarkName=\"remark" + n +
               "\"/><Expire Enable=\"1\" Begin=\"2021-03-07 08:05:00\" End=\"2022-01-01 "
               "00:00:00\"><DateList>" +
               dates + "</DateList></Expire><Auth Pwd=\"1\" Card=\"2\" Finger=\"3\" Face=\"" + n +
               "\"/></UserInfo>";
    }
    return out + "</Response>";
}

class UsersTest : public dltest::ModuleTest {
  protected:
    void SetUp() override {
        ModuleTest::SetUp();
        oqsim::set_tz("UTC");
        InitModule();
        Device().SetRuntime(kTableCode, *MakeTable(1, 4));
    }

    // Delivers one request through the kernel; checks the response's id and
    // sequence number and returns it from its root element on.
    std::string Send(int cmd, const std::string &body) {
        Device().received.clear();
        oqsim::clear_logs();
        const std::string rsp = Request(cmd, ++seq_, body);
        EXPECT_EQ(LastSent().rec.iCmdId, cmd + 1);
        EXPECT_EQ(LastSent().rec.uiMsgSeq, seq_);
        return rsp.substr(std::min(rsp.find("<Response>"), rsp.size()));
    }
    Cfg Sent() {
        EXPECT_EQ(Device().CountReceived(kSetCode), 1);
        EXPECT_EQ(Device().received.at(0).len, OQDEVSDK_DOORLOCK_TO_DEV_SET_USER_LEN);
        return Device().LastReceived<Cfg>(kSetCode);
    }

    uint32_t seq_ = 500;
};

TEST_F(UsersTest, AddAndDeleteFillTheSetRecordFieldByField) {
    EXPECT_EQ(Send(kCmdSetUserInfo, SetReq{}.Xml()), Response(0, 1));
    oqDevSDK_DoorLock_User_S user = {2, 2,  1,  "alice", "al", 1615104300, 1640995200,
                                     1, {}, {}, 1,       2,    3,          4};
    user.astDate[0] = {8, 30, 18, 5, 0x07, {}, 5, 3};
    const Cfg want = {1, 0, 2, user, OQDEVSDK_DOORLOCK_USER_NO_CONTENTS, 0, 0, 0, {}};
    Cfg got = Sent();
    EXPECT_EQ(std::memcmp(&got, &want, sizeof want), 0);

    EXPECT_EQ(Send(kCmdSetUserInfo, R"(<Request><OptType Type="2" Index="5"/></Request>)"),
              Response(0, 1));
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
    EXPECT_EQ(Send(kCmdSetUserInfo, req.Xml()), Response(0, 1));
    oqDevSDK_DoorLock_User_S user = {0, 1,  1,  {}, "", 1615104300, 1640995200,
                                     4, {}, {}, 1,  2,  3,          4};
    std::memset(user.szName, 'n', sizeof user.szName - 1);
    for (int32_t i = 0; i < OQDEVSDK_DOORLOCK_MAX_USER_DATES; ++i) {
        user.astDate[i] = {i + 1, 0, 23, 59, static_cast<uint8_t>(2 << i), {}, -1, -1};
    }
    Cfg want = {0, 0, 0, user, 0, 1, 3, 1, {}};
    std::memset(want.szContentStr, 's', sizeof want.szContentStr - 1);
    const Cfg got = Sent();
    EXPECT_EQ(std::memcmp(&got, &want, sizeof want), 0);
}

// An action on Contents itself applies to all of them: the record carries
// its low byte and no single content.
TEST_F(UsersTest, ContentsActionTakesTheLowByte) {
    const struct {
        const char *action;
        int32_t recorded;
    } cases[] = {{"3", 3}, {"259", 3}, {"-1", 255}, {"4294967296", 255}};
    for (const auto &c : cases) {
        SCOPED_TRACE(c.action);
        SetReq req;
        req.contents = std::string(R"(<Contents action=")") + c.action +
                       R"("><Content index="2" type="3" action="1" str="s"/></Contents>)";
        EXPECT_EQ(Send(kCmdSetUserInfo, req.Xml()), Response(0, 1));
        const Cfg got = Sent();
        EXPECT_EQ(got.iContentsAction, c.recorded);
        EXPECT_EQ(got.usContentIndex, 0);
        EXPECT_EQ(got.szContentStr[0], '\0');
    }
}

TEST_F(UsersTest, BadRequestsNeverReachTheDevice) {
    const std::string date =
        R"(<Date Weekday="1" Begin="01:00" End="02:00" Num="1" Available="1"/>)";
    const struct {
        std::string SetReq::*part;
        std::string value;
        const char *log;
    } cases[] = {
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
        SetReq req;
        req.*part = value;
        EXPECT_EQ(Send(kCmdSetUserInfo, req.Xml()), Response(3, 1))
            << "the list comes with every answer";
        EXPECT_TRUE(HasLog(1, log)) << log;
        EXPECT_TRUE(HasLog(1, "Failed to ParseSetUserInfo."));
        EXPECT_TRUE(Device().received.empty());
    }
}

// The device may claim more users and dates than fit and fill names without
// a terminator: the list stays within the table.
TEST_F(UsersTest, QueryWritesTheWholeTable) {
    for (auto [count, listed] : {std::pair{0u, 0u}, {1u, 1u}, {600u, 500u}}) {
        auto table = MakeTable(count, 9);
        std::memset(table->astUser[0].szName, 'x', sizeof table->astUser[0].szName);
        Device().SetRuntime(kTableCode, *table);
        EXPECT_TRUE(Send(kCmdQueryUserInfo, "<Request/>") ==
                    Response(0, listed, std::string(64, 'x')))
            << count << " users";
    }
}

// Memory that runs out half way through the list is answered with 4: a list
// cut short never passes for the lock's users.
TEST_F(UsersTest, QueryCutShortByMemoryAnswersFour) {
    Device().SetRuntime(kTableCode, *MakeTable(OQDEVSDK_DOORLOCK_MAX_USERS, 4));
    int cuts = 0;
    for (long n = 1; n <= kScannedAllocations && cuts == 0; ++n) {
        oqsim::clear_logs();
        dltest::ArmAllocationFault(n, false);
        const std::string body = Request(kCmdQueryUserInfo, 9, "<Request/>");
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
