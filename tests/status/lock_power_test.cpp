#include <cjson/cJSON.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "CMarkupSTL.h"
#include "oqDevSDK_door_lock.h"
#include "oqdev_sim.h"
#include "status/items.h"
#include "support/fixture.h"

namespace {

using Power = oqDevSDK_DoorLock_PowerStatus_S;

oqDevSDK_DoorLock_LockStatus_S Lock(int door, int bolt, int signal, int reserved = 0) {
    return {static_cast<uint8_t>(door), static_cast<uint8_t>(bolt), static_cast<uint8_t>(signal),
            static_cast<uint8_t>(reserved)};
}

// Two entries; the second one fills its text fields without terminators.
Power MakePower(uint16_t count, uint8_t firstName = OQDEVSDK_DOORLOCK_POWER_NAME_DOOR) {
    Power rec;
    std::memset(&rec, 0, sizeof rec);
    rec.usPowerNum = count;
    rec.stPower[0] = {1, 80, firstName, 2, 3600, 4200, "SUB0001", "front battery"};
    rec.stPower[1] = {2, 15, OQDEVSDK_DOORLOCK_POWER_NAME_CAT_EYE, 0, 65535, 6, {}, {}};
    std::memset(rec.stPower[1].szSubSerial, 'S', sizeof rec.stPower[1].szSubSerial);
    std::memset(rec.stPower[1].szDes, 'd', sizeof rec.stPower[1].szDes);
    return rec;
}

// The entries of the last power report, each as "member=value" in order.
std::vector<std::vector<std::string>> LastPowerEntries() {
    std::vector<std::vector<std::string>> out;
    CMarkupSTL xml;
    const oqsim::Sent &sent = oqsim::sent().back();
    EXPECT_EQ(sent.rec.iCmdId, norla::kCmdReportStatus);
    if (!xml.SetDoc(sent.body.c_str()) || !xml.FindElem("Request") || !xml.IntoElem() ||
        !xml.FindElem("Status") || xml.x_GetAttrib("Type") != "multiPower") {
        ADD_FAILURE() << sent.body;
        return out;
    }
    cJSON *list = cJSON_Parse(xml.x_GetAttrib("Value").c_str());
    EXPECT_TRUE(cJSON_IsArray(list)) << xml.x_GetAttrib("Value");
    for (const cJSON *entry = list != nullptr ? list->child : nullptr; entry != nullptr;
         entry = entry->next) {
        out.emplace_back();
        for (const cJSON *m = entry->child; m != nullptr; m = m->next) {
            out.back().push_back(
                std::string(m->string) + "=" +
                (cJSON_IsString(m) ? m->valuestring : std::to_string(m->valueint)));
        }
    }
    cJSON_Delete(list);
    return out;
}

std::string LastLockReport() {
    CMarkupSTL xml;
    std::string out;
    if (!xml.SetDoc(oqsim::sent().back().body.c_str()) || !xml.FindElem("Request") ||
        !xml.IntoElem() || !xml.FindElem("DevSerial") || !xml.FindElem("Authorization")) {
        return "bad envelope";
    }
    for (const char *name : {"Door", "Lock", "Signal"}) {
        out += xml.FindElem(name) ? xml.x_GetData() + " " : "missing ";
    }
    return out;
}

class LockPowerTest : public dltest::ModuleTest {
  protected:
    void SetUp() override {
        ModuleTest::SetUp();
        InitModule();
    }
};

TEST_F(LockPowerTest, SignalDriftIsMeasuredAgainstLastAcceptedChange) {
    struct Step {
        oqDevSDK_DoorLock_LockStatus_S fetched;
        int deviceResult;
        int changed;
        std::string cached;  // Door, Lock, Signal as reported
    };
    const Step steps[] = {
        {Lock(1, 0, 50), 0, 1, "1 0 50 "},    {Lock(1, 0, 60, 7), 0, 0, "1 0 50 "},
        {Lock(1, 0, 40, 7), 0, 0, "1 0 50 "}, {Lock(1, 0, 61, 7), 0, 1, "1 0 61 "},
        {Lock(1, 0, 51, 9), 0, 0, "1 0 61 "}, {Lock(1, 1, 61, 7), 0, 1, "1 1 61 "},
        {Lock(2, 1, 61, 7), 3, 0, "1 1 61 "}, {Lock(2, 1, 61, 7), 0, 1, "2 1 61 "},
        {Lock(2, 1, 61, 7), 0, 0, "2 1 61 "}, {Lock(2, 1, 250, 7), 0, 1, "2 1 250 "},
    };
    norla::LockStatus_Reset();
    int n = 0;
    for (const Step &step : steps) {
        SCOPED_TRACE(n++);
        oqsim::clear_logs();
        Device().SetRuntime(OQDEVSDK_DOORLOCK_FROM_DEV_LOCK_STATUS, step.fetched);
        Device().get_result[OQDEVSDK_DOORLOCK_FROM_DEV_LOCK_STATUS] = step.deviceResult;
        EXPECT_EQ(norla::LockStatus_IsChanged(), step.changed);
        EXPECT_EQ(oqsim::has_log(1, "Failed to get door lock status info.\n "),
                  step.deviceResult != 0);
        ASSERT_EQ(norla::LockStatus_Report(0), 0);
        EXPECT_EQ(LastSent().rec.iCmdId, norla::kCmdReportLockStatus);
        EXPECT_EQ(LastLockReport(), step.cached);
    }
}

TEST_F(LockPowerTest, PowerEntries) {
    const std::vector<std::string> first = {"SubSerial=SUB0001", "Type=1",   "Des=front battery",
                                            "Remaining=80",      "Status=2", "Name=Door",
                                            "Value=3600/4200"};
    const std::vector<std::string> second = {"SubSerial=" + std::string(16, 'S'),
                                             "Type=2",
                                             "Des=" + std::string(64, 'd'),
                                             "Remaining=15",
                                             "Status=0",
                                             "Name=CatEye",
                                             "Value=65535/6"};
    struct Case {
        uint16_t count;
        uint8_t firstName;
        std::vector<std::vector<std::string>> entries;
    };
    std::vector<std::string> video = first, unknown = first;
    video[5] = "Name=VideoLock";
    unknown[5] = "Name=Unknown";
    const Case cases[] = {
        {0, 0, {}},
        {1, 2, {video}},
        {2, 0, {first, second}},
        {5, 3, {unknown, second}},
        {65535, 255, {unknown, second}},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.count);
        norla::PowerStatus_Reset();
        Device().SetRuntime(OQDEVSDK_DOORLOCK_FROM_DEV_POWER_STATUS,
                            MakePower(c.count, c.firstName));
        EXPECT_EQ(norla::PowerStatus_IsChanged(), 1);
        EXPECT_EQ(norla::PowerStatus_IsChanged(), 0);
        ASSERT_EQ(norla::PowerStatus_Report(0), 0);
        EXPECT_EQ(LastPowerEntries(), c.entries);
    }
}

