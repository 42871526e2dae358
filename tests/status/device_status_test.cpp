#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

#include "frame/bus_dev.h"
#include "oqDevSDK_door_lock.h"
#include "status/items.h"
#include "status/reports.h"
#include "support/fixture.h"

namespace {

using statustest::Payload;
using SwitchCfg = oqDevSDK_DoorLock_SwitchCfg_S;
using Power = oqDevSDK_DoorLock_PowerStatus_S;
constexpr int kPowerCode = OQDEVSDK_DOORLOCK_FROM_DEV_POWER_STATUS;

// The switch report with switch n set to enables[n].
std::string Switches(const std::vector<int> &enables) {
    const char *const types[] = {"30", "450", "452", "453", "454", "455", "456", "457"};
    std::string out = "<Type>SWITCHENABLE</Type><Params>";
    for (size_t n = 0; n < enables.size(); ++n) {
        out += "<Switch Channel=\"0\" Enable=\"" + std::to_string(enables[n]) + "\" Type=\"" +
               types[n] + "\"/>";
    }
    return out + "</Params>";
}

// The caches' load-time values are visible only before the first poll, so
// they are sampled once, before any test runs: switches 3 to 7 answer off,
// the others not at all, so that the report shows all eight as loaded; the
// key values answer -1; the lock answers door 255, lock 0 and signal 10, then
// 11 (the signal loads as 0).
std::vector<int> g_loadChanged;
std::string g_loadSwitches;

class LoadTimeProbe : public ::testing::Environment {
  public:
    void SetUp() override {
        dltest::FakeDevice &dev = dltest::FakeDevice::Get();
        oqDevSDK_DoorLock_Callback_S cb = dev.Callbacks();
        norla::DoorLock_BusDev_SetOps(&cb);
        dev.on_get = [](oqDevSDK_DoorLock_Msg_S *msg) {
            static_cast<SwitchCfg *>(msg->pData)->iEnable = 0;
            return static_cast<SwitchCfg *>(msg->pData)->iSwitchIndex < 3 ? 1 : 0;
        };
        g_loadChanged.push_back(norla::DoorOpenRemindSwitch_IsChanged());
        norla::DoorOpenRemindSwitch_Report(0);
        g_loadSwitches = Payload(oqsim::sent().back());
        dev.on_get = nullptr;
        for (int type : {1, 2, 3}) {
            dev.SetRuntime(type, int32_t{-1});
        }
        dev.SetRuntime(OQDEVSDK_DOORLOCK_FROM_DEV_FACE_UNLOCK,
                       oqDevSDK_DoorLock_FaceUnlock_S{-1, -1});
        for (auto fn :
             {norla::KeyVal_DoorFingerStore_IsChanged, norla::KeyVal_DoorBellTone_IsChanged,
              norla::KeyVal_DoorPromptTone_IsChanged, norla::KeyVal_DoorFaceUnlock_IsChanged}) {
            g_loadChanged.push_back(fn());
        }
        for (uint8_t signal : {uint8_t{10}, uint8_t{11}}) {
            dev.SetRuntime(OQDEVSDK_DOORLOCK_FROM_DEV_LOCK_STATUS,
                           oqDevSDK_DoorLock_LockStatus_S{255, 0, signal, 0});
            g_loadChanged.push_back(norla::LockStatus_IsChanged());
        }
        oqDevSDK_DoorLock_Callback_S none{};
        norla::DoorLock_BusDev_SetOps(&none);
        dev.Reset();
        oqsim::reset();
    }
};
[[maybe_unused]] ::testing::Environment *const g_loadTimeProbe =
    ::testing::AddGlobalTestEnvironment(new LoadTimeProbe);

class DeviceStatusTest : public dltest::ModuleTest {
  protected:
    void SetUp() override {
        ModuleTest::SetUp();
        InitModule();
    }

