// The bridge to the device application's callbacks.
#ifndef NORLA_FRAME_BUS_DEV_H
#define NORLA_FRAME_BUS_DEV_H

#include "device_records.h"
#include "oqDevSDK_door_lock.h"

namespace norla {

// Installs both entries of ops (all null to uninstall).
void DoorLock_BusDev_SetOps(oqDevSDK_DoorLock_Callback_S *ops) noexcept;
// -1 when no callback is installed, otherwise the callback's result unchanged.
int DoorLock_BusDev_Msg2Dev(int type, void *buf, unsigned int len) noexcept;
int DoorLock_BusDev_GetRuntimeInfo(int type, void *buf, unsigned int len) noexcept;

// The typed bridge: the record picks its type code and length from the
// device-record table, so a record the lock does not take in that direction
// does not compile. Results as above.
template <typename Record>
int DoorLock_BusDev_Send(Record &rec) noexcept {
    return DoorLock_BusDev_Msg2Dev(ToDevice<Record>::kType, &rec, ToDevice<Record>::kLen);
}
template <typename Record>
int DoorLock_BusDev_Fetch(Record &rec) noexcept {
    return DoorLock_BusDev_GetRuntimeInfo(FromDevice<Record>::kType, &rec,
                                          FromDevice<Record>::kLen);
}

}  // namespace norla

#endif
