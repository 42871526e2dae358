#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstring>
#include <map>
#include <string>
#include <thread>
#include <vector>

#include "oqdev_kernel.h"
#include "oqdev_sim.h"
#include "oqdev_status_report.h"
#include "oqdev_time.h"
#include "oqdev_timer.h"

namespace {

std::vector<std::string> g_calls;
std::map<int, int> g_changed;

// Item `Id`'s three functions; item 67 reports -2 and resets to 5.
template <int Id>
int Changed() {
    g_calls.push_back("changed " + std::to_string(Id));
    return g_changed[Id];
}
template <int Id>
int Report(int) {
    g_calls.push_back("report " + std::to_string(Id));
    return Id == 67 ? -2 : 0;
}
template <int Id>
int Reset() {
    g_calls.push_back("reset " + std::to_string(Id));
    return Id == 67 ? 5 : 0;
}

void Register(int id, oqdev_status_is_changed_fn changed, oqdev_status_report_fn report,
              oqdev_status_reset_fn reset) {
    oqdev_status_reg_s reg{};
    reg.iStatusId = id;
    reg.pfnIsChanged = changed;
    reg.pfnReport = report;
    reg.pfnReset = reset;
    ASSERT_EQ(oqDevSDK_report_status_register(&reg), 0);
}

class Services : public ::testing::Test {
  protected:
    void SetUp() override {
        oqsim::reset();
        g_calls.clear();
        g_changed.clear();
    }
    void TearDown() override { oqsim::reset(); }

