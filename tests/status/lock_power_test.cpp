#include <cjson/cJSON.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
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

oqDevSDK_DoorLock_LockStatus_S Lock(uint8_t door, uint8_t bolt, uint8_t signal,
                                    uint8_t reserved = 0) {
    return {door, bolt, signal, reserved};
}

// Two filled entries; the second one's texts use their whole fields, without
// terminators.
oqDevSDK_DoorLock_PowerStatus_S MakePower(uint16_t count) {
    oqDevSDK_DoorLock_PowerStatus_S rec;
    std::memset(&rec, 0, sizeof rec);
    rec.usPowerNum = count;
    rec.stPower[0] = {
        1, 80, OQDEVSDK_DOORLOCK_POWER_NAME_DOOR, 2, 3600, 4200, "SUB0001", "front battery"};
    oqDevSDK_DoorLock_PowerInfo_S &second = rec.stPower[1];
    second.ucPowerType = 2;
    second.ucRemaining = 15;
    second.ucNameType = OQDEVSDK_DOORLOCK_POWER_NAME_CAT_EYE;
    second.ucStatus = 0;
    second.usValueFirst = 65535;
    second.usValueSecond = 6;
    std::memset(second.szSubSerial, 'S', sizeof second.szSubSerial);
    std::memset(second.szDes, 'd', sizeof second.szDes);
    return rec;
}

// Members of one reported entry, in the order they appear, as text.
std::vector<std::pair<std::string, std::string>> Members(const cJSON *entry) {
    std::vector<std::pair<std::string, std::string>> out;
    for (const cJSON *m = entry->child; m != nullptr; m = m->next) {
        out.emplace_back(m->string, cJSON_IsString(m) ? std::string(m->valuestring)
                                                      : std::to_string(m->valueint));
    }
    return out;
}

const std::vector<std::pair<std::string, std::string>> kFirstEntry = {
    {"SubSerial", "SUB0001"}, {"Type", "1"},    {"Des", "front battery"}, {"Remaining", "80"},
    {"Status", "2"},          {"Name", "Door"}, {"Value", "3600/4200"}};
const std::vector<std::pair<std::string, std::string>> kSecondEntry = {
    {"SubSerial", std::string(16, 'S')},
    {"Type", "2"},
    {"Des", std::string(64, 'd')},
    {"Remaining", "15"},
    {"Status", "0"},
    {"Name", "CatEye"},
    {"Value", "65535/6"}};

// The JSON list of the last power report, or null; the caller deletes it.
cJSON *LastPowerList() {
    if (oqsim::sent().empty()) {
        ADD_FAILURE() << "nothing sent";
        return nullptr;
    }
    const oqsim::Sent &sent = oqsim::sent().back();
    EXPECT_EQ(sent.rec.iCmdId, norla::kCmdReportStatus);
    CMarkupSTL xml;
    if (!xml.SetDoc(sent.body.c_str()) || !xml.FindElem("Request") || !xml.IntoElem() ||
        !xml.FindElem("Status")) {
        ADD_FAILURE() << "no Status in " << sent.body;
        return nullptr;
    }
    EXPECT_EQ(xml.x_GetAttrib("Type"), "multiPower");
    cJSON *list = cJSON_Parse(xml.x_GetAttrib("Value").c_str());
    EXPECT_TRUE(cJSON_IsArray(list)) << xml.x_GetAttrib("Value");
    return list;
}

// Door, Lock and Signal texts of the last lock status report.
std::vector<std::string> LastLockReport() {
    CMarkupSTL xml;
    const std::string body = oqsim::sent().empty() ? "" : oqsim::sent().back().body;
    std::vector<std::string> out;
    if (!xml.SetDoc(body.c_str()) || !xml.FindElem("Request") || !xml.IntoElem()) {
        ADD_FAILURE() << "not a request: " << body;
        return out;
    }
    EXPECT_TRUE(xml.FindElem("DevSerial"));
    EXPECT_TRUE(xml.FindElem("Authorization"));
    for (const char *name : {"Door", "Lock", "Signal"}) {
        EXPECT_TRUE(xml.FindElem(name)) << name;
        out.push_back(xml.x_GetData());
    }
    return out;
}

// The caches' load-time values can be seen only before the first poll.
struct LoadTimeSample {
    int lockQuiet;
    int lockDrifted;
    int powerChanged;
};
LoadTimeSample g_loadTime;

