// The scenario language: what the lines the golden scenarios do not use do,
// and why a bad line is refused.
#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "lock.h"
#include "oqdev_sim.h"
#include "player.h"
#include "transcript.h"

namespace {

using Texts = std::vector<std::string>;
Texts g_seen;  // entry point calls and what the transcript was told, in order

class Recorder : public dlsim::Transcript {
  public:
    void Host(const std::string &) override {}
    void Call(const char *fn, const int *ret) override {
        g_seen.push_back(std::string("call ") + fn + (ret ? " " + std::to_string(*ret) : ""));
    }
    void RecvMsg(int, const uint8_t *, const uint8_t *, uint32_t, int) override {}
    void GetInfo(int, const uint8_t *, uint32_t, int) override {}
    void Request(int cmd, uint32_t seq, const std::string &body) override {
        g_seen.push_back(std::to_string(cmd) + " " + std::to_string(seq) + " [" + body + "]");
    }
};

class PlayerTest : public ::testing::Test {
  protected:
    void SetUp() override { g_seen.clear(); }
    void TearDown() override { oqsim::reset(); }  // the observer points into the player
    bool Run(const std::string &line, std::string *why = nullptr) {
        std::string reason;
        return player.Execute(line, dir, why != nullptr ? why : &reason);
    }

