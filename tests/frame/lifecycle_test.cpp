#include <cstdint>
#include <regex>
#include <string>
#include <vector>

#include "frame/bus_dev.h"
#include "frame/module.h"
#include "oqDevSDK_door_lock.h"
#include "support/fixture.h"

namespace {

class LifecycleTest : public dltest::ModuleTest {
  protected:
    int Init() {
        oqDevSDK_DoorLock_InitInfo_S info{};
        info.stCallback = Device().Callbacks();
        return oqDevSDK_DoorLock_Init(&info);
    }

    // Device callbacks null, no timer id, timer and status services stopped.
    void ExpectTornDown() {
        char byte = 0;
        EXPECT_EQ(norla::DoorLock_BusDev_Msg2Dev(0, &byte, 1) +
                      norla::DoorLock_BusDev_GetRuntimeInfo(0, &byte, 1),
                  -2);
        EXPECT_EQ(norla::g_iTimerId_SysCfg, -1);
        EXPECT_FALSE(norla::g_stCtrlObj.bTimerInited || oqsim::timer_running() ||
                     !oqsim::timer_jobs().empty() || oqsim::status_inited() ||
                     !oqsim::status_items().empty() || !Device().received.empty());
    }
};

TEST_F(LifecycleTest, InitAndTearDownRunTheStagesInOrder) {
    // Host calls as "ev/op", repeats folded; of the logs only the domain's
    // deregistration, which marks its place in the tear-down.
    std::vector<std::string> calls;
    oqsim::set_observer([&calls](const std::string &json) {
        static const std::regex kCall(R"re(^\{"ev":"(\w+)"(,"op":"(\w+)")?)re");
        std::smatch m;
        std::regex_search(json, m, kCall);
        std::string call = m.str(3).empty() ? m.str(1) : m.str(1) + "/" + m.str(3);
        if (call == "log") {
            call = json.find("domain deregistered.") != std::string::npos ? "deregistered" : "";
        }
        if (!call.empty() && (calls.empty() || calls.back() != call)) {
            calls.push_back(call);
        }
    });
    ASSERT_EQ(Init(), 0);
    EXPECT_EQ(calls, (std::vector<std::string>{"status/init", "status/register", "load", "redirect",
                                               "timer/init", "timer/add"}));
    ASSERT_EQ(oqsim::timer_jobs().size(), 1u);
    const oqsim::TimerJob &job = oqsim::timer_jobs().front();
    EXPECT_EQ(job.name + "/" + std::to_string(job.interval) + "/" + std::to_string(job.mode),
              "doorlock_sys_cfg/100/1");
    EXPECT_EQ(norla::g_iTimerId_SysCfg, job.id);
    EXPECT_EQ(norla::g_stCtrlObj.bTimerInited, 1);

    calls.clear();
    norla::DoorLock_Module_Fini();
    oqsim::set_observer(nullptr);
    EXPECT_EQ(calls, (std::vector<std::string>{"timer/del", "timer/fini", "deregistered",
                                               "status/unregister", "status/fini"}));
    ExpectTornDown();
}

TEST_F(LifecycleTest, FailedInitTearsEverythingDown) {
    const struct {
        void (*fault)();
        size_t redirects;
        int timerInits;  // each start of the timer service is stopped again
        std::vector<const char *> errors;
    } cases[] = {
        {[] { oqsim::kernel_fail_load(0x55); },
         0,
         0,
         {"microkernel load DoorLock doamin error:0x55", "DoorLock_extern_init failed, exit."}},
        {[] { oqsim::timer_fail_add(true); },
         13,
         1,
         {"Failed to add timer of doorlock_sys_cfg, Door Lock module exit."}},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.errors[0]);
        oqsim::reset();
        c.fault();
        EXPECT_EQ(Init(), 1);
        for (const char *error : c.errors) {
            EXPECT_TRUE(HasLog(1, error)) << error;
        }
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
    EXPECT_TRUE(HasLog(1, "Recv_Msg function of door_lock domain, is null."));
    EXPECT_TRUE(HasLog(1, "Get_Runtime_Info function of door_lock domain, is null."));
}

TEST_F(LifecycleTest, SecondInitRunsEveryStepAgain) {
    ASSERT_EQ(Init() + Init(), 0);
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

// The application's Fini only logs; the module keeps running. Send2Srv has
// nothing to carry and refuses every message.
TEST_F(LifecycleTest, FiniOnlyLogsAndSend2SrvRefuses) {
    oqDevSDK_DoorLock_SrvMsg_S msg{};
    EXPECT_EQ(oqDevSDK_DoorLock_Send2Srv_Msg(nullptr), 1);
    EXPECT_TRUE(HasLog(1, "NULL input param."));
    EXPECT_EQ(oqDevSDK_DoorLock_Send2Srv_Msg(&msg), 2);
    InitModule();
    EXPECT_EQ(oqDevSDK_DoorLock_Send2Srv_Msg(&msg), 2);
    EXPECT_EQ(oqsim::count_log("DoorLock domain has not been inited.\n"), 2);
    oqDevSDK_DoorLock_Fini();
    EXPECT_TRUE(HasLog(2, "DoorLock domain has not inited."));
    EXPECT_TRUE(oqsim::timer_running() && oqsim::status_inited());
    char byte = 0;
    EXPECT_EQ(norla::DoorLock_BusDev_Msg2Dev(1, &byte, 1), 0);
    EXPECT_TRUE(oqsim::sent().empty());
}

// The bridge holds no lock while the device runs, so a callback may call
// back into the module.
TEST_F(LifecycleTest, DeviceCallbacksPassRecordsAndResultsAndMayReenter) {
    InitModule();
    Device().SetRuntime<uint32_t>(4, 0xCAFEu);
    Device().on_recv = [](oqDevSDK_DoorLock_Msg_S *msg) {
        return norla::DoorLock_BusDev_GetRuntimeInfo(4, msg->pData, msg->uiLen) + 0x1004;
    };
    uint32_t word = 0x11223344u;
    EXPECT_EQ(norla::DoorLock_BusDev_Msg2Dev(1, &word, sizeof word), 0x1004);
    EXPECT_EQ(Device().received.at(0).len, sizeof word);
    EXPECT_EQ(Device().LastReceived<uint32_t>(1), 0x11223344u);
    EXPECT_EQ(word, 0xCAFEu);
    Device().get_result[4] = -9;
    EXPECT_EQ(norla::DoorLock_BusDev_GetRuntimeInfo(4, &word, sizeof word), -9);
}

}  // namespace
