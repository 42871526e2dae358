#include "cases.h"

#include <malloc.h>

#include <cstdlib>
#include <memory>

#include "alloc_count.h"
#include "floor.h"
#include "lock_data.h"
#include "oqDevSDK_door_lock.h"
#include "oqdev_sim.h"
#include "oqdev_status_report.h"
#include "status/items.h"
#include "vocabulary.h"

namespace bench {
namespace {

constexpr uint32_t kSetUserLen = OQDEVSDK_DOORLOCK_TO_DEV_SET_USER_LEN;
constexpr uint32_t kUserTableLen = OQDEVSDK_DOORLOCK_FROM_DEV_USER_INFO_LEN;
constexpr uint32_t kAlarmPlanLen = OQDEVSDK_DOORLOCK_TO_DEV_SET_ALARM_PLAN_LEN;
constexpr uint32_t kAlarmPlansLen = OQDEVSDK_DOORLOCK_FROM_DEV_ALARM_PLANS_LEN;
constexpr uint32_t kSnapPwdLen = OQDEVSDK_DOORLOCK_TO_DEV_SET_SNAP_PWD_LEN;
constexpr uint32_t kSnapPwdsLen = OQDEVSDK_DOORLOCK_FROM_DEV_SNAP_PWDS_LEN;
constexpr uint32_t kPowerLen = OQDEVSDK_DOORLOCK_FROM_DEV_POWER_STATUS_LEN;
constexpr uint32_t kEventsLen = OQDEVSDK_DOORLOCK_FROM_DEV_UNLOCK_EVTS_LEN;

constexpr int kMmapThreshold = 4 << 20;
constexpr int kTrimThreshold = 16 << 20;
constexpr int kSmallPlanUsers = 5;
// A request and its response.
constexpr int kRoundTripDocuments = 2;
constexpr int kMaxUsers = OQDEVSDK_DOORLOCK_MAX_USERS;

using FloorFn = void (*)(const std::string &, uint32_t);

// The change detectors as the status-report module holds them.
std::vector<int (*)()> g_detectors;

void RunDetectors() {
    for (auto detect : g_detectors) {
        detect();
    }
}

// A platform request: the module through the kernel's data-route callback,
// the floor (if any) on the same text.
Case Request(std::string name, int cmd, std::string body, std::function<void()> setup,
             FloorFn floor, uint32_t records) {
    auto text = std::make_shared<const std::string>(std::move(body));
    // Requests see the device's first state, whatever a poll case left.
    auto prepare = [setup] {
        SetStatusState(0);
        setup();
    };
    std::function<void(uint32_t)> floorRun;
    if (floor != nullptr) {
        floorRun = [floor, text](uint32_t seq) { floor(*text, seq); };
    }
    return Case{std::move(name),
                std::move(prepare),
                [cmd, text](uint32_t seq) { oqsim::deliver(cmd, seq, *text); },
                std::move(floorRun),
                *text,
                records,
                kRoundTripDocuments,
                true};
}

std::function<void()> Users(int users) {
    return [users] { ServeUsers(users); };
}
std::function<void()> Plans(int plans) {
    return [plans] { ServeAlarmPlans(plans); };
}
void Nothing() {}

// The module's caches hold the state the device serves.
void SyncedPoll() {
    ServeUsers(kMaxUsers);
    SetStatusState(0);
    RunDetectors();
    RunDetectors();
}

// Every record differs from the one before: the device alternates between
// two full sets.
std::function<void(uint32_t)> Alternating(std::function<void()> poll) {
    return [poll](uint32_t seq) {
        SetStatusState(seq % 2 == 0 ? 1 : 2);
        poll();
    };
}

std::vector<Case> MakeCases() {
    std::vector<Case> cases;
    cases.push_back(Request("set_switch", norla::kCmdSetSwitch, SetSwitchRequest(), Nothing,
                            FloorSetSwitch, 0));
    cases.push_back(Request("set_key_value/tone", norla::kCmdSetKeyValue, SetBellToneRequest(),
                            Nothing, nullptr, 0));
    cases.push_back(Request("set_key_value/face", norla::kCmdSetKeyValue, SetFaceUnlockRequest(),
                            Nothing, nullptr, 0));
    cases.push_back(Request("set_user/50", norla::kCmdSetUserInfo, SetUserRequest(), Users(50),
                            nullptr, kSetUserLen + kUserTableLen));
    for (int users : {0, 50, kMaxUsers}) {
        cases.push_back(Request("query_users/" + std::to_string(users), norla::kCmdQueryUserInfo,
                                EmptyRequest(), Users(users),
                                users == kMaxUsers ? FloorQueryUsers : nullptr, kUserTableLen));
    }
    cases.push_back(Request("set_snap_pwd", norla::kCmdSetSnapPwd, SetSnapPwdRequest(), Nothing,
                            nullptr, kSnapPwdLen));
    cases.push_back(Request("query_snap_pwds", norla::kCmdQuerySnapPwds, EmptyRequest(), Nothing,
                            nullptr, kSnapPwdsLen));
    for (int users : {kSmallPlanUsers, kMaxUsers}) {
        cases.push_back(Request("set_alarm_plan/" + std::to_string(users), norla::kCmdSetAlarmPlan,
                                SetAlarmPlanRequest(users), Nothing, nullptr, kAlarmPlanLen));
    }
    for (int plans : {1, OQDEVSDK_DOORLOCK_MAX_ALARM_PLANS}) {
        cases.push_back(
            Request("query_alarm_plans/" + std::to_string(plans), norla::kCmdQueryAlarmPlans,
                    EmptyRequest(), Plans(plans),
                    plans == OQDEVSDK_DOORLOCK_MAX_ALARM_PLANS ? FloorQueryAlarmPlans : nullptr,
                    kAlarmPlansLen));
    }
    cases.push_back(Request("trigger_verify", norla::kCmdTriggerUserVerify, TriggerVerifyRequest(),
                            Nothing, nullptr, 0));
    cases.push_back(
        Request("set_dev_plan", norla::kCmdSetDevPlan, SetDevPlanRequest(), Nothing, nullptr, 0));
    cases.push_back(Request("system_config", norla::kCmdSystemConfigRsp, SystemConfigAnswer(),
                            Nothing, nullptr, 0));

    cases.push_back(Case{"user_info_report/500",
                         [] {
                             SyncedPoll();
                             norla::UserInfo_Reset();
                             norla::UserInfo_IsChanged();
                         },
                         [](uint32_t) { norla::UserInfo_Report(0); },
                         [](uint32_t seq) { FloorUserInfoReport(ServedUsers(), seq); }, "",
                         // The table it reports is the item's static cache.
                         kUserTableLen, 1, true});
    cases.push_back(Case{"poll/unchanged", SyncedPoll, [](uint32_t) { RunDetectors(); }, nullptr,
                         "", kUserTableLen, 0, true});
    cases.push_back(Case{"poll/changed", SyncedPoll, Alternating(RunDetectors), nullptr, "",
                         kUserTableLen + kEventsLen + kPowerLen, 0, false});
    return cases;
}

}  // namespace

const std::vector<Case> &Cases() {
    static const std::vector<Case> cases = MakeCases();
    return cases;
}

const Case *FindCase(const std::string &name) {
    for (const Case &c : Cases()) {
        if (c.name == name) {
            return &c;
        }
    }
    return nullptr;
}

void StartModule() {
    // Blocks of a few hundred kilobytes come from the heap and stay there, as
    // a lock's integrator would tune it: otherwise every record costs a fresh
    // mapping and its page faults, which swamp what is measured here.
    mallopt(M_MMAP_THRESHOLD, kMmapThreshold);
    mallopt(M_TRIM_THRESHOLD, kTrimThreshold);
    InstallAllocHooks();
    oqsim::reset();
    oqsim::set_tz("UTC");
    oqDevSDK_DoorLock_InitInfo_S info{{&DeviceRecv, &DeviceGet}};
    if (oqDevSDK_DoorLock_Init(&info) != 0) {
        std::abort();
    }
    g_detectors.clear();
    for (const oqsim::StatusItem &item : oqsim::status_items()) {
        g_detectors.push_back(item.reg.pfnIsChanged);
    }
}

std::string TakeSent() {
    std::string text = oqsim::sent().empty() ? std::string() : oqsim::sent().back().body;
    oqsim::clear_sent();
    return text;
}

}  // namespace bench
