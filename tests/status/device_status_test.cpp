#include <algorithm>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "frame/bus_dev.h"
#include "oqDevSDK_door_lock.h"
#include "oqdev_time.h"
#include "status/items.h"
#include "status/reports.h"
#include "support/fixture.h"
#include "vocabulary.h"

namespace {

using statustest::Payload;
using SwitchCfg = oqDevSDK_DoorLock_SwitchCfg_S;
using Plan = oqDevSDK_DoorLock_AutoFaceUnlockPlan_S;
constexpr int kPlanCode = OQDEVSDK_DOORLOCK_FROM_DEV_AUTO_FACE_PLAN;
constexpr uint32_t kSlots = OQDEVSDK_DOORLOCK_FACE_PLAN_SLOTS;

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

// Every slot taken when `full` (nothing left to fill from slot 0 on a set);
// else empty but for 08:05-09:00 in slot `day6Slot` of day 6, if given.
Plan MakePlan(int32_t enable, bool full, int day6Slot = -1) {
    Plan plan;
    std::memset(&plan, 0, sizeof plan);
    plan.uiHeadWord = 7;
    plan.uiChannel = 1;
    plan.iEnable = enable;
    for (uint32_t n = 0; full && n < 7 * kSlots; ++n) {
        plan.astDay[n / kSlots][n % kSlots] = {n * 45, n * 45 + 30};
    }
    if (day6Slot >= 0) {
        plan.astDay[6][day6Slot] = {oqdev_ParseTimeHHMM("08:05"), oqdev_ParseTimeHHMM("09:00")};
    }
    return plan;
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

    // Payloads of what one poll sent, and of whose command.
    static std::vector<std::string> Poll(int cmd) {
        oqsim::clear_sent();
        oqsim::poll();
        std::vector<std::string> out;
        for (const oqsim::Sent &sent : oqsim::sent()) {
            out.push_back(sent.rec.iCmdId == cmd ? Payload(sent)
                                                 : "command " + std::to_string(sent.rec.iCmdId));
        }
        return out;
    }
};

TEST_F(DeviceStatusTest, FirstPollAfterLoad) {
    EXPECT_EQ(g_loadSwitches, Switches({-1, -1, -1, 0, 0, 0, 0, 0}));
    EXPECT_EQ(g_loadChanged, (std::vector<int>{0, 0, 0, 0, 0, 0, 1}));
}

// A lock that keeps what it is told, switch n under kSwitchKey + n, key values
// under the type code they are read back with. The lock's channel never
// reaches the report; a switch whose fetch fails keeps its value; a key set
// forces a report even of an unchanged value.
TEST_F(DeviceStatusTest, SetsThenPoll) {
    constexpr int kSwitchKey = 100;
    auto key = [](int type, const void *rec, int faceType) {
        return type == OQDEVSDK_DOORLOCK_TO_DEV_SWITCH
                   ? kSwitchKey + static_cast<const SwitchCfg *>(rec)->iSwitchIndex
                   : (type == faceType ? OQDEVSDK_DOORLOCK_FROM_DEV_FACE_UNLOCK : type);
    };
    Device().on_recv = [this, key](oqDevSDK_DoorLock_Msg_S *msg) {
        const auto *bytes = static_cast<const uint8_t *>(msg->pData);
        Device().runtime[key(msg->iType, bytes, OQDEVSDK_DOORLOCK_TO_DEV_FACE_UNLOCK)].assign(
            bytes, bytes + msg->uiLen);
        return 0;
    };
    Device().on_get = [this, key](oqDevSDK_DoorLock_Msg_S *msg) {
        const auto it = Device().runtime.find(key(msg->iType, msg->pData, -1));
        if (it == Device().runtime.end()) {
            return 1;
        }
        std::memcpy(msg->pData, it->second.data(), std::min<size_t>(it->second.size(), msg->uiLen));
        return 0;
    };
    for (int32_t n = 0; n < OQDEVSDK_DOORLOCK_SWITCH_NUM; ++n) {
        Device().SetRuntime(kSwitchKey + n, SwitchCfg{n, 0, 0});
    }
    Poll(0);
    const int switches = norla::kCmdReportSwitches;
    ASSERT_EQ(ResultOf(Request(norla::kCmdSetSwitch, 5,
                               R"(<Request><Switch Type="454" Enable="1" Channel="2"/>)"
                               "</Request>")),
              0);
    EXPECT_EQ(Poll(switches), std::vector<std::string>{Switches({0, 0, 0, 0, 1, 0, 0, 0})});
    EXPECT_TRUE(Poll(switches).empty()) << "switches are reported on change only";
    Device().runtime.erase(kSwitchKey + 4);
    ASSERT_EQ(ResultOf(Request(norla::kCmdSetSwitch, 6,
                               R"(<Request><Switch Type="30" Enable="1" Channel="0"/>)"
                               "</Request>")),
              0);
    EXPECT_EQ(Poll(switches), std::vector<std::string>{Switches({1, 0, 0, 0, 1, 0, 0, 0})});

    const char *const keys[][3] = {
        {"doorFingerStore", "2", "doorFingerStore:2"},
        {"doorBellTone", "7", "doorBellTone:7"},
        {"doorBellTone", "7", "doorBellTone:7"},
        {"doorPromptTone", "-1", "doorPromptTone:-1"},
        {"doorFaceUnlock", R"({"unlock_type":3,"unlock_sensitivity":60})",
         R"(doorFaceUnlock:{"unlock_type":3,"unlock_sensitivity":60})"},
    };
    for (const auto &k : keys) {
        ASSERT_EQ(ResultOf(Request(norla::kCmdSetKeyValue, 6,
                                   std::string("<Request><Type>") + k[0] + "</Type><Value>" + k[1] +
                                       "</Value></Request>")),
                  0);
        EXPECT_EQ(Poll(norla::kCmdReportStatus), std::vector<std::string>{k[2]});
    }
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
        {2, 1, 250, 0, 1, 2, 1, 250}, {2, 1, 239, 0, 1, 2, 1, 239},
    };
    norla::LockStatus_Reset();
    uint8_t reserved = 0;
    for (const auto &s : steps) {
        SCOPED_TRACE(reserved);
        Device().SetRuntime(
            OQDEVSDK_DOORLOCK_FROM_DEV_LOCK_STATUS,
            oqDevSDK_DoorLock_LockStatus_S{static_cast<uint8_t>(s[0]), static_cast<uint8_t>(s[1]),
                                           static_cast<uint8_t>(s[2]), reserved++});
        Device().get_result[OQDEVSDK_DOORLOCK_FROM_DEV_LOCK_STATUS] = s[3];
        EXPECT_EQ(norla::LockStatus_IsChanged(), s[4]);
        ASSERT_EQ(norla::LockStatus_Report(0), 0);
        EXPECT_EQ(LastSent().rec.iCmdId, norla::kCmdReportLockStatus);
        EXPECT_EQ(Payload(LastSent()), "<Door>" + std::to_string(s[5]) + "</Door><Lock>" +
                                           std::to_string(s[6]) + "</Lock><Signal>" +
                                           std::to_string(s[7]) + "</Signal>");
    }
}

