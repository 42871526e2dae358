#include <algorithm>
#include <cstring>
#include <string>

#include "oqDevSDK_door_lock.h"
#include "support/fixture.h"
#include "vocabulary.h"

namespace {

using norla::kCmdSetKeyValue;
using norla::kCmdSetSwitch;

std::string KeyReq(const std::string &key, const std::string &value) {
    return "<Type>" + key + "</Type><Value>" + value + "</Value>";
}

class SettingsHandlerTest : public dltest::ModuleTest {
  protected:
    void SetUp() override {
        ModuleTest::SetUp();
        InitModule();
    }

    // Sends one request through the kernel on a clean slate; checks the
    // response's id and sequence number and returns its Result. `effects`
    // gets the status operations the request caused and the int32 fields of
    // the record the device got, as "type: values".
    int Send(int cmd, const std::string &body, std::string *effects) {
        Device().received.clear();
        oqsim::clear_logs();
        const size_t before = oqsim::status_ops().size();
        const int result = ResultOf(Request(cmd, ++seq_, "<Request>" + body + "</Request>"));
        EXPECT_EQ(LastSent().rec.iCmdId, cmd + 1);
        EXPECT_EQ(LastSent().rec.uiMsgSeq, seq_);
        for (size_t i = before; i < oqsim::status_ops().size(); ++i) {
            *effects += oqsim::status_ops()[i] + ";";
        }
        for (const dltest::Received &got : Device().received) {
            *effects += std::to_string(got.type) + ":";
            for (size_t at = 0; at + sizeof(int32_t) <= got.bytes.size(); at += sizeof(int32_t)) {
                int32_t v = 0;
                std::memcpy(&v, got.bytes.data() + at, sizeof v);
                *effects += " " + std::to_string(v);
            }
        }
        return result;
    }

    uint32_t seq_ = 100;
};

// A known key forces its report even when the set fails, so the platform
// hears the lock's real value; a switch set forces nothing.
TEST_F(SettingsHandlerTest, SetRequests) {
    const std::string face = R"({"unlock_type":1,"unlock_sensitivity":80})";
    const std::string longKey = "doorFingerStore" + std::string(25, 'X');
    const std::string failed = "Failed to set key value, key=doorFaceUnlock, value=";
    // command, body, result, effects, logs
    const struct {
        int cmd;
        std::string body;
        int result;
        const char *effects;
        std::string log;
        std::string log2;
    } cases[] = {
        {kCmdSetSwitch, R"(<Switch Type="30" Enable="1" Channel="1"/>)", 0, "0: 0 1 1", "", ""},
        {kCmdSetSwitch, R"(<Switch Type="452" Enable="7" Channel="-3"/>)", 0, "0: 2 7 -3", "", ""},
        {kCmdSetSwitch, R"(<Switch Type="457" Enable="abc" Channel="2"/>)", 0, "0: 7 0 2", "", ""},
        {kCmdSetSwitch, R"(<Switch Type="451"/>)", 2, "", "Invalid switch type:451", ""},
        {kCmdSetSwitch, R"(<Switch Type="x" Enable="1" Channel="1"/>)", 2, "",
         "Invalid switch type:0", ""},
        {kCmdSetSwitch, R"(<Other Type="30"/>)", 3, "", "Failed to find elem:Switch", ""},
        {kCmdSetSwitch, R"(<Switch Enable="1" Channel="1"/>)", 3, "", "Failed to find attrib:Type",
         ""},
        {kCmdSetSwitch, R"(<Switch Type="30" Enable="" Channel="1"/>)", 3, "",
         "Failed to find attrib:Enable", ""},
        {kCmdSetSwitch, R"(<Switch Type="30" Enable="1"/>)", 3, "", "Failed to find attrib:Channel",
         ""},
        {kCmdSetSwitch, R"(<Switch Type="456" Enable="9" Channel="0"/>)", 4, "0: 6 9 0",
         "Failed to set switch of door open remind.", ""},
        {kCmdSetKeyValue, KeyReq("doorFingerStore", "3"), 0, "force 67;1: 3", "", ""},
        {kCmdSetKeyValue, KeyReq("doorBellTone", "-2"), 0, "force 68;2: -2", "", ""},
        {kCmdSetKeyValue, KeyReq("doorPromptTone", "12"), 0, "force 69;3: 12", "", ""},
        {kCmdSetKeyValue, KeyReq("doorFaceUnlock", face), 0, "force 97;9: 1 80", "", ""},
        {kCmdSetKeyValue, KeyReq("doorBellTone", "9"), 4, "force 68;2: 9",
         "Failed to set key value, key=doorBellTone, value=9", ""},
        {kCmdSetKeyValue, KeyReq("doorFaceUnlock", R"({"unlock_type":1})"), 4, "force 97;",
         "Failed to find item:unlockType", failed + R"({"unlock_type":1})"},
        {kCmdSetKeyValue, KeyReq("doorFaceUnlock", "x"), 4, "force 97;",
         "Failed to parse value string of icr dss:x", failed + "x"},
        {kCmdSetKeyValue, KeyReq("doorbellTone", "1"), 2, "", "Invalid Key:doorbellTone", ""},
        {kCmdSetKeyValue, KeyReq(longKey, "1"), 2, "", "Invalid Key:" + longKey.substr(0, 31), ""},
        {kCmdSetKeyValue, "<Value>1</Value>", 3, "", "Failed to find elem:Type.", ""},
        {kCmdSetKeyValue, "<Type>doorBellTone</Type>", 3, "", "Failed to find elem:Value.", ""},
    };
    // The lock refuses any record holding the value 9.
    Device().on_recv = [](oqDevSDK_DoorLock_Msg_S *msg) {
        const auto *v = static_cast<const int32_t *>(msg->pData);
        return std::count(v, v + msg->uiLen / sizeof(int32_t), 9) > 0 ? 0x1004 : 0;
    };
    for (const auto &[cmd, body, result, effects, log, log2] : cases) {
        std::string got;
        EXPECT_EQ(Send(cmd, body, &got), result) << body;
        EXPECT_EQ(got, effects) << body;
        EXPECT_TRUE(log.empty() || HasLog(1, log)) << log;
        EXPECT_TRUE(log2.empty() || HasLog(1, log2)) << log2;
    }
}

}  // namespace
