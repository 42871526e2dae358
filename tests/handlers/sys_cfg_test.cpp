#include <string>
#include <vector>

#include "CMarkupSTL.h"
#include "handlers/handlers.h"
#include "oqDevSDK_door_lock.h"
#include "status/registry.h"
#include "support/fixture.h"

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

    // Number of system-configuration requests one timer tick sends.
    static int Tick() {
        const size_t before = oqsim::sent().size();
        oqsim::tick();
        int requests = 0;
        for (size_t i = before; i < oqsim::sent().size(); ++i) {
            requests += oqsim::sent()[i].rec.iCmdId == 10375 ? 1 : 0;
        }
        return requests;
    }
};

TEST_F(SysCfgTest, NeverAsksBeforeRegistration) {
    for (int i = 0; i < 3; ++i) {
        oqsim::clock_advance(10 * kDay);
        EXPECT_EQ(Tick(), 0);
    }
    oqsim::event(0);
    oqsim::event(1);
    EXPECT_EQ(Tick(), 0);
}

TEST_F(SysCfgTest, AsksEveryTickUntilAnswered) {
    oqsim::set_devinfo("dev_subserial", "SUB-7");
    oqsim::event(2);
    ASSERT_EQ(Tick(), 1);
    ASSERT_EQ(Tick(), 1);
    const auto &sent = oqsim::sent();
    const oqsim::Sent &first = sent[sent.size() - 2];
    EXPECT_EQ(sent.back().rec.uiMsgSeq, first.rec.uiMsgSeq + 1);
    EXPECT_EQ(first.rec.ucIsResponse, 0);
    EXPECT_EQ(first.version, "v1.0.0");
    CMarkupSTL req(first.body.c_str());
    ASSERT_TRUE(req.FindElem("Request") && req.IntoElem());
    std::vector<std::string> body;
    while (req.FindElem(nullptr)) {
        body.push_back(req.GetTagName() + "=" + req.x_GetData());
    }
    EXPECT_EQ(body,
              (std::vector<std::string>{"Authorization=", "DevSerial=SUB-7", "Type=DLPower"}));
}

TEST_F(SysCfgTest, AnsweredJobStaysSilentForMoreThanADay) {
    oqsim::event(0);
    ASSERT_EQ(Tick(), 1);
    ASSERT_EQ(oqsim::deliver(10376, 1, DLPower("{\"low_percent\":20}")), 0);
    EXPECT_EQ(Device().LastReceived<oqDevSDK_DoorLock_DLPower_S>(kPowerCode).ucLowPercent, 20);
    // A clock set back before the answer keeps the job silent as well.
    const std::pair<int64_t, int> steps[] = {
        {1, 0}, {kDay, 0}, {-5 * kDay, 0}, {kDay, 0}, {kDay + 1, 1}};
    for (auto [after, requests] : steps) {
        oqsim::clock_set(kStart + after);
        EXPECT_EQ(Tick(), requests) << "at +" << after;
    }
}

TEST_F(SysCfgTest, TearDownForgetsTheAnswer) {
    oqsim::event(0);
    ASSERT_EQ(norla::RspHnd_SetSystemConfig(DLPower("{\"low_percent\":5}").c_str(), 0), 0);
    EXPECT_EQ(norla::g_stInnerCtrl.tLastSysCfg.load(), kStart);
    EXPECT_EQ(Tick(), 0);
    norla::DoorLock_Func_Fint();
    EXPECT_EQ(norla::g_stInnerCtrl.tLastSysCfg.load(), 0);
    EXPECT_EQ(norla::g_stInnerCtrl.iRegisterStatus.load(), 0);
}

TEST_F(SysCfgTest, LowPercentIsCutToEightBits) {
    const std::pair<const char *, uint8_t> cases[] = {{"{\"low_percent\":300}", 44},
                                                      {"{\"low_percent\":0}", 0},
                                                      {"{\"low_percent\":-1}", 255},
                                                      {"{\"x\":1,\"low_percent\":15}", 15}};
    for (auto [json, percent] : cases) {
        ASSERT_EQ(norla::RspHnd_SetSystemConfig(DLPower(json).c_str(), 0), 0) << json;
        const dltest::Received *rec = Device().Find(kPowerCode);
        ASSERT_NE(rec, nullptr);
        EXPECT_EQ(rec->bytes, (std::vector<uint8_t>{percent, 0, 0, 0})) << json;
    }
}

// Whatever goes wrong, the answer is not taken and the next tick asks again.
TEST_F(SysCfgTest, EveryFailedAnswerKeepsTheJobAsking) {
    struct Case {
        std::string text;
        std::string log;
        std::string log2;
        int deviceRet = 0;
    };
    const std::string name = "Failed to find attrib:name";
    const Case cases[] = {
        {"<Response><Result>0</Result>",
         "Failed to parse XML rsp in system config resp of DoorLock.", ""},
        {Answer("6", "name=\"DLPower\" value='{}'"),
         "Invalid result 6 from platform, by getting system config rsp.", ""},
        {"<Answer><Result>0</Result></Answer>",
         "Invalid result -1 from platform, by getting system config rsp.", ""},
        {"<Response><Result>0</Result></Response>", "Failed to find elem:Type", ""},
        {Answer("0", "value='{\"low_percent\":1}'"), name, ""},
        {Answer("0", "name=\"\" value='{\"low_percent\":1}'"), name, ""},
        {Answer("0", "name=\"DLPower\""), "Failed to find attrib:value", ""},
        {Answer("0", "name=\"DLPowerX\" value='{\"low_percent\":1}'"),
         "Invalid system config resp type:DLPowerX", ""},
        {DLPower("{low_percent"), "Failed to parse json.", "Failed to set DLPower."},
        {DLPower("{\"high_percent\":1}"), "Failed to find item:low_percent",
         "Failed to set DLPower."},
        {DLPower("{\"low_percent\":20}"), "Failed to set dlpower.", "Failed to set DLPower.", 3},
    };
    oqsim::event(0);
    for (const Case &c : cases) {
        SCOPED_TRACE(c.text);
        oqsim::clear_logs();
        Device().Reset();
        Device().recv_result[kPowerCode] = c.deviceRet;
        EXPECT_EQ(oqsim::deliver(10376, 3, c.text), -1);
        EXPECT_TRUE(HasLog(1, c.log)) << c.log;
        EXPECT_TRUE(c.log2.empty() || HasLog(1, c.log2)) << c.log2;
        EXPECT_TRUE(HasLog(1, "Result is -1, by Cmdid[0x2888]."));
        EXPECT_EQ(Device().received.size(), c.deviceRet == 0 ? 0u : 1u);
        EXPECT_EQ(Tick(), 1);
    }
}

}  // namespace
