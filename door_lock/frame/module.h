// Start-up and tear-down of the whole module.
#ifndef NORLA_FRAME_MODULE_H
#define NORLA_FRAME_MODULE_H

#include <atomic>
#include <cstdint>

namespace norla {

struct DoorLock_CtrlObj_S {
    uint8_t bInited;
    uint8_t bTimerInited;
    uint8_t aucSpare[2];
};
static_assert(sizeof(DoorLock_CtrlObj_S) == 4, "control object is one 32-bit word");

extern DoorLock_CtrlObj_S g_stCtrlObj;
extern int32_t g_iTimerId_SysCfg;

// The module's state shared between its parts, one word per owner:
// iFuncInited by the status registry, iRegisterStatus by the kernel domain's
// events, tLastSysCfg by the system-configuration answer. The registry's
// tear-down clears all three, so that the next start asks for the system
// configuration at once. The last two are written and read by different
// threads without a lock; relaxed atomics keep them single-word and
// race-free.
struct DoorLock_InnerCtrl_S {
    int32_t iFuncInited;
    std::atomic<int32_t> iRegisterStatus;
    std::atomic<int32_t> tLastSysCfg;
};
static_assert(sizeof(DoorLock_InnerCtrl_S) == 12, "inner control object is three 32-bit words");
static_assert(std::atomic<int32_t>::is_always_lock_free, "shared words must be lock-free");

extern DoorLock_InnerCtrl_S g_stInnerCtrl;

// Undoes every start-up stage, tolerating stages that never ran.
void DoorLock_Module_Fini() noexcept;

}  // namespace norla

#endif
