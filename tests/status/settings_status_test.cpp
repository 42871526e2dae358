#include <cjson/cJSON.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include "CMarkupSTL.h"
#include "frame/bus_dev.h"
#include "oqDevSDK_door_lock.h"
#include "oqdev_sim.h"
#include "status/items.h"
#include "support/fixture.h"

namespace {

using dltest::FakeDevice;
using SwitchCfg = oqDevSDK_DoorLock_SwitchCfg_S;

// "Type:Value" of a single-Status report, or "Switch:..." with
// "Channel/Enable/Type" of every switch of a switch report.
std::string Summary(const oqsim::Sent &sent) {
    CMarkupSTL xml;
    if (!xml.SetDoc(sent.body.c_str()) || !xml.FindElem("Request") || !xml.IntoElem() ||
        !xml.FindElem("DevSerial") || !xml.FindElem("Authorization")) {
        return "bad envelope: " + sent.body;
    }
    if (xml.FindElem("Status")) {
        return xml.x_GetAttrib("Type") + ":" + xml.x_GetAttrib("Value");
    }
    std::string out = "Switch:";
    if (!xml.FindElem("Type") || xml.x_GetData() != "SWITCHENABLE" || !xml.FindElem("Params") ||
        !xml.IntoElem()) {
        return "bad switch report: " + sent.body;
    }
    while (xml.FindElem("Switch")) {
        out += " " + xml.x_GetAttrib("Channel") + "/" + xml.x_GetAttrib("Enable") + "/" +
               xml.x_GetAttrib("Type");
    }
    return out;
}

std::string SwitchSummary(const std::vector<int> &enables) {
    const int types[] = {30, 450, 452, 453, 454, 455, 456, 457};
    std::string out = "Switch:";
    for (size_t n = 0; n < enables.size(); ++n) {
        out += " 0/" + std::to_string(enables[n]) + "/" + std::to_string(types[n]);
    }
    return out;
}

// Serves switch n with enables[n] on the given channel; a negative entry
// fails that switch's fetch.
std::function<int(oqDevSDK_DoorLock_Msg_S *)> ServeSwitches(std::vector<int> enables,
                                                            int channel = 0) {
    return [enables, channel](oqDevSDK_DoorLock_Msg_S *msg) {
        auto *rec = static_cast<SwitchCfg *>(msg->pData);
        if (msg->iType != 0 || enables.at(static_cast<size_t>(rec->iSwitchIndex)) < 0) {
            return 1;
        }
        rec->iEnable = enables[static_cast<size_t>(rec->iSwitchIndex)];
        rec->iChannel = channel;
        return 0;
    };
}

// The caches' load-time values are visible only before the first poll, so
// they are sampled once, before any test runs.
struct LoadTimeSample {
    std::vector<int> switchChanged;
    std::string switchReport;
    std::vector<int> keyChanged;  // 67, 68, 69, 97
    std::vector<int> lockChanged;
    int powerChanged;
};
LoadTimeSample g_loadTime;

class LoadTimeProbe : public ::testing::Environment {
  public:
    void SetUp() override {
        FakeDevice &dev = FakeDevice::Get();
        oqDevSDK_DoorLock_Callback_S cb = dev.Callbacks();
        norla::DoorLock_BusDev_SetOps(&cb);
        // Every switch off, asked one at a time while the others fail.
        for (size_t n = 0; n < OQDEVSDK_DOORLOCK_SWITCH_NUM; ++n) {
            std::vector<int> enables(OQDEVSDK_DOORLOCK_SWITCH_NUM, -1);
            enables[n] = 0;
            dev.on_get = ServeSwitches(enables);
            g_loadTime.switchChanged.push_back(norla::DoorOpenRemindSwitch_IsChanged());
        }
        norla::DoorOpenRemindSwitch_Report(0);
        g_loadTime.switchReport = Summary(oqsim::sent().back());

        dev.on_get = nullptr;
        for (int type : {1, 2, 3}) {
            dev.SetRuntime(type, int32_t{-1});
        }
        dev.SetRuntime(OQDEVSDK_DOORLOCK_FROM_DEV_FACE_UNLOCK,
                       oqDevSDK_DoorLock_FaceUnlock_S{-1, -1});
        g_loadTime.keyChanged = {
            norla::KeyVal_DoorFingerStore_IsChanged(), norla::KeyVal_DoorBellTone_IsChanged(),
            norla::KeyVal_DoorPromptTone_IsChanged(), norla::KeyVal_DoorFaceUnlock_IsChanged()};

        // Door 255, lock 0 and signal 0 at load, within the signal tolerance.
        for (int signal : {10, 11}) {
            dev.SetRuntime(OQDEVSDK_DOORLOCK_FROM_DEV_LOCK_STATUS,
                           oqDevSDK_DoorLock_LockStatus_S{255, 0, static_cast<uint8_t>(signal), 0});
            g_loadTime.lockChanged.push_back(norla::LockStatus_IsChanged());
        }
        oqDevSDK_DoorLock_PowerStatus_S power;
        std::memset(&power, 0, sizeof power);
        power.usPowerNum = 255;
        dev.SetRuntime(OQDEVSDK_DOORLOCK_FROM_DEV_POWER_STATUS, power);
        g_loadTime.powerChanged = norla::PowerStatus_IsChanged();

        oqDevSDK_DoorLock_Callback_S none{};
        norla::DoorLock_BusDev_SetOps(&none);
        dev.Reset();
        oqsim::reset();
    }
};
[[maybe_unused]] ::testing::Environment *const g_loadTimeProbe =
    ::testing::AddGlobalTestEnvironment(new LoadTimeProbe);

class SettingsStatusTest : public dltest::ModuleTest {
  protected:
    void SetUp() override {
        ModuleTest::SetUp();
        InitModule();
    }
};

// The object is made but a member is not: nothing is sent rather than half a
// value.
TEST_F(SettingsStatusTest, FaceUnlockValueThatRunsOutOfMemoryIsNotSent) {
    dltest::ArmAllocationFault(2, false);
    EXPECT_EQ(norla::KeyVal_DoorFaceUnlock_Report(0), 0);
    dltest::DisarmAllocationFault();
    EXPECT_TRUE(oqsim::sent().empty());
    EXPECT_TRUE(HasLog(1, "Failed to create json object."));
}

TEST_F(SettingsStatusTest, FirstPollAfterLoad) {
    EXPECT_EQ(g_loadTime.switchChanged, (std::vector<int>{1, 1, 1, 0, 0, 0, 0, 0}));
    EXPECT_EQ(g_loadTime.switchReport, SwitchSummary({0, 0, 0, 0, 0, 0, 0, 0}));
    EXPECT_EQ(g_loadTime.keyChanged, (std::vector<int>{0, 0, 0, 0}));
    EXPECT_EQ(g_loadTime.lockChanged, (std::vector<int>{0, 1}));
    EXPECT_EQ(g_loadTime.powerChanged, 0);
}

TEST_F(SettingsStatusTest, OneSwitchFetchFailureKeepsItsValue) {
    norla::DoorOpenRemindSwitch_Reset();
    Device().on_get = ServeSwitches({1, 1, 1, 1, 1, 1, 1, 1});
    EXPECT_EQ(norla::DoorOpenRemindSwitch_IsChanged(), 1);
    EXPECT_EQ(norla::DoorOpenRemindSwitch_IsChanged(), 0);

    // The lock's channel never reaches the report.
    Device().on_get = ServeSwitches({0, 0, 0, 0, -1, 0, 0, 0}, 3);
    EXPECT_EQ(norla::DoorOpenRemindSwitch_IsChanged(), 1);
    EXPECT_EQ(norla::DoorOpenRemindSwitch_Report(42), 0);
    EXPECT_EQ(LastSent().rec.iCmdId, norla::kCmdReportSwitches);
    EXPECT_EQ(Summary(LastSent()), SwitchSummary({0, 0, 0, 0, 1, 0, 0, 0}));
}

TEST_F(SettingsStatusTest, KeyValueFetchFailures) {
    struct Case {
        int type;
        int deviceResult;
        int (*isChanged)();
        int changed;
        const char *log;
    };
    const Case cases[] = {
        {1, 1, &norla::KeyVal_DoorFingerStore_IsChanged, 0,
         "Failed to get door finger store info."},
        {2, 1, &norla::KeyVal_DoorBellTone_IsChanged, 0, "Failed to get door bell tone info."},
        {3, 1, &norla::KeyVal_DoorPromptTone_IsChanged, 0, "Failed to get door prompt tone info."},
        {10, 4, &norla::KeyVal_DoorFaceUnlock_IsChanged, -1, nullptr},
        {10, 0x3004, &norla::KeyVal_DoorFaceUnlock_IsChanged, -1, nullptr},
        {10, 5, &norla::KeyVal_DoorFaceUnlock_IsChanged, 0, nullptr},
        {10, -1, &norla::KeyVal_DoorFaceUnlock_IsChanged, 0, nullptr},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.deviceResult);
        oqsim::clear_logs();
        Device().get_result[c.type] = c.deviceResult;
        EXPECT_EQ(c.isChanged(), c.changed);
        if (c.log != nullptr) {
            EXPECT_TRUE(HasLog(1, c.log));
        } else {
            EXPECT_TRUE(oqsim::logs().empty());
        }
    }
}

