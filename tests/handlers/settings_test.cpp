#include <cstring>
#include <string>
#include <vector>

#include "oqDevSDK_door_lock.h"
#include "support/fixture.h"

namespace {

constexpr int kNone = -1;

std::string KeyReq(const std::string &key, const std::string &value) {
    return "<Type>" + key + "</Type><Value>" + value + "</Value>";
}

class SettingsHandlerTest : public dltest::ModuleTest {
  protected:
    void SetUp() override {
        ModuleTest::SetUp();
        InitModule();
    }

    // Sends one request through the kernel on a clean slate and returns its
    // Result; `forced` gets the status ids whose report the request forced.
    int Send(int cmd, const std::string &body, std::vector<int> *forced) {
        Device().received.clear();
        oqsim::clear_logs();
        const size_t before = oqsim::status_ops().size();
        const int result = ResultOf(Request(cmd, ++seq_, "<Request>" + body + "</Request>"));
        EXPECT_EQ(LastSent().rec.iCmdId, cmd + 1);
        EXPECT_EQ(LastSent().rec.uiMsgSeq, seq_);
        const std::vector<std::string> &ops = oqsim::status_ops();
        for (size_t i = before; i < ops.size(); ++i) {
            if (ops[i].rfind("force ", 0) == 0) {
                forced->push_back(std::stoi(ops[i].substr(6)));
            }
        }
        return result;
    }
    // The int32 fields of the one record the device got, space separated; ""
    // when it got none.
    std::string SentInts(int type) {
        EXPECT_LE(Device().received.size(), 1u);
        if (Device().received.empty()) {
            return "";
        }
        const dltest::Received &got = Device().received[0];
        EXPECT_EQ(got.type, type);
        std::string out;
        for (size_t at = 0; at + sizeof(int32_t) <= got.bytes.size(); at += sizeof(int32_t)) {
            int32_t v = 0;
            std::memcpy(&v, got.bytes.data() + at, sizeof v);
            out += (out.empty() ? "" : " ") + std::to_string(v);
        }
        return out;
    }

    uint32_t seq_ = 100;
};

TEST_F(SettingsHandlerTest, SetSwitchEnable) {
    struct Case {
        std::string body;
        int deviceResult;
        int result;
        const char *sent;  // index enable channel
        const char *log;
    };
    const Case cases[] = {
        {R"(<Switch Type="30" Enable="1" Channel="1"/>)", 0, 0, "0 1 1", ""},
        {R"(<Switch Type="452" Enable="7" Channel="-3"/>)", 0, 0, "2 7 -3", ""},
        {R"(<Switch Type="457" Enable="abc" Channel="2"/>)", 0, 0, "7 0 2", ""},
        {R"(<Switch Type="451"/>)", 0, 2, "", "Invalid switch type:451"},
        {R"(<Switch Type="x" Enable="1" Channel="1"/>)", 0, 2, "", "Invalid switch type:0"},
        {R"(<Other Type="30"/>)", 0, 3, "", "Failed to find elem:Switch"},
        {R"(<Switch Enable="1" Channel="1"/>)", 0, 3, "", "Failed to find attrib:Type"},
        {R"(<Switch Type="30" Enable="" Channel="1"/>)", 0, 3, "", "Failed to find attrib:Enable"},
        {R"(<Switch Type="30" Enable="1"/>)", 0, 3, "", "Failed to find attrib:Channel"},
        {R"(<Switch Type="456" Enable="0" Channel="0"/>)", 9, 4, "6 0 0",
         "Failed to set switch of door open remind."},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.body);
        Device().recv_result[OQDEVSDK_DOORLOCK_TO_DEV_SWITCH] = c.deviceResult;
        std::vector<int> forced;
        EXPECT_EQ(Send(18699, c.body, &forced), c.result);
        EXPECT_TRUE(*c.log == '\0' || HasLog(1, c.log));
        EXPECT_TRUE(forced.empty());
        EXPECT_EQ(SentInts(OQDEVSDK_DOORLOCK_TO_DEV_SWITCH), c.sent);
    }
}

// Whatever the device answers, a known key forces its report, so the
// platform hears the lock's real value.
TEST_F(SettingsHandlerTest, SetKeyValue) {
    struct Case {
        std::string body;
        int devType;
        int deviceResult;
        int result;
        const char *sent;
        int forced;
        std::string log;
        std::string log2;
    };
    const std::string face = R"({"unlock_type":1,"unlock_sensitivity":80})";
    const std::string longKey = "doorFingerStore" + std::string(25, 'X');
    const std::string failed = "Failed to set key value, key=";
    const Case cases[] = {
        {KeyReq("doorFingerStore", "3"), 1, 0, 0, "3", 67, "", ""},
        {KeyReq("doorBellTone", "-2"), 2, 0, 0, "-2", 68, "", ""},
        {KeyReq("doorPromptTone", "12"), 3, 0, 0, "12", 69, "", ""},
        {KeyReq("doorFaceUnlock", face), 9, 0, 0, "1 80", 97, "", ""},
        {KeyReq("doorBellTone", "9"), 2, 0x1004, 4, "9", 68, failed + "doorBellTone, value=9", ""},
        {KeyReq("doorFaceUnlock", face), 9, 1, 4, "1 80", 97, "", ""},
        {KeyReq("doorFaceUnlock", R"({"unlock_type":1})"), kNone, 0, 4, "", 97,
         "Failed to find item:unlockType", failed + R"(doorFaceUnlock, value={"unlock_type":1})"},
        {KeyReq("doorFaceUnlock", R"({"unlock_sensitivity":2})"), kNone, 0, 4, "", 97,
         "Failed to find item:unlockType", ""},
        {KeyReq("doorFaceUnlock", "x"), kNone, 0, 4, "", 97,
         "Failed to parse value string of icr dss:x", failed + "doorFaceUnlock, value=x"},
        {KeyReq("doorbellTone", "1"), kNone, 0, 2, "", kNone, "Invalid Key:doorbellTone", ""},
        {KeyReq(longKey, "1"), kNone, 0, 2, "", kNone, "Invalid Key:" + longKey.substr(0, 31), ""},
        {"<Value>1</Value>", kNone, 0, 3, "", kNone, "Failed to find elem:Type.", ""},
        {"<Type>doorBellTone</Type>", kNone, 0, 3, "", kNone, "Failed to find elem:Value.", ""},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.body);
        Device().recv_result.clear();
        Device().recv_result[c.devType] = c.deviceResult;
        std::vector<int> forced;
        EXPECT_EQ(Send(18829, c.body, &forced), c.result);
        for (const std::string &log : {c.log, c.log2}) {
            EXPECT_TRUE(log.empty() || HasLog(1, log)) << log;
        }
        EXPECT_EQ(forced, c.forced == kNone ? std::vector<int>{} : std::vector<int>{c.forced});
        EXPECT_EQ(SentInts(c.devType), c.sent);
    }
}

}  // namespace
