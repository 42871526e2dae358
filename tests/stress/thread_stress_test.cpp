// Four threads at once, as on a device: the kernel routing a stream of
// platform requests, the status-report module polling, the timer ticking and
// the device application calling in and changing the lock's state.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <future>
#include <set>
#include <thread>

#include "oqDevSDK_door_lock.h"
#include "oqdev_sim.h"
#include "support/fixture.h"
#include "vocabulary.h"

namespace {

// Enough to interleave every pair of threads many times, and quick under
// ThreadSanitizer and qemu.
constexpr int kRequests = 600;
constexpr int kRequestsPerPause = 4;
constexpr auto kPlatformPause = std::chrono::microseconds(100);
constexpr auto kDevicePause = std::chrono::microseconds(20);
constexpr uint32_t kFirstSeq = 5000;
constexpr int kPollIntervalUs = 150;
constexpr int kTickIntervalUs = 250;
constexpr int kSleepEvery = 40;  // device-application steps asleep, then as many awake
constexpr auto kDeadlockLimit = std::chrono::seconds(120);
constexpr int kEventRegistered = 0;

struct StreamRequest {
    int cmd;
    const char *body;
};
const StreamRequest kStream[] = {
    {norla::kCmdSetSwitch, R"(<Request><Switch Type="452" Enable="1" Channel="1"/></Request>)"},
    {norla::kCmdSetKeyValue, R"(<Request><Type>doorBellTone</Type><Value>3</Value></Request>)"},
    {norla::kCmdSetKeyValue,
     R"(<Request><Type>doorFaceUnlock</Type>)"
     R"(<Value>{"unlock_type":1,"unlock_sensitivity":2}</Value></Request>)"},
    {norla::kCmdQueryUserInfo, "<Request/>"},
    {norla::kCmdQuerySnapPwds, "<Request/>"},
    {norla::kCmdQueryAlarmPlans, "<Request/>"},
    {norla::kCmdTriggerUserVerify, "<Request><UserID>alice</UserID><Timeout>5</Timeout></Request>"},
    {norla::kCmdSetDevPlan, R"(<Request><Enable>1</Enable><Actor Channel="1" PlanType="19"/>)"
                            R"(<Date Weekday="2"><Plan B="07:30" E="08:30"/></Date></Request>)"},
    {norla::kCmdSetSnapPwd,
     R"(<Request><OptType Type="0"/><Info><User Name="courier"/><Expire Begin="2023-11-14 )"
     R"(00:00:00" End="2023-11-16 00:00:00"/><Limit Num="2"/></Info></Request>)"},
    {norla::kCmdSetUserInfo, "not xml at all"},
};
constexpr size_t kStreamSize = sizeof kStream / sizeof kStream[0];

// A device application that may be called from every thread at once.
std::atomic<uint8_t> g_doorState{0};
std::atomic<int> g_deviceCalls{0};

int StressRecvMsg(oqDevSDK_DoorLock_Msg_S *) {
    g_deviceCalls.fetch_add(1, std::memory_order_relaxed);
    return 0;
}

int StressGetRuntimeInfo(oqDevSDK_DoorLock_Msg_S *msg) {
    g_deviceCalls.fetch_add(1, std::memory_order_relaxed);
    std::memset(msg->pData, 0, msg->uiLen);
    if (msg->iType == OQDEVSDK_DOORLOCK_FROM_DEV_LOCK_STATUS &&
        msg->uiLen >= sizeof(oqDevSDK_DoorLock_LockStatus_S)) {
        static_cast<oqDevSDK_DoorLock_LockStatus_S *>(msg->pData)->ucDoorState =
            g_doorState.load(std::memory_order_relaxed);
    }
    return 0;
}

// The device application's own thread: pushes messages, calls Fini, changes
// the door state and now and then puts the device to sleep or wakes it.
void DeviceApplication(const std::atomic<bool> &stop) {
    oqDevSDK_DoorLock_SrvMsg_S msg{};
    for (int step = 1; !stop.load(); ++step) {
        g_doorState.store(static_cast<uint8_t>(step % 3), std::memory_order_relaxed);
        msg.iType = step;
        (void)oqDevSDK_DoorLock_Send2Srv_Msg(&msg);
        oqDevSDK_DoorLock_Fini();
        oqsim::set_sleep(step / kSleepEvery % 2 == 1);
        std::this_thread::sleep_for(kDevicePause);
    }
    oqsim::set_sleep(false);
}

class ThreadStress : public dltest::ModuleTest {};

TEST_F(ThreadStress, EveryRequestIsAnsweredOnceAndSequenceNumbersStayUnique) {
    oqDevSDK_DoorLock_InitInfo_S info{};
    info.stCallback = {&StressRecvMsg, &StressGetRuntimeInfo};
    ASSERT_EQ(oqDevSDK_DoorLock_Init(&info), 0);
    // Registered and never answered: every tick asks for the configuration.
    oqsim::event(kEventRegistered);

    auto run = std::async(std::launch::async, [] {
        std::atomic<bool> stop{false};
        oqsim::live_start(kPollIntervalUs, kTickIntervalUs);
        std::thread device(DeviceApplication, std::cref(stop));
        for (int i = 0; i < kRequests; ++i) {
            const StreamRequest &req = kStream[static_cast<size_t>(i) % kStreamSize];
            oqsim::deliver_async(req.cmd, kFirstSeq + static_cast<uint32_t>(i), req.body);
            if (i % kRequestsPerPause == 0) {
                std::this_thread::sleep_for(kPlatformPause);
            }
        }
        oqsim::live_drain();
        stop = true;
        device.join();
        oqsim::live_stop();
    });
    // A deadlocked thread cannot be recovered from inside the test.
    if (run.wait_for(kDeadlockLimit) != std::future_status::ready) {
        std::fprintf(stderr, "thread stress: no progress, deadlock suspected\n");
        std::abort();
    }

    std::set<uint32_t> answered, started;
    int lockReports = 0;
    for (const oqsim::Sent &sent : oqsim::sent()) {
        const uint32_t seq = sent.rec.uiMsgSeq;
        if (sent.rec.ucIsResponse == 0) {
            EXPECT_TRUE(started.insert(seq).second) << "sequence number " << seq << " reused";
            lockReports += sent.rec.iCmdId == norla::kCmdReportLockStatus ? 1 : 0;
            continue;
        }
        ASSERT_TRUE(seq >= kFirstSeq && seq < kFirstSeq + kRequests) << "unknown request " << seq;
        EXPECT_EQ(sent.rec.iCmdId, kStream[(seq - kFirstSeq) % kStreamSize].cmd + 1);
        EXPECT_TRUE(answered.insert(seq).second) << "request " << seq << " answered twice";
    }
    const int dropped = oqsim::count_log("alarm: device sleep!\n");
    EXPECT_EQ(static_cast<int>(answered.size()) + dropped, kRequests)
        << "a request awake went unanswered";
    EXPECT_GT(lockReports, 0) << "the poll thread never saw the door change";
    // How many requests the sleeping device drops depends on the scheduler;
    // only that the device was reached at all is certain.
    EXPECT_GT(g_deviceCalls.load(), 0);
}

}  // namespace