class LoadTimeProbe : public ::testing::Environment {
  public:
    void SetUp() override {
        FakeDevice &dev = FakeDevice::Get();
        dev.Reset();
        oqDevSDK_DoorLock_Callback_S cb = dev.Callbacks();
        norla::DoorLock_BusDev_SetOps(&cb);

        dev.SetRuntime(OQDEVSDK_DOORLOCK_FROM_DEV_LOCK_STATUS, Lock(255, 0, 10));
        g_loadTime.lockQuiet = norla::LockStatus_IsChanged();
        dev.SetRuntime(OQDEVSDK_DOORLOCK_FROM_DEV_LOCK_STATUS, Lock(255, 0, 11));
        g_loadTime.lockDrifted = norla::LockStatus_IsChanged();

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

class LockPowerTest : public dltest::ModuleTest {
  protected:
    void SetUp() override {
        ModuleTest::SetUp();
        InitModule();
    }
};

TEST_F(LockPowerTest, FirstPollAfterLoad) {
    EXPECT_EQ(g_loadTime.lockQuiet, 0);
    EXPECT_EQ(g_loadTime.lockDrifted, 1);
    EXPECT_EQ(g_loadTime.powerChanged, 0);
}

TEST_F(LockPowerTest, SignalDriftIsMeasuredAgainstLastAcceptedChange) {
    struct Step {
        oqDevSDK_DoorLock_LockStatus_S fetched;
        int changed;
        std::vector<std::string> reported;  // Door, Lock, Signal from the cache
    };
    const Step steps[] = {
        {Lock(1, 0, 50), 1, {"1", "0", "50"}},      {Lock(1, 0, 60, 7), 0, {"1", "0", "50"}},
        {Lock(1, 0, 40, 7), 0, {"1", "0", "50"}},   {Lock(1, 0, 61, 7), 1, {"1", "0", "61"}},
        {Lock(1, 0, 51, 9), 0, {"1", "0", "61"}},   {Lock(1, 1, 61, 7), 1, {"1", "1", "61"}},
        {Lock(2, 1, 61, 7), 1, {"2", "1", "61"}},   {Lock(2, 1, 61, 7), 0, {"2", "1", "61"}},
        {Lock(2, 1, 250, 7), 1, {"2", "1", "250"}},
    };
    EXPECT_EQ(norla::LockStatus_Reset(), 0);
    int n = 0;
    for (const Step &step : steps) {
        SCOPED_TRACE(n++);
        Device().SetRuntime(OQDEVSDK_DOORLOCK_FROM_DEV_LOCK_STATUS, step.fetched);
        EXPECT_EQ(norla::LockStatus_IsChanged(), step.changed);
        ASSERT_EQ(norla::LockStatus_Report(0), 0);
        EXPECT_EQ(LastSent().rec.iCmdId, norla::kCmdReportLockStatus);
        EXPECT_EQ(LastLockReport(), step.reported);
    }
}

TEST_F(LockPowerTest, LockFetchFailureKeepsCache) {
    norla::LockStatus_Reset();
    Device().SetRuntime(OQDEVSDK_DOORLOCK_FROM_DEV_LOCK_STATUS, Lock(0, 1, 30));
    ASSERT_EQ(norla::LockStatus_IsChanged(), 1);
    Device().SetRuntime(OQDEVSDK_DOORLOCK_FROM_DEV_LOCK_STATUS, Lock(1, 1, 30));
    Device().get_result[OQDEVSDK_DOORLOCK_FROM_DEV_LOCK_STATUS] = 3;
    EXPECT_EQ(norla::LockStatus_IsChanged(), 0);
    EXPECT_TRUE(oqsim::has_log(kLogError, "Failed to get door lock status info.\n "));
    Device().get_result.clear();
    EXPECT_EQ(norla::LockStatus_IsChanged(), 1);
}

TEST_F(LockPowerTest, PowerEntriesReported) {
    struct Case {
        uint16_t count;
        size_t reported;
    };
    const Case cases[] = {{0, 0}, {1, 1}, {2, 2}, {5, 2}, {65535, 2}};
    for (const Case &c : cases) {
        SCOPED_TRACE(c.count);
        EXPECT_EQ(norla::PowerStatus_Reset(), 0);
        Device().SetRuntime(OQDEVSDK_DOORLOCK_FROM_DEV_POWER_STATUS, MakePower(c.count));
        EXPECT_EQ(norla::PowerStatus_IsChanged(), 1);
        EXPECT_EQ(norla::PowerStatus_IsChanged(), 0);
        ASSERT_EQ(norla::PowerStatus_Report(0), 0);
        cJSON *list = LastPowerList();
        ASSERT_NE(list, nullptr);
        ASSERT_EQ(static_cast<size_t>(cJSON_GetArraySize(list)), c.reported);
        if (c.reported > 0) {
            EXPECT_EQ(Members(cJSON_GetArrayItem(list, 0)), kFirstEntry);
        }
        if (c.reported > 1) {
            EXPECT_EQ(Members(cJSON_GetArrayItem(list, 1)), kSecondEntry);
        }
        cJSON_Delete(list);
    }
}

TEST_F(LockPowerTest, PowerNames) {
    struct Case {
        uint8_t nameType;
        const char *name;
    };
    const Case cases[] = {
        {0, "Door"}, {1, "CatEye"}, {2, "VideoLock"}, {3, "Unknown"}, {255, "Unknown"}};
    for (const Case &c : cases) {
        SCOPED_TRACE(c.name);
        oqDevSDK_DoorLock_PowerStatus_S rec = MakePower(1);
        rec.stPower[0].ucNameType = c.nameType;
        Device().SetRuntime(OQDEVSDK_DOORLOCK_FROM_DEV_POWER_STATUS, rec);
        norla::PowerStatus_IsChanged();
        ASSERT_EQ(norla::PowerStatus_Report(0), 0);
        cJSON *list = LastPowerList();
        ASSERT_NE(list, nullptr);
        const cJSON *name = cJSON_GetObjectItem(cJSON_GetArrayItem(list, 0), "Name");
        ASSERT_TRUE(cJSON_IsString(name));
        EXPECT_STREQ(name->valuestring, c.name);
        cJSON_Delete(list);
    }
}

// Every byte counts, also those of entries beyond usPowerNum.
TEST_F(LockPowerTest, PowerComparesWholeRecord) {
    oqDevSDK_DoorLock_PowerStatus_S rec = MakePower(1);
    Device().SetRuntime(OQDEVSDK_DOORLOCK_FROM_DEV_POWER_STATUS, rec);
    norla::PowerStatus_IsChanged();
    rec.aucReserved[1] = 1;
    Device().SetRuntime(OQDEVSDK_DOORLOCK_FROM_DEV_POWER_STATUS, rec);
    EXPECT_EQ(norla::PowerStatus_IsChanged(), 1);
    rec.stPower[1].ucRemaining = 99;
    Device().SetRuntime(OQDEVSDK_DOORLOCK_FROM_DEV_POWER_STATUS, rec);
    EXPECT_EQ(norla::PowerStatus_IsChanged(), 1);
    EXPECT_EQ(norla::PowerStatus_IsChanged(), 0);
}

TEST_F(LockPowerTest, PowerFetchFailuresKeepCache) {
    Device().SetRuntime(OQDEVSDK_DOORLOCK_FROM_DEV_POWER_STATUS, MakePower(1));
    norla::PowerStatus_IsChanged();
    Device().SetRuntime(OQDEVSDK_DOORLOCK_FROM_DEV_POWER_STATUS, MakePower(2));

    Device().get_result[OQDEVSDK_DOORLOCK_FROM_DEV_POWER_STATUS] = 1;
    EXPECT_EQ(norla::PowerStatus_IsChanged(), 0);
    EXPECT_TRUE(HasLog(kLogError, "Failed to get mul poser status."));
    Device().get_result.clear();

    Device().get_calls.clear();
    dltest::FailAllocations(OQDEVSDK_DOORLOCK_FROM_DEV_POWER_STATUS_LEN);
    EXPECT_EQ(norla::PowerStatus_IsChanged(), 0);
    EXPECT_TRUE(HasLog(kLogError, "Failed to malloc mem, size=180."));
    EXPECT_EQ(Device().get_calls[OQDEVSDK_DOORLOCK_FROM_DEV_POWER_STATUS], 0);

    EXPECT_EQ(norla::PowerStatus_IsChanged(), 1);
}

TEST_F(LockPowerTest, PowerJsonFailureSendsNothing) {
    struct Case {
        uint16_t count;
        int failFrom;
        const char *log;
    };
    const Case cases[] = {{0, 1, "Failed to create cjson array."},
                          {1, 2, "Failed to create cjson object."},
                          {0, 2, "Failed to create string from cjson."}};
    for (const Case &c : cases) {
        SCOPED_TRACE(c.log);
        Device().SetRuntime(OQDEVSDK_DOORLOCK_FROM_DEV_POWER_STATUS, MakePower(c.count));
        norla::PowerStatus_IsChanged();
        oqsim::clear_sent();
        {
            dltest::JsonAllocFaults faults(c.failFrom);
            EXPECT_EQ(norla::PowerStatus_Report(0), -1);
        }
        EXPECT_TRUE(HasLog(kLogError, c.log));
        EXPECT_TRUE(oqsim::sent().empty());
    }
}

}  // namespace
