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
#include "status/json_faults.h"
#include "support/fixture.h"

namespace {

using dltest::FakeDevice;

constexpr int kLogError = 1;
constexpr int kSwitchTypes[OQDEVSDK_DOORLOCK_SWITCH_NUM] = {30, 450, 452, 453, 454, 455, 456, 457};

// Opens a report body at its own elements, after checking the common
// envelope.
bool OpenReport(CMarkupSTL &xml, const std::string &body) {
    if (!xml.SetDoc(body.c_str()) || !xml.FindElem("Request") || !xml.IntoElem()) {
        ADD_FAILURE() << "not a request: " << body;
        return false;
    }
    EXPECT_TRUE(xml.FindElem("DevSerial"));
    EXPECT_EQ(xml.x_GetData(), "SIMLOCK0001");
    EXPECT_TRUE(xml.FindElem("Authorization"));
    return true;
}

struct StatusAttrs {
    std::string type;
    std::string value;
};

StatusAttrs ParseStatus(const std::string &body) {
    CMarkupSTL xml;
    if (!OpenReport(xml, body) || !xml.FindElem("Status")) {
        ADD_FAILURE() << "no Status in " << body;
        return {};
    }
    return {xml.x_GetAttrib("Type"), xml.x_GetAttrib("Value")};
}

struct SwitchAttrs {
    std::string channel;
    std::string enable;
    std::string type;
};

std::vector<SwitchAttrs> ParseSwitches(const std::string &body) {
    std::vector<SwitchAttrs> out;
    CMarkupSTL xml;
    if (!OpenReport(xml, body)) {
        return out;
    }
    EXPECT_TRUE(xml.FindElem("Type"));
    EXPECT_EQ(xml.x_GetData(), "SWITCHENABLE");
    if (!xml.FindElem("Params") || !xml.IntoElem()) {
        ADD_FAILURE() << "no Params in " << body;
        return out;
    }
    while (xml.FindElem("Switch")) {
        out.push_back(
            {xml.x_GetAttrib("Channel"), xml.x_GetAttrib("Enable"), xml.x_GetAttrib("Type")});
    }
    return out;
}

void ExpectSwitchEnables(const std::string &body, const std::vector<int> &enables) {
    const std::vector<SwitchAttrs> got = ParseSwitches(body);
    ASSERT_EQ(got.size(), enables.size());
    for (size_t n = 0; n < got.size(); ++n) {
        SCOPED_TRACE(n);
        EXPECT_EQ(got[n].channel, "0");
        EXPECT_EQ(got[n].enable, std::to_string(enables[n]));
        EXPECT_EQ(got[n].type, std::to_string(kSwitchTypes[n]));
    }
}

// Serves switch n with enables[n]; a negative entry fails that fetch.
std::function<int(oqDevSDK_DoorLock_Msg_S *)> ServeSwitches(std::vector<int> enables,
                                                            int channel = 0) {
    return [enables, channel](oqDevSDK_DoorLock_Msg_S *msg) {
        if (msg->iType != OQDEVSDK_DOORLOCK_FROM_DEV_SWITCH) {
            return 1;
        }
        auto *rec = static_cast<oqDevSDK_DoorLock_SwitchCfg_S *>(msg->pData);
        const int enable = enables.at(static_cast<size_t>(rec->iSwitchIndex));
        if (enable < 0) {
            return 1;
        }
        rec->iEnable = enable;
        rec->iChannel = channel;
        return 0;
    };
}

// The caches start with load-time values that no Reset restores, so they are
// sampled once, before any test polls.
struct LoadTimeSample {
    int switchChanged[OQDEVSDK_DOORLOCK_SWITCH_NUM];
    std::string switchReport;
    int keyChanged[3];
    int faceChanged;
};
LoadTimeSample g_loadTime;

class LoadTimeProbe : public ::testing::Environment {
  public:
    void SetUp() override {
        FakeDevice &dev = FakeDevice::Get();
        dev.Reset();
        oqDevSDK_DoorLock_Callback_S cb = dev.Callbacks();
        norla::DoorLock_BusDev_SetOps(&cb);
        // Every switch off, asked one at a time while the others fail.
        for (int n = 0; n < OQDEVSDK_DOORLOCK_SWITCH_NUM; ++n) {
            std::vector<int> enables(OQDEVSDK_DOORLOCK_SWITCH_NUM, -1);
            enables[static_cast<size_t>(n)] = 0;
            dev.on_get = ServeSwitches(enables);
            g_loadTime.switchChanged[n] = norla::DoorOpenRemindSwitch_IsChanged();
        }
        dev.on_get = nullptr;
        norla::DoorOpenRemindSwitch_Report(0);
        g_loadTime.switchReport = oqsim::sent().empty() ? "" : oqsim::sent().back().body;

        const int32_t unknown = -1;
        dev.SetRuntime(OQDEVSDK_DOORLOCK_FROM_DEV_FINGER_STORE, unknown);
        dev.SetRuntime(OQDEVSDK_DOORLOCK_FROM_DEV_BELL_TONE, unknown);
        dev.SetRuntime(OQDEVSDK_DOORLOCK_FROM_DEV_PROMPT_TONE, unknown);
        dev.SetRuntime(OQDEVSDK_DOORLOCK_FROM_DEV_FACE_UNLOCK,
                       oqDevSDK_DoorLock_FaceUnlock_S{unknown, unknown});
        g_loadTime.keyChanged[0] = norla::KeyVal_DoorFingerStore_IsChanged();
        g_loadTime.keyChanged[1] = norla::KeyVal_DoorBellTone_IsChanged();
        g_loadTime.keyChanged[2] = norla::KeyVal_DoorPromptTone_IsChanged();
        g_loadTime.faceChanged = norla::KeyVal_DoorFaceUnlock_IsChanged();

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

TEST_F(SettingsStatusTest, FirstPollAfterLoad) {
    const int expected[OQDEVSDK_DOORLOCK_SWITCH_NUM] = {1, 1, 1, 0, 0, 0, 0, 0};
    for (int n = 0; n < OQDEVSDK_DOORLOCK_SWITCH_NUM; ++n) {
        EXPECT_EQ(g_loadTime.switchChanged[n], expected[n]) << "switch " << n;
    }
    ExpectSwitchEnables(g_loadTime.switchReport, {0, 0, 0, 0, 0, 0, 0, 0});
    EXPECT_NE(g_loadTime.switchReport.find(R"(<Switch Channel="0" Enable="0" Type="30")"),
              std::string::npos)
        << g_loadTime.switchReport;
    for (int changed : g_loadTime.keyChanged) {
        EXPECT_EQ(changed, 0);
    }
    EXPECT_EQ(g_loadTime.faceChanged, 0);
}

TEST_F(SettingsStatusTest, SwitchesAreFetchedAndReportedOneByOne) {
    norla::DoorOpenRemindSwitch_Reset();
    std::vector<int> indexes;
    Device().on_get = [&indexes](oqDevSDK_DoorLock_Msg_S *msg) {
        auto *rec = static_cast<oqDevSDK_DoorLock_SwitchCfg_S *>(msg->pData);
        indexes.push_back(rec->iSwitchIndex);
        EXPECT_EQ(msg->uiLen, OQDEVSDK_DOORLOCK_FROM_DEV_SWITCH_LEN);
        rec->iEnable = 1;
        return 0;
    };
    EXPECT_EQ(norla::DoorOpenRemindSwitch_IsChanged(), 1);
    EXPECT_EQ(indexes, (std::vector<int>{0, 1, 2, 3, 4, 5, 6, 7}));
    EXPECT_EQ(norla::DoorOpenRemindSwitch_IsChanged(), 0);

    // Switch 4 fails: it keeps its value, the others are still compared and
    // the lock's channel never reaches the report.
    Device().on_get = ServeSwitches({0, 0, 0, 0, -1, 0, 0, 0}, 3);
    EXPECT_EQ(norla::DoorOpenRemindSwitch_IsChanged(), 1);
    EXPECT_EQ(norla::DoorOpenRemindSwitch_Report(42), 0);
    EXPECT_EQ(LastSent().rec.iCmdId, norla::kCmdReportSwitches);
    ExpectSwitchEnables(LastSent().body, {0, 0, 0, 0, 1, 0, 0, 0});

    // Only the failed switch changes now; every switch is still asked.
    Device().on_get = ServeSwitches({0, 0, 0, 0, 0, 0, 0, 0});
    Device().get_calls.clear();
    EXPECT_EQ(norla::DoorOpenRemindSwitch_IsChanged(), 1);
    EXPECT_EQ(Device().get_calls[OQDEVSDK_DOORLOCK_FROM_DEV_SWITCH], 8);
}

TEST_F(SettingsStatusTest, NumericKeyValues) {
    struct Item {
        const char *key;
        int type;
        const char *fetchError;
        int (*isChanged)();
        int (*report)(int);
        int (*reset)();
    };
    const Item items[] = {
        {"doorFingerStore", OQDEVSDK_DOORLOCK_FROM_DEV_FINGER_STORE,
         "Failed to get door finger store info.", &norla::KeyVal_DoorFingerStore_IsChanged,
         &norla::KeyVal_DoorFingerStore_Report, &norla::KeyVal_DoorFingerStore_Reset},
        {"doorBellTone", OQDEVSDK_DOORLOCK_FROM_DEV_BELL_TONE, "Failed to get door bell tone info.",
         &norla::KeyVal_DoorBellTone_IsChanged, &norla::KeyVal_DoorBellTone_Report,
         &norla::KeyVal_DoorBellTone_Reset},
        {"doorPromptTone", OQDEVSDK_DOORLOCK_FROM_DEV_PROMPT_TONE,
         "Failed to get door prompt tone info.", &norla::KeyVal_DoorPromptTone_IsChanged,
         &norla::KeyVal_DoorPromptTone_Report, &norla::KeyVal_DoorPromptTone_Reset},
    };
    for (const Item &item : items) {
        SCOPED_TRACE(item.key);
        EXPECT_EQ(item.reset(), 0);
        Device().SetRuntime(item.type, int32_t{-1});
        EXPECT_EQ(item.isChanged(), 0) << "-1 after a reset is no change";
        Device().SetRuntime(item.type, int32_t{-5});
        EXPECT_EQ(item.isChanged(), 1);
        EXPECT_EQ(item.isChanged(), 0);

        Device().get_result[item.type] = 2;
        EXPECT_EQ(item.isChanged(), 0);
        EXPECT_TRUE(HasLog(kLogError, item.fetchError));
        Device().get_result.clear();

        EXPECT_EQ(item.report(7), 0);
        EXPECT_EQ(LastSent().rec.iCmdId, norla::kCmdReportStatus);
        const StatusAttrs status = ParseStatus(LastSent().body);
        EXPECT_EQ(status.type, item.key);
        EXPECT_EQ(status.value, "-5");
    }
}

TEST_F(SettingsStatusTest, FaceUnlockValue) {
    EXPECT_EQ(norla::KeyVal_DoorFaceUnlock_Reset(), 0);
    Device().SetRuntime(OQDEVSDK_DOORLOCK_FROM_DEV_FACE_UNLOCK,
                        oqDevSDK_DoorLock_FaceUnlock_S{2, -70});
    EXPECT_EQ(norla::KeyVal_DoorFaceUnlock_IsChanged(), 1);
    EXPECT_EQ(norla::KeyVal_DoorFaceUnlock_IsChanged(), 0);
    Device().SetRuntime(OQDEVSDK_DOORLOCK_FROM_DEV_FACE_UNLOCK,
                        oqDevSDK_DoorLock_FaceUnlock_S{2, 30});
    EXPECT_EQ(norla::KeyVal_DoorFaceUnlock_IsChanged(), 1);

    EXPECT_EQ(norla::KeyVal_DoorFaceUnlock_Report(0), 0);
    EXPECT_EQ(LastSent().rec.iCmdId, norla::kCmdReportStatus);
    const StatusAttrs status = ParseStatus(LastSent().body);
    EXPECT_EQ(status.type, "doorFaceUnlock");
    cJSON *json = cJSON_Parse(status.value.c_str());
    ASSERT_NE(json, nullptr) << status.value;
    ASSERT_NE(json->child, nullptr);
    EXPECT_STREQ(json->child->string, "unlock_type");
    EXPECT_EQ(json->child->valueint, 2);
    ASSERT_NE(json->child->next, nullptr);
    EXPECT_STREQ(json->child->next->string, "unlock_sensitivity");
    EXPECT_EQ(json->child->next->valueint, 30);
    cJSON_Delete(json);
}

TEST_F(SettingsStatusTest, FaceUnlockFetchFailures) {
    struct Case {
        int deviceResult;
        int changed;
    };
    const Case cases[] = {{4, -1}, {0x3004, -1}, {5, 0}, {0x40, 0}, {-1, 0}};
    for (const Case &c : cases) {
        SCOPED_TRACE(c.deviceResult);
        oqsim::clear_logs();
        Device().get_result[OQDEVSDK_DOORLOCK_FROM_DEV_FACE_UNLOCK] = c.deviceResult;
        EXPECT_EQ(norla::KeyVal_DoorFaceUnlock_IsChanged(), c.changed);
        EXPECT_TRUE(oqsim::logs().empty());
    }
}

TEST_F(SettingsStatusTest, FaceUnlockJsonFailureSendsNothing) {
    struct Case {
        int failFrom;
        const char *log;
    };
    const Case cases[] = {{1, "Failed to create json object."},
                          {2, "Failed to gen string from cjson object."}};
    for (const Case &c : cases) {
        SCOPED_TRACE(c.log);
        oqsim::clear_sent();
        {
            dltest::JsonAllocFaults faults(c.failFrom);
            EXPECT_EQ(norla::KeyVal_DoorFaceUnlock_Report(0), 0);
        }
        EXPECT_TRUE(HasLog(kLogError, c.log));
        EXPECT_TRUE(oqsim::sent().empty());
    }
}

// A lock that keeps what it is told and hands it back when asked.
struct StatefulLock {
    oqDevSDK_DoorLock_SwitchCfg_S switches[OQDEVSDK_DOORLOCK_SWITCH_NUM] = {};
    int32_t values[4] = {};  // by type code 1..3 of both directions
    oqDevSDK_DoorLock_FaceUnlock_S face = {};

    void Attach(FakeDevice &dev) {
        dev.on_recv = [this](oqDevSDK_DoorLock_Msg_S *msg) { return Take(msg); };
        dev.on_get = [this](oqDevSDK_DoorLock_Msg_S *msg) { return Give(msg); };
    }

    int Take(const oqDevSDK_DoorLock_Msg_S *msg) {
        switch (msg->iType) {
            case OQDEVSDK_DOORLOCK_TO_DEV_SWITCH: {
                const auto *rec = static_cast<const oqDevSDK_DoorLock_SwitchCfg_S *>(msg->pData);
                switches[rec->iSwitchIndex] = *rec;
                return 0;
            }
            case OQDEVSDK_DOORLOCK_TO_DEV_FINGER_STORE:
            case OQDEVSDK_DOORLOCK_TO_DEV_BELL_TONE:
            case OQDEVSDK_DOORLOCK_TO_DEV_PROMPT_TONE:
                std::memcpy(&values[msg->iType], msg->pData, sizeof(int32_t));
                return 0;
            case OQDEVSDK_DOORLOCK_TO_DEV_FACE_UNLOCK:
                std::memcpy(&face, msg->pData, sizeof face);
                return 0;
            default:
                return 1;
        }
    }

    int Give(oqDevSDK_DoorLock_Msg_S *msg) const {
        switch (msg->iType) {
            case OQDEVSDK_DOORLOCK_FROM_DEV_SWITCH: {
                auto *rec = static_cast<oqDevSDK_DoorLock_SwitchCfg_S *>(msg->pData);
                *rec = switches[rec->iSwitchIndex];
                return 0;
            }
            case OQDEVSDK_DOORLOCK_FROM_DEV_FINGER_STORE:
            case OQDEVSDK_DOORLOCK_FROM_DEV_BELL_TONE:
            case OQDEVSDK_DOORLOCK_FROM_DEV_PROMPT_TONE:
                std::memcpy(msg->pData, &values[msg->iType], sizeof(int32_t));
                return 0;
            case OQDEVSDK_DOORLOCK_FROM_DEV_FACE_UNLOCK:
                std::memcpy(msg->pData, &face, sizeof face);
                return 0;
            default:
                return 1;
        }
    }
};

class SettingsRoundTripTest : public SettingsStatusTest {
  protected:
    void SetUp() override {
        SettingsStatusTest::SetUp();
        lock_.Attach(Device());
        oqsim::poll();
        oqsim::clear_sent();
    }

    // Bodies of the reports of one command id sent since the last clear.
    static std::vector<std::string> Reports(int cmd) {
        std::vector<std::string> bodies;
        for (const oqsim::Sent &s : oqsim::sent()) {
            if (s.rec.iCmdId == cmd) {
                bodies.push_back(s.body);
            }
        }
        return bodies;
    }

    StatefulLock lock_;
};

TEST_F(SettingsRoundTripTest, ItemsAreRegisteredInOrder) {
    std::vector<int> mine;
    for (int id : oqsim::status_ids()) {
        if (id == 66 || id == 67 || id == 68 || id == 69 || id == 73 || id == 70 || id == 97) {
            mine.push_back(id);
        }
    }
    EXPECT_EQ(mine, (std::vector<int>{66, 67, 68, 69, 73, 70, 97}));
}

TEST_F(SettingsRoundTripTest, SwitchSetThenPoll) {
    ASSERT_EQ(ResultOf(Request(18699, 5,
                               "<Request><Switch Type=\"454\" Enable=\"1\" "
                               "Channel=\"2\"/></Request>")),
              0);
    oqsim::clear_sent();
    oqsim::poll();
    const std::vector<std::string> reports = Reports(norla::kCmdReportSwitches);
    ASSERT_EQ(reports.size(), 1u);
    ExpectSwitchEnables(reports[0], {0, 0, 0, 0, 1, 0, 0, 0});

    // Switches are reported on change only.
    oqsim::clear_sent();
    oqsim::poll();
    EXPECT_TRUE(Reports(norla::kCmdReportSwitches).empty());
}

TEST_F(SettingsRoundTripTest, KeySetThenPoll) {
    struct Case {
        std::string key;
        std::string value;
    };
    const Case cases[] = {
        {"doorFingerStore", "2"},
        {"doorBellTone", "7"},
        {"doorBellTone", "7"},  // unchanged, reported because the set forces it
        {"doorPromptTone", "-1"},
        {"doorFaceUnlock", R"({"unlock_type":3,"unlock_sensitivity":60})"},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.key + "=" + c.value);
        ASSERT_EQ(ResultOf(Request(18829, 6,
                                   "<Request><Type>" + c.key + "</Type><Value>" + c.value +
                                       "</Value></Request>")),
                  0);
        oqsim::clear_sent();
        oqsim::poll();
        std::vector<StatusAttrs> mine;
        for (const std::string &body : Reports(norla::kCmdReportStatus)) {
            mine.push_back(ParseStatus(body));
        }
        ASSERT_EQ(mine.size(), 1u);
        EXPECT_EQ(mine[0].type, c.key);
        if (c.key != "doorFaceUnlock") {
            EXPECT_EQ(mine[0].value, c.value);
            continue;
        }
        cJSON *json = cJSON_Parse(mine[0].value.c_str());
        ASSERT_NE(json, nullptr);
        EXPECT_EQ(cJSON_GetObjectItem(json, "unlock_type")->valueint, 3);
        EXPECT_EQ(cJSON_GetObjectItem(json, "unlock_sensitivity")->valueint, 60);
        cJSON_Delete(json);
    }
}

}  // namespace
