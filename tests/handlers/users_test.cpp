#include <cstdint>
#include <cstring>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "CMarkupSTL.h"
#include "oqDevSDK_door_lock.h"
#include "support/fixture.h"

namespace {

constexpr int kCmdSetUser = 18857;
constexpr int kCmdSetUserRsp = 18858;
constexpr int kCmdQueryUsers = 20160;
constexpr int kCmdQueryUsersRsp = 20161;
constexpr int kLogError = 1;
constexpr int kUserTypeCode = OQDEVSDK_DOORLOCK_FROM_DEV_USER_INFO;
constexpr int kSetUserCode = OQDEVSDK_DOORLOCK_TO_DEV_SET_USER;
constexpr const char *kParseFailed = "Failed to ParseSetUserInfo.";

using Attrs = std::map<std::string, std::string>;

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
    bool userInfo = true;

    std::string Xml() const {
        std::string body = opt;
        if (userInfo) {
            body += "<UserInfo>" + user + "<Expire " + expire + ">" + dates + "</Expire>" + auth +
                    contents + "</UserInfo>";
        }
        return "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<Request>" + body + "</Request>";
    }
};

// The users of a response, attribute by attribute.
struct XmlUser {
    Attrs user;
    Attrs expire;
    std::vector<Attrs> dates;
    Attrs auth;
};
struct XmlAnswer {
    int result = -1000;
    std::string devSerial;
    bool hasDevSerial = false;
    std::vector<XmlUser> users;
};

Attrs Read(const CMarkupSTL &xml, std::initializer_list<const char *> names) {
    Attrs attrs;
    for (const char *name : names) {
        attrs[name] = xml.x_GetAttrib(name);
    }
    return attrs;
}

XmlUser ReadUser(CMarkupSTL &xml) {
    XmlUser u;
    xml.IntoElem();
    EXPECT_TRUE(xml.FindElem("User", true));
    u.user = Read(xml, {"Index", "Type", "Name", "RemarkName"});
    EXPECT_TRUE(xml.FindElem("Expire", true));
    u.expire = Read(xml, {"Enable", "Begin", "End"});
    xml.IntoElem();
    EXPECT_TRUE(xml.FindElem("DateList", true));
    xml.IntoElem();
    while (xml.FindElem("Date")) {
        u.dates.push_back(Read(xml, {"Begin", "End", "Weekday", "Num", "Available"}));
    }
    xml.OutOfElem();
    xml.OutOfElem();
    EXPECT_TRUE(xml.FindElem("Auth", true));
    u.auth = Read(xml, {"Pwd", "Card", "Finger", "Face"});
    xml.OutOfElem();
    return u;
}

XmlAnswer ParseAnswer(const std::string &body) {
    XmlAnswer answer;
    CMarkupSTL xml;
    if (!xml.SetDoc(body.c_str()) || !xml.FindElem("Response") || !xml.IntoElem()) {
        ADD_FAILURE() << "not a response: " << body;
        return answer;
    }
    if (xml.FindElem("Result", true)) {
        answer.result = std::stoi(xml.x_GetData());
    }
    answer.hasDevSerial = xml.FindElem("DevSerial", true);
    answer.devSerial = xml.x_GetData();
    xml.ResetPos();
    xml.FindElem("Response");
    xml.IntoElem();
    while (xml.FindElem("UserInfo")) {
        answer.users.push_back(ReadUser(xml));
    }
    return answer;
}

