#include <string>
#include <vector>

#include "frame/module.h"
#include "handlers/handlers.h"
#include "oqDevSDK_door_lock.h"
#include "status/registry.h"
#include "support/fixture.h"
#include "vocabulary.h"

namespace {

constexpr int64_t kDay = 86400;
constexpr int64_t kStart = 1700000000;
constexpr int kPowerCode = OQDEVSDK_DOORLOCK_TO_DEV_DL_POWER;

std::string Answer(const std::string &result, const std::string &typeAttrs) {
    return "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<Response><Result>" + result +
           "</Result><Type " + typeAttrs + "/></Response>";
}

std::string DLPower(const std::string &json) {
    return Answer("0", "name=\"DLPower\" value='" + json + "'");
}

class SysCfgTest : public dltest::ModuleTest {
  protected:
    void SetUp() override {
        ModuleTest::SetUp();
        oqsim::clock_set(kStart);
        InitModule();
    }

    // Number of messages (system-configuration requests) one timer tick sends.
    static size_t Tick() {
        const size_t before = oqsim::sent().size();
        oqsim::tick();
        return oqsim::sent().size() - before;
    }
};

// Silent before registration; then a request every tick until answered, and
// none until more than a day after the answer, even with the clock set back.
// The percentage reaches the lock cut to 8 bits; tear-down forgets the answer.
TEST_F(SysCfgTest, TheJobAsksUntilAnsweredAndThenOncePerDay) {
    oqsim::clock_advance(30 * kDay);
    EXPECT_EQ(Tick(), 0u);
    oqsim::event(0);
    oqsim::event(1);
    EXPECT_EQ(Tick(), 0u);
    oqsim::clock_set(kStart);
    oqsim::set_devinfo(norla::kDevSerialKey, "SUB-7");
    oqsim::event(2);
    ASSERT_EQ(Tick(), 1u);
    ASSERT_EQ(Tick(), 1u);
    const auto &sent = oqsim::sent();
    const oqsim::Sent &first = sent[sent.size() - 2];
    EXPECT_EQ(first.rec.iCmdId, norla::kCmdSystemConfigReq);
    EXPECT_EQ(sent.back().rec.uiMsgSeq, first.rec.uiMsgSeq + 1);
    EXPECT_EQ(first.rec.ucIsResponse, 0);
    EXPECT_EQ(first.version, "v1.0.0");
    EXPECT_EQ(first.body,
              "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<Request><Authorization/>"
              "<DevSerial>SUB-7</DevSerial><Type>DLPower</Type></Request>");

    ASSERT_EQ(
        oqsim::deliver(norla::kCmdSystemConfigRsp, 1, DLPower("{\"x\":1,\"low_percent\":300}")), 0);
    ASSERT_NE(Device().Find(kPowerCode), nullptr);
    EXPECT_EQ(Device().Find(kPowerCode)->bytes, (std::vector<uint8_t>{44, 0, 0, 0}));
    const std::pair<int64_t, size_t> steps[] = {
        {1, 0}, {kDay, 0}, {-5 * kDay, 0}, {kDay, 0}, {kDay + 1, 1}};
    for (auto [after, requests] : steps) {
        oqsim::clock_set(kStart + after);
        EXPECT_EQ(Tick(), requests) << "at +" << after;
    }
    ASSERT_EQ(norla::RspHnd_SetSystemConfig(DLPower("{\"low_percent\":5}").c_str(), 0), 0);
    norla::DoorLock_Func_Fint();
    EXPECT_EQ(norla::g_stInnerCtrl.tLastSysCfg.load(), 0);
    EXPECT_EQ(norla::g_stInnerCtrl.iRegisterStatus.load(), 0);
}

// Whatever goes wrong, the answer is not taken and the next tick asks again.
TEST_F(SysCfgTest, EveryFailedAnswerKeepsTheJobAsking) {
    const std::string name = "Failed to find attrib:name";
    const std::string invalid = " from platform, by getting system config rsp.";
    const std::string notSet = "Failed to set DLPower.";
    // answer, device result, logs
    const struct {
        std::string text;
        int deviceRet;
        std::string log;
        std::string log2;
    } cases[] = {
        {"<Response><Result>0</Result>", 0,
         "Failed to parse XML rsp in system config resp of DoorLock.", ""},
        {Answer("6", "name=\"DLPower\" value='{}'"), 0, "Invalid result 6" + invalid, ""},
        {"<Answer><Result>0</Result></Answer>", 0, "Invalid result -1" + invalid, ""},
        {"<Response><Result>0</Result></Response>", 0, "Failed to find elem:Type", ""},
        {Answer("0", "value='{\"low_percent\":1}'"), 0, name, ""},
        {Answer("0", "name=\"\" value='{\"low_percent\":1}'"), 0, name, ""},
        {Answer("0", "name=\"DLPower\""), 0, "Failed to find attrib:value", ""},
        {Answer("0", "name=\"DLPowerX\" value='{\"low_percent\":1}'"), 0,
         "Invalid system config resp type:DLPowerX", ""},
        {DLPower("{low_percent"), 0, "Failed to parse json.", notSet},
        {DLPower("{\"high_percent\":1}"), 0, "Failed to find item:low_percent", notSet},
        {DLPower("{\"low_percent\":20}"), 3, "Failed to set dlpower.", notSet},
    };
    oqsim::event(0);
    for (const auto &[text, deviceRet, log, log2] : cases) {
        SCOPED_TRACE(text);
        oqsim::clear_logs();
        Device().Reset();
        Device().recv_result[kPowerCode] = deviceRet;
        EXPECT_EQ(oqsim::deliver(norla::kCmdSystemConfigRsp, 3, text), -1);
        EXPECT_TRUE(HasLog(1, log)) << log;
        EXPECT_TRUE(log2.empty() || HasLog(1, log2)) << log2;
        EXPECT_TRUE(HasLog(1, "Result is -1, by Cmdid[0x2888]."));
        EXPECT_EQ(Device().received.size(), deviceRet == 0 ? 0u : 1u);
        EXPECT_EQ(Tick(), 1u);
    }
}

}  // namespace
