#include "robustness/operations.h"

#include <cstdio>
#include <cstring>
#include <new>

#include "frame/module.h"
#include "oqDevSDK_door_lock.h"
#include "oqdev_sim.h"
#include "support/fake_device.h"
#include "vocabulary.h"

namespace robust {
namespace {

using dltest::FakeDevice;

constexpr uint32_t kSeq = 77;
constexpr int64_t kClock = 1700000000;
constexpr int kEventRegistered = 0;
constexpr char kSnapPassword[] = "246810";
// Enough users, events and plan users that their XML needs several of the XML
// class's memory pages, so that memory can run out half way through a document.
constexpr uint16_t kUsers = 120;
constexpr uint16_t kEvents = 100;
constexpr uint16_t kPlanUsers = 300;

template <std::size_t N>
void Text(char (&field)[N], const char *text) {
    std::snprintf(field, N, "%s", text);
}

// The runtime record the device serves for `type`, zeroed; some are too large
// for the stack.
template <typename T>
T &Record(int type) {
    std::vector<uint8_t> &bytes = FakeDevice::Get().runtime[type];
    bytes.assign(sizeof(T), 0);
    return *new (bytes.data()) T();
}

void ServeRecords(bool few) {
    const uint16_t nUsers = few ? 2 : kUsers;
    const uint16_t nEvents = few ? 2 : kEvents;
    const uint16_t nPlanUsers = few ? 2 : kPlanUsers;
    Record<oqDevSDK_DoorLock_SwitchCfg_S>(OQDEVSDK_DOORLOCK_FROM_DEV_SWITCH) = {0, 1, 2};
    Record<int32_t>(OQDEVSDK_DOORLOCK_FROM_DEV_FINGER_STORE) = 1;
    Record<int32_t>(OQDEVSDK_DOORLOCK_FROM_DEV_BELL_TONE) = 3;
    Record<int32_t>(OQDEVSDK_DOORLOCK_FROM_DEV_PROMPT_TONE) = 2;
    Record<oqDevSDK_DoorLock_LockStatus_S>(OQDEVSDK_DOORLOCK_FROM_DEV_LOCK_STATUS) = {1, 0, 60, 0};
    Record<oqDevSDK_DoorLock_FaceUnlock_S>(OQDEVSDK_DOORLOCK_FROM_DEV_FACE_UNLOCK) = {1, 2};

    auto &events =
        Record<oqDevSDK_DoorLock_UnlockEvtRecList_S>(OQDEVSDK_DOORLOCK_FROM_DEV_UNLOCK_EVTS);
    events.usRecNum = nEvents;
    for (uint16_t i = 0; i < nEvents; ++i) {
        events.stRecord[i] = {"alice", static_cast<uint8_t>(i % 5), {}, 1615104300 + i * 60};
    }
    auto &users = Record<oqDevSDK_DoorLock_UserInfo_S>(OQDEVSDK_DOORLOCK_FROM_DEV_USER_INFO);
    users.usUserNum = nUsers;
    const oqDevSDK_DoorLock_UserDate_S workdays = {8, 30, 18, 5, 0x3E, {}, 5, 3};
    for (uint16_t i = 0; i < nUsers; ++i) {
        oqDevSDK_DoorLock_User_S &user = users.astUser[i];
        user = {i, 1, 0, "bob", "home", 1600000000, 1700000000, 1, {}, {workdays}, 1, 0, 0, 2};
    }
    Text(users.astUser[0].szName, "alice");

    auto &plans = Record<oqDevSDK_DoorLock_AlarmPlanList_S>(OQDEVSDK_DOORLOCK_FROM_DEV_ALARM_PLANS);
    plans.usCount = 1;
    oqDevSDK_DoorLock_AlarmPlanInfo_S &plan = plans.astPlan[0];
    plan.usIndex = 1;
    plan.ucEnable = 1;
    plan.ucWeekday = 0x41;
    plan.usDateNum = 1;
    plan.astDate[0] = {7, 0, 9, 30};
    plan.usUserNum = nPlanUsers;
    for (uint16_t i = 0; i < nPlanUsers; ++i) {
        plan.astUser[i].usIndex = i;
        Text(plan.astUser[i].szName, i % 2 == 0 ? "alice" : "frank");
    }

    auto &snaps = Record<oqDevSDK_DoorLock_SnapPwdList_S>(OQDEVSDK_DOORLOCK_FROM_DEV_SNAP_PWDS);
    snaps.usCount = 2;
    snaps.astEntry[0] = {0, {}, "dora", 1600000000, 1600086400, 5, 4};
    snaps.astEntry[1] = {2, {}, "eve", 1600000000, 1600086400, -1, 0};

    auto &power = Record<oqDevSDK_DoorLock_PowerStatus_S>(OQDEVSDK_DOORLOCK_FROM_DEV_POWER_STATUS);
    power.usPowerNum = 2;
    power.stPower[0] = {1, 80, OQDEVSDK_DOORLOCK_POWER_NAME_DOOR, 0, 3, 4, "SUB1", "main"};
    power.stPower[1] = {2, 15, OQDEVSDK_DOORLOCK_POWER_NAME_CAT_EYE, 1, 5, 6, "SUB2", "eye"};

    auto &face =
        Record<oqDevSDK_DoorLock_AutoFaceUnlockPlan_S>(OQDEVSDK_DOORLOCK_FROM_DEV_AUTO_FACE_PLAN);
    face = {7, 1, 1, {}};
    face.astDay[2][0] = {480, 540};
    face.astDay[6][3] = {1200, 1260};
}

// The device application: records every call, fails one on request.
std::vector<DevCall> g_calls;
int g_failIndex = -1;
int g_failCode = 0;

int Answer(bool toDevice, oqDevSDK_DoorLock_Msg_S *msg) {
    const auto *bytes = static_cast<const uint8_t *>(msg->pData);
    g_calls.push_back({toDevice, msg->iType, msg->uiLen, {bytes, bytes + msg->uiLen}});
    if (static_cast<int>(g_calls.size()) - 1 == g_failIndex) {
        return g_failCode;
    }
    if (toDevice && msg->iType == OQDEVSDK_DOORLOCK_TO_DEV_SET_SNAP_PWD &&
        msg->uiLen >= sizeof(oqDevSDK_DoorLock_SetSnapPwd_S)) {
        Text(static_cast<oqDevSDK_DoorLock_SetSnapPwd_S *>(msg->pData)->szPwd, kSnapPassword);
    }
    const auto &runtime = FakeDevice::Get().runtime;
    auto it = runtime.find(msg->iType);
    if (!toDevice && it != runtime.end()) {
        std::memcpy(msg->pData, it->second.data(), std::min<size_t>(it->second.size(), msg->uiLen));
    }
    return 0;
}

bool g_fewRecords = false;

int StartModule() {
    FakeDevice &dev = FakeDevice::Get();
    dev.Reset();
    dev.on_recv = [](oqDevSDK_DoorLock_Msg_S *msg) { return Answer(true, msg); };
    dev.on_get = [](oqDevSDK_DoorLock_Msg_S *msg) { return Answer(false, msg); };
    ServeRecords(g_fewRecords);
    oqDevSDK_DoorLock_InitInfo_S info{};
    info.stCallback = dev.Callbacks();
    return oqDevSDK_DoorLock_Init(&info);
}

// Device refusals that some commands pass on under codes of their own.
DevExpect SetUserRefused(const DevCall &call, int code) {
    const int result = code == OQDEVSDK_DOORLOCK_DEV_ERR_USERS_FULL     ? norla::kResultUsersFull
                       : code == OQDEVSDK_DOORLOCK_DEV_ERR_USER_UNKNOWN ? norla::kResultUserUnknown
                                                                        : norla::kResultRefused;
    return call.bToDevice ? DevExpect{result, {"Failed to set user info of door lock.\n"}}
                          : DevExpect{0, {"Failed to get user info.\n"}};
}

DevExpect SnapRefused(const DevCall &, int code) {
    char line[96];
    std::snprintf(line, sizeof line, "Failed to set snap password, Result:%#x\n",
                  static_cast<unsigned int>(code));
    const int result = code == OQDEVSDK_DOORLOCK_DEV_ERR_SNAP_PWD_FULL ? norla::kResultSnapFull
                       : code == OQDEVSDK_DOORLOCK_DEV_ERR_SNAP_PWD_UNKNOWN
                           ? norla::kResultSnapUnknown
                       : code == OQDEVSDK_DOORLOCK_DEV_ERR_SNAP_PWD_LIMIT ? norla::kResultSnapLimit
                                                                          : norla::kResultRefused;
    return {result, {line}};
}

DevExpect DevicePlanRefused(const DevCall &call, int) {
    return call.bToDevice ? DevExpect{4, {}}
                          : DevExpect{131, {"DoorLock SetDevplan get runtimeinfo error\n"}};
}

// Only a code whose low 12 bits are 4 makes the face items give up the round.
DevExpect FaceItemRefused(const DevCall &, int code) {
    return {(code & 0xFFF) == 4 ? -1 : 0, {}};
}

const char kSetUser[] =
    R"(<Request><OptType Type="1" Index="3"/><UserInfo>)"
    R"(<User Index="3" Type="2" Name="carol" RemarkName="c"/>)"
    R"(<Expire Enable="1" Begin="2021-03-07 08:05:00" End="2022-01-01 00:00:00"><DateList>)"
    R"(<Date Weekday="1,2,7" Begin="08:30" End="18:05" Num="5" Available="3"/></DateList>)"
    R"(</Expire><Auth Pwd="1" Card="2" Finger="3" Face="4"/>)"
    R"(<Contents><Content index="2" type="1" action="1" str="1234"/></Contents>)"
    R"(</UserInfo></Request>)";
const char kSetSnap[] =
    R"(<Request><OptType Type="0"/><Info><User Name="gina"/>)"
    R"(<Expire Begin="2021-03-07 08:05:00" End="2021-03-08 08:05:00"/><Limit Num="3"/>)"
    R"(</Info></Request>)";
const char kSetAlarmPlan[] =
    R"(<Request><OptType Type="0"/><Plan Enable="1" Weekday="1,2">)"
    R"(<DateList><Date Begin="08:00" End="09:30"/></DateList>)"
    R"(<UserList><User Index="2" Name="hugo"/></UserList></Plan></Request>)";
const char kSetDevicePlan[] = R"(<Request><Enable>1</Enable><Actor Channel="2" PlanType="19"/>)"
                              R"(<Date Weekday="2"><Plan B="08:00" E="09:00"/></Date></Request>)";
const char kSysCfgAnswer[] =
    "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<Response><Result>0</Result>"
    R"(<Type name="DLPower" value="{&quot;low_percent&quot;:20}"/></Response>)";
const char kSetFaceUnlock[] =
    R"(<Request><Type>doorFaceUnlock</Type>)"
    R"(<Value>{"unlock_type":1,"unlock_sensitivity":2}</Value></Request>)";
const char kFaceUnlockLog[] =
    R"(Failed to set key value, key=doorFaceUnlock, value={"unlock_type":1,"unlock_sensitivity":2})"
    "\n";

const std::vector<int> kSet = {0, 2, 3, 4};
const std::vector<int> kQuery = {0, 4};
const std::vector<int> kItem = {0, -1};
const DevExpect kNoCalls = {kNoDeviceCalls, {}};
const char kUserTableOom[] = "Failed to malloc mem, size=132004.\n";

}  // namespace

// clang-format off
const std::vector<Operation> &Operations() {
    static const std::vector<Operation> kOps = {
        {"Init", kInit, 0, {0, 1}, kNoCalls, {}, nullptr},
        {"SetSwitch", kCommand, norla::kCmdSetSwitch, kSet, {4, {"Failed to set switch of door open remind.\n"}},
         {}, R"(<Request><Switch Type="452" Enable="1" Channel="1"/></Request>)"},
        {"SetBellTone", kCommand, norla::kCmdSetKeyValue, kSet,
         {4, {"Failed to set key value, key=doorBellTone, value=5\n"}},
         {}, R"(<Request><Type>doorBellTone</Type><Value>5</Value></Request>)"},
        {"SetFaceUnlock", kCommand, norla::kCmdSetKeyValue, kSet, {4, {kFaceUnlockLog}}, {}, kSetFaceUnlock},
        {"SetUser", kCommand, norla::kCmdSetUserInfo, {0, 3, 4, norla::kResultUsersFull, norla::kResultUserUnknown}, {},
         {{"Failed to malloc mem, size=340.\n", 4}, {kUserTableOom, 0}}, kSetUser, &SetUserRefused},
        {"QueryUsers", kCommand, norla::kCmdQueryUserInfo, kQuery, {4, {"Failed to get user info.\n"}},
         {{kUserTableOom, 4}}, "<Request/>"},
        {"SetSnapPassword", kCommand, norla::kCmdSetSnapPwd, {0, 3, 4, norla::kResultSnapFull, norla::kResultSnapUnknown, norla::kResultSnapLimit}, {},
         {{"Failed to malloc mem, size=100.\n", 4}}, kSetSnap, &SnapRefused},
        {"QuerySnapPasswords", kCommand, norla::kCmdQuerySnapPwds, kQuery,
         {4, {"Failed to get snap password info.\n"}},
         {{"Failed to malloc mem, size=256.\n", 4}}, "<Request/>"},
        {"SetAlarmPlan", kCommand, norla::kCmdSetAlarmPlan, {0, 3, 4}, {4, {"Failed to set NotBackAlarm plan.\n"}},
         {{"Failed to malloc mem, size=34076.\n", 4}}, kSetAlarmPlan},
        {"QueryAlarmPlans", kCommand, norla::kCmdQueryAlarmPlans, kQuery,
         {4, {"Failed to get NotBackAlarmPlans info.\n"}},
         {{"Failed to malloc mem, size=272580.\n", 4}}, "<Request/>"},
        {"VerifyUser", kCommand, norla::kCmdTriggerUserVerify, {0, 3, 4, norla::kResultVerifyFailed, norla::kResultVerifyOther},
         {4, {"Failed to trigger user verify.\n"}}, {},
         "<Request><UserID>u42</UserID><Timeout>30</Timeout></Request>"},
        {"SetDevicePlan", kCommand, norla::kCmdSetDevPlan, {0, 4, 131}, {}, {}, kSetDevicePlan, &DevicePlanRefused},
        {"UnparsableRequest", kCommand, norla::kCmdSetSwitch, {3}, kNoCalls, {}, "<Request><Switch"},
        {"SystemConfigAnswer", kAnswer, norla::kCmdSystemConfigRsp, {0, -1}, {-1, {"Failed to set dlpower.\n",
         "Failed to set DLPower.\n", "Result is -1, by Cmdid[0x2888].\n"}}, {}, kSysCfgAnswer},
        {"SystemConfigJob", kJob, 0, {0}, kNoCalls, {}, nullptr},
        // A switch that cannot be read keeps its cache; the others still change.
        {"SwitchStatus", kStatus, norla::kStatusSwitches, kItem, {1, {}}, {}, nullptr},
        {"FingerStoreStatus", kStatus, norla::kStatusFingerStore, kItem, {0, {"Failed to get door finger store info.\n"}}},
        {"BellToneStatus", kStatus, norla::kStatusBellTone, kItem, {0, {"Failed to get door bell tone info.\n"}}},
        {"PromptToneStatus", kStatus, norla::kStatusPromptTone, kItem, {0, {"Failed to get door prompt tone info.\n"}}},
        {"PowerStatus", kStatus, norla::kStatusPower, kItem, {0, {"Failed to get mul poser status.\n"}},
         {{"Failed to malloc mem, size=180.\n", 0}}},
        // This one line ends in a blank after its newline.
        {"LockStatus", kStatus, norla::kStatusLockStatus, kItem, {0, {"Failed to get door lock status info.\n "}}},
        {"UnlockEvents", kStatus, norla::kStatusUnlockEvents, kItem, {0, {"Failed to get unlock event records info.\n"}},
         {{"Failed to malloc mem, size=7204\n", 0}}},
        {"UserInfoStatus", kStatus, norla::kStatusUserInfo, kItem, {0, {"Failed to get user info.\n"}},
         {{kUserTableOom, 0}}},
        {"FaceUnlockStatus", kStatus, norla::kStatusFaceUnlock, kItem, {}, {}, nullptr, &FaceItemRefused},
        {"FacePlanStatus", kStatus, norla::kStatusAutoFacePlan, kItem, {}, {}, nullptr, &FaceItemRefused},
    };
    return kOps;
}
// clang-format on

std::string OpName(const ::testing::TestParamInfo<Operation> &param) {
    return param.param.pszName;
}

void FaultLoop::Prepare(bool fewRecords) {
    g_fewRecords = fewRecords;
    norla::DoorLock_Module_Fini();
    oqsim::reset();
    oqsim::clock_set(kClock);
    g_calls.clear();
    g_failIndex = -1;
    if (GetParam().eKind == kInit) {
        return;
    }
    StartModule();
    oqsim::reset_all_items();
    oqsim::event(kEventRegistered);
}

Outcome FaultLoop::Run(bool alwaysReport, const char *body) {
    const Operation &op = GetParam();
    Outcome out;
    oqsim::clear_sent();
    oqsim::clear_logs();
    const size_t firstCall = g_calls.size();
    switch (op.eKind) {
        case kInit:
            out.iResult = StartModule();
            break;
        case kCommand:
        case kAnswer:
            out.iRoute = oqsim::deliver(op.iId, kSeq, body != nullptr ? body : op.pszBody);
            out.iResult = out.iRoute;
            break;
        case kJob:
            oqsim::tick();
            break;
        case kStatus:
            for (const oqsim::StatusItem &item : oqsim::status_items()) {
                if (item.reg.iStatusId == op.iId) {
                    out.iChanged = item.reg.pfnIsChanged();
                    out.iResult =
                        out.iChanged == 1 || alwaysReport ? item.reg.pfnReport(0) : kNotReported;
                }
            }
            break;
    }
    // Reading the outcome must not count as the module's allocations or calls.
    dltest::DisarmAllocationFault();
    out.bXmlFaultMet = oqsim::xml_fault_met();
    oqsim::xml_fail_at(oqsim::XmlFault::kThrow, 0);
    for (const oqsim::Sent &sent : oqsim::sent()) {
        out.sent.push_back(sent.body);
        out.bHeaderOk = out.bHeaderOk && (op.eKind != kCommand || (sent.rec.iCmdId == op.iId + 1 &&
                                                                   sent.rec.uiMsgSeq == kSeq &&
                                                                   sent.rec.ucIsResponse == 1));
    }
    out.calls.assign(g_calls.begin() + static_cast<long>(firstCall), g_calls.end());
    if (op.eKind == kCommand) {
        out.iResult = out.sent.empty() ? kNothingSent : ResultOf(out.sent.back());
    }
    return out;
}

void FaultLoop::ExpectRecovered(const Outcome &clean) {
    using dltest::AllocSource;
    for (const AllocSource source : {AllocSource::kModule, AllocSource::kJson, AllocSource::kXml}) {
        EXPECT_EQ(dltest::LiveAllocationsOf(source), 0)
            << "blocks held after the call (0 module, 1 cJSON, 2 XML): "
            << static_cast<int>(source);
    }
    const Outcome next = Run(true);
    EXPECT_EQ(next.iResult, clean.iResult) << "the next clean call";
    EXPECT_EQ(next.sent, clean.sent) << "the next clean call";
}

void FailDeviceCall(int index, int code) {
    g_failIndex = index < 0 ? -1 : static_cast<int>(g_calls.size()) + index;
    g_failCode = code;
}

}  // namespace robust