oqDevSDK_DoorLock_User_S MakeUser(unsigned int i, unsigned int dates) {
    oqDevSDK_DoorLock_User_S u;
    std::memset(&u, 0, sizeof u);
    u.usIndex = static_cast<uint16_t>(i);
    u.ucType = static_cast<uint8_t>(i % 3);
    u.ucExpireEnable = 1;
    std::snprintf(u.szName, sizeof u.szName, "user%u", i);
    std::snprintf(u.szRemarkName, sizeof u.szRemarkName, "remark%u", i);
    u.uiBeginTime = 1615104300;  // 2021-03-07 08:05:00 UTC
    u.uiEndTime = 1640995200;    // 2022-01-01 00:00:00 UTC
    u.usDateNum = static_cast<uint16_t>(dates);
    for (unsigned int d = 0; d < OQDEVSDK_DOORLOCK_MAX_USER_DATES; ++d) {
        oqDevSDK_DoorLock_UserDate_S &slot = u.astDate[d];
        slot.iBeginHour = 8;
        slot.iBeginMinute = static_cast<int32_t>(d);
        slot.iEndHour = 18;
        slot.iEndMinute = 30;
        slot.ucWeekday = 0x43;  // Monday, Saturday, Sunday
        slot.iNum = d == 0 ? -1 : static_cast<int32_t>(d);
        slot.iAvailable = 7;
    }
    u.usPwdNum = 1;
    u.usCardNum = 2;
    u.usFingerNum = 3;
    u.usFaceNum = static_cast<uint16_t>(i);
    return u;
}

std::unique_ptr<oqDevSDK_DoorLock_UserInfo_S> MakeTable(unsigned int users, unsigned int dates) {
    auto table = std::make_unique<oqDevSDK_DoorLock_UserInfo_S>();
    std::memset(table.get(), 0, sizeof *table);
    table->usUserNum = static_cast<uint16_t>(users);
    for (unsigned int i = 0; i < users && i < OQDEVSDK_DOORLOCK_MAX_USERS; ++i) {
        table->astUser[i] = MakeUser(i, dates);
    }
    return table;
}

class UsersTest : public dltest::ModuleTest {
  protected:
    void SetUp() override {
        ModuleTest::SetUp();
        oqsim::set_tz("UTC");
        InitModule();
        Device().SetRuntime(kUserTypeCode, *MakeTable(1, 1));
    }

    // Delivers one request through the kernel and parses the response.
    XmlAnswer Send(int cmd, int rspCmd, const std::string &body) {
        Device().received.clear();
        oqsim::clear_logs();
        oqsim::clear_sent();
        const uint32_t seq = ++seq_;
        const std::string rsp = Request(cmd, seq, body);
        EXPECT_EQ(LastSent().rec.iCmdId, rspCmd);
        EXPECT_EQ(LastSent().rec.uiMsgSeq, seq);
        return ParseAnswer(rsp);
    }
    XmlAnswer Set(const SetReq &req) { return Send(kCmdSetUser, kCmdSetUserRsp, req.Xml()); }
    XmlAnswer Query() {
        return Send(kCmdQueryUsers, kCmdQueryUsersRsp,
                    "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<Request/>");
    }
    oqDevSDK_DoorLock_SetUserCfg_S Sent() {
        EXPECT_EQ(Device().CountReceived(kSetUserCode), 1);
        if (Device().Find(kSetUserCode) != nullptr) {
            EXPECT_EQ(Device().Find(kSetUserCode)->len, OQDEVSDK_DOORLOCK_TO_DEV_SET_USER_LEN);
        }
        return Device().LastReceived<oqDevSDK_DoorLock_SetUserCfg_S>(kSetUserCode);
    }

    uint32_t seq_ = 500;
};

