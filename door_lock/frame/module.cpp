#include "frame/module.h"
#include "frame/bus_dev.h"
#include "frame/host_guard.h"
#include "frame/kernel_domain.h"
#include "handlers/handlers.h"
#include "oqDevSDK_door_lock.h"
#include "oqdev_log.h"
#include "oqdev_timer.h"
#include "status/registry.h"
#include "vocabulary.h"

namespace norla {

namespace {

constexpr const char *kSysCfgJobName = "doorlock_sys_cfg";
constexpr int kSysCfgJobInterval = 100;
constexpr int kTimerModeRepeat = 1;
constexpr int32_t kNoTimerJob = -1;

}  // namespace

DoorLock_CtrlObj_S g_stCtrlObj = {0, 0, {0, 0}};
DoorLock_InnerCtrl_S g_stInnerCtrl = {0, {0}, {0}};
int32_t g_iTimerId_SysCfg = kNoTimerJob;

void DoorLock_Module_Fini() noexcept {
    if (g_iTimerId_SysCfg >= 0) {
        oqdev_timer_del_element(oqdev_timer_get_comm_instance(), g_iTimerId_SysCfg);
        g_iTimerId_SysCfg = kNoTimerJob;
    }
    if (g_stCtrlObj.bTimerInited == 1) {
        oqdev_timer_fini();
    }
    DoorLock_extern_Fint();
    DoorLock_Func_Fint();
    oqDevSDK_DoorLock_Callback_S none = {nullptr, nullptr};
    DoorLock_BusDev_SetOps(&none);
    g_stCtrlObj = DoorLock_CtrlObj_S{};
}

namespace {

// The timer's way in; a job the host's code broke off is retried at the next
// tick, as after any failed request.
int SysCfgJob() noexcept {
    (void)DoorLock_Guard("timer job", [] { (void)DoorLock_SystemConfig(); });
    return 0;
}

int FailInit(const char *message) noexcept {
    oqdev_debug(kLogError, "%s\n", message);
    DoorLock_Module_Fini();
    return OQDEVSDK_DOORLOCK_ERR_FAILED;
}

}  // namespace

}  // namespace norla

using norla::g_stCtrlObj;
using norla::kLogError;
using norla::kLogWarn;

// bInited is never set: the module is only ever torn down by a failed Init, a
// second Init runs every step again and the other entry points answer as if
// the module had not been started.
int oqDevSDK_DoorLock_Init(oqDevSDK_DoorLock_InitInfo_S *pstInitInfo) noexcept {
    if (pstInitInfo == nullptr) {
        oqdev_debug(kLogError, "NULL input param.\n");
        return OQDEVSDK_DOORLOCK_ERR_FAILED;
    }
    if (g_stCtrlObj.bInited == 1) {
        oqdev_debug(kLogError, "DoorLock domain is already inited.\n");
        return OQDEVSDK_DOORLOCK_ERR_ALREADY_INITED;
    }
    oqDevSDK_DoorLock_Callback_S ops = {pstInitInfo->stCallback.Recv_Msg,
                                        pstInitInfo->stCallback.Get_Runtime_Info};
    norla::DoorLock_BusDev_SetOps(&ops);

    if (norla::DoorLock_Func_Init() != 0) {
        return norla::FailInit("DoorLock_Func_init failed, exit.");
    }
    if (norla::DoorLock_extern_init() != 0) {
        return norla::FailInit("DoorLock_extern_init failed, exit.");
    }
    oqdev_timer_init();
    g_stCtrlObj.bTimerInited = 1;

    // Stored before the test so that a failed add leaves a negative id and the
    // tear-down skips the delete.
    norla::g_iTimerId_SysCfg = oqdev_timer_add_element(
        oqdev_timer_get_comm_instance(), norla::kSysCfgJobName, norla::kSysCfgJobInterval,
        norla::kTimerModeRepeat, &norla::SysCfgJob);
    if (norla::g_iTimerId_SysCfg < 0) {
        return norla::FailInit("Failed to add timer of doorlock_sys_cfg, Door Lock module exit.");
    }
    return OQDEVSDK_DOORLOCK_OK;
}

void oqDevSDK_DoorLock_Fini(void) noexcept {
    if (g_stCtrlObj.bInited != 1) {
        oqdev_debug(kLogWarn, "DoorLock domain has not inited.\n");
        return;
    }
    norla::DoorLock_Module_Fini();
}

int oqDevSDK_DoorLock_Send2Srv_Msg(oqDevSDK_DoorLock_SrvMsg_S *pstMsg) noexcept {
    if (pstMsg == nullptr) {
        oqdev_debug(kLogError, "NULL input param.\n");
        return OQDEVSDK_DOORLOCK_ERR_FAILED;
    }
    if (g_stCtrlObj.bInited != 1) {
        oqdev_debug(kLogError, "DoorLock domain has not been inited.\n");
        return OQDEVSDK_DOORLOCK_ERR_NOT_INITED;
    }
    // No message type is handled yet: the hook always refuses.
    oqdev_debug(kLogError, "Failed to send msg to platform, by type %d.\n", pstMsg->iType);
    return OQDEVSDK_DOORLOCK_ERR_FAILED;
}
