// The scenario language: what each line does and why a bad one is refused.
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

// What the stub entry points saw.
struct Calls {
    std::vector<std::string> seen;
    bool callbacksGiven = false;
    int lastSrvType = -1;
};
Calls g_calls;

int StubInit(oqDevSDK_DoorLock_InitInfo_S *info) {
    g_calls.seen.push_back(info != nullptr ? "Init" : "Init(null)");
    if (info != nullptr) {
        g_calls.callbacksGiven =
            info->stCallback.Recv_Msg != nullptr && info->stCallback.Get_Runtime_Info != nullptr;
    }
    return 0;
}
void StubFini() {
    g_calls.seen.push_back("Fini");
}
int StubSend2Srv(oqDevSDK_DoorLock_SrvMsg_S *msg) {
    g_calls.seen.push_back("Send2Srv");
    g_calls.lastSrvType = msg != nullptr ? msg->iType : -1;
    return 1;
}

class Recorder : public dlsim::Transcript {
  public:
    void Host(const std::string &json) override { events.push_back(json); }
    void Call(const char *fn, const int *ret) override {
        events.push_back(std::string("call ") + fn +
                         (ret != nullptr ? " " + std::to_string(*ret) : ""));
    }
    void RecvMsg(int type, const uint8_t *, const uint8_t *, uint32_t, int ret) override {
        events.push_back("recv " + std::to_string(type) + " " + std::to_string(ret));
    }
    void GetInfo(int type, const uint8_t *, uint32_t, int ret) override {
        events.push_back("get " + std::to_string(type) + " " + std::to_string(ret));
    }
    void Request(int cmd, uint32_t seq, const std::string &body) override {
        events.push_back("request " + std::to_string(cmd) + " " + std::to_string(seq) + " [" +
                         body + "]");
    }
    std::vector<std::string> events;
};

class PlayerTest : public ::testing::Test {
  protected:
    void SetUp() override { g_calls = Calls{}; }

    bool Run(const std::string &line, std::string *why = nullptr) {
        std::string reason;
        const bool ok = player.Execute(line, dir, &reason);
        if (why != nullptr) {
            *why = reason;
        }
        return ok;
    }

    dlsim::ModuleApi api{&StubInit, &StubFini, &StubSend2Srv};
    dlsim::Lock lock;
    Recorder out;
    dlsim::Player player{api, lock, out};
    std::string dir = ".";
};

TEST(ParseInt, AcceptsDecimalHexAndSignsWithinLimits) {
    struct Case {
        const char *text;
        long long min, max;
        bool ok;
        long long value;
    } cases[] = {
        {"42", 0, 100, true, 42},
        {"-5", -10, 10, true, -5},
        {"0x18005", 0, 1 << 20, true, 0x18005},
        {"+7", 0, 10, true, 7},
        {"010", 0, 100, true, 10},  // never octal
        {"101", 0, 100, false, 0},
        {"-1", 0, 100, false, 0},
        {"", 0, 100, false, 0},
        {"12abc", 0, 100, false, 0},
        {"0x", 0, 100, false, 0},
        {"-", -10, 10, false, 0},
        {"99999999999999999999", 0, 100, false, 0},
    };
    for (const Case &c : cases) {
        long long value = 0;
        EXPECT_EQ(dlsim::ParseInt(c.text, c.min, c.max, &value), c.ok) << c.text;
        if (c.ok) {
            EXPECT_EQ(value, c.value) << c.text;
        }
    }
}

TEST(ParseHex, TakesPairsOfDigitsOnly) {
    std::vector<uint8_t> bytes;
    ASSERT_TRUE(dlsim::ParseHex("00ff1A", &bytes));
    EXPECT_EQ(bytes, (std::vector<uint8_t>{0x00, 0xff, 0x1a}));
    for (const char *bad : {"", "1", "0g", "12 34", "abc"}) {
        EXPECT_FALSE(dlsim::ParseHex(bad, &bytes)) << bad;
    }
}

TEST_F(PlayerTest, BadLinesAreRefusedWithAReason) {
    struct Case {
        const char *line;
        const char *reason;
    } cases[] = {
        {"launch", "unknown command 'launch'"},
        {"init now", "init takes nothing or 'null'"},
        {"fini 1", "fini takes nothing"},
        {"send2srv", "missing TYPE or 'null'"},
        {"send2srv x", "bad TYPE 'x'"},
        {"event", "missing event TYPE"},
        {"sleep maybe", "sleep takes 'on' or 'off'"},
        {"request 18699", "missing request SEQ"},
        {"request 18699 -1 <Request/>", "bad request SEQ '-1'"},
        {"request 18699 4294967296 <Request/>", "bad request SEQ"},
        {"request 18699 1 @no-such-file.xml", "cannot read request body from ./no-such-file.xml"},
        {"poll now", "poll takes nothing"},
        {"reset", "missing reset ID or 'all'"},
        {"reset some", "bad status ID 'some'"},
        {"clock soon", "bad clock SECONDS 'soon'"},
        {"tz", "missing tz ZONE"},
        {"kernel send-fail", "missing CODE"},
        {"kernel send-fail 0", "a failure CODE is not 0"},
        {"kernel send-fail 5 0", "bad COUNT '0'"},
        {"kernel load-fail 5 2", "too many words for kernel load-fail"},
        {"kernel reboot", "unknown kernel fault 'reboot'"},
        {"timer add", "timer takes 'add-fail' or 'add-ok'"},
        {"device fail send 4 1", "device fail takes 'recv' or 'get'"},
        {"device fail get 4 0", "a failure CODE is not 0"},
        {"device poke 4 2 zz", "bad HEX 'zz' (pairs of hex digits)"},
        {"device poke 4 3 0102", "bytes run past the 4-byte record"},
        {"device poke 12 0 00", "no runtime record of type 12"},
        {"device reply 8 40 00", "bytes run past the 40-byte record"},
        {"device reply 11 0 00", "no received record of type 11"},
        {"device shake", "unknown device action 'shake'"},
        {"unlock alice teleport", "bad unlock HOW 'teleport'"},
        {"door ajar", "bad door state 'ajar'"},
        {"signal 256", "bad signal LEVEL '256'"},
        {"battery door 101", "bad battery PERCENT '101'"},
        {"battery 2 50", "the lock has no power source 2"},
    };
    for (const Case &c : cases) {
        std::string why;
        EXPECT_FALSE(Run(c.line, &why)) << c.line;
        EXPECT_NE(why.find(c.reason), std::string::npos) << c.line << " -> " << why;
    }
}