// Texts without terminators stay within their fields; at most two entries
// are reported whatever usPowerNum says. An entry that cannot be completed
// fails the report rather than go out with holes.
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
        oqDevSDK_DoorLock_PowerStatus_S rec;
        std::memset(&rec, 0, sizeof rec);
        rec.usPowerNum = c.count;
        rec.stPower[0] = {1, 80, c.firstName, 2, 3600, 4200, "SUB0001", "front battery"};
        rec.stPower[1] = {2, 15, OQDEVSDK_DOORLOCK_POWER_NAME_CAT_EYE, 0, 65535, 6, {}, {}};
        std::memset(rec.stPower[1].szSubSerial, 'S', sizeof rec.stPower[1].szSubSerial);
        std::memset(rec.stPower[1].szDes, 'd', sizeof rec.stPower[1].szDes);
        Device().SetRuntime(OQDEVSDK_DOORLOCK_FROM_DEV_POWER_STATUS, rec);
        norla::PowerStatus_Reset();
        EXPECT_EQ(norla::PowerStatus_IsChanged(), 1);
        ASSERT_EQ(norla::PowerStatus_Report(0), 0);
        EXPECT_EQ(LastSent().rec.iCmdId, norla::kCmdReportStatus);
        EXPECT_EQ(Payload(LastSent()), "multiPower:[" + c.entries + "]");
    }
    oqsim::clear_sent();
    dltest::ArmAllocationFault(3, false);  // the array and the first entry are made
    EXPECT_EQ(norla::PowerStatus_Report(0), -1);
    dltest::DisarmAllocationFault();
    EXPECT_TRUE(oqsim::sent().empty());
    EXPECT_TRUE(HasLog(1, "Failed to create cjson object."));
}

