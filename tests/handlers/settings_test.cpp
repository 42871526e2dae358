#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "oqDevSDK_door_lock.h"
#include "oqdev_sim.h"
#include "support/fixture.h"

namespace {

constexpr int kNone = -1;

std::string Req(const std::string &body) {
    return "<Request>" + body + "</Request>";
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

    // Sends one request on a clean slate; checks the response's id and
    // sequence number and returns its Result.
    int Send(int cmd, const std::string &body) {
        Device().received.clear();
        oqsim::clear_logs();
        opsBefore_ = oqsim::status_ops().size();
        const int result = ResultOf(Request(cmd, ++seq_, body));
        EXPECT_EQ(LastSent().rec.iCmdId, cmd + 1);
        EXPECT_EQ(LastSent().rec.uiMsgSeq, seq_);
        return result;
    }

    // Status ids whose report the last request forced.
    std::vector<int> Forced() const {
        std::vector<int> ids;
        const std::vector<std::string> &ops = oqsim::status_ops();
        for (size_t i = opsBefore_; i < ops.size(); ++i) {
            if (ops[i].rfind("force ", 0) == 0) {
                ids.push_back(std::stoi(ops[i].substr(6)));
            }
        }
        return ids;
    }

    uint32_t seq_ = 100;
    size_t opsBefore_ = 0;
};

TEST_F(SettingsHandlerTest, SetSwitchEnable) {
    struct Case {
        std::string body;
        int deviceResult;
        int result;
        const char *log;
        std::vector<int32_t> sent;  // index, enable, channel
    };
    const Case cases[] = {
        {R"(<Switch Type="30" Enable="1" Channel="1"/>)", 0, 0, nullptr, {0, 1, 1}},
        {R"(<Switch Type="452" Enable="7" Channel="-3"/>)", 0, 0, nullptr, {2, 7, -3}},
        {R"(<Switch Type="457" Enable="abc" Channel="2"/>)", 0, 0, nullptr, {7, 0, 2}},
        {R"(<Switch Type="451"/>)", 0, 2, "Invalid switch type:451", {}},
        {R"(<Switch Type="x" Enable="1" Channel="1"/>)", 0, 2, "Invalid switch type:0", {}},
        {R"(<Other Type="30"/>)", 0, 3, "Failed to find elem:Switch", {}},
        {R"(<Switch Enable="1" Channel="1"/>)", 0, 3, "Failed to find attrib:Type", {}},
        {R"(<Switch Type="30" Enable="" Channel="1"/>)", 0, 3, "Failed to find attrib:Enable", {}},
        {R"(<Switch Type="30" Enable="1"/>)", 0, 3, "Failed to find attrib:Channel", {}},
        {R"(<Switch Type="456" Enable="0" Channel="0"/>)",
         9,
         4,
         "Failed to set switch of door open remind.",
         {6, 0, 0}},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.body);
        Device().recv_result[OQDEVSDK_DOORLOCK_TO_DEV_SWITCH] = c.deviceResult;
        EXPECT_EQ(Send(18699, Req(c.body)), c.result);
        if (c.log != nullptr) {
            EXPECT_TRUE(HasLog(1, c.log));
        }
        EXPECT_TRUE(Forced().empty());
        ASSERT_EQ(Device().received.size(), c.sent.empty() ? 0u : 1u);
        if (!c.sent.empty()) {
            const auto got = Device().LastReceived<oqDevSDK_DoorLock_SwitchCfg_S>(0);
            EXPECT_EQ(Device().received[0].len, OQDEVSDK_DOORLOCK_TO_DEV_SWITCH_LEN);
            EXPECT_EQ((std::vector<int32_t>{got.iSwitchIndex, got.iEnable, got.iChannel}), c.sent);
        }
    }
}

// Whatever the device answers, a known key forces its report, so the
// platform hears the lock's real value.
TEST_F(SettingsHandlerTest, SetKeyValue) {
    struct Case {
        std::string body;
        int deviceResult;
        int result;
        int devType;
        std::vector<int32_t> sent;
        int forced;
        std::vector<std::string> logs;
    };
    const std::string face = R"({"unlock_type":1,"unlock_sensitivity":80})";
    const std::string longKey = "doorFingerStore" + std::string(25, 'X');
    const Case cases[] = {
        {KeyReq("doorFingerStore", "3"), 0, 0, 1, {3}, 67, {}},
        {KeyReq("doorBellTone", "-2"), 0, 0, 2, {-2}, 68, {}},
        {KeyReq("doorPromptTone", "12"), 0, 0, 3, {12}, 69, {}},
        {KeyReq("doorFaceUnlock", face), 0, 0, 9, {1, 80}, 97, {}},
        {KeyReq("doorBellTone", "9"),
         0x1004,
         4,
         2,
         {9},
         68,
         {"Failed to set key value, key=doorBellTone, value=9"}},
        {KeyReq("doorFaceUnlock", face), 1, 4, 9, {1, 80}, 97, {}},
        {KeyReq("doorFaceUnlock", R"({"unlock_type":1})"),
         0,
         4,
         kNone,
         {},
         97,
         {"Failed to find item:unlockType",
          R"(Failed to set key value, key=doorFaceUnlock, value={"unlock_type":1})"}},
        {KeyReq("doorFaceUnlock", R"({"unlock_sensitivity":2})"),
         0,
         4,
         kNone,
         {},
         97,
         {"Failed to find item:unlockType"}},
        {KeyReq("doorFaceUnlock", "x"),
         0,
         4,
         kNone,
         {},
         97,
         {"Failed to parse value string of icr dss:x",
          "Failed to set key value, key=doorFaceUnlock, value=x"}},
        {KeyReq("doorbellTone", "1"), 0, 2, kNone, {}, kNone, {"Invalid Key:doorbellTone"}},
        {KeyReq(longKey, "1"), 0, 2, kNone, {}, kNone, {"Invalid Key:" + longKey.substr(0, 31)}},
        {Req("<Value>1</Value>"), 0, 3, kNone, {}, kNone, {"Failed to find elem:Type."}},
        {Req("<Type>doorBellTone</Type>"), 0, 3, kNone, {}, kNone, {"Failed to find elem:Value."}},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.body);
        Device().recv_result[c.devType] = c.deviceResult;
        EXPECT_EQ(Send(18829, c.body), c.result);
        for (const std::string &log : c.logs) {
            EXPECT_TRUE(HasLog(1, log)) << log;
        }
        EXPECT_EQ(Forced(), c.forced == kNone ? std::vector<int>{} : std::vector<int>{c.forced});
        ASSERT_EQ(Device().received.size(), c.sent.empty() ? 0u : 1u);
        if (!c.sent.empty()) {
            const dltest::Received &got = Device().received[0];
            EXPECT_EQ(got.type, c.devType);
            ASSERT_EQ(got.len, c.sent.size() * sizeof(int32_t));
            std::vector<int32_t> values(c.sent.size());
            std::memcpy(values.data(), got.bytes.data(), got.len);
            EXPECT_EQ(values, c.sent);
        }
        Device().recv_result.clear();
    }
}

}  // namespace