    // Entry points that only say how they were called.
    dlsim::ModuleApi api{
        [](oqDevSDK_DoorLock_InitInfo_S *info) {
            const bool full =
                info && info->stCallback.Recv_Msg && info->stCallback.Get_Runtime_Info;
            g_seen.push_back(info == nullptr ? "Init(null)" : full ? "Init" : "Init(no callbacks)");
            return 0;
        },
        [] { g_seen.push_back("Fini"); },
        [](oqDevSDK_DoorLock_SrvMsg_S *msg) {
            g_seen.push_back("Send2Srv " + std::to_string(msg ? msg->iType : -1));
            return 1;
        }};
    dlsim::Lock lock;
    Recorder out;
    dlsim::Player player{api, lock, out};
    std::string dir = ".";
};

TEST(ParseInt, AcceptsDecimalHexAndSignsWithinLimits) {
    // Value -1: refused. "010" is ten, never octal.
    struct Case {
        const char *text;
        long long min, max, value;
    } cases[] = {{"42", 0, 100, 42}, {"-5", -10, 10, -5}, {"0x18005", 0, 1 << 20, 0x18005},
                 {"+7", 0, 10, 7},   {"010", 0, 100, 10}, {"101", 0, 100, -1},
                 {"-1", 0, 100, -1}, {"", 0, 100, -1},    {"12abc", 0, 100, -1},
                 {"0x", 0, 100, -1}, {"-", 0, 10, -1},    {"99999999999999999999", 0, 100, -1}};
    for (const Case &c : cases) {
        long long value = -1;
        EXPECT_EQ(dlsim::ParseInt(c.text, c.min, c.max, &value), c.value != -1) << c.text;
        EXPECT_EQ(value, c.value) << c.text;
    }
}

TEST_F(PlayerTest, BadLinesAreRefusedWithAReason) {
    const std::pair<const char *, const char *> cases[] = {
        {"launch", "unknown command 'launch'"},
        {"init now", "init takes nothing or 'null'"},
        {"fini 1", "fini takes nothing"},
        {"send2srv x", "bad TYPE 'x'"},
        {"event", "missing event TYPE"},
        {"sleep maybe", "sleep takes 'on' or 'off'"},
        {"request 18699", "missing request SEQ"},
        {"request 18699 1 @no-such-file.xml", "cannot read request body from ./no-such-file.xml"},
        {"poll now", "poll takes nothing"},
        {"reset some", "bad status ID 'some'"},
        {"clock soon", "bad clock SECONDS 'soon'"},
        {"tz", "missing tz ZONE"},
        {"kernel send-fail 0", "a failure CODE is not 0"},
        {"kernel load-fail 5 2", "too many words for kernel load-fail"},
        {"kernel reboot", "unknown kernel fault 'reboot'"},
        {"timer add", "timer takes 'add-fail' or 'add-ok'"},
        {"device fail send 4 1", "device fail takes 'recv' or 'get'"},
        {"device poke 4 2 0zz", "bad HEX '0zz' (pairs of hex digits)"},
        {"device reply 8 40 00", "bytes run past the 40-byte record"},
        {"device shake", "unknown device action 'shake'"},
        {"unlock alice teleport", "bad unlock HOW 'teleport'"},
        {"door ajar", "bad door state 'ajar'"},
        {"signal 256", "bad signal LEVEL '256'"},
        {"battery 2 50", "the lock has no power source 2"},
    };
    for (const auto &[line, reason] : cases) {
        std::string why;
        EXPECT_FALSE(Run(line, &why)) << line;
        EXPECT_NE(why.find(reason), std::string::npos) << line << " -> " << why;
    }
}

// A device library's events are the only way its lock changes: without its
// event entry point the lines that need one fail instead of doing nothing.
const oqDevSDK_DoorLock_DeviceEvent_S *g_lastEvent;
int AcceptEvent(const oqDevSDK_DoorLock_DeviceEvent_S *ev) {
    static oqDevSDK_DoorLock_DeviceEvent_S copy;
    copy = *ev;
    g_lastEvent = &copy;
    return 0;
}
int RefuseEvent(const oqDevSDK_DoorLock_DeviceEvent_S *) { return 0x18000; }

TEST_F(PlayerTest, WithADeviceLibraryLockLinesGoToItsEventEntryPoint) {
    struct Case {
        const char *line;
        oqDevSDK_DoorLock_DeviceEvent_F event;
        const char *failure;  // null: the line passes
        int32_t kind = 0, index = 0, value = 0;
        const char *user = "";
    } cases[] = {
        {"unlock carol card", &AcceptEvent, nullptr, OQDEVSDK_DOORLOCK_DEVICE_EVT_UNLOCK, 0,
         static_cast<int32_t>(dlsim::UnlockHow::Card), "carol"},
        {"door open", &AcceptEvent, nullptr, OQDEVSDK_DOORLOCK_DEVICE_EVT_DOOR, 0,
         dlsim::kDoorOpen, ""},
        {"battery cateye 20", &AcceptEvent, nullptr, OQDEVSDK_DOORLOCK_DEVICE_EVT_BATTERY,
         OQDEVSDK_DOORLOCK_POWER_NAME_CAT_EYE, 20, ""},
        {"unlock carol card", nullptr, "unlock needs a device library that exports "
                                       "oqDevSDK_DoorLock_DeviceEvent"},
        {"door closed", nullptr, "door needs a device library that exports"},
        {"battery door 5", &RefuseEvent, "the lock has no power source 0 (result 98304)"},
        {"door open", &RefuseEvent, "the lock refused the door event (result 98304)"},
        {"bolt locked", &AcceptEvent, "bolt acts on the simulated lock only"},
        {"signal 3", &AcceptEvent, "signal acts on the simulated lock only"},
    };
    for (const Case &c : cases) {
        player.UseDeviceLibrary(c.event);
        g_lastEvent = nullptr;
        std::string why;
        const bool ok = Run(c.line, &why);
        if (c.failure != nullptr) {
            EXPECT_FALSE(ok) << c.line;
            EXPECT_NE(why.find(c.failure), std::string::npos) << c.line << " -> " << why;
            continue;
        }
        ASSERT_TRUE(ok) << c.line << " -> " << why;
        ASSERT_NE(g_lastEvent, nullptr) << c.line;
        EXPECT_EQ(g_lastEvent->iEvent, c.kind) << c.line;
        EXPECT_EQ(g_lastEvent->iIndex, c.index) << c.line;
        EXPECT_EQ(g_lastEvent->iValue, c.value) << c.line;
        EXPECT_STREQ(g_lastEvent->szUser, c.user) << c.line;
    }
}

TEST_F(PlayerTest, TheSimulatedLockTakesTheSameEventsAsADeviceLibrary) {
    struct Case {
        oqDevSDK_DoorLock_DeviceEvent_S event;
        int result;
    } cases[] = {
        {{OQDEVSDK_DOORLOCK_DEVICE_EVT_DOOR, 0, OQDEVSDK_DOORLOCK_DEVICE_ANY, ""}, 0},
        {{OQDEVSDK_DOORLOCK_DEVICE_EVT_UNLOCK, 0, OQDEVSDK_DOORLOCK_DEVICE_ANY, "dave"}, 0},
        {{OQDEVSDK_DOORLOCK_DEVICE_EVT_BATTERY, OQDEVSDK_DOORLOCK_POWER_NAME_DOOR, 101, ""},
         dlsim::kLockErrBadRecord},
        {{OQDEVSDK_DOORLOCK_DEVICE_EVT_BATTERY, OQDEVSDK_DOORLOCK_POWER_NAME_VIDEO_LOCK, 50, ""},
         dlsim::kLockErrBadRecord},
        {{OQDEVSDK_DOORLOCK_DEVICE_EVT_UNLOCK, 0, 256, "eve"}, dlsim::kLockErrBadRecord},
        {{99, 0, 0, ""}, dlsim::kLockErrBadRecord},
    };
    for (const Case &c : cases) {
        EXPECT_EQ(dlsim::Lock::DeviceEvent(&c.event), c.result) << c.event.iEvent;
    }
    oqDevSDK_DoorLock_LockStatus_S status{};
    oqDevSDK_DoorLock_Msg_S msg{OQDEVSDK_DOORLOCK_FROM_DEV_LOCK_STATUS, &status, sizeof status};
    ASSERT_EQ(dlsim::Lock::Callbacks().Get_Runtime_Info(&msg), 0);
    EXPECT_EQ(status.ucDoorState, dlsim::kDoorOpen);  // ANY: the other state
    EXPECT_EQ(status.ucLockState, dlsim::kBoltUnlocked);
    EXPECT_EQ(dlsim::Lock::DeviceEvent(nullptr), dlsim::kLockErrBadRecord);
}

TEST_F(PlayerTest, EntryPointsAndRequestBodiesAreTakenAsWritten) {
    dir = ::testing::TempDir();
    std::ofstream(dir + "/body.xml") << "<Request>\n  <A/>\n</Request>\n";
    for (const char *line :
         {"init", "init null", "send2srv 7", "send2srv null", "fini",
          "request 18699 3  <Request/> ", "request 20160 4", "request 20160 5 @body.xml"}) {
        ASSERT_TRUE(Run(line)) << line;
    }
    EXPECT_EQ(g_seen, (Texts{"Init", "call Init 0", "Init(null)", "call Init 0", "Send2Srv 7",
                             "call Send2Srv 1", "Send2Srv -1", "call Send2Srv 1", "Fini",
                             "call Fini", "18699 3 [ <Request/> ]", "20160 4 []",
                             "20160 5 [<Request>\n  <A/>\n</Request>]"}));
}

TEST_F(PlayerTest, PlayStopsAtTheFirstBadLineWithItsNumber) {
    std::istringstream in("# comment\n\n   \ninit\r\nsleep on\nwhatever\ninit\n");
    char buf[256] = {};
    FILE *err = fmemopen(buf, sizeof buf, "w");
    ASSERT_NE(err, nullptr);
    EXPECT_EQ(player.Play(in, "demo.scn", ".", err), dlsim::kExitBadLine);
    std::fclose(err);
    EXPECT_STREQ(buf, "demo.scn:6: unknown command 'whatever'\n");
    EXPECT_EQ(g_seen, (Texts{"Init", "call Init 0"}));
}

TEST_F(PlayerTest, LockCommandsCarryTheScenarioClockAndFaultsAndPokesReachTheirTargets) {
    for (const char *line : {"advance 60", "unlock alice remote", "clock 1000", "unlock bob 9",
                             "kernel send-fail 0x99 2", "kernel send-ok", "device poke 0 88 05"}) {
        ASSERT_TRUE(Run(line)) << line;
    }
    oqDevSDK_DoorLock_UnlockEvtRecList_S events{};
    oqDevSDK_DoorLock_Msg_S msg{OQDEVSDK_DOORLOCK_FROM_DEV_UNLOCK_EVTS, &events, sizeof events};
    ASSERT_EQ(dlsim::Lock::Callbacks().Get_Runtime_Info(&msg), 0);
    ASSERT_EQ(events.usRecNum, 2);
    EXPECT_EQ(events.stRecord[0].lUnlockTime, dlsim::kStartClock + 60);
    EXPECT_EQ(events.stRecord[0].ucUnlockType, static_cast<uint8_t>(dlsim::UnlockHow::Remote));
    EXPECT_EQ(events.stRecord[1].lUnlockTime, 1000);
    EXPECT_EQ(events.stRecord[1].ucUnlockType, 9);
    oqDevSDK_DoorLock_SwitchCfg_S sw{7, 0, 0};  // switches poke as one array, 12 bytes each
    msg = {OQDEVSDK_DOORLOCK_FROM_DEV_SWITCH, &sw, sizeof sw};
    ASSERT_EQ(dlsim::Lock::Callbacks().Get_Runtime_Info(&msg), 0);
    EXPECT_EQ(sw.iEnable, 5);
    oqdev_kernel_send_s rec{};
    rec.pBody = "<x/>";
    EXPECT_EQ(oqdev_sdk_kernel_send(&rec), 0) << "send-ok cleared the fault";
}

}  // namespace
