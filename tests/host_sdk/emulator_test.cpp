// The emulated host SDK: what the module's calls leave behind and what each
// test control does.
#include <gtest/gtest.h>

#include <cstring>
#include <map>
#include <string>
#include <vector>

#include "oqdev_kernel.h"
#include "oqdev_log.h"
#include "oqdev_sim.h"
#include "oqdev_time.h"
#include "oqdev_timer.h"

namespace {

using Texts = std::vector<std::string>;
using Results = std::vector<int>;
Texts g_calls;  // what the callbacks saw, in order
std::map<int, int> g_changed;

int Note(const std::string &what, int n, int ret) {
    g_calls.push_back(what + " " + std::to_string(n));
    return ret;
}

// Status item functions (67 reports -2 and resets to 5); Item<Fn>::Register<Id>
// registers id Id with item Fn's functions.
template <int Fn>
struct Item {
    static int Changed() { return Note("changed", Fn, g_changed[Fn]); }
    static int Report(int) { return Note("report", Fn, Fn == 67 ? -2 : 0); }
    static int Reset() { return Note("reset", Fn, Fn == 67 ? 5 : 0); }
    template <int Id = Fn>
    static int Register() {
        oqdev_status_reg_s reg{0, Id, 0, &Changed, &Report, &Reset};
        return oqDevSDK_report_status_register(&reg);
    }
};

// Sends a response whose body is overwritten right after, as the module frees it.
int Send(int cmd, std::string body) {
    oqdev_kernel_send_s rec{};
    rec.iCmdId = cmd;
    rec.pBody = body.c_str();
    rec.uiBodyLen = static_cast<uint32_t>(body.size());
    const int ret = oqdev_sdk_kernel_send(&rec);
    body.assign(body.size(), 'x');
    return ret;
}

class Emulator : public ::testing::Test {
  protected:
    void SetUp() override {
        oqsim::reset();
        g_calls.clear();
        g_changed.clear();
    }
    void TearDown() override { oqsim::reset(); }
};

TEST_F(Emulator, KernelKeepsItsOwnCopiesAndAnswersTheChosenFaults) {
    oqdev_kernel_extend_s ext{};
    ext.usDomainId = 4400;
    ext.pfnDataRoute = [](oqdev_kernel_submsg_s *msg, void *) {
        return msg == nullptr ? Note("null", 0, 7)
                              : Note(std::string(msg->pBody, static_cast<size_t>(msg->iBodyLen)),
                                     static_cast<int>(msg->uiMsgSeq), msg->iCmdId + 1);
    };
    ext.pfnEvent = [](oqdev_kernel_event_s *ev, void *) {
        return Note("event", ev->iEventType, 0);
    };
    oqsim::kernel_fail_load(0x55);
    EXPECT_EQ(oqdev_sdk_kernel_extend_load(&ext), 0x55);
    EXPECT_EQ(oqsim::deliver(1, 1, "<a/>"), -1) << "nothing to deliver to";
    oqsim::kernel_fail_load(0);
    ASSERT_EQ(oqdev_sdk_kernel_extend_load(&ext), 0);
    ext.usDomainId = 1;
    EXPECT_EQ(oqsim::domain().usDomainId, 4400);
    EXPECT_EQ(oqsim::load_calls(), 2);
    EXPECT_EQ(
        (Results{oqsim::deliver(18857, 42, "<Request/>"), oqsim::deliver_null(), oqsim::event(2)}),
        (Results{18858, 7, 0}));
    EXPECT_EQ(g_calls, (Texts{"<Request/> 42", "null 0", "event 2"}));

    oqsim::kernel_fail_send(-8, 1);
    EXPECT_EQ((Results{Send(1, "<a>first</a>"), Send(2, "b")}), (Results{-8, 0}));
    ASSERT_EQ(oqsim::sent().size(), 2u);
    EXPECT_EQ(oqsim::sent()[0].body, "<a>first</a>");
    for (const auto &s : oqsim::sent()) {
        ASSERT_EQ(s.rec.pBody, s.body.c_str()) << "stays on the stored copy as the list grows";
    }
    oqsim::clear_sent();
    EXPECT_TRUE(oqsim::sent().empty());
    oqsim::kernel_fail_send(-9, 1, 2);
    EXPECT_EQ((Results{Send(1, "a"), Send(2, "b"), Send(3, "c"), Send(4, "d")}),
              (Results{0, 0, -9, 0}));
    oqsim::clear_sent();

    oqsim::kernel_fail_redirect_at(1, -3);
    oqdev_redirect_reg_s reg{};
    std::memset(reg.szType, 'Z', sizeof reg.szType);  // unterminated
    EXPECT_EQ((Results{oqDevSDK_Common_Module_RedirectReg(&reg),
                       oqDevSDK_Common_Module_RedirectReg(&reg)}),
              (Results{0, -3}));
    std::strcpy(reg.szType, "doorFingerStore");
    oqsim::kernel_fail_redirect(9);
    EXPECT_EQ(oqDevSDK_Common_Module_RedirectReg(&reg), 9);
    ASSERT_EQ(oqsim::redirects().size(), 3u);
    EXPECT_EQ(oqsim::redirects()[0].type, std::string(OQDEV_KERNEL_NAME_LEN, 'Z'));
    EXPECT_EQ(oqsim::redirects()[2].type, "doorFingerStore");
    EXPECT_EQ(oqsim::redirects()[2].ret, 9);
}

TEST_F(Emulator, PollReportsChangedOrForcedItemsOnceInRegistrationOrder) {
    oqDevSDK_report_status_init();
    ASSERT_EQ(Item<67>::Register(), 0);
    ASSERT_EQ(Item<66>::Register(), 0);
    g_changed[66] = 1;
    oqsim::poll();
    g_changed[66] = -1;
    EXPECT_EQ(oqDevSDK_report_set_force_report(67), 0);
    EXPECT_EQ(oqDevSDK_report_set_force_report(99), -1);
    oqsim::poll();
    oqsim::poll();  // forced once
    EXPECT_EQ((Results{oqsim::reset_item(67), oqsim::reset_item(70)}), (Results{5, -1}));
    oqsim::reset_all_items();
    ASSERT_EQ(Item<66>::Register<67>(), 0);  // replaces 67 where it stood
    oqsim::poll();
    EXPECT_EQ(g_calls, (Texts{"changed 67", "changed 66", "report 66", "changed 67", "report 67",
                              "changed 66", "changed 67", "changed 66", "reset 67", "reset 67",
                              "reset 66", "changed 66", "changed 66"}));
    oqdev_status_reg_s reg{};
    reg.iStatusId = 67;
    EXPECT_EQ(
        (Results{oqDevSDK_report_status_unregister(&reg), oqDevSDK_report_status_unregister(&reg)}),
        (Results{0, -1}));
    oqDevSDK_report_status_fini();
    EXPECT_FALSE(oqsim::status_inited());
    EXPECT_EQ(oqsim::status_ops(),
              (Texts{"init", "register 67", "register 66", "force 67", "force 99", "register 67",
                     "unregister 67", "unregister 67", "fini"}));
}

TEST_F(Emulator, TimerRunsJobsInIdOrderAndOnceJobsGoAway) {
    ASSERT_EQ(oqdev_timer_init(), 0);
    oqdev_timer *timer = oqdev_timer_get_comm_instance();
    const oqdev_timer_job_fn every = [] { return Note("every", 0, 0); };
    const oqdev_timer_job_fn once = [] { return Note("once", 1, 0); };
    EXPECT_EQ(oqdev_timer_add_element(timer, "every", 10, 1, every), 0);
    EXPECT_EQ(oqdev_timer_add_element(timer, "once", 20, 0, once), 1);
    oqsim::timer_fail_add(true);
    EXPECT_EQ(oqdev_timer_add_element(timer, "refused", 10, 1, every), -1);
    oqsim::timer_fail_add(false);
    oqsim::tick();
    oqsim::tick();
    EXPECT_EQ(g_calls, (Texts{"every 0", "once 1", "every 0"}));
    EXPECT_EQ((Results{oqdev_timer_del_element(timer, 0), oqdev_timer_del_element(timer, 0)}),
              (Results{0, -1}));
    EXPECT_EQ(oqdev_timer_add_element(timer, "d", 1, 1, once), 2) << "ids are not reused";
    EXPECT_EQ(oqdev_timer_fini(), 0);
    EXPECT_FALSE(oqsim::timer_running());
    g_calls.clear();
    oqsim::tick();
    EXPECT_TRUE(g_calls.empty()) << "jobs stop with the service";
}

TEST_F(Emulator, DeviceInformationSleepLogClockAndObserverUntilReset) {
    Texts seen;
    oqsim::set_observer([&seen](const std::string &json) { seen.push_back(json); });
    oqsim::set_devinfo("dev_subserial", "X9");
    EXPECT_STREQ(oqdev_sdk_kernel_getdevinfo_bykey("dev_subserial"), "X9");
    EXPECT_STREQ(oqdev_sdk_kernel_getdevinfo_bykey(nullptr), "");
    EXPECT_STREQ(oqdev_sdk_kernel_getdevinfo_bykey("dev_other"), "");
    oqsim::set_devinfo_absent("dev_subserial");
    EXPECT_EQ(oqdev_sdk_kernel_getdevinfo_bykey("dev_subserial"), nullptr);
    oqsim::set_sleep(true);
    EXPECT_NE(oqdev_get_sleep_status(), 0);
    oqdev_debug(1, "Send:%#x\n", 0x490c);
    oqdev_debug(4, "Content:%s\n", std::string(5000, 'q').c_str());
    oqdev_debug(1, "Send:%#x\n", 0x490c);
    EXPECT_EQ(oqsim::count_log("Send:0x490c\n"), 2);
    EXPECT_FALSE(oqsim::has_log(2, "Send:0x490c\n") || oqsim::has_log(1, "Send:0x490c"));
    EXPECT_TRUE(oqsim::has_log(4, "Content:" + std::string(5000, 'q') + "\n"));
    EXPECT_EQ(seen.at(0), R"({"ev":"log","level":1,"text":"Send:0x490c\n"})");
    oqsim::clock_set(86400);
    oqsim::clock_advance(3600 + 60);
    time_t now = 0;
    EXPECT_EQ(time(&now), 90060);
    oqsim::reset();
    oqdev_debug(1, "after reset\n");
    EXPECT_EQ(seen.size(), 3u) << "the observer is gone";
    EXPECT_STREQ(oqdev_sdk_kernel_getdevinfo_bykey("dev_subserial"), "SIMLOCK0001");
    EXPECT_EQ(oqdev_get_sleep_status(), 0);
    EXPECT_GT(time(nullptr), 1600000000) << "the real clock";
}

TEST(HostSdkTexts, JsonQuotingAndTimesOfDay) {
    EXPECT_EQ(oqsim::json_quote(std::string("ü\"\\\x01\x1f\n\0", 8)),
              R"("ü\"\\\u0001\u001f\n\u0000")");
    const std::pair<const char *, unsigned> cases[] = {
        {"00:00", 0},  {"08:30", 510}, {"8:30", 510}, {"23:59", 1439}, {"24:00", 1440},
        {"24:01", 0},  {"12:60", 0},   {"8:3", 0},    {"123:00", 0},   {"08:30 ", 0},
        {" 08:30", 0}, {"0830", 0},    {"", 0},       {nullptr, 0},    {"ab:cd", 0},
    };
    for (const auto &c : cases) {
        EXPECT_EQ(oqdev_ParseTimeHHMM(c.first), c.second) << (c.first ? c.first : "(null)");
    }
    char buf[8];
    for (unsigned v = 0; v <= 1440; ++v) {
        ASSERT_EQ(oqdev_MakeTimeString(v, buf, sizeof buf), 0);
        ASSERT_EQ(oqdev_ParseTimeHHMM(buf), v) << buf;
    }
    EXPECT_EQ(oqdev_MakeTimeString(1441, buf, sizeof buf), -1);
    EXPECT_STREQ(buf, "");
    std::memset(buf, 'x', sizeof buf);
    EXPECT_EQ(oqdev_MakeTimeString(75, buf, 5), -1) << "too short";
    EXPECT_STREQ(buf, "");
}

}  // namespace
