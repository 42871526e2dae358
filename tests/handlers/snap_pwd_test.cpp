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

using Record = oqDevSDK_DoorLock_SetSnapPwd_S;
using List = oqDevSDK_DoorLock_SnapPwdList_S;

constexpr int32_t kMarch7 = 1615104300;      // 2021-03-07 08:05:00 UTC
constexpr int32_t kNewYearEve = 1640995199;  // 2021-12-31 23:59:59 UTC

using plantest::ElemText;
using plantest::RunHandler;

std::unique_ptr<CMarkupSTL> Body(const std::string &doc) {
    return plantest::Inside(doc);
}

std::string CreateBody(const std::string &name, const std::string &num = "5") {
    return "<OptType Type=\"0\"/><Info><User Name=\"" + name +
           "\"/><Expire Begin=\"2021-03-07 08:05:00\" End=\"2021-12-31 23:59:59\"/><Limit Num=\"" +
           num + "\"/></Info>";
}

class SnapPwdTest : public dltest::ModuleTest {
  protected:
    void SetUp() override {
        ModuleTest::SetUp();
        oqsim::set_tz("UTC");
        InitModule();
    }
};

TEST_F(SnapPwdTest, CreateSendsTheRecordByteForByteAndAnswersWhatTheLockWrote) {
    Device().on_recv = [](oqDevSDK_DoorLock_Msg_S *msg) {
        auto *rec = static_cast<Record *>(msg->pData);
        rec->usIndex = 2;
        std::memcpy(rec->szPwd, "84736251", 9);
        return 0;
    };
    std::string rsp = RunHandler(&norla::ReqHnd_SetSnapPwd, CreateBody("guest"));

    Record want;
    std::memset(&want, 0, sizeof want);
    std::strcpy(want.szName, "guest");
    want.uiBeginTime = kMarch7;
    want.uiEndTime = kNewYearEve;
    want.iLimitNum = 5;
    want.iAvailableCount = 5;
    const dltest::Received *got = Device().Find(OQDEVSDK_DOORLOCK_TO_DEV_SET_SNAP_PWD);
    ASSERT_NE(got, nullptr);
    ASSERT_EQ(got->len, sizeof want);
    auto *p = reinterpret_cast<const uint8_t *>(&want);
    EXPECT_EQ(got->bytes, std::vector<uint8_t>(p, p + sizeof want));

    EXPECT_EQ(ResultOf(rsp), 0);
    EXPECT_EQ(ElemText(rsp, "Index"), "3");
    EXPECT_EQ(ElemText(rsp, "Pwd"), "84736251");
}

TEST_F(SnapPwdTest, SetOutcomes) {
    const std::string longName(70, 'n');
    struct Case {
        const char *what;
        std::string body;
        int deviceRet;
        int result;
        bool sent;
        uint8_t optType;
        uint16_t index;
        std::string name;
        std::string indexText;
        std::string log;
    };
    const Case cases[] = {
        {"delete", "<OptType Type=\"2\" Index=\"5\"/>", 0, 0, true, 2, 4, "", "5", ""},
        {"type 1 refused", "<OptType Type=\"1\" Index=\"5\"/>", 0, 3, false, 0, 0, "", "1",
         "Invalid operation type:1"},
        {"no OptType", "<Info/>", 0, 3, false, 0, 0, "", "1", "Failed to find elem:OptType"},
        {"empty Type", "<OptType Type=\"\"/>", 0, 3, false, 0, 0, "", "1",
         "Failed to find attrib:Type"},
        {"delete without Index", "<OptType Type=\"2\"/>", 0, 3, false, 0, 0, "", "1",
         "Failed to find attrib:Index"},
        {"no End",
         "<OptType Type=\"0\"/><Info><User Name=\"a\"/><Expire Begin=\"2021-1-1\"/></Info>", 0, 3,
         false, 0, 0, "", "1", "Failed to find attrib:End"},
        {"no Limit",
         "<OptType Type=\"0\"/><Info><User Name=\"a\"/><Expire Begin=\"1\" End=\"2\"/></Info>", 0,
         3, false, 0, 0, "", "1", "Failed to find elem:Limit"},
        {"name cut to 63", CreateBody(longName), 0, 0, true, 0, 0, longName.substr(0, 63), "1", ""},
        {"refusal 1", CreateBody("a"), 0x18001, 0x183001, true, 0, 0, "a", "1",
         "Failed to set snap password, Result:0x18001"},
        {"refusal 3", CreateBody("a"), 0x18003, 0x183003, true, 0, 0, "a", "1", ""},
        {"other device error", CreateBody("a"), 0x18004, 4, true, 0, 0, "a", "1", ""},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.what);
        Device().Reset();
        Device().recv_result[OQDEVSDK_DOORLOCK_TO_DEV_SET_SNAP_PWD] = c.deviceRet;
        std::string rsp = RunHandler(&norla::ReqHnd_SetSnapPwd, c.body);
        EXPECT_EQ(ResultOf(rsp), c.result);
        EXPECT_EQ(ElemText(rsp, "Index"), c.indexText);
        EXPECT_EQ(ElemText(rsp, "Pwd"), "");
        EXPECT_EQ(Device().CountReceived(OQDEVSDK_DOORLOCK_TO_DEV_SET_SNAP_PWD), c.sent ? 1 : 0);
        if (c.sent) {
            Record rec = Device().LastReceived<Record>(OQDEVSDK_DOORLOCK_TO_DEV_SET_SNAP_PWD);
            EXPECT_EQ(rec.ucOptType, c.optType);
            EXPECT_EQ(rec.usIndex, c.index);
            EXPECT_EQ(std::string(rec.szName), c.name);
        } else {
            EXPECT_TRUE(HasLog(1, "Failed to ParseSetSnapPassword."));
        }
        if (!c.log.empty()) {
            EXPECT_TRUE(HasLog(1, c.log)) << c.log;
        }
    }
}

