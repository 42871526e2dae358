// A device application built as a shared library, loaded in place of the
// simulated lock. The library exports one C function,
//     oqDevSDK_DoorLock_Callback_S oqDevSDK_DoorLock_DeviceCallbacks(void);
// returning the two callbacks it would hand to oqDevSDK_DoorLock_Init.
#ifndef DOORLOCK_SIM_DEVICE_LIB_H
#define DOORLOCK_SIM_DEVICE_LIB_H

#include <string>

#include "oqDevSDK_door_lock.h"
#include "player.h"

namespace dlsim {

class Transcript;

constexpr char kDeviceEntryPoint[] = "oqDevSDK_DoorLock_DeviceCallbacks";

// Loads the library and asks it for its callbacks; false with the reason when
// it cannot be loaded, lacks the entry point or hands back a null callback.
// The library stays loaded until the process ends.
bool LoadDeviceLibrary(const std::string &path, oqDevSDK_DoorLock_Callback_S *callbacks,
                       std::string *why);

// The entry points of `api`, with Init handing the module `device` (shown in
// `transcript`, which may be null) instead of the simulated lock. One device
// per process.
ModuleApi WithDevice(const ModuleApi &api, const oqDevSDK_DoorLock_Callback_S &device,
                     Transcript *transcript);

}  // namespace dlsim

#endif
