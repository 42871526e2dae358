#include <string>
#include <vector>

#include "frame/bus_dev.h"
#include "frame/module.h"
#include "oqDevSDK_door_lock.h"
#include "support/fixture.h"

namespace {

using dltest::ModuleTest;

class LifecycleTest : public ModuleTest {
  protected:
    int Init() {
        oqDevSDK_DoorLock_InitInfo_S info{};
        info.stCallback = Device().Callbacks();
        return oqDevSDK_DoorLock_Init(&info);
    }

    // The state every failed Init must leave behind.
    void ExpectTornDown() {
        char byte = 0;
        EXPECT_EQ(norla::DoorLock_BusDev_Msg2Dev(0, &byte, 1), -1);
        EXPECT_EQ(norla::DoorLock_BusDev_GetRuntimeInfo(0, &byte, 1), -1);
        EXPECT_TRUE(Device().received.empty());
        EXPECT_EQ(norla::g_iTimerId_SysCfg, -1);
        EXPECT_EQ(norla::g_stCtrlObj.bTimerInited, 0);
        EXPECT_FALSE(oqsim::timer_running());
        EXPECT_TRUE(oqsim::timer_jobs().empty());
        EXPECT_FALSE(oqsim::status_inited());
        EXPECT_TRUE(oqsim::status_items().empty());
    }
};

// Host calls as "ev/op", consecutive repeats folded; of the logs only the
// domain's deregistration, which marks its place in the tear-down.
std::vector<std::string> g_calls;

std::string Field(const std::string &json, const std::string &key) {
    std::string tag = "\"" + key + "\":\"";
    size_t at = json.find(tag);
    if (at == std::string::npos) {
        return "";
    }
    at += tag.size();
    return json.substr(at, json.find('"', at) - at);
}

void RecordCall(const std::string &json) {
    std::string ev = Field(json, "ev");
    std::string op = Field(json, "op");
    std::string call = op.empty() ? ev : ev + "/" + op;
    if (ev == "log") {
        if (json.find("DoorLock domain deregistered.") == std::string::npos) {
            return;
        }
        call = "deregistered";
    }
    if (g_calls.empty() || g_calls.back() != call) {
        g_calls.push_back(call);
    }
}

TEST_F(LifecycleTest, InitAndTearDownRunTheStagesInOrder) {
    g_calls.clear();
    oqsim::set_observer(&RecordCall);
    ASSERT_EQ(Init(), 0);
    EXPECT_EQ(g_calls, (std::vector<std::string>{"status/init", "status/register", "load",
                                                 "redirect", "timer/init", "timer/add"}));
    ASSERT_EQ(oqsim::timer_jobs().size(), 1u);
    const oqsim::TimerJob &job = oqsim::timer_jobs().front();
    EXPECT_EQ(job.name, "doorlock_sys_cfg");
    EXPECT_EQ(job.interval, 100);
    EXPECT_EQ(job.mode, 1);
    EXPECT_EQ(norla::g_iTimerId_SysCfg, job.id);
    EXPECT_EQ(norla::g_stCtrlObj.bTimerInited, 1);
    char byte = 0;
    EXPECT_EQ(norla::DoorLock_BusDev_Msg2Dev(3, &byte, 1), 0);

    Device().received.clear();
    g_calls.clear();
    norla::DoorLock_Module_Fini();
    oqsim::set_observer(nullptr);
    EXPECT_EQ(g_calls, (std::vector<std::string>{"timer/del", "timer/fini", "deregistered",
                                                 "status/unregister", "status/fini"}));
    ExpectTornDown();
}

TEST_F(LifecycleTest, FailedInitTearsEverythingDown) {
    struct Case {
        const char *name;
        void (*fault)();
        std::vector<std::string> logs;  // level-1 lines, in order
        size_t redirects;
        int timerInits;  // each start of the timer service is stopped again
    };
    const Case cases[] = {
        {"domain refused",
         [] { oqsim::kernel_fail_load(0x55); },
         {"microkernel load DoorLock doamin error:0x55", "DoorLock_extern_init failed, exit."},
         0,
         0},
        {"timer job refused",
         [] { oqsim::timer_fail_add(true); },
         {"Failed to add timer of doorlock_sys_cfg, Door Lock module exit."},
         13,
         1},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.name);
        oqsim::reset();
        c.fault();
        EXPECT_EQ(Init(), 1);
        std::vector<std::string> errors;
        for (const oqsim::LogLine &line : oqsim::logs()) {
            if (line.level == 1) {
                errors.push_back(line.text.substr(0, line.text.size() - 1));
            }
        }
        EXPECT_EQ(errors, c.logs);
        EXPECT_EQ(oqsim::redirects().size(), c.redirects);
        EXPECT_EQ(oqsim::timer_init_calls(), c.timerInits);
        EXPECT_EQ(oqsim::timer_fini_calls(), c.timerInits);
        EXPECT_EQ(oqsim::status_fini_calls(), 1);
        EXPECT_TRUE(HasLog(3, "DoorLock domain deregistered."));
        ExpectTornDown();
    }

