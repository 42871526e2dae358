// Loads a device application built as a shared library (see
// oqDevSDK_door_lock_device.h) for the tools that stand in for the board.
#ifndef DOORLOCK_DEVICE_LIBRARY_H
#define DOORLOCK_DEVICE_LIBRARY_H

#include <string>

#include "oqDevSDK_door_lock_device.h"

namespace devlib {

struct DeviceLibrary {
    std::string path;  // as handed to dlopen
    oqDevSDK_DoorLock_DeviceCallbacks_F entry = nullptr;
    oqDevSDK_DoorLock_Callback_S callbacks{nullptr, nullptr};  // set by Start
    // Null when the library cannot be made to produce events.
    oqDevSDK_DoorLock_DeviceEvent_F event = nullptr;
};

// A bare file name means the file in the working directory when there is
// one (dlopen would search only the library path), else the library search.
std::string ResolvePath(const std::string &path);

// Loads the library and finds its entry points without calling any; false
// with the reason when it cannot be loaded or lacks the callbacks' entry
// point. The library stays loaded until the process ends.
bool Open(const std::string &path, DeviceLibrary *lib, std::string *why);
// Asks an opened library for its callbacks; false when one is null.
bool Start(DeviceLibrary *lib, std::string *why);
// Both.
bool Load(const std::string &path, DeviceLibrary *lib, std::string *why);

}  // namespace devlib

#endif