TEST_F(UsersTest, AddFillsEveryFieldOfTheSetRecord) {
    const XmlAnswer answer = Set(SetReq{});
    EXPECT_EQ(answer.result, 0);
    const oqDevSDK_DoorLock_SetUserCfg_S cfg = Sent();
    EXPECT_EQ(cfg.ucOptType, 1);
    EXPECT_EQ(cfg.ucReserved, 0);
    EXPECT_EQ(cfg.usOptIndex, 2);
    const oqDevSDK_DoorLock_User_S &u = cfg.stUser;
    EXPECT_EQ(u.usIndex, 2);
    EXPECT_EQ(u.ucType, 2);
    EXPECT_EQ(u.ucExpireEnable, 1);
    EXPECT_STREQ(u.szName, "alice");
    EXPECT_STREQ(u.szRemarkName, "al");
    EXPECT_EQ(u.uiBeginTime, 1615104300u);
    EXPECT_EQ(u.uiEndTime, 1640995200u);
    EXPECT_EQ(u.usDateNum, 1);
    EXPECT_EQ(u.astDate[0].iBeginHour, 8);
    EXPECT_EQ(u.astDate[0].iBeginMinute, 30);
    EXPECT_EQ(u.astDate[0].iEndHour, 18);
    EXPECT_EQ(u.astDate[0].iEndMinute, 5);
    EXPECT_EQ(u.astDate[0].ucWeekday, 0x07);
    EXPECT_EQ(u.astDate[0].iNum, 5);
    EXPECT_EQ(u.astDate[0].iAvailable, 3);
    const oqDevSDK_DoorLock_UserDate_S zeroDate{};
    EXPECT_EQ(std::memcmp(&u.astDate[1], &zeroDate, sizeof zeroDate), 0);
    EXPECT_EQ(u.usPwdNum, 1);
    EXPECT_EQ(u.usCardNum, 2);
    EXPECT_EQ(u.usFingerNum, 3);
    EXPECT_EQ(u.usFaceNum, 4);
    EXPECT_EQ(cfg.iContentsAction, OQDEVSDK_DOORLOCK_USER_NO_CONTENTS);
    EXPECT_EQ(cfg.ucContentAction, 0);
    EXPECT_EQ(cfg.usContentIndex, 0);
    EXPECT_STREQ(cfg.szContentStr, "");

    EXPECT_TRUE(answer.hasDevSerial);
    EXPECT_EQ(answer.devSerial, "SIMLOCK0001");
    ASSERT_EQ(answer.users.size(), 1u);
    EXPECT_EQ(answer.users[0].user.at("Name"), "user0");
}

TEST_F(UsersTest, ContentsVariants) {
    struct Case {
        const char *name;
        std::string contents;
        int32_t contentsAction;
        int contentAction;
        int contentType;
        int contentIndex;
        std::string str;
    };
    const Case cases[] = {
        {"absent", "", -2, 0, 0, 0, ""},
        {"action only, low 8 bits", R"(<Contents action="258"/>)", 2, 0, 0, 0, ""},
        {"empty action, no child", R"(<Contents action=""/>)", -2, 0, 0, 0, ""},
        {"child", R"(<Contents><Content index="2" type="3" action="1" str="abc"/></Contents>)", 0,
         1, 3, 1, "abc"},
        {"child without str", R"(<Contents><Content index="1" type="4" action="2"/></Contents>)", 0,
         2, 4, 0, ""},
        {"long str is cut",
         R"(<Contents><Content index="1" type="1" action="1" str=")" + std::string(80, 's') +
             R"("/></Contents>)",
         0, 1, 1, 0, std::string(63, 's')},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.name);
        SetReq req;
        req.contents = c.contents;
        EXPECT_EQ(Set(req).result, 0);
        const oqDevSDK_DoorLock_SetUserCfg_S cfg = Sent();
        EXPECT_EQ(cfg.iContentsAction, c.contentsAction);
        EXPECT_EQ(cfg.ucContentAction, c.contentAction);
        EXPECT_EQ(cfg.ucContentType, c.contentType);
        EXPECT_EQ(cfg.usContentIndex, c.contentIndex);
        EXPECT_EQ(cfg.szContentStr, c.str);
    }
}

TEST_F(UsersTest, DeleteSendsOnlyTheIndex) {
    SetReq req;
    req.opt = R"(<OptType Type="2" Index="5"/>)";
    req.userInfo = false;
    EXPECT_EQ(Set(req).result, 0);
    oqDevSDK_DoorLock_SetUserCfg_S want;
    std::memset(&want, 0, sizeof want);
    want.ucOptType = 2;
    want.usOptIndex = 4;
    const oqDevSDK_DoorLock_SetUserCfg_S got = Sent();
    EXPECT_EQ(std::memcmp(&got, &want, sizeof want), 0);
}