TEST_F(SnapPwdTest, SetWithoutMemoryAnswersEmptyElements) {
    dltest::FailAllocations(sizeof(Record));
    std::string rsp = RunHandler(&norla::ReqHnd_SetSnapPwd, CreateBody("a"));
    EXPECT_EQ(ResultOf(rsp), 4);
    EXPECT_EQ(ElemText(rsp, "Index"), "");
    EXPECT_EQ(ElemText(rsp, "Pwd"), "");
    EXPECT_TRUE(HasLog(1, "Failed to malloc mem, size=100."));
    EXPECT_TRUE(Device().received.empty());
}

// Entries 5, 6, 7 named a, b, c; the first has unlimited uses, the last a
// name that fills its field without a terminator.
List MakeList(uint16_t count) {
    List list;
    std::memset(&list, 0, sizeof list);
    list.usCount = count;
    for (uint16_t i = 0; i < OQDEVSDK_DOORLOCK_MAX_SNAP_PWDS; ++i) {
        oqDevSDK_DoorLock_SnapPwdInfo_S &e = list.astEntry[i];
        e.usIndex = static_cast<uint16_t>(i + 4);
        e.szName[0] = static_cast<char>('a' + i);
        e.uiBeginTime = kMarch7;
        e.uiEndTime = kNewYearEve;
        e.iLimitNum = i == 0 ? -1 : 10 + i;
        e.iAvailableCount = 3;
    }
    std::memset(list.astEntry[2].szName, 'c', sizeof list.astEntry[2].szName);
    return list;
}

TEST_F(SnapPwdTest, QueryListsAtMostThreeEntries) {
    const std::string names[] = {"a", "b", std::string(64, 'c')};
    const std::string nums[] = {"-1", "11", "12"};
    const std::string left[] = {"-1", "3", "3"};
    const struct {
        uint16_t count;
        int infos;
    } cases[] = {{0, 0}, {3, 3}, {5, 3}};
    for (const auto &c : cases) {
        SCOPED_TRACE(c.count);
        Device().SetRuntime(OQDEVSDK_DOORLOCK_FROM_DEV_SNAP_PWDS, MakeList(c.count));
        std::string rsp = RunHandler(&norla::ReqHnd_QuerySnapPwdInfo, "");
        EXPECT_EQ(ResultOf(rsp), 0);
        auto xml = Body(rsp);
        int n = 0;
        for (; xml->FindElem("Info"); ++n) {
            EXPECT_EQ(xml->x_GetAttrib("Index"), std::to_string(n + 5));
            xml->IntoElem();
            EXPECT_TRUE(xml->FindElem("User"));
            EXPECT_EQ(xml->x_GetAttrib("Name"), names[n]);
            EXPECT_TRUE(xml->FindElem("Expire"));
            EXPECT_EQ(xml->x_GetAttrib("Begin"), "2021-03-07 08:05:00");
            EXPECT_EQ(xml->x_GetAttrib("End"), "2021-12-31 23:59:59");
            EXPECT_TRUE(xml->FindElem("Limit"));
            EXPECT_EQ(xml->x_GetAttrib("Num"), nums[n]);
            EXPECT_EQ(xml->x_GetAttrib("AvailableCount"), left[n]);
            xml->OutOfElem();
        }
        EXPECT_EQ(n, c.infos);
    }
}

TEST_F(SnapPwdTest, QueryFailures) {
    Device().get_result[OQDEVSDK_DOORLOCK_FROM_DEV_SNAP_PWDS] = 0x18002;
    std::string rsp = RunHandler(&norla::ReqHnd_QuerySnapPwdInfo, "");
    EXPECT_EQ(ResultOf(rsp), 4);
    EXPECT_TRUE(HasLog(1, "Failed to get snap password info."));

    Device().get_result.clear();
    dltest::FailAllocations(sizeof(List));
    rsp = RunHandler(&norla::ReqHnd_QuerySnapPwdInfo, "");
    EXPECT_EQ(ResultOf(rsp), 4);
    EXPECT_TRUE(HasLog(1, "Failed to malloc mem, size=256."));
    EXPECT_EQ(Body(rsp)->FindElem("Info"), false);
}

}  // namespace
