#include <cstring>
#include <string>
#include <vector>

#include "handlers/handlers.h"
#include "handlers/plans_harness.h"

namespace {

using Record = oqDevSDK_DoorLock_SetSnapPwd_S;
using List = oqDevSDK_DoorLock_SnapPwdList_S;
using plantest::ElemText;
using plantest::RunHandler;
using SnapPwdTest = plantest::HandlerTest;

constexpr int kSetCode = OQDEVSDK_DOORLOCK_TO_DEV_SET_SNAP_PWD;

std::vector<uint8_t> Bytes(const Record &rec) {
    const auto *p = reinterpret_cast<const uint8_t *>(&rec);
    return std::vector<uint8_t>(p, p + sizeof rec);
}

// The response carries the index and password the lock wrote into the record;
// a delete carries only the index.
TEST_F(SnapPwdTest, CreateAndDeleteSendTheRecordByteForByte) {
    Device().on_recv = [](oqDevSDK_DoorLock_Msg_S *msg) {
        auto *rec = static_cast<Record *>(msg->pData);
        rec->usIndex = 2;
        std::memcpy(rec->szPwd, "84736251", 9);
        return 0;
    };
    std::string rsp = RunHandler(&norla::ReqHnd_SetSnapPwd,
                                 "<OptType Type=\"0\"/><Info><User Name=\"" + std::string(70, 'n') +
                                     "\"/><Expire Begin=\"2021-03-07 08:05:00\" End=\"2021-12-31 "
                                     "23:59:59\"/><Limit Num=\"5\"/></Info>");
    Record want;
    std::memset(&want, 0, sizeof want);
    std::memset(want.szName, 'n', sizeof want.szName - 1);
    want.uiBeginTime = 1615104300;  // 2021-03-07 08:05:00 UTC
    want.uiEndTime = 1640995199;
    want.iLimitNum = 5;
    want.iAvailableCount = 5;
    ASSERT_NE(Device().Find(kSetCode), nullptr);
    EXPECT_EQ(Device().Find(kSetCode)->bytes, Bytes(want));
    EXPECT_EQ(ResultOf(rsp), 0);
    EXPECT_EQ(ElemText(rsp, "Index") + " " + ElemText(rsp, "Pwd"), "3 84736251");

    Device().on_recv = nullptr;
    rsp = RunHandler(&norla::ReqHnd_SetSnapPwd, "<OptType Type=\"2\" Index=\"5\"/>");
    std::memset(&want, 0, sizeof want);
    want.ucOptType = 2;
    want.usIndex = 4;
    EXPECT_EQ(Device().Find(kSetCode)->bytes, Bytes(want));
    EXPECT_EQ(ElemText(rsp, "Index") + " " + ElemText(rsp, "Pwd"), "5 ");
}

TEST_F(SnapPwdTest, BadRequestsNeverReachTheLock) {
    const std::string expire = "<OptType Type=\"0\"/><Info><User Name=\"a\"/><Expire Begin=\"1\"";
    const std::pair<std::string, const char *> cases[] = {
        {"<OptType Type=\"1\" Index=\"5\"/>", "Invalid operation type:1"},
        {"<Info/>", "Failed to find elem:OptType"},
        {"<OptType Type=\"\"/>", "Failed to find attrib:Type"},
        {"<OptType Type=\"2\"/>", "Failed to find attrib:Index"},
        {expire + "/></Info>", "Failed to find attrib:End"},
        {expire + " End=\"2\"/></Info>", "Failed to find elem:Limit"},
    };
    for (const auto &[body, log] : cases) {
        oqsim::clear_logs();
        const std::string rsp = RunHandler(&norla::ReqHnd_SetSnapPwd, body);
        EXPECT_EQ(ResultOf(rsp), 3) << body;
        EXPECT_EQ(ElemText(rsp, "Index") + " " + ElemText(rsp, "Pwd"), "1 ") << body;
        EXPECT_TRUE(HasLog(1, log)) << log;
        EXPECT_TRUE(HasLog(1, "Failed to ParseSetSnapPassword."));
    }
    EXPECT_TRUE(Device().received.empty());
}

TEST_F(SnapPwdTest, QueryListsAtMostThreeEntries) {
    List list;
    std::memset(&list, 0, sizeof list);
    for (uint16_t i = 0; i < OQDEVSDK_DOORLOCK_MAX_SNAP_PWDS; ++i) {
        list.astEntry[i] = {
            static_cast<uint16_t>(i + 4), {}, {static_cast<char>('a' + i)}, 1615104300, 1640995199,
            i == 0 ? -1 : 10 + i,         3};
    }
    // The last name fills its field without a terminator.
    std::memset(list.astEntry[2].szName, 'c', sizeof list.astEntry[2].szName);
    const std::string span = " 2021-03-07 08:05:00 2021-12-31 23:59:59 ";
    const std::string want[] = {"5 a" + span + "-1 -1", "6 b" + span + "11 3",
                                "7 " + std::string(64, 'c') + span + "12 3"};
    for (auto [count, infos] : {std::pair<uint16_t, size_t>{0, 0}, {3, 3}, {5, 3}}) {
        list.usCount = count;
        Device().SetRuntime(OQDEVSDK_DOORLOCK_FROM_DEV_SNAP_PWDS, list);
        const std::string rsp = RunHandler(&norla::ReqHnd_QuerySnapPwdInfo, "");
        EXPECT_EQ(ResultOf(rsp), 0);
        auto xml = plantest::Inside(rsp);
        std::vector<std::string> got;
        while (xml->FindElem("Info")) {
            got.push_back(xml->x_GetAttrib("Index"));
            xml->IntoElem();
            got.back() += plantest::Attribs(*xml, "User", {"Name"}) +
                          plantest::Attribs(*xml, "Expire", {"Begin", "End"}) +
                          plantest::Attribs(*xml, "Limit", {"Num", "AvailableCount"});
            xml->OutOfElem();
        }
        EXPECT_EQ(got, std::vector<std::string>(want, want + infos)) << count;
    }
}

}  // namespace