TEST_F(UsersTest, ScheduleAndTextLimits) {
    SetReq req;
    // Operation 0 carries no index, so only the first user matches it.
    req.opt = R"(<OptType Type="256"/>)";
    req.user = R"(<User Index="1" Type="1" Name=")" + std::string(70, 'n') + R"("/>)";
    req.dates = "<DateList>";
    for (int i = 0; i < 5; ++i) {
        req.dates += R"(<Date Weekday=")" + std::to_string(i + 1) + R"(" Begin="0)" +
                     std::to_string(i) + R"(:00" End="23:59" Num="-1"/>)";
    }
    req.dates += "</DateList>";
    EXPECT_EQ(Set(req).result, 0);
    const oqDevSDK_DoorLock_SetUserCfg_S cfg = Sent();
    EXPECT_EQ(cfg.ucOptType, 0);
    EXPECT_EQ(cfg.usOptIndex, 0);
    EXPECT_EQ(std::string(cfg.stUser.szName), std::string(63, 'n'));
    EXPECT_STREQ(cfg.stUser.szRemarkName, "");
    ASSERT_EQ(cfg.stUser.usDateNum, OQDEVSDK_DOORLOCK_MAX_USER_DATES);
    for (int i = 0; i < OQDEVSDK_DOORLOCK_MAX_USER_DATES; ++i) {
        EXPECT_EQ(cfg.stUser.astDate[i].ucWeekday, 1u << (i + 1));
        EXPECT_EQ(cfg.stUser.astDate[i].iBeginHour, i);
        EXPECT_EQ(cfg.stUser.astDate[i].iNum, -1);
        EXPECT_EQ(cfg.stUser.astDate[i].iAvailable, -1);
    }
}

TEST_F(UsersTest, BadRequestsNeverReachTheDevice) {
    struct Case {
        const char *name;
        std::string SetReq::*part;
        std::string value;
        const char *log;
    };
    const std::string goodDate =
        R"(<Date Weekday="1" Begin="01:00" End="02:00" Num="1" Available="1"/>)";
    auto dateList = [&](const std::string &second) {
        return "<DateList>" + goodDate + second + "</DateList>";
    };
    const Case cases[] = {
        {"no OptType", &SetReq::opt, "<Opt/>", "Failed to find elem:OptType"},
        {"empty Type", &SetReq::opt, R"(<OptType Type="" Index="3"/>)",
         "Failed to find attrib:Type"},
        {"no Index", &SetReq::opt, R"(<OptType Type="1"/>)", "Failed to find attrib:Index"},
        {"no User", &SetReq::user, "<Person/>", "Failed to find elem:User"},
        {"no user Index", &SetReq::user, R"(<User Type="1" Name="a"/>)",
         "Failed to find attrib:Index"},
        {"other user", &SetReq::user, R"(<User Index="4" Type="1" Name="a"/>)",
         "User index[3] is not expected[2]"},
        {"no user Type", &SetReq::user, R"(<User Index="3" Name="a"/>)",
         "Failed to find attrib:Type"},
        {"no Name", &SetReq::user, R"(<User Index="3" Type="1"/>)", "Failed to find attrib:Name"},
        {"no Enable", &SetReq::expire, R"(Begin="2021-01-01" End="2021-01-02")",
         "Failed to find attrib:Enable"},
        {"no Begin", &SetReq::expire, R"(Enable="1" End="2021-01-02")",
         "Failed to find attrib:Begin"},
        {"no End", &SetReq::expire, R"(Enable="1" Begin="2021-01-01")",
         "Failed to find attrib:End"},
        {"no Weekday", &SetReq::dates, dateList(R"(<Date Begin="01:00"/>)"),
         "[Index 1]Failed to find attrib:Weekday"},
        {"no slot Begin", &SetReq::dates, dateList(R"(<Date Weekday="1"/>)"),
         "[Index 1]Failed to find attrib:Begin."},
        {"no slot End", &SetReq::dates, dateList(R"(<Date Weekday="1" Begin="01:00"/>)"),
         "[Index 1]Failed to find attrib:End."},
        {"no Num", &SetReq::dates, dateList(R"(<Date Weekday="1" Begin="01:00" End="02:00"/>)"),
         "[Index 1]Failed to find attrib:Num."},
        {"no Available", &SetReq::dates,
         dateList(R"(<Date Weekday="1" Begin="01:00" End="02:00" Num="3"/>)"),
         "[Index 1]Failed to find attrib:Available."},
        {"no Auth", &SetReq::auth, "", "Failed to find elem:Auth"},
        {"no Pwd", &SetReq::auth, R"(<Auth Card="1" Finger="1" Face="1"/>)",
         "Failed to find attrib:Pwd."},
        {"no Card", &SetReq::auth, R"(<Auth Pwd="1" Finger="1" Face="1"/>)",
         "Failed to find attrib:Card."},
        {"no Finger", &SetReq::auth, R"(<Auth Pwd="1" Card="1" Face="1"/>)",
         "Failed to find attrib:Finger."},
        {"no Face", &SetReq::auth, R"(<Auth Pwd="1" Card="1" Finger="1"/>)",
         "Failed to find attrib:Face."},
        {"no content index", &SetReq::contents,
         R"(<Contents><Content type="1" action="1"/></Contents>)", "Failed to find attrib:index."},
        {"no content type", &SetReq::contents,
         R"(<Contents><Content index="1" action="1"/></Contents>)", "Failed to find attrib:type."},
        {"no content action", &SetReq::contents,
         R"(<Contents><Content index="1" type="1"/></Contents>)", "Failed to find attrib:action."},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.name);
        SetReq req;
        req.*c.part = c.value;
        const XmlAnswer answer = Set(req);
        EXPECT_EQ(answer.result, 3);
        EXPECT_TRUE(HasLog(kLogError, c.log));
        EXPECT_TRUE(HasLog(kLogError, kParseFailed));
        EXPECT_TRUE(Device().received.empty());
        EXPECT_EQ(answer.users.size(), 1u) << "the list comes with every answer";
    }

    SetReq noUserInfo;
    noUserInfo.userInfo = false;
    EXPECT_EQ(Set(noUserInfo).result, 3);
    EXPECT_TRUE(HasLog(kLogError, "Failed to find elem:UserInfo"));

    SetReq firstOnly;
    firstOnly.opt = R"(<OptType Type="0"/>)";
    EXPECT_EQ(Set(firstOnly).result, 3);
    EXPECT_TRUE(HasLog(kLogError, "User index[2] is not expected[0]"));
}

