// Loads a device application built as a shared library (see
// oqDevSDK_door_lock_device.h) for the tools that stand in for the board.
#ifndef DOORLOCK_DEVICE_LIBRARY_H
#define DOORLOCK_DEVICE_LIBRARY_H

#include <string>

#include "oqDevSDK_door_lock_device.h"

namespace devlib {

struct DeviceLibrary {
    std::string path;  // as handed to dlopen
    oqDevSDK_DoorLock_Callback_S callbacks{nullptr, nullptr};
    // Null when the library cannot be made to produce events.
    oqDevSDK_DoorLock_DeviceEvent_F event = nullptr;
};

// A bare file name means the file in the working directory when there is
// one (dlopen would search only the library path), else the library search.
std::string ResolvePath(const std::string &path);

// Loads the library and asks it for its callbacks; false with the reason when
// it cannot be loaded, lacks the entry point or hands back a null callback.
// The library stays loaded until the process ends.
bool Load(const std::string &path, DeviceLibrary *lib, std::string *why);

}  // namespace devlib

#endif