    // The application may try again once the fault is gone.
    oqsim::reset();
    EXPECT_EQ(Init(), 0);
    EXPECT_TRUE(oqsim::timer_running());
}

TEST_F(LifecycleTest, NullInitRecordChangesNothing) {
    EXPECT_EQ(oqDevSDK_DoorLock_Init(nullptr), 1);
    EXPECT_TRUE(HasLog(1, "NULL input param."));
    EXPECT_EQ(oqsim::load_calls(), 0);
    EXPECT_EQ(oqsim::status_init_calls(), 0);
    EXPECT_EQ(oqsim::timer_init_calls(), 0);
    ExpectTornDown();
}

TEST_F(LifecycleTest, SecondInitRunsEveryStepAgain) {
    ASSERT_EQ(Init(), 0);
    ASSERT_EQ(Init(), 0);
    EXPECT_EQ(oqsim::load_calls(), 2);
    EXPECT_EQ(oqsim::redirects().size(), 26u);
    EXPECT_TRUE(HasLog(2, "Door lock func module has been inited."));
    EXPECT_EQ(oqsim::status_init_calls(), 1);

    EXPECT_EQ(oqsim::timer_jobs().size(), 2u);

    // A refused reload takes the whole running module down. Only the job id
    // of the last Init is known, so only that job is deleted.
    oqsim::kernel_fail_load(7);
    EXPECT_EQ(Init(), 1);
    char byte = 0;
    EXPECT_EQ(norla::DoorLock_BusDev_Msg2Dev(0, &byte, 1), -1);
    EXPECT_EQ(norla::g_iTimerId_SysCfg, -1);
    EXPECT_EQ(oqsim::timer_jobs().size(), 1u);
    EXPECT_EQ(oqsim::timer_fini_calls(), 1);
    EXPECT_FALSE(oqsim::status_inited());
}

TEST_F(LifecycleTest, FiniOnlyLogsWhileRunning) {
    ASSERT_EQ(Init(), 0);
    oqsim::clear_logs();
    oqDevSDK_DoorLock_Fini();
    ASSERT_EQ(oqsim::logs().size(), 1u);
    EXPECT_TRUE(HasLog(2, "DoorLock domain has not inited."));
    EXPECT_TRUE(oqsim::timer_running());
    EXPECT_EQ(oqsim::timer_jobs().size(), 1u);
    EXPECT_EQ(oqsim::status_fini_calls(), 0);
    char byte = 0;
    EXPECT_EQ(norla::DoorLock_BusDev_Msg2Dev(1, &byte, 1), 0);
}

TEST_F(LifecycleTest, Send2SrvNeverAcceptsAMessage) {
    oqDevSDK_DoorLock_SrvMsg_S msg{};
    msg.iType = 5;
    EXPECT_EQ(oqDevSDK_DoorLock_Send2Srv_Msg(nullptr), 1);
    EXPECT_TRUE(HasLog(1, "NULL input param."));
    EXPECT_EQ(oqDevSDK_DoorLock_Send2Srv_Msg(&msg), 2);
    ASSERT_EQ(Init(), 0);
    EXPECT_EQ(oqDevSDK_DoorLock_Send2Srv_Msg(&msg), 2);
    EXPECT_EQ(oqsim::count_log("DoorLock domain has not been inited.\n"), 2);
    EXPECT_TRUE(oqsim::sent().empty());
}

}  // namespace