// A member that cannot be added fails the report: no entry goes out with holes.
TEST_F(LockPowerTest, PowerEntryThatRunsOutOfMemoryIsNotSent) {
    Device().SetRuntime(OQDEVSDK_DOORLOCK_FROM_DEV_POWER_STATUS, MakePower(2, 0));
    norla::PowerStatus_Reset();
    ASSERT_EQ(norla::PowerStatus_IsChanged(), 1);
    // The array and the first entry are made; its first member is not.
    dltest::ArmAllocationFault(3, false);
    EXPECT_EQ(norla::PowerStatus_Report(0), -1);
    dltest::DisarmAllocationFault();
    EXPECT_TRUE(oqsim::sent().empty());
    EXPECT_TRUE(HasLog(1, "Failed to create cjson object."));
}

// Every byte counts, also those of entries beyond usPowerNum; a failed fetch
// or allocation leaves the cache as it was.
TEST_F(LockPowerTest, PowerChangeDetection) {
    const int type = OQDEVSDK_DOORLOCK_FROM_DEV_POWER_STATUS;
    Power rec = MakePower(1);
    Device().SetRuntime(type, rec);
    norla::PowerStatus_IsChanged();
    EXPECT_EQ(norla::PowerStatus_IsChanged(), 0);
    rec.aucReserved[1] = 1;
    Device().SetRuntime(type, rec);
    EXPECT_EQ(norla::PowerStatus_IsChanged(), 1);

    rec.stPower[1].ucRemaining = 99;
    Device().SetRuntime(type, rec);
    Device().get_result[type] = 1;
    EXPECT_EQ(norla::PowerStatus_IsChanged(), 0);
    EXPECT_TRUE(HasLog(1, "Failed to get mul poser status."));
    Device().get_result.clear();
    dltest::FailAllocations(OQDEVSDK_DOORLOCK_FROM_DEV_POWER_STATUS_LEN);
    EXPECT_EQ(norla::PowerStatus_IsChanged(), 0);
    EXPECT_TRUE(HasLog(1, "Failed to malloc mem, size=180."));
    EXPECT_EQ(norla::PowerStatus_IsChanged(), 1);
}

}  // namespace