class SettingsRoundTripTest : public SettingsStatusTest {
  protected:
    // A lock that keeps what it is told: switches by index, key values under
    // the type code they are read back with.
    void SetUp() override {
        SettingsStatusTest::SetUp();
        Device().on_recv = [this](oqDevSDK_DoorLock_Msg_S *msg) {
            const auto *bytes = static_cast<const uint8_t *>(msg->pData);
            if (msg->iType == OQDEVSDK_DOORLOCK_TO_DEV_SWITCH) {
                SwitchCfg rec;
                std::memcpy(&rec, bytes, sizeof rec);
                switches_[rec.iSwitchIndex] = rec;
                return 0;
            }
            const int readType = msg->iType == OQDEVSDK_DOORLOCK_TO_DEV_FACE_UNLOCK
                                     ? OQDEVSDK_DOORLOCK_FROM_DEV_FACE_UNLOCK
                                     : msg->iType;
            Device().runtime[readType].assign(bytes, bytes + msg->uiLen);
            return 0;
        };
        Device().on_get = [this](oqDevSDK_DoorLock_Msg_S *msg) {
            auto *rec = static_cast<SwitchCfg *>(msg->pData);
            if (msg->iType == OQDEVSDK_DOORLOCK_FROM_DEV_SWITCH) {
                *rec = switches_[rec->iSwitchIndex];
                return 0;
            }
            auto it = Device().runtime.find(msg->iType);
            if (it == Device().runtime.end()) {
                return 1;
            }
            std::memcpy(msg->pData, it->second.data(), it->second.size());
            return 0;
        };
        for (int type : {1, 2, 3}) {
            Device().SetRuntime(type, int32_t{0});
        }
        Device().SetRuntime(OQDEVSDK_DOORLOCK_FROM_DEV_FACE_UNLOCK,
                            oqDevSDK_DoorLock_FaceUnlock_S{0, 0});
        oqsim::poll();
    }