TEST_F(UsersTest, DeviceRefusalsMapToPlatformCodes) {
    struct Case {
        int answer;
        int result;
    };
    const Case cases[] = {{98308, 1581063}, {98309, 1581064}, {1, 4}, {-1, 4}, {98310, 4}};
    for (const Case &c : cases) {
        SCOPED_TRACE(c.answer);
        Device().recv_result[kSetUserCode] = c.answer;
        const XmlAnswer answer = Set(SetReq{});
        EXPECT_EQ(answer.result, c.result);
        EXPECT_TRUE(HasLog(kLogError, "Failed to set user info of door lock."));
        EXPECT_EQ(answer.users.size(), 1u);
    }
}

TEST_F(UsersTest, SetKeepsItsResultWhenTheListIsUnavailable) {
    Device().get_result[kUserTypeCode] = 5;
    XmlAnswer answer = Set(SetReq{});
    EXPECT_EQ(answer.result, 0);
    EXPECT_TRUE(answer.hasDevSerial);
    EXPECT_TRUE(answer.users.empty());
    EXPECT_TRUE(HasLog(kLogError, "Failed to get user info."));
    Device().get_result.clear();

    dltest::FailAllocations(OQDEVSDK_DOORLOCK_FROM_DEV_USER_INFO_LEN);
    answer = Set(SetReq{});
    EXPECT_EQ(answer.result, 0);
    EXPECT_TRUE(answer.users.empty());
    EXPECT_TRUE(HasLog(kLogError, "Failed to malloc mem, size=132004."));

    dltest::FailAllocations(OQDEVSDK_DOORLOCK_TO_DEV_SET_USER_LEN);
    answer = Set(SetReq{});
    EXPECT_EQ(answer.result, 4);
    EXPECT_TRUE(HasLog(kLogError, "Failed to malloc mem, size=340."));
    EXPECT_TRUE(Device().received.empty());
    EXPECT_EQ(answer.users.size(), 1u);
}