    // The calls one poll makes.
    static std::vector<std::string> Poll() {
        g_calls.clear();
        oqsim::poll();
        return g_calls;
    }
};

using Calls = std::vector<std::string>;

TEST_F(Services, PollRunsDetectorsInOrderAndReportsChangedOrForcedItemsOnce) {
    oqDevSDK_report_status_init();
    Register(67, &Changed<67>, &Report<67>, &Reset<67>);
    Register(66, &Changed<66>, &Report<66>, &Reset<66>);
    EXPECT_EQ(oqsim::status_ids(), (std::vector<int>{67, 66}));

    EXPECT_EQ(Poll(), (Calls{"changed 67", "changed 66"}));
    g_changed[66] = 1;
    EXPECT_EQ(Poll(), (Calls{"changed 67", "changed 66", "report 66"}));
    g_changed[66] = -1;
    EXPECT_EQ(oqDevSDK_report_set_force_report(67), 0);
    EXPECT_EQ(oqDevSDK_report_set_force_report(99), -1);
    EXPECT_EQ(Poll(), (Calls{"changed 67", "report 67", "changed 66"}));
    EXPECT_EQ(Poll(), (Calls{"changed 67", "changed 66"})) << "forced once";

    // Registering an id again replaces it where it first stood.
    Register(67, &Changed<66>, &Report<66>, &Reset<66>);
    EXPECT_EQ(oqsim::status_ids(), (std::vector<int>{67, 66}));
    oqdev_status_reg_s reg{};
    reg.iStatusId = 67;
    EXPECT_EQ(oqDevSDK_report_status_unregister(&reg), 0);
    EXPECT_EQ(oqDevSDK_report_status_unregister(&reg), -1);
    oqDevSDK_report_status_fini();
    EXPECT_EQ(oqsim::status_ids(), std::vector<int>{66});
    EXPECT_FALSE(oqsim::status_inited());
    EXPECT_EQ(oqsim::status_ops(),
              (Calls{"init", "register 67", "register 66", "force 67", "force 99", "register 67",
                     "unregister 67", "unregister 67", "fini"}));
}

TEST_F(Services, ResetCallsOneOrEveryItem) {
    Register(66, &Changed<66>, &Report<66>, &Reset<66>);
    Register(67, &Changed<67>, &Report<67>, &Reset<67>);
    EXPECT_EQ(oqsim::reset_item(67), 5);
    EXPECT_EQ(oqsim::reset_item(70), -1);
    oqsim::reset_all_items();
    EXPECT_EQ(g_calls, (Calls{"reset 67", "reset 66", "reset 67"}));
}

std::vector<int> g_ran;
int JobA() {
    g_ran.push_back(0);
    return 0;
}
int JobB() {
    g_ran.push_back(1);
    return 0;
}

TEST_F(Services, TimerJobsRunInIdOrderAndOnceJobsGoAway) {
    g_ran.clear();
    ASSERT_EQ(oqdev_timer_init(), 0);
    oqdev_timer *timer = oqdev_timer_get_comm_instance();
    ASSERT_NE(timer, nullptr);
    EXPECT_EQ(oqdev_timer_add_element(timer, "a", 10, 1, &JobA), 0);
    EXPECT_EQ(oqdev_timer_add_element(timer, "b", 10, 0, &JobB), 1);
    EXPECT_EQ(oqdev_timer_add_element(nullptr, "c", 10, 1, &JobB), -1);
    EXPECT_EQ(oqdev_timer_add_element(timer, "c", 10, 1, nullptr), -1);
    oqsim::timer_fail_add(true);
    EXPECT_EQ(oqdev_timer_add_element(timer, "c", 10, 1, &JobB), -1);
    oqsim::timer_fail_add(false);
    oqsim::tick();
    oqsim::tick();
    EXPECT_EQ(g_ran, (std::vector<int>{0, 1, 0}));
    ASSERT_EQ(oqsim::timer_jobs().size(), 1u);
    EXPECT_EQ(oqsim::timer_jobs()[0].name, "a");
    EXPECT_EQ(oqdev_timer_del_element(timer, 0), 0);
    EXPECT_EQ(oqdev_timer_del_element(timer, 0), -1);
    EXPECT_EQ(oqdev_timer_add_element(timer, "d", 1, 1, &JobA), 2) << "ids are not reused";
    EXPECT_EQ(oqdev_timer_fini(), 0);
    EXPECT_FALSE(oqsim::timer_running());
    EXPECT_EQ(oqsim::timer_init_calls(), 1);
    EXPECT_EQ(oqsim::timer_fini_calls(), 1);
}

TEST_F(Services, ObserverSeesStatusAndTimerEvents) {
    std::vector<std::string> seen;
    oqsim::set_observer([&seen](const std::string &json) { seen.push_back(json); });
    oqDevSDK_report_status_init();
    Register(66, &Changed<66>, &Report<66>, &Reset<66>);
    oqsim::force_report(66);
    oqsim::poll();
    oqsim::reset_item(66);
    oqdev_timer *timer = oqdev_timer_get_comm_instance();
    oqdev_timer_add_element(timer, "doorlock_sys_cfg", 60, 1, &JobA);
    oqdev_timer_del_element(timer, 0);
    EXPECT_EQ(
        seen,
        (Calls{
            R"({"ev":"status","op":"init"})",
            R"({"ev":"status","op":"register","id":66})",
            R"({"ev":"status","op":"force","id":66})",
            R"({"ev":"item","id":66,"changed":0})",
            R"({"ev":"report","id":66,"ret":0})",
            R"({"ev":"reset","id":66,"ret":0})",
            R"({"ev":"timer","op":"add","name":"doorlock_sys_cfg","interval":60,"mode":1,"id":0})",
            R"({"ev":"timer","op":"del","id":0})",
        }));
}

TEST(TimeOfDay, ParsesHoursAndMinutes) {
    const std::pair<const char *, unsigned> cases[] = {
        {"00:00", 0},  {"08:30", 510}, {"8:30", 510}, {"23:59", 1439}, {"24:00", 1440},
        {"24:01", 0},  {"12:60", 0},   {"8:3", 0},    {"123:00", 0},   {"08:30 ", 0},
        {" 08:30", 0}, {"0830", 0},    {"", 0},       {nullptr, 0},    {"ab:cd", 0},
    };
    for (const auto &c : cases) {
        EXPECT_EQ(oqdev_ParseTimeHHMM(c.first), c.second) << (c.first ? c.first : "(null)");
    }
}

TEST(TimeOfDay, MakesTextsThatParseBack) {
    char buf[8];
    for (unsigned v = 0; v <= 1440; ++v) {
        ASSERT_EQ(oqdev_MakeTimeString(v, buf, sizeof buf), 0);
        ASSERT_EQ(oqdev_ParseTimeHHMM(buf), v) << buf;
    }
    EXPECT_STREQ((oqdev_MakeTimeString(75, buf, sizeof buf), buf), "01:15");
    std::memset(buf, 'x', sizeof buf);
    EXPECT_EQ(oqdev_MakeTimeString(1441, buf, sizeof buf), -1);
    EXPECT_STREQ(buf, "");
    std::memset(buf, 'x', sizeof buf);
    EXPECT_EQ(oqdev_MakeTimeString(75, buf, 5), -1);
    EXPECT_STREQ(buf, "");
    EXPECT_EQ(oqdev_MakeTimeString(75, nullptr, 8), -1);
}

std::atomic<int> g_liveRouted{0};
std::atomic<uint32_t> g_liveLastSeq{0};
std::atomic<bool> g_liveInOrder{true};
std::atomic<int> g_livePolls{0};
std::atomic<int> g_liveTicks{0};

int LiveRoute(oqdev_kernel_submsg_s *msg, void *) {
    if (msg->uiMsgSeq != g_liveLastSeq.load() + 1) {
        g_liveInOrder = false;
    }
    g_liveLastSeq = msg->uiMsgSeq;
    ++g_liveRouted;
    return 0;
}
int LiveChanged() {
    ++g_livePolls;
    return 0;
}
int LiveTick() {
    ++g_liveTicks;
    return 0;
}

TEST_F(Services, LiveModeRoutesQueuedMessagesInOrderAndRunsPollAndTimerThreads) {
    oqdev_kernel_extend_s ext{};
    ext.pfnDataRoute = &LiveRoute;
    ASSERT_EQ(oqdev_sdk_kernel_extend_load(&ext), 0);
    Register(66, &LiveChanged, &Report<66>, &Reset<66>);
    oqdev_timer_add_element(oqdev_timer_get_comm_instance(), "t", 1, 1, &LiveTick);

    oqsim::live_start(1000, 1000);
    for (uint32_t seq = 1; seq <= 500; ++seq) {
        oqsim::deliver_async(1, seq, "<a/>");
    }
    oqsim::live_drain();
    EXPECT_EQ(g_liveRouted.load(), 500);
    EXPECT_TRUE(g_liveInOrder.load());
    for (int i = 0; i < 1000 && (g_livePolls.load() < 3 || g_liveTicks.load() < 3); ++i) {
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    oqsim::live_stop();
    EXPECT_GE(g_livePolls.load(), 3);
    EXPECT_GE(g_liveTicks.load(), 3);
    const int polls = g_livePolls.load();
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
    EXPECT_EQ(g_livePolls.load(), polls) << "threads stopped";
}

}  // namespace
