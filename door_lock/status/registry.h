// Registration of the status items with the host's status-report module.
#ifndef NORLA_STATUS_REGISTRY_H
#define NORLA_STATUS_REGISTRY_H

#include <atomic>
#include <cstdint>

namespace norla {

// iRegisterStatus and tLastSysCfg are written and read by different threads
// without a lock; relaxed atomics keep them single-word and race-free.
struct DoorLock_InnerCtrl_S {
    int32_t iFuncInited;
    std::atomic<int32_t> iRegisterStatus;
    std::atomic<int32_t> tLastSysCfg;
};
static_assert(sizeof(DoorLock_InnerCtrl_S) == 12, "inner control object is three 32-bit words");
static_assert(std::atomic<int32_t>::is_always_lock_free, "shared words must be lock-free");

extern DoorLock_InnerCtrl_S g_stInnerCtrl;

int DoorLock_Func_Init() noexcept;
void DoorLock_Func_Fint() noexcept;

}  // namespace norla

#endif
