// The bridge to the device application's callbacks.
#ifndef NORLA_FRAME_BUS_DEV_H
#define NORLA_FRAME_BUS_DEV_H

#include "oqDevSDK_door_lock.h"

namespace norla {

// Installs both entries of ops (all null to uninstall).
void DoorLock_BusDev_SetOps(oqDevSDK_DoorLock_Callback_S *ops) noexcept;
// -1 when no callback is installed, otherwise the callback's result unchanged.
int DoorLock_BusDev_Msg2Dev(int type, void *buf, unsigned int len) noexcept;
int DoorLock_BusDev_GetRuntimeInfo(int type, void *buf, unsigned int len) noexcept;

}  // namespace norla

#endif
