#include "status/registry.h"

#include <array>
#include <cstddef>
#include <cstring>
#include <utility>

#include "frame/host_guard.h"
#include "frame/module.h"
#include "oqdev_log.h"
#include "oqdev_status_report.h"
#include "status/items.h"
#include "vocabulary.h"

namespace norla {

namespace {

struct DoorLock_StatusItem_S {
    int iStatusId;
    oqdev_status_is_changed_fn pfnIsChanged;
    oqdev_status_report_fn pfnReport;
    oqdev_status_reset_fn pfnReset;
};

// Registration (and unregistration) order, power before lock status; one row
// per line.
// clang-format off
constexpr DoorLock_StatusItem_S kStatusItems[] = {
    {kStatusSwitches, &DoorOpenRemindSwitch_IsChanged, &DoorOpenRemindSwitch_Report, &DoorOpenRemindSwitch_Reset},
    {kStatusFingerStore, &KeyVal_DoorFingerStore_IsChanged, &KeyVal_DoorFingerStore_Report, &KeyVal_DoorFingerStore_Reset},
    {kStatusBellTone, &KeyVal_DoorBellTone_IsChanged, &KeyVal_DoorBellTone_Report, &KeyVal_DoorBellTone_Reset},
    {kStatusPromptTone, &KeyVal_DoorPromptTone_IsChanged, &KeyVal_DoorPromptTone_Report, &KeyVal_DoorPromptTone_Reset},
    {kStatusPower, &PowerStatus_IsChanged, &PowerStatus_Report, &PowerStatus_Reset},
    {kStatusLockStatus, &LockStatus_IsChanged, &LockStatus_Report, &LockStatus_Reset},
    {kStatusUnlockEvents, &UnlockEvtRec_IsChanged, &UnlockEvtRec_Report, &UnlockEvtRec_Reset},
    {kStatusUserInfo, &UserInfo_IsChanged, &UserInfo_Report, &UserInfo_Reset},
    {kStatusFaceUnlock, &KeyVal_DoorFaceUnlock_IsChanged, &KeyVal_DoorFaceUnlock_Report, &KeyVal_DoorFaceUnlock_Reset},
    {kStatusAutoFacePlan, &DoorAutoFaceUnlockPlan_IsChanged, &DoorAutoFaceUnlockPlan_Report, &DoorAutoFaceUnlockPlan_Reset},
};
// clang-format on
constexpr std::size_t kItemCount = sizeof kStatusItems / sizeof kStatusItems[0];

// The status-report module calls these in place of the items: an exception
// from the host's code answers as an allocation failure does (no change seen,
// report or reset failed).
template <std::size_t I>
int GuardedIsChanged() noexcept {
    int ret = 0;
    return DoorLock_Guard("status check", [&] { ret = kStatusItems[I].pfnIsChanged(); }) ? ret : 0;
}
template <std::size_t I>
int GuardedReport(int arg) noexcept {
    int ret = -1;
    return DoorLock_Guard("status report", [&] { ret = kStatusItems[I].pfnReport(arg); }) ? ret
                                                                                          : -1;
}
template <std::size_t I>
int GuardedReset() noexcept {
    int ret = -1;
    return DoorLock_Guard("status reset", [&] { ret = kStatusItems[I].pfnReset(); }) ? ret : -1;
}

template <std::size_t... I>
constexpr std::array<DoorLock_StatusItem_S, kItemCount> Guarded(std::index_sequence<I...>) {
    return {{{kStatusItems[I].iStatusId, &GuardedIsChanged<I>, &GuardedReport<I>,
              &GuardedReset<I>}...}};
}
constexpr std::array<DoorLock_StatusItem_S, kItemCount> kGuardedItems =
    Guarded(std::make_index_sequence<kItemCount>());

}  // namespace

int DoorLock_Func_Init() noexcept {
    if (g_stInnerCtrl.iFuncInited == 1) {
        oqdev_debug(kLogWarn, "Door lock func module has been inited.\n");
        return 0;
    }
    // One record serves every item: the status-report module copies it.
    oqdev_status_reg_s reg;
    std::memset(&reg, 0, sizeof reg);
    oqDevSDK_report_status_init();
    for (const DoorLock_StatusItem_S &item : kGuardedItems) {
        reg.iStatusId = item.iStatusId;
        reg.pfnIsChanged = item.pfnIsChanged;
        reg.pfnReport = item.pfnReport;
        reg.pfnReset = item.pfnReset;
        oqDevSDK_report_status_register(&reg);
    }
    g_stInnerCtrl.iFuncInited = 1;
    return 0;
}

void DoorLock_Func_Fint() noexcept {
    if (g_stInnerCtrl.iFuncInited != 1) {
        oqdev_debug(kLogWarn, "Door lock func module has not been inited.\n");
        return;
    }
    oqdev_status_reg_s reg;
    std::memset(&reg, 0, sizeof reg);
    for (const DoorLock_StatusItem_S &item : kStatusItems) {
        reg.iStatusId = item.iStatusId;
        oqDevSDK_report_status_unregister(&reg);
    }
    oqDevSDK_report_status_fini();
    // Also forgets the platform registration and the last system configuration,
    // so the next start asks for it again at once.
    g_stInnerCtrl.iFuncInited = 0;
    g_stInnerCtrl.iRegisterStatus.store(0, std::memory_order_relaxed);
    g_stInnerCtrl.tLastSysCfg.store(0, std::memory_order_relaxed);
}

}  // namespace norla