    // Payloads of what one poll sent.
    static std::vector<std::string> Poll() {
        oqsim::clear_sent();
        oqsim::poll();
        std::vector<std::string> out;
        for (const oqsim::Sent &sent : oqsim::sent()) {
            out.push_back(Payload(sent));
        }
        return out;
    }
};

TEST_F(DeviceStatusTest, FirstPollAfterLoad) {
    EXPECT_EQ(g_loadSwitches, Switches({-1, -1, -1, 0, 0, 0, 0, 0}));
    EXPECT_EQ(g_loadChanged, (std::vector<int>{0, 0, 0, 0, 0, 0, 1}));
}

// A lock that keeps the switches it is told and serves them by index; the
// lock's channel never reaches the report; a switch whose fetch fails keeps
// its value.
TEST_F(DeviceStatusTest, SwitchSetThenPoll) {
    SwitchCfg lock[OQDEVSDK_DOORLOCK_SWITCH_NUM] = {};
    int failing = -1;
    Device().on_recv = [&lock](oqDevSDK_DoorLock_Msg_S *msg) {
        const auto *rec = static_cast<const SwitchCfg *>(msg->pData);
        lock[rec->iSwitchIndex] = *rec;
        return 0;
    };
    Device().on_get = [&lock, &failing](oqDevSDK_DoorLock_Msg_S *msg) {
        auto *rec = static_cast<SwitchCfg *>(msg->pData);
        if (msg->iType != OQDEVSDK_DOORLOCK_FROM_DEV_SWITCH || rec->iSwitchIndex == failing) {
            return 1;
        }
        *rec = lock[rec->iSwitchIndex];
        return 0;
    };
    Poll();
    ASSERT_EQ(ResultOf(Request(
                  18699, 5, R"(<Request><Switch Type="454" Enable="1" Channel="2"/></Request>)")),
              0);
    EXPECT_EQ(Poll(), std::vector<std::string>{Switches({0, 0, 0, 0, 1, 0, 0, 0})});
    EXPECT_EQ(LastSent().rec.iCmdId, norla::kCmdReportSwitches);
    EXPECT_TRUE(Poll().empty()) << "switches are reported on change only";
    lock[4].iEnable = 0;
    failing = 4;
    ASSERT_EQ(ResultOf(Request(18699, 6,
                               R"(<Request><Switch Type="30" Enable="1" Channel="0"/></Request>)")),
              0);
    EXPECT_EQ(Poll(), std::vector<std::string>{Switches({1, 0, 0, 0, 1, 0, 0, 0})});
}

// A lock that keeps the key values it is told. A set forces a report even of
// an unchanged value.
TEST_F(DeviceStatusTest, KeySetThenPoll) {
    Device().on_recv = [this](oqDevSDK_DoorLock_Msg_S *msg) {
        const auto *bytes = static_cast<const uint8_t *>(msg->pData);
        const int readBack = msg->iType == OQDEVSDK_DOORLOCK_TO_DEV_FACE_UNLOCK
                                 ? OQDEVSDK_DOORLOCK_FROM_DEV_FACE_UNLOCK
                                 : msg->iType;
        Device().runtime[readBack].assign(bytes, bytes + msg->uiLen);
        return 0;
    };
    Poll();
    const char *const cases[][3] = {
        {"doorFingerStore", "2", "doorFingerStore:2"},
        {"doorBellTone", "7", "doorBellTone:7"},
        {"doorBellTone", "7", "doorBellTone:7"},
        {"doorPromptTone", "-1", "doorPromptTone:-1"},
        {"doorFaceUnlock", R"({"unlock_type":3,"unlock_sensitivity":60})",
         R"(doorFaceUnlock:{"unlock_type":3,"unlock_sensitivity":60})"},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c[2]);
        ASSERT_EQ(ResultOf(Request(18829, 6,
                                   std::string("<Request><Type>") + c[0] + "</Type><Value>" + c[1] +
                                       "</Value></Request>")),
                  0);
        EXPECT_EQ(Poll(), std::vector<std::string>{c[2]});
        EXPECT_EQ(LastSent().rec.iCmdId, norla::kCmdReportStatus);
    }
}

// Face unlock passes a device error of class 4 up as -1.
TEST_F(DeviceStatusTest, KeyValueFetchFailures) {
    const struct {
        int (*isChanged)();
        const char *log;
    } keys[] = {{&norla::KeyVal_DoorFingerStore_IsChanged, "Failed to get door finger store info."},
                {&norla::KeyVal_DoorBellTone_IsChanged, "Failed to get door bell tone info."},
                {&norla::KeyVal_DoorPromptTone_IsChanged, "Failed to get door prompt tone info."}};
    for (int type = 1; type <= 3; ++type) {
        Device().get_result[type] = 1;
        EXPECT_EQ(keys[type - 1].isChanged(), 0);
        EXPECT_TRUE(HasLog(1, keys[type - 1].log));
    }
    oqsim::clear_logs();
    for (const auto &error : {std::pair{4, -1}, std::pair{0x3004, -1}, std::pair{5, 0}}) {
        Device().get_result[OQDEVSDK_DOORLOCK_FROM_DEV_FACE_UNLOCK] = error.first;
        EXPECT_EQ(norla::KeyVal_DoorFaceUnlock_IsChanged(), error.second) << error.first;
    }
    EXPECT_TRUE(oqsim::logs().empty());
}

// The object is made but a member is not: nothing is sent rather than half a
// value.
TEST_F(DeviceStatusTest, FaceUnlockValueThatRunsOutOfMemoryIsNotSent) {
    oqsim::clear_sent();
    dltest::ArmAllocationFault(2, false);
    EXPECT_EQ(norla::KeyVal_DoorFaceUnlock_Report(0), 0);
    dltest::DisarmAllocationFault();
    EXPECT_TRUE(oqsim::sent().empty());
    EXPECT_TRUE(HasLog(1, "Failed to create json object."));
}