    // Summaries of what one poll sent.
    static std::vector<std::string> Poll() {
        oqsim::clear_sent();
        oqsim::poll();
        std::vector<std::string> out;
        for (const oqsim::Sent &sent : oqsim::sent()) {
            out.push_back(Summary(sent));
        }
        return out;
    }

    SwitchCfg switches_[OQDEVSDK_DOORLOCK_SWITCH_NUM] = {};
};

TEST_F(SettingsRoundTripTest, SwitchSetThenPoll) {
    ASSERT_EQ(ResultOf(Request(18699, 5,
                               R"(<Request><Switch Type="454" Enable="1" Channel="2"/>)"
                               "</Request>")),
              0);
    EXPECT_EQ(Poll(), std::vector<std::string>{SwitchSummary({0, 0, 0, 0, 1, 0, 0, 0})});
    EXPECT_TRUE(Poll().empty()) << "switches are reported on change only";
}

TEST_F(SettingsRoundTripTest, KeySetThenPoll) {
    struct Case {
        std::string key;
        std::string value;
        std::string reported;
    };
    const Case cases[] = {
        {"doorFingerStore", "2", "doorFingerStore:2"},
        {"doorBellTone", "7", "doorBellTone:7"},
        {"doorBellTone", "7", "doorBellTone:7"},  // unchanged, but the set forces it
        {"doorPromptTone", "-1", "doorPromptTone:-1"},
        {"doorFaceUnlock", R"({"unlock_type":3,"unlock_sensitivity":60})", ""},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.key + "=" + c.value);
        ASSERT_EQ(ResultOf(Request(18829, 6,
                                   "<Request><Type>" + c.key + "</Type><Value>" + c.value +
                                       "</Value></Request>")),
                  0);
        const std::vector<std::string> sent = Poll();
        ASSERT_EQ(sent.size(), 1u);
        if (!c.reported.empty()) {
            EXPECT_EQ(sent[0], c.reported);
            continue;
        }
        const std::string prefix = c.key + ":";
        ASSERT_EQ(sent[0].rfind(prefix, 0), 0u) << sent[0];
        cJSON *json = cJSON_Parse(sent[0].c_str() + prefix.size());
        ASSERT_NE(json, nullptr);
        ASSERT_NE(json->child, nullptr);
        ASSERT_NE(json->child->next, nullptr);
        EXPECT_STREQ(json->child->string, "unlock_type");
        EXPECT_EQ(json->child->valueint, 3);
        EXPECT_STREQ(json->child->next->string, "unlock_sensitivity");
        EXPECT_EQ(json->child->next->valueint, 60);
        cJSON_Delete(json);
    }
}

}  // namespace
