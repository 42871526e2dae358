// A device application library (loaded by devlib::Load) in place of the
// simulated lock.
#ifndef DOORLOCK_SIM_DEVICE_LIB_H
#define DOORLOCK_SIM_DEVICE_LIB_H

#include "oqDevSDK_door_lock.h"
#include "player.h"

namespace dlsim {

class Transcript;

// The entry points of `api`, with Init handing the module `device` (shown in
// `transcript`, which may be null) instead of the simulated lock. One device
// per process.
ModuleApi WithDevice(const ModuleApi &api, const oqDevSDK_DoorLock_Callback_S &device,
                     Transcript *transcript);

}  // namespace dlsim

#endif
