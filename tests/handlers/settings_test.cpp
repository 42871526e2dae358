#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <string>
#include <vector>

#include "oqDevSDK_door_lock.h"
#include "oqdev_sim.h"
#include "support/fixture.h"

namespace {

constexpr int kCmdSetSwitch = 18699;
constexpr int kCmdSetSwitchRsp = 18700;
constexpr int kCmdSetKeyValue = 18829;
constexpr int kCmdSetKeyValueRsp = 18830;
constexpr int kLogError = 1;
constexpr int kNone = -1;

std::string Req(const std::string &body) {
    return "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<Request>" + body + "</Request>";
}

std::string KeyReq(const std::string &key, const std::string &value) {
    return Req("<Type>" + key + "</Type><Value>" + value + "</Value>");
}

class SettingsHandlerTest : public dltest::ModuleTest {
  protected:
    void SetUp() override {
        ModuleTest::SetUp();
        InitModule();
    }

    // Sends one request on a clean slate and returns the response's Result.
    int Send(int cmd, int rspCmd, const std::string &body) {
        Device().received.clear();
        oqsim::clear_logs();
        oqsim::clear_sent();
        opsBefore_ = oqsim::status_ops().size();
        const uint32_t seq = ++seq_;
        const int result = ResultOf(Request(cmd, seq, body));
        const oqsim::Sent &rsp = LastSent();
        EXPECT_EQ(rsp.rec.iCmdId, rspCmd);
        EXPECT_EQ(rsp.rec.uiMsgSeq, seq);
        return result;
    }

    // Status ids whose report the last request forced, in order.
    std::vector<int> ForcedIds() const {
        std::vector<int> ids;
        const std::string prefix = "force ";
        const std::vector<std::string> &ops = oqsim::status_ops();
        for (size_t i = opsBefore_; i < ops.size(); ++i) {
            if (ops[i].compare(0, prefix.size(), prefix) == 0) {
                ids.push_back(std::stoi(ops[i].substr(prefix.size())));
            }
        }
        return ids;
    }