// Signal changes up to 10 from the last accepted one are noise; the reserved
// byte alone is no change; a failed fetch keeps the cache.
TEST_F(DeviceStatusTest, SignalDriftIsMeasuredAgainstLastAcceptedChange) {
    const int steps[][8] = {
        // fetched door, lock, signal; device result; changed; reported door, lock, signal
        {1, 0, 50, 0, 1, 1, 0, 50},   {1, 0, 60, 0, 0, 1, 0, 50}, {1, 0, 40, 0, 0, 1, 0, 50},
        {1, 0, 61, 0, 1, 1, 0, 61},   {1, 0, 51, 0, 0, 1, 0, 61}, {1, 1, 61, 0, 1, 1, 1, 61},
        {2, 1, 61, 3, 0, 1, 1, 61},   {2, 1, 61, 0, 1, 2, 1, 61}, {2, 1, 61, 0, 0, 2, 1, 61},
        {2, 1, 250, 0, 1, 2, 1, 250},
    };
    norla::LockStatus_Reset();
    uint8_t reserved = 0;
    for (const auto &s : steps) {
        SCOPED_TRACE(reserved);
        oqsim::clear_logs();
        Device().SetRuntime(
            OQDEVSDK_DOORLOCK_FROM_DEV_LOCK_STATUS,
            oqDevSDK_DoorLock_LockStatus_S{static_cast<uint8_t>(s[0]), static_cast<uint8_t>(s[1]),
                                           static_cast<uint8_t>(s[2]), reserved++});
        Device().get_result[OQDEVSDK_DOORLOCK_FROM_DEV_LOCK_STATUS] = s[3];
        EXPECT_EQ(norla::LockStatus_IsChanged(), s[4]);
        EXPECT_EQ(oqsim::has_log(1, "Failed to get door lock status info.\n "), s[3] != 0);
        ASSERT_EQ(norla::LockStatus_Report(0), 0);
        EXPECT_EQ(LastSent().rec.iCmdId, norla::kCmdReportLockStatus);
        EXPECT_EQ(Payload(LastSent()), "<Door>" + std::to_string(s[5]) + "</Door><Lock>" +
                                           std::to_string(s[6]) + "</Lock><Signal>" +
                                           std::to_string(s[7]) + "</Signal>");
    }
}

// Texts without terminators stay within their fields; at most two entries
// are reported whatever usPowerNum says.
TEST_F(DeviceStatusTest, PowerEntries) {
    auto first = [](const std::string &name) {
        return R"({"SubSerial":"SUB0001","Type":1,"Des":"front battery","Remaining":80,)"
               R"("Status":2,"Name":")" +
               name + R"(","Value":"3600/4200"})";
    };
    const std::string second = R"({"SubSerial":")" + std::string(16, 'S') +
                               R"(","Type":2,"Des":")" + std::string(64, 'd') +
                               R"(","Remaining":15,"Status":0,"Name":"CatEye","Value":"65535/6"})";
    const struct {
        uint16_t count;
        uint8_t firstName;
        std::string entries;
    } cases[] = {
        {0, 0, ""},
        {1, 2, first("VideoLock")},
        {2, 0, first("Door") + "," + second},
        {5, 3, first("Unknown") + "," + second},
        {65535, 255, first("Unknown") + "," + second},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.count);
        Power rec;
        std::memset(&rec, 0, sizeof rec);
        rec.usPowerNum = c.count;
        rec.stPower[0] = {1, 80, c.firstName, 2, 3600, 4200, "SUB0001", "front battery"};
        rec.stPower[1] = {2, 15, OQDEVSDK_DOORLOCK_POWER_NAME_CAT_EYE, 0, 65535, 6, {}, {}};
        std::memset(rec.stPower[1].szSubSerial, 'S', sizeof rec.stPower[1].szSubSerial);
        std::memset(rec.stPower[1].szDes, 'd', sizeof rec.stPower[1].szDes);
        Device().SetRuntime(kPowerCode, rec);
        norla::PowerStatus_Reset();
        EXPECT_EQ(norla::PowerStatus_IsChanged(), 1);
        EXPECT_EQ(norla::PowerStatus_IsChanged(), 0);
        ASSERT_EQ(norla::PowerStatus_Report(0), 0);
        EXPECT_EQ(LastSent().rec.iCmdId, norla::kCmdReportStatus);
        EXPECT_EQ(Payload(LastSent()), "multiPower:[" + c.entries + "]");
    }
    // The array and the first entry are made, its first member is not: the
    // report fails rather than go out with holes.
    dltest::ArmAllocationFault(3, false);
    oqsim::clear_sent();
    EXPECT_EQ(norla::PowerStatus_Report(0), -1);
    dltest::DisarmAllocationFault();
    EXPECT_TRUE(oqsim::sent().empty());
    EXPECT_TRUE(HasLog(1, "Failed to create cjson object."));
}

}  // namespace