TEST_F(UsersTest, QueryWritesTheWholeTable) {
    struct Case {
        unsigned int users;
        unsigned int dates;
    };
    for (const Case c : {Case{0, 0}, Case{1, 0}, Case{1, 4}, Case{500, 4}}) {
        SCOPED_TRACE(std::to_string(c.users) + " users");
        Device().SetRuntime(kUserTypeCode, *MakeTable(c.users, c.dates));
        const XmlAnswer answer = Query();
        EXPECT_EQ(answer.result, 0);
        EXPECT_EQ(answer.devSerial, "SIMLOCK0001");
        ASSERT_EQ(answer.users.size(), c.users);
        for (unsigned int i = 0; i < c.users; i += 97) {
            const XmlUser &u = answer.users[i];
            EXPECT_EQ(u.user, (Attrs{{"Index", std::to_string(i + 1)},
                                     {"Type", std::to_string(i % 3)},
                                     {"Name", "user" + std::to_string(i)},
                                     {"RemarkName", "remark" + std::to_string(i)}}));
            EXPECT_EQ(u.expire, (Attrs{{"Enable", "1"},
                                       {"Begin", "2021-03-07 08:05:00"},
                                       {"End", "2022-01-01 00:00:00"}}));
            EXPECT_EQ(
                u.auth,
                (Attrs{{"Pwd", "1"}, {"Card", "2"}, {"Finger", "3"}, {"Face", std::to_string(i)}}));
            ASSERT_EQ(u.dates.size(), c.dates);
            for (unsigned int d = 0; d < c.dates; ++d) {
                const bool unlimited = d == 0;
                EXPECT_EQ(u.dates[d], (Attrs{{"Begin", "08:0" + std::to_string(d)},
                                             {"End", "18:30"},
                                             {"Weekday", "1,6,7"},
                                             {"Num", unlimited ? "-1" : std::to_string(d)},
                                             {"Available", unlimited ? "-1" : "7"}}));
            }
        }
    }
}

TEST_F(UsersTest, QueryStaysWithinAGarbageTable) {
    auto table = MakeTable(OQDEVSDK_DOORLOCK_MAX_USERS, 4);
    table->usUserNum = 600;
    table->astUser[0].usDateNum = 9;
    std::memset(table->astUser[0].szName, 'x', sizeof table->astUser[0].szName);
    std::memset(table->astUser[0].szRemarkName, 'y', sizeof table->astUser[0].szRemarkName);
    Device().SetRuntime(kUserTypeCode, *table);
    const XmlAnswer answer = Query();
    ASSERT_EQ(answer.users.size(), static_cast<size_t>(OQDEVSDK_DOORLOCK_MAX_USERS));
    EXPECT_EQ(answer.users[0].dates.size(), static_cast<size_t>(OQDEVSDK_DOORLOCK_MAX_USER_DATES));
    EXPECT_EQ(answer.users[0].user.at("Name"), std::string(64, 'x'));
    EXPECT_EQ(answer.users[0].user.at("RemarkName"), std::string(64, 'y'));
}

TEST_F(UsersTest, QueryFailures) {
    Device().get_result[kUserTypeCode] = 2;
    XmlAnswer answer = Query();
    EXPECT_EQ(answer.result, 4);
    EXPECT_TRUE(answer.hasDevSerial);
    EXPECT_TRUE(answer.users.empty());
    EXPECT_TRUE(HasLog(kLogError, "Failed to get user info."));
    Device().get_result.clear();

    const int fetches = Device().get_calls[kUserTypeCode];
    dltest::FailAllocations(OQDEVSDK_DOORLOCK_FROM_DEV_USER_INFO_LEN);
    answer = Query();
    EXPECT_EQ(answer.result, 4);
    EXPECT_TRUE(HasLog(kLogError, "Failed to malloc mem, size=132004."));
    EXPECT_EQ(Device().get_calls[kUserTypeCode], fetches);
}

}  // namespace
