#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <ctime>
#include <string>
#include <vector>

#include "oqdev_kernel.h"
#include "oqdev_log.h"
#include "oqdev_sim.h"

namespace {

struct Routed {
    bool null;
    uint32_t seq;
    std::string body;
    int32_t len;
    int32_t cmd;
};
std::vector<Routed> g_routed;
std::vector<int> g_events;

int Route(oqdev_kernel_submsg_s *msg, void *) {
    if (msg == nullptr) {
        g_routed.push_back({true, 0, "", 0, 0});
        return 7;
    }
    g_routed.push_back({false, msg->uiMsgSeq, msg->pBody, msg->iBodyLen, msg->iCmdId});
    return msg->iCmdId + 1;
}

int Event(oqdev_kernel_event_s *ev, void *) {
    g_events.push_back(ev->iEventType);
    return 0;
}

oqdev_kernel_extend_s Domain() {
    oqdev_kernel_extend_s ext{};
    ext.usDomainId = 4400;
    ext.pfnDataRoute = &Route;
    ext.pfnEvent = &Event;
    std::strcpy(ext.szDomainName, "door_lock");
    std::strcpy(ext.szDomainVersion, "v1.0.0");
    return ext;
}

int Send(int cmd, const std::string &body) {
    oqdev_kernel_send_s rec{};
    rec.uiMsgSeq = 9;
    rec.iCmdId = cmd;
    rec.iDomainId = 4400;
    rec.ucIsResponse = 1;
    std::strcpy(rec.szVersion, "v1.0.0");
    // The body is freed at once, as the module does.
    char *copy = strdup(body.c_str());
    rec.pBody = copy;
    rec.uiBodyLen = static_cast<uint32_t>(body.size());
    int ret = oqdev_sdk_kernel_send(&rec);
    std::memset(copy, 'x', body.size());
    std::free(copy);
    return ret;
}

class Kernel : public ::testing::Test {
  protected:
    void SetUp() override {
        oqsim::reset();
        g_routed.clear();
        g_events.clear();
    }
    void TearDown() override { oqsim::reset(); }
};

TEST_F(Kernel, LoadKeepsTheDomainOrAnswersTheChosenError) {
    oqdev_kernel_extend_s ext = Domain();
    oqsim::kernel_fail_load(0x55);
    EXPECT_EQ(oqdev_sdk_kernel_extend_load(&ext), 0x55);
    EXPECT_FALSE(oqsim::domain_loaded());
    EXPECT_EQ(oqsim::deliver(1, 1, "<a/>"), -1) << "nothing to deliver to";
    oqsim::kernel_fail_load(0);
    EXPECT_EQ(oqdev_sdk_kernel_extend_load(&ext), 0);
    ext.usDomainId = 1;  // the kernel keeps its own copy
    ASSERT_TRUE(oqsim::domain_loaded());
    EXPECT_EQ(oqsim::domain().usDomainId, 4400);
    EXPECT_STREQ(oqsim::domain().szDomainName, "door_lock");
    EXPECT_EQ(oqsim::load_calls(), 2);
}

TEST_F(Kernel, DeliverAndEventReachTheLoadedDomain) {
    oqdev_kernel_extend_s ext = Domain();
    ASSERT_EQ(oqdev_sdk_kernel_extend_load(&ext), 0);
    EXPECT_EQ(oqsim::deliver(18857, 42, "<Request/>"), 18858);
    EXPECT_EQ(oqsim::deliver_null(), 7);
    EXPECT_EQ(oqsim::event(2), 0);
    ASSERT_EQ(g_routed.size(), 2u);
    EXPECT_FALSE(g_routed[0].null);
    EXPECT_EQ(g_routed[0].seq, 42u);
    EXPECT_EQ(g_routed[0].cmd, 18857);
    EXPECT_EQ(g_routed[0].body, "<Request/>");
    EXPECT_EQ(g_routed[0].len, 10);
    EXPECT_TRUE(g_routed[1].null);
    EXPECT_EQ(g_events, std::vector<int>{2});
}

TEST_F(Kernel, RedirectsAreRecordedAndChosenOnesRefused) {
    oqsim::kernel_fail_redirect_at(1, -3);
    oqdev_redirect_reg_s reg{};
    reg.iDomainId = 4400;
    const char *types[] = {"30", "450", "doorFingerStore"};
    std::vector<int> rets;
    for (const char *type : types) {
        reg.iCmdId = 18699;
        std::memset(reg.szType, 'Z', sizeof reg.szType);  // unterminated garbage first
        std::strcpy(reg.szType, type);
        rets.push_back(oqDevSDK_Common_Module_RedirectReg(&reg));
    }
    EXPECT_EQ(rets, (std::vector<int>{0, -3, 0}));
    std::memset(reg.szType, 'Z', sizeof reg.szType);
    oqsim::kernel_fail_redirect(9);
    EXPECT_EQ(oqDevSDK_Common_Module_RedirectReg(&reg), 9);
    const auto &got = oqsim::redirects();
    ASSERT_EQ(got.size(), 4u);
    EXPECT_EQ(got[1].type, "450");
    EXPECT_EQ(got[1].ret, -3);
    EXPECT_EQ(got[2].type, "doorFingerStore");
    EXPECT_EQ(got[2].domain, 4400);
    EXPECT_EQ(got[3].type, std::string(OQDEV_KERNEL_NAME_LEN, 'Z')) << "bounded by the field";
}

TEST_F(Kernel, SendCopiesRecordAndBodyAndHonoursFaults) {
    oqsim::kernel_fail_send(-8, 2);
    EXPECT_EQ(Send(1, "<a>first</a>"), -8);
    EXPECT_EQ(Send(2, "b"), -8);
    for (int i = 3; i < 200; ++i) {
        ASSERT_EQ(Send(i, "<Response>" + std::to_string(i) + "</Response>"), 0);
    }
    const auto &sent = oqsim::sent();
    ASSERT_EQ(sent.size(), 199u);
    EXPECT_EQ(sent[0].ret, -8);
    EXPECT_EQ(sent[0].body, "<a>first</a>");
    EXPECT_EQ(sent[2].ret, 0);
    for (const auto &s : sent) {
        ASSERT_EQ(s.rec.pBody, s.body.c_str()) << "stays on the stored copy";
        EXPECT_EQ(s.rec.uiBodyLen, s.body.size());
    }
    EXPECT_EQ(sent.back().rec.iCmdId, 199);
    EXPECT_EQ(sent.back().rec.uiMsgSeq, 9u);
    EXPECT_EQ(sent.back().rec.ucIsResponse, 1);
    EXPECT_EQ(sent.back().version, "v1.0.0");
    oqsim::clear_sent();
    EXPECT_TRUE(oqsim::sent().empty());
}

TEST_F(Kernel, DeviceInformationAndSleep) {
    EXPECT_STREQ(oqdev_sdk_kernel_getdevinfo_bykey("dev_subserial"), "SIMLOCK0001");
    EXPECT_STREQ(oqdev_sdk_kernel_getdevinfo_bykey("unknown"), "");
    EXPECT_STREQ(oqdev_sdk_kernel_getdevinfo_bykey(nullptr), "");
    oqsim::set_devinfo("dev_subserial", "X9");
    EXPECT_STREQ(oqdev_sdk_kernel_getdevinfo_bykey("dev_subserial"), "X9");
    EXPECT_EQ(oqdev_get_sleep_status(), 0);
    oqsim::set_sleep(true);
    EXPECT_NE(oqdev_get_sleep_status(), 0);
    oqsim::reset();
    EXPECT_STREQ(oqdev_sdk_kernel_getdevinfo_bykey("dev_subserial"), "SIMLOCK0001");
    EXPECT_EQ(oqdev_get_sleep_status(), 0);
}

TEST_F(Kernel, LogKeepsLevelAndExactText) {
    oqdev_debug(1, "Send:%#x\n", 0x490c);
    oqdev_debug(4, "Content:%s\n", std::string(5000, 'q').c_str());
    oqdev_debug(1, "Send:%#x\n", 0x490c);
    EXPECT_TRUE(oqsim::has_log(1, "Send:0x490c\n"));
    EXPECT_FALSE(oqsim::has_log(2, "Send:0x490c\n"));
    EXPECT_FALSE(oqsim::has_log(1, "Send:0x490c"));
    EXPECT_EQ(oqsim::count_log("Send:0x490c\n"), 2);
    EXPECT_TRUE(oqsim::has_log(4, "Content:" + std::string(5000, 'q') + "\n"));
    oqsim::clear_logs();
    EXPECT_TRUE(oqsim::logs().empty());
}

TEST_F(Kernel, FakeClockAndTimeZone) {
    const time_t real = time(nullptr);
    EXPECT_GT(real, 1600000000);
    oqsim::clock_set(86400);
    oqsim::clock_advance(3600 + 60);
    time_t out = 0;
    EXPECT_EQ(time(&out), 90060);
    EXPECT_EQ(out, 90060);
    oqsim::set_tz("CET-1");
    struct tm local {};
    localtime_r(&out, &local);
    EXPECT_EQ(local.tm_hour, 2);
    EXPECT_EQ(local.tm_min, 1);
    oqsim::set_tz("UTC");
    oqsim::clock_real();
    EXPECT_GE(time(nullptr), real);
}

TEST_F(Kernel, ObserverSeesEveryEventAsJson) {
    std::vector<std::string> seen;
    oqsim::set_observer([&seen](const std::string &json) { seen.push_back(json); });
    oqdev_kernel_extend_s ext = Domain();
    oqdev_sdk_kernel_extend_load(&ext);
    oqsim::deliver(5, 6, "x");
    Send(18858, "<R a=\"1\">\t</R>");
    oqdev_debug(2, "hi %d\n", 3);
    oqsim::event(1);
    const std::vector<std::string> want = {
        R"({"ev":"load","domain":4400,"name":"door_lock","version":"v1.0.0","ret":0})",
        R"({"ev":"deliver","cmd":5,"seq":6})",
        R"({"ev":"send","cmd":18858,"seq":9,"rsp":1,"domain":4400,"ver":"v1.0.0","body":"<R a=\"1\">\u0009</R>","ret":0})",
        R"({"ev":"log","level":2,"text":"hi 3\u000a"})",
        R"({"ev":"event","type":1})",
    };
    EXPECT_EQ(seen, want);
    oqsim::reset();
    oqdev_debug(1, "after reset\n");
    EXPECT_EQ(seen.size(), want.size()) << "reset clears the observer";
}

TEST(JsonQuote, EscapesQuotesBackslashesAndControls) {
    const std::pair<std::string, std::string> cases[] = {
        {"", R"("")"},
        {"plain ü", "\"plain ü\""},
        {"a\"b\\c", R"("a\"b\\c")"},
        {std::string("\x01\x1f\n", 3), R"("\u0001\u001f\u000a")"},
        {std::string(1, '\0'), R"("\u0000")"},
    };
    for (const auto &c : cases) {
        EXPECT_EQ(oqsim::json_quote(c.first), c.second);
    }
}

}  // namespace