// Every byte counts; a reset cache is reported as it stands, by force.
TEST_F(DeviceStatusTest, FacePlanChangeAndReset) {
    norla::DoorAutoFaceUnlockPlan_Reset();
    Plan plan = MakePlan(1, false, 3);
    Device().SetRuntime(kPlanCode, plan);
    EXPECT_EQ(norla::DoorAutoFaceUnlockPlan_IsChanged(), 1);
    EXPECT_TRUE(HasLog(3, "auto face unlock plan IsChanged"));
    EXPECT_EQ(norla::DoorAutoFaceUnlockPlan_IsChanged(), 0);
    plan.uiHeadWord = 8;
    Device().SetRuntime(kPlanCode, plan);
    EXPECT_EQ(norla::DoorAutoFaceUnlockPlan_IsChanged(), 1);
    norla::DoorAutoFaceUnlockPlan_Reset();
    ASSERT_EQ(norla::DoorAutoFaceUnlockPlan_Report(42), 0);
    EXPECT_TRUE(HasLog(3, "start to report ayuo face unlock plan"));
    EXPECT_NE(LastSent().body.find("<Params><Enable>-1</Enable><Force>1</Force>"),
              std::string::npos);
    oqsim::clear_sent();
    dltest::ArmAllocationFault(1, false);
    EXPECT_EQ(norla::DoorAutoFaceUnlockPlan_Report(0), -1);
    dltest::DisarmAllocationFault();
    EXPECT_TRUE(oqsim::sent().empty());
    EXPECT_TRUE(HasLog(1, "Failed to build auto face unlock plan report."));
}

// Polled by the status-report module, the plan is reported on change and
// after every set, even when the lock's plan stayed the same. What the
// platform sends back as reported sets the same plan, each day filled from
// slot 0.
TEST_F(DeviceStatusTest, ReportedFacePlanSetsTheSamePlan) {
    const std::string days = R"(<Actor Channel="1" PlanType="19" EventType="0">D</Actor>)"
                             R"(<Date Weekday="0"/><Date Weekday="1"/><Date Weekday="2"/>)"
                             R"(<Date Weekday="3"/><Date Weekday="4"/><Date Weekday="5"/>)";
    const struct {
        Plan plan;
        Plan set;
        std::string params;  // empty: not checked
    } cases[] = {
        {MakePlan(0, false), MakePlan(0, false),
         "<Enable>0</Enable><Force>1</Force>" + days + R"(<Date Weekday="6"/>)"},
        {MakePlan(1, false, 3), MakePlan(1, false, 0),
         "<Enable>1</Enable><Force>0</Force>" + days +
             R"(<Date Weekday="6"><Plan B="08:05" E="09:00"/></Date>)"},
        {MakePlan(1, true), MakePlan(1, true), ""},
    };
    // Bodies of the plan reports of two polls.
    auto twoPolls = [] {
        std::vector<std::string> reports;
        for (int poll = 0; poll < 2; ++poll) {
            oqsim::clear_sent();
            oqsim::poll();
            for (const oqsim::Sent &sent : oqsim::sent()) {
                if (sent.rec.iCmdId == norla::kCmdReportAutoFacePlan) {
                    reports.push_back(sent.body);
                }
            }
        }
        return reports;
    };
    const std::string open = "<Request><Authorization/><Type>DevicePlan</Type><Params>";
    norla::DoorAutoFaceUnlockPlan_Reset();
    for (const auto &c : cases) {
        Device().SetRuntime(kPlanCode, c.plan);
        const std::vector<std::string> reports = twoPolls();
        ASSERT_EQ(reports.size(), 1u);
        const size_t at = reports[0].find(open);
        const size_t end = reports[0].find("</Params></Request>");
        ASSERT_TRUE(at != std::string::npos && end != std::string::npos) << reports[0];
        const std::string params = reports[0].substr(at + open.size(), end - at - open.size());
        EXPECT_TRUE(c.params.empty() || params == c.params) << params;

        Plan lock = MakePlan(1 - c.plan.iEnable, true);
        lock.astDay[2][2] = {1, 2};
        Device().SetRuntime(kPlanCode, lock);
        ASSERT_EQ(ResultOf(Request(norla::kCmdSetDevPlan, 9, "<Request>" + params + "</Request>")),
                  0);
        Plan set = Device().LastReceived<Plan>(OQDEVSDK_DOORLOCK_TO_DEV_AUTO_FACE_PLAN);
        EXPECT_EQ(set.iEnable, c.set.iEnable);
        EXPECT_EQ(std::memcmp(set.astDay, c.set.astDay, sizeof set.astDay), 0);
        Device().SetRuntime(kPlanCode, c.plan);
        EXPECT_EQ(twoPolls().size(), 1u);
    }
}

}  // namespace
