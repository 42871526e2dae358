// Start-up and tear-down of the whole module.
#ifndef NORLA_FRAME_MODULE_H
#define NORLA_FRAME_MODULE_H

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

// Undoes every start-up stage, tolerating stages that never ran.
void DoorLock_Module_Fini() noexcept;

}  // namespace norla

#endif