    uint32_t seq_ = 100;
    size_t opsBefore_ = 0;
};

TEST_F(SettingsHandlerTest, SetSwitchEnable) {
    struct Case {
        const char *name;
        std::string body;
        int result;
        const char *log;
        oqDevSDK_DoorLock_SwitchCfg_S sent;
    };
    const Case cases[] = {
        {"first type", R"(<Switch Type="30" Enable="1" Channel="1"/>)", 0, nullptr, {0, 1, 1}},
        {"mapped type", R"(<Switch Type="452" Enable="1" Channel="1"/>)", 0, nullptr, {2, 1, 1}},
        {"values unchecked",
         R"(<Switch Type="457" Enable="7" Channel="-3"/>)",
         0,
         nullptr,
         {7, 7, -3}},
        {"enable not a number",
         R"(<Switch Type="453" Enable="abc" Channel="2"/>)",
         0,
         nullptr,
         {3, 0, 2}},
        {"451 is not a switch", R"(<Switch Type="451"/>)", 2, "Invalid switch type:451", {}},
        {"type not a number",
         R"(<Switch Type="x" Enable="1" Channel="1"/>)",
         2,
         "Invalid switch type:0",
         {}},
        {"no switch", R"(<Other Type="30"/>)", 3, "Failed to find elem:Switch", {}},
        {"no type", R"(<Switch Enable="1" Channel="1"/>)", 3, "Failed to find attrib:Type", {}},
        {"empty enable",
         R"(<Switch Type="30" Enable="" Channel="1"/>)",
         3,
         "Failed to find attrib:Enable",
         {}},
        {"no channel", R"(<Switch Type="30" Enable="1"/>)", 3, "Failed to find attrib:Channel", {}},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(Send(kCmdSetSwitch, kCmdSetSwitchRsp, Req(c.body)), c.result);
        if (c.log != nullptr) {
            EXPECT_TRUE(HasLog(kLogError, c.log));
        }
        EXPECT_TRUE(ForcedIds().empty());
        if (c.result != 0) {
            EXPECT_TRUE(Device().received.empty());
            continue;
        }
        ASSERT_EQ(Device().CountReceived(OQDEVSDK_DOORLOCK_TO_DEV_SWITCH), 1);
        EXPECT_EQ(Device().received.back().len, OQDEVSDK_DOORLOCK_TO_DEV_SWITCH_LEN);
        const auto got =
            Device().LastReceived<oqDevSDK_DoorLock_SwitchCfg_S>(OQDEVSDK_DOORLOCK_TO_DEV_SWITCH);
        EXPECT_EQ(got.iSwitchIndex, c.sent.iSwitchIndex);
        EXPECT_EQ(got.iEnable, c.sent.iEnable);
        EXPECT_EQ(got.iChannel, c.sent.iChannel);
    }
}

TEST_F(SettingsHandlerTest, SetSwitchRefusedByDevice) {
    Device().recv_result[OQDEVSDK_DOORLOCK_TO_DEV_SWITCH] = 9;
    EXPECT_EQ(Send(kCmdSetSwitch, kCmdSetSwitchRsp,
                   Req(R"(<Switch Type="456" Enable="0" Channel="0"/>)")),
              4);
    EXPECT_TRUE(HasLog(kLogError, "Failed to set switch of door open remind."));
}

TEST_F(SettingsHandlerTest, SetKeyValue) {
    struct Case {
        const char *name;
        std::string body;
        int result;
        int devType;
        std::vector<int32_t> sent;
        int forced;
        std::vector<std::string> logs;
    };
    const std::string longKey = "doorFingerStore" + std::string(25, 'X');
    const Case cases[] = {
        {"finger store", KeyReq("doorFingerStore", "3"), 0, 1, {3}, 67, {}},
        {"bell tone", KeyReq("doorBellTone", "-2"), 0, 2, {-2}, 68, {}},
        {"prompt tone", KeyReq("doorPromptTone", "12"), 0, 3, {12}, 69, {}},
        {"face unlock",
         KeyReq("doorFaceUnlock", R"({"unlock_type":1,"unlock_sensitivity":80})"),
         0,
         9,
         {1, 80},
         97,
         {}},
        {"face unlock without sensitivity",
         KeyReq("doorFaceUnlock", R"({"unlock_type":1})"),
         4,
         kNone,
         {},
         97,
         {"Failed to find item:unlockType",
          R"(Failed to set key value, key=doorFaceUnlock, value={"unlock_type":1})"}},
        {"face unlock without type",
         KeyReq("doorFaceUnlock", R"({"unlock_sensitivity":2})"),
         4,
         kNone,
         {},
         97,
         {"Failed to find item:unlockType"}},
        {"face unlock not json",
         KeyReq("doorFaceUnlock", "x"),
         4,
         kNone,
         {},
         97,
         {"Failed to parse value string of icr dss:x",
          "Failed to set key value, key=doorFaceUnlock, value=x"}},
        {"key compared exactly",
         KeyReq("doorbellTone", "1"),
         2,
         kNone,
         {},
         kNone,
         {"Invalid Key:doorbellTone"}},
        {"key cut to 31",
         KeyReq(longKey, "1"),
         2,
         kNone,
         {},
         kNone,
         {"Invalid Key:" + longKey.substr(0, 31)}},
        {"no type", Req("<Value>1</Value>"), 3, kNone, {}, kNone, {"Failed to find elem:Type."}},
        {"no value",
         Req("<Type>doorBellTone</Type>"),
         3,
         kNone,
         {},
         kNone,
         {"Failed to find elem:Value."}},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(Send(kCmdSetKeyValue, kCmdSetKeyValueRsp, c.body), c.result);
        for (const std::string &log : c.logs) {
            EXPECT_TRUE(HasLog(kLogError, log)) << log;
        }
        EXPECT_EQ(ForcedIds(), c.forced == kNone ? std::vector<int>{} : std::vector<int>{c.forced});
        if (c.devType == kNone) {
            EXPECT_TRUE(Device().received.empty());
            continue;
        }
        ASSERT_EQ(Device().received.size(), 1u);
        const dltest::Received &got = Device().received.back();
        EXPECT_EQ(got.type, c.devType);
        ASSERT_EQ(got.len, c.sent.size() * sizeof(int32_t));
        std::vector<int32_t> values(c.sent.size());
        std::copy(got.bytes.begin(), got.bytes.end(), reinterpret_cast<uint8_t *>(values.data()));
        EXPECT_EQ(values, c.sent);
    }
}

// A refused value still forces the report, so the platform learns the lock's
// real value.
TEST_F(SettingsHandlerTest, SetKeyValueRefusedByDevice) {
    struct Case {
        int devType;
        std::string key;
        std::string value;
        int forced;
    };
    const Case cases[] = {
        {2, "doorBellTone", "9", 68},
        {9, "doorFaceUnlock", R"({"unlock_type":0,"unlock_sensitivity":0})", 97},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.key);
        Device().recv_result[c.devType] = 0x1004;
        EXPECT_EQ(Send(kCmdSetKeyValue, kCmdSetKeyValueRsp, KeyReq(c.key, c.value)), 4);
        EXPECT_EQ(Device().CountReceived(c.devType), 1);
        EXPECT_EQ(ForcedIds(), std::vector<int>{c.forced});
        EXPECT_TRUE(
            HasLog(kLogError, "Failed to set key value, key=" + c.key + ", value=" + c.value));
    }
}

}  // namespace
