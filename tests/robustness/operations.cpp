#include "robustness/operations.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "CMarkupSTL.h"
#include "frame/module.h"
#include "oqDevSDK_door_lock.h"
#include "oqdev_sim.h"
#include "support/fake_device.h"
#include "support/fixture.h"

namespace robust {
namespace {

using dltest::FakeDevice;

constexpr uint32_t kSeq = 77;
constexpr int64_t kClock = 1700000000;
constexpr int kEventRegistered = 0;
constexpr int kCmdSysCfgAnswer = 10376;
constexpr char kSnapPassword[] = "246810";
// Enough users and events that their XML needs several of the XML class's
// memory pages, so that memory can run out half way through a document.
constexpr uint16_t kUsers = 120;
constexpr uint16_t kEvents = 100;
constexpr uint16_t kPlanUsers = 300;

// ----- device records -----

std::vector<uint8_t> Bytes(const void *rec, size_t len) {
    const auto *p = static_cast<const uint8_t *>(rec);
    return std::vector<uint8_t>(p, p + len);
}

template <typename T>
std::unique_ptr<T> Zeroed() {
    auto rec = std::make_unique<T>();
    std::memset(rec.get(), 0, sizeof(T));
    return rec;
}

template <std::size_t N>
void Text(char (&field)[N], const char *text) {
    std::snprintf(field, N, "%s", text);
}

std::vector<uint8_t> UserTable() {
    auto table = Zeroed<oqDevSDK_DoorLock_UserInfo_S>();
    table->usUserNum = kUsers;
    for (uint16_t i = 0; i < kUsers; ++i) {
        oqDevSDK_DoorLock_User_S &user = table->astUser[i];
        user.usIndex = i;
        user.ucType = 1;
        Text(user.szName, i == 0 ? "alice" : "bob");
        Text(user.szRemarkName, "home");
        user.uiBeginTime = 1600000000;
        user.uiEndTime = 1700000000;
        user.usDateNum = 1;
        user.astDate[0] = {8, 30, 18, 5, 0x3E, {}, 5, 3};
        user.usPwdNum = 1;
        user.usFaceNum = 2;
    }
    return Bytes(table.get(), sizeof *table);
}

std::vector<uint8_t> SnapList() {
    auto list = Zeroed<oqDevSDK_DoorLock_SnapPwdList_S>();
    list->usCount = 2;
    list->astEntry[0] = {0, {}, "dora", 1600000000, 1600086400, 5, 4};
    list->astEntry[1] = {2, {}, "eve", 1600000000, 1600086400, -1, 0};
    return Bytes(list.get(), sizeof *list);
}

std::vector<uint8_t> AlarmPlans() {
    auto list = Zeroed<oqDevSDK_DoorLock_AlarmPlanList_S>();
    list->usCount = 1;
    oqDevSDK_DoorLock_AlarmPlanInfo_S &plan = list->astPlan[0];
    plan.usIndex = 1;
    plan.ucEnable = 1;
    plan.ucWeekday = 0x41;
    plan.usDateNum = 1;
    plan.astDate[0] = {7, 0, 9, 30};
    plan.usUserNum = kPlanUsers;
    for (uint16_t i = 0; i < kPlanUsers; ++i) {
        plan.astUser[i].usIndex = i;
        Text(plan.astUser[i].szName, i % 2 == 0 ? "alice" : "frank");
    }
    return Bytes(list.get(), sizeof *list);
}

std::vector<uint8_t> FacePlan() {
    auto plan = Zeroed<oqDevSDK_DoorLock_AutoFaceUnlockPlan_S>();
    plan->uiHeadWord = 7;
    plan->uiChannel = 1;
    plan->iEnable = 1;
    plan->astDay[2][0] = {480, 540};
    plan->astDay[6][3] = {1200, 1260};
    return Bytes(plan.get(), sizeof *plan);
}

std::vector<uint8_t> PowerStatus() {
    auto power = Zeroed<oqDevSDK_DoorLock_PowerStatus_S>();
    power->usPowerNum = 2;
    power->stPower[0] = {1, 80, OQDEVSDK_DOORLOCK_POWER_NAME_DOOR, 0, 3, 4, "SUB1", "main"};
    power->stPower[1] = {2, 15, OQDEVSDK_DOORLOCK_POWER_NAME_CAT_EYE, 1, 5, 6, "SUB2", "eye"};
    return Bytes(power.get(), sizeof *power);
}

std::vector<uint8_t> UnlockEvents() {
    auto batch = Zeroed<oqDevSDK_DoorLock_UnlockEvtRecList_S>();
    batch->usRecNum = kEvents;
    for (uint16_t i = 0; i < kEvents; ++i) {
        batch->stRecord[i] = {"alice", static_cast<uint8_t>(i % 5), {}, 1615104300 + i * 60};
    }
    return Bytes(batch.get(), sizeof *batch);
}

void InstallDeviceRecords() {
    FakeDevice &dev = FakeDevice::Get();
    dev.SetRuntime(OQDEVSDK_DOORLOCK_FROM_DEV_SWITCH, oqDevSDK_DoorLock_SwitchCfg_S{0, 1, 2});
    dev.SetRuntime(OQDEVSDK_DOORLOCK_FROM_DEV_FINGER_STORE, int32_t{1});
    dev.SetRuntime(OQDEVSDK_DOORLOCK_FROM_DEV_BELL_TONE, int32_t{3});
    dev.SetRuntime(OQDEVSDK_DOORLOCK_FROM_DEV_PROMPT_TONE, int32_t{2});
    dev.SetRuntime(OQDEVSDK_DOORLOCK_FROM_DEV_LOCK_STATUS,
                   oqDevSDK_DoorLock_LockStatus_S{1, 0, 60, 0});
    dev.SetRuntime(OQDEVSDK_DOORLOCK_FROM_DEV_FACE_UNLOCK, oqDevSDK_DoorLock_FaceUnlock_S{1, 2});
    dev.runtime[OQDEVSDK_DOORLOCK_FROM_DEV_UNLOCK_EVTS] = UnlockEvents();
    dev.runtime[OQDEVSDK_DOORLOCK_FROM_DEV_USER_INFO] = UserTable();
    dev.runtime[OQDEVSDK_DOORLOCK_FROM_DEV_ALARM_PLANS] = AlarmPlans();
    dev.runtime[OQDEVSDK_DOORLOCK_FROM_DEV_SNAP_PWDS] = SnapList();
    dev.runtime[OQDEVSDK_DOORLOCK_FROM_DEV_POWER_STATUS] = PowerStatus();
    dev.runtime[OQDEVSDK_DOORLOCK_FROM_DEV_AUTO_FACE_PLAN] = FacePlan();
}

// ----- the device application: records every call, fails one on request -----

std::vector<DevCall> g_calls;
int g_failIndex = -1;
int g_failCode = 0;

// The outputs a device writes while it handles a message.
void WriteOutputs(oqDevSDK_DoorLock_Msg_S *msg) {
    if (msg->iType == OQDEVSDK_DOORLOCK_TO_DEV_SET_SNAP_PWD &&
        msg->uiLen >= sizeof(oqDevSDK_DoorLock_SetSnapPwd_S)) {
        auto *rec = static_cast<oqDevSDK_DoorLock_SetSnapPwd_S *>(msg->pData);
        Text(rec->szPwd, kSnapPassword);
    }
}

int Answer(bool toDevice, oqDevSDK_DoorLock_Msg_S *msg) {
    const size_t index = g_calls.size();
    g_calls.push_back({toDevice, msg->iType, msg->uiLen, Bytes(msg->pData, msg->uiLen)});
    if (static_cast<int>(index) == g_failIndex) {
        return g_failCode;
    }
    if (toDevice) {
        WriteOutputs(msg);
        return 0;
    }
    const auto &runtime = FakeDevice::Get().runtime;
    auto it = runtime.find(msg->iType);
    if (it != runtime.end()) {
        std::memcpy(msg->pData, it->second.data(),
                    it->second.size() < msg->uiLen ? it->second.size() : msg->uiLen);
    }
    return 0;
}

void InstallDevice() {
    FakeDevice &dev = FakeDevice::Get();
    dev.Reset();
    dev.on_recv = [](oqDevSDK_DoorLock_Msg_S *msg) { return Answer(true, msg); };
    dev.on_get = [](oqDevSDK_DoorLock_Msg_S *msg) { return Answer(false, msg); };
    InstallDeviceRecords();
}

int InitModule() {
    oqDevSDK_DoorLock_InitInfo_S info{};
    info.stCallback = FakeDevice::Get().Callbacks();
    return oqDevSDK_DoorLock_Init(&info);
}

const oqdev_status_reg_s *FindItem(int id) {
    for (const oqsim::StatusItem &item : oqsim::status_items()) {
        if (item.reg.iStatusId == id) {
            return &item.reg;
        }
    }
    return nullptr;
}

int ResultOfResponse(const std::string &body) {
    CMarkupSTL xml;
    if (!xml.SetDoc(body.c_str()) || !xml.FindElem("Response") || !xml.IntoElem() ||
        !xml.FindElem("Result")) {
        return kMalformed;
    }
    return std::atoi(xml.x_GetData().c_str());
}

// ----- the contract's answers to device failures -----

std::string Line(const char *text) {
    return std::string(text) + "\n";
}

std::string SnapRefusalLine(int code) {
    char text[96];
    std::snprintf(text, sizeof text, "Failed to set snap password, Result:%#x",
                  static_cast<unsigned int>(code));
    return Line(text);
}

bool ClassFour(int code) {
    return (code & 0xFFF) == 4;
}

DevExpect Refused(const char *log) {
    return {4, {Line(log)}};
}

DevExpect NoChange(const char *log) {
    return {0, {Line(log)}};
}

int MapUserRefusal(int code) {
    return code == 0x18004 ? 0x182007 : code == 0x18005 ? 0x182008 : 4;
}

int MapSnapRefusal(int code) {
    return code >= 0x18001 && code <= 0x18003 ? code - 0x18001 + 0x183001 : 4;
}

const std::vector<int> kSetResults = {0, 2, 3, 4};

}  // namespace

const std::vector<Operation> &Operations() {
    static const std::vector<Operation> kOps = {
        {"Init", Kind::kInit, 0, nullptr, {0, 1}, {}, nullptr},
        {"SetSwitch",
         Kind::kCommand,
         18699,
         R"(<Request><Switch Type="452" Enable="1" Channel="1"/></Request>)",
         kSetResults,
         {},
         [](const DevCall &, int) { return Refused("Failed to set switch of door open remind."); }},
        {"SetBellTone",
         Kind::kCommand,
         18829,
         R"(<Request><Type>doorBellTone</Type><Value>5</Value></Request>)",
         kSetResults,
         {},
         [](const DevCall &, int) {
             return Refused("Failed to set key value, key=doorBellTone, value=5");
         }},
        {"SetFaceUnlock",
         Kind::kCommand,
         18829,
         R"(<Request><Type>doorFaceUnlock</Type>)"
         R"(<Value>{"unlock_type":1,"unlock_sensitivity":2}</Value></Request>)",
         kSetResults,
         {},
         [](const DevCall &, int) {
             return Refused(
                 R"(Failed to set key value, key=doorFaceUnlock, value={"unlock_type":1,"unlock_sensitivity":2})");
         }},
        {"SetUser",
         Kind::kCommand,
         18857,
         R"(<Request><OptType Type="1" Index="3"/><UserInfo>)"
         R"(<User Index="3" Type="2" Name="carol" RemarkName="c"/>)"
         R"(<Expire Enable="1" Begin="2021-03-07 08:05:00" End="2022-01-01 00:00:00"><DateList>)"
         R"(<Date Weekday="1,2,7" Begin="08:30" End="18:05" Num="5" Available="3"/></DateList>)"
         R"(</Expire><Auth Pwd="1" Card="2" Finger="3" Face="4"/>)"
         R"(<Contents><Content index="2" type="1" action="1" str="1234"/></Contents>)"
         R"(</UserInfo></Request>)",
         {0, 3, 4, 0x182007, 0x182008},
         {{"Failed to malloc mem, size=340.\n", 4}, {"Failed to malloc mem, size=132004.\n", 0}},
         [](const DevCall &call, int code) {
             return call.bToDevice ? DevExpect{MapUserRefusal(code),
                                               {Line("Failed to set user info of door lock.")}}
                                   : NoChange("Failed to get user info.");
         }},
        {"QueryUsers",
         Kind::kCommand,
         20160,
         "<Request/>",
         {0, 4},
         {{"Failed to malloc mem, size=132004.\n", 4}},
         [](const DevCall &, int) { return Refused("Failed to get user info."); }},
        {"SetSnapPassword",
         Kind::kCommand,
         18859,
         R"(<Request><OptType Type="0"/><Info><User Name="gina"/>)"
         R"(<Expire Begin="2021-03-07 08:05:00" End="2021-03-08 08:05:00"/><Limit Num="3"/>)"
         R"(</Info></Request>)",
         {0, 3, 4, 0x183001, 0x183002, 0x183003},
         {{"Failed to malloc mem, size=100.\n", 4}},
         [](const DevCall &, int code) {
             return DevExpect{MapSnapRefusal(code), {SnapRefusalLine(code)}};
         }},
        {"QuerySnapPasswords",
         Kind::kCommand,
         18861,
         "<Request/>",
         {0, 4},
         {{"Failed to malloc mem, size=256.\n", 4}},
         [](const DevCall &, int) { return Refused("Failed to get snap password info."); }},
        {"SetAlarmPlan",
         Kind::kCommand,
         18855,
         R"(<Request><OptType Type="0"/><Plan Enable="1" Weekday="1,2">)"
         R"(<DateList><Date Begin="08:00" End="09:30"/></DateList>)"
         R"(<UserList><User Index="2" Name="hugo"/></UserList></Plan></Request>)",
         {0, 3, 4},
         {{"Failed to malloc mem, size=34076.\n", 4}},
         [](const DevCall &, int) { return Refused("Failed to set NotBackAlarm plan."); }},
        {"QueryAlarmPlans",
         Kind::kCommand,
         18853,
         "<Request/>",
         {0, 4},
         {{"Failed to malloc mem, size=272580.\n", 4}},
         [](const DevCall &, int) { return Refused("Failed to get NotBackAlarmPlans info."); }},
        {"VerifyUser",
         Kind::kCommand,
         18849,
         R"(<Request><UserID>u42</UserID><Timeout>30</Timeout></Request>)",
         {0, 3, 4, 0x180003, 0x180004},
         {},
         [](const DevCall &, int) { return Refused("Failed to trigger user verify."); }},
        {"SetDevicePlan",
         Kind::kCommand,
         18731,
         R"(<Request><Enable>1</Enable><Actor Channel="2" PlanType="19"/>)"
         R"(<Date Weekday="2"><Plan B="08:00" E="09:00"/></Date></Request>)",
         {0, 4, 131},
         {},
         [](const DevCall &call, int) {
             return call.bToDevice
                        ? DevExpect{4, {}}
                        : DevExpect{131, {Line("DoorLock SetDevplan get runtimeinfo error")}};
         }},
        {"UnparsableRequest", Kind::kCommand, 18699, "<Request><Switch", {3}, {}, nullptr},
        {"SystemConfigAnswer",
         Kind::kAnswer,
         kCmdSysCfgAnswer,
         "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<Response><Result>0</Result>"
         R"(<Type name="DLPower" value="{&quot;low_percent&quot;:20}"/></Response>)",
         {0, -1},
         {},
         [](const DevCall &, int) {
             return DevExpect{-1,
                              {Line("Failed to set dlpower."), Line("Failed to set DLPower."),
                               Line("Result is -1, by Cmdid[0x2888].")}};
         }},
        {"SystemConfigJob", Kind::kJob, 0, nullptr, {0}, {}, nullptr},
        {"SwitchStatus",
         Kind::kStatus,
         66,
         nullptr,
         {0, -1},
         {},
         // A switch that cannot be read keeps its cache; the others still change.
         [](const DevCall &, int) {
             return DevExpect{1, {}};
         }},
        {"FingerStoreStatus",
         Kind::kStatus,
         67,
         nullptr,
         {0, -1},
         {},
         [](const DevCall &, int) { return NoChange("Failed to get door finger store info."); }},
        {"BellToneStatus",
         Kind::kStatus,
         68,
         nullptr,
         {0, -1},
         {},
         [](const DevCall &, int) { return NoChange("Failed to get door bell tone info."); }},
        {"PromptToneStatus",
         Kind::kStatus,
         69,
         nullptr,
         {0, -1},
         {},
         [](const DevCall &, int) { return NoChange("Failed to get door prompt tone info."); }},
        {"PowerStatus",
         Kind::kStatus,
         73,
         nullptr,
         {0, -1},
         {{"Failed to malloc mem, size=180.\n", 0}},
         [](const DevCall &, int) { return NoChange("Failed to get mul poser status."); }},
        {"LockStatus",
         Kind::kStatus,
         70,
         nullptr,
         {0, -1},
         {},
         [](const DevCall &, int) {
             // This one line ends in a blank after its newline.
             return DevExpect{0, {"Failed to get door lock status info.\n "}};
         }},
        {"UnlockEvents",
         Kind::kStatus,
         71,
         nullptr,
         {0, -1},
         {{"Failed to malloc mem, size=7204\n", 0}},
         [](const DevCall &, int) { return NoChange("Failed to get unlock event records info."); }},
        {"UserInfoStatus",
         Kind::kStatus,
         72,
         nullptr,
         {0, -1},
         {{"Failed to malloc mem, size=132004.\n", 0}},
         [](const DevCall &, int) { return NoChange("Failed to get user info."); }},
        {"FaceUnlockStatus",
         Kind::kStatus,
         97,
         nullptr,
         {0, -1},
         {},
         [](const DevCall &, int code) {
             return DevExpect{ClassFour(code) ? -1 : 0, {}};
         }},
        {"FacePlanStatus",
         Kind::kStatus,
         121,
         nullptr,
         {0, -1},
         {},
         [](const DevCall &, int code) {
             return DevExpect{ClassFour(code) ? -1 : 0, {}};
         }},
    };
    return kOps;
}

void FailDeviceCall(int index, int code) {
    g_failIndex = index < 0 ? -1 : static_cast<int>(g_calls.size()) + index;
    g_failCode = code;
}

void Prepare(const Operation &op) {
    norla::DoorLock_Module_Fini();
    oqsim::reset();
    oqsim::clock_set(kClock);
    InstallDevice();
    g_calls.clear();
    g_failIndex = -1;
    if (op.eKind == Kind::kInit) {
        return;
    }
    InitModule();
    oqsim::reset_all_items();
    oqsim::event(kEventRegistered);
    oqsim::clear_logs();
}

Outcome RunOp(const Operation &op, bool alwaysReport) {
    Outcome out;
    oqsim::clear_sent();
    oqsim::clear_logs();
    const size_t firstCall = g_calls.size();
    switch (op.eKind) {
        case Kind::kInit:
            out.iResult = InitModule();
            break;
        case Kind::kCommand:
            oqsim::deliver(op.iId, kSeq, op.pszBody);
            break;
        case Kind::kAnswer:
            out.iResult = oqsim::deliver(op.iId, kSeq, op.pszBody);
            break;
        case Kind::kJob:
            oqsim::tick();
            break;
        case Kind::kStatus: {
            const oqdev_status_reg_s *item = FindItem(op.iId);
            out.iChanged = item->pfnIsChanged();
            out.iResult = out.iChanged == 1 || alwaysReport ? item->pfnReport(0) : kNotReported;
            break;
        }
    }
    // Reading the outcome must not count as the module's allocations.
    dltest::DisarmAllocationFault();
    for (const oqsim::Sent &sent : oqsim::sent()) {
        out.sent.push_back(sent.body);
    }
    out.calls.assign(g_calls.begin() + static_cast<long>(firstCall), g_calls.end());
    if (op.eKind == Kind::kCommand) {
        out.iResult = out.sent.empty() ? kNothingSent : ResultOfResponse(out.sent.back());
        for (const oqsim::Sent &sent : oqsim::sent()) {
            out.bHeaderOk = out.bHeaderOk && sent.rec.iCmdId == op.iId + 1 &&
                            sent.rec.uiMsgSeq == kSeq && sent.rec.ucIsResponse == 1;
        }
    }
    return out;
}

bool Logged(const std::string &lineWithNewline) {
    for (const oqsim::LogLine &line : oqsim::logs()) {
        if (line.text == lineWithNewline) {
            return true;
        }
    }
    return false;
}

std::string LogText() {
    std::string text;
    for (const oqsim::LogLine &line : oqsim::logs()) {
        text += std::to_string(line.level) + " " + line.text;
    }
    return text;
}

::testing::AssertionResult NothingHeld() {
    const long module = dltest::LiveAllocationsOf(dltest::AllocSource::kModule);
    const long json = dltest::LiveAllocationsOf(dltest::AllocSource::kJson);
    const long xml = dltest::LiveAllocationsOf(dltest::AllocSource::kXml);
    if (module == 0 && json == 0 && xml == 0) {
        return ::testing::AssertionSuccess();
    }
    return ::testing::AssertionFailure() << "held after the call: " << module << " heap blocks, "
                                         << json << " cJSON blocks, " << xml << " XML blocks";
}

::testing::AssertionResult CallsAmong(const Outcome &out, const Outcome &clean) {
    for (const DevCall &call : out.calls) {
        bool found = false;
        for (const DevCall &known : clean.calls) {
            // A fetch buffer is the device's to fill; only its type and size count.
            found = found || (call.bToDevice ? call == known
                                             : !known.bToDevice && call.iType == known.iType &&
                                                   call.uiLen == known.uiLen);
        }
        if (!found) {
            return ::testing::AssertionFailure()
                   << Describe(call) << " carried a record the clean run never sent";
        }
    }
    return ::testing::AssertionSuccess();
}

::testing::AssertionResult SameAnswer(const Outcome &out, const Outcome &expected) {
    if (out.iResult != expected.iResult) {
        return ::testing::AssertionFailure()
               << "result " << out.iResult << ", expected " << expected.iResult;
    }
    if (out.sent != expected.sent) {
        return ::testing::AssertionFailure()
               << "sent " << out.sent.size() << " messages, expected " << expected.sent.size()
               << (out.sent.empty() ? "" : ": " + out.sent.back());
    }
    return ::testing::AssertionSuccess();
}

std::string Describe(const DevCall &call) {
    char text[96];
    std::snprintf(text, sizeof text, "%s type %d len %u",
                  call.bToDevice ? "Recv_Msg" : "Get_Runtime_Info", call.iType, call.uiLen);
    return text;
}

}  // namespace robust