TEST_F(PlayerTest, EntryPointsAreCalledAsWritten) {
    ASSERT_TRUE(Run("init"));
    ASSERT_TRUE(Run("init null"));
    ASSERT_TRUE(Run("send2srv 7"));
    ASSERT_TRUE(Run("fini"));
    EXPECT_EQ(g_calls.seen, (std::vector<std::string>{"Init", "Init(null)", "Send2Srv", "Fini"}));
    EXPECT_TRUE(g_calls.callbacksGiven);
    EXPECT_EQ(g_calls.lastSrvType, 7);
    EXPECT_EQ(out.events, (std::vector<std::string>{"call Init 0", "call Init 0", "call Send2Srv 1",
                                                    "call Fini"}));
}

TEST_F(PlayerTest, RequestBodyIsTheVerbatimRestOrAFileNextToTheScenario) {
    dir = ::testing::TempDir();
    {
        std::ofstream body(dir + "/body.xml");
        body << "<Request>\n  <A/>\n</Request>\n";
    }
    ASSERT_TRUE(Run("request 18699 3  <Request/> "));
    ASSERT_TRUE(Run("request 20160 4"));
    ASSERT_TRUE(Run("request 20160 5 @body.xml"));
    std::vector<std::string> requests;
    for (const std::string &e : out.events) {
        if (e.rfind("request ", 0) == 0) {
            requests.push_back(e);
        }
    }
    EXPECT_EQ(requests,
              (std::vector<std::string>{"request 18699 3 [ <Request/> ]", "request 20160 4 []",
                                        "request 20160 5 [<Request>\n  <A/>\n</Request>]"}));
}

TEST_F(PlayerTest, PlayStopsAtTheFirstBadLineWithItsNumber) {
    std::istringstream in("# comment\n\n   \ninit\r\nsleep on\nwhatever\ninit\n");
    char buf[256] = {};
    FILE *err = fmemopen(buf, sizeof buf, "w");
    ASSERT_NE(err, nullptr);
    EXPECT_EQ(player.Play(in, "demo.scn", ".", err), dlsim::kExitBadLine);
    std::fclose(err);
    EXPECT_STREQ(buf, "demo.scn:6: unknown command 'whatever'\n");
    EXPECT_EQ(g_calls.seen, std::vector<std::string>{"Init"});
}

TEST_F(PlayerTest, UnlockEventsCarryTheScenarioClock) {
    ASSERT_TRUE(Run("advance 60"));
    ASSERT_TRUE(Run("unlock alice card"));
    ASSERT_TRUE(Run("clock 1000"));
    ASSERT_TRUE(Run("unlock bob 9"));
    oqDevSDK_DoorLock_UnlockEvtRecList_S events{};
    oqDevSDK_DoorLock_Msg_S msg{OQDEVSDK_DOORLOCK_FROM_DEV_UNLOCK_EVTS, &events, sizeof events};
    ASSERT_EQ(dlsim::Lock::Callbacks().Get_Runtime_Info(&msg), 0);
    ASSERT_EQ(events.usRecNum, 2);
    EXPECT_EQ(events.stRecord[0].lUnlockTime, dlsim::kStartClock + 60);
    EXPECT_EQ(events.stRecord[0].ucUnlockType, static_cast<uint8_t>(dlsim::UnlockHow::Card));
    EXPECT_EQ(events.stRecord[1].lUnlockTime, 1000);
    EXPECT_EQ(events.stRecord[1].ucUnlockType, 9);
}

TEST_F(PlayerTest, KernelAndTimerFaultsReachTheEmulator) {
    ASSERT_TRUE(Run("kernel send-fail 0x99 2"));
    oqdev_kernel_send_s rec{};
    rec.pBody = "<x/>";
    EXPECT_EQ(oqdev_sdk_kernel_send(&rec), 0x99);
    EXPECT_EQ(oqdev_sdk_kernel_send(&rec), 0x99);
    EXPECT_EQ(oqdev_sdk_kernel_send(&rec), 0);
    ASSERT_TRUE(Run("timer add-fail"));
    EXPECT_LT(oqdev_timer_add_element(oqdev_timer_get_comm_instance(), "job", 1, 1, nullptr), 0);
    ASSERT_TRUE(Run("timer add-ok"));
    ASSERT_TRUE(Run("sleep on"));
    EXPECT_NE(oqdev_get_sleep_status(), 0);
    ASSERT_TRUE(Run("devinfo dev_subserial  SN 42"));
    EXPECT_STREQ(oqdev_sdk_kernel_getdevinfo_bykey("dev_subserial"), " SN 42");
}

}  // namespace
