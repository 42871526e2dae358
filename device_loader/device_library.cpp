#include "device_library.h"

#include <dlfcn.h>
#include <unistd.h>

namespace devlib {

std::string ResolvePath(const std::string &path) {
    if (path.find('/') == std::string::npos && access(path.c_str(), F_OK) == 0) {
        return "./" + path;
    }
    return path;
}

bool Load(const std::string &path, DeviceLibrary *lib, std::string *why) {
    lib->path = ResolvePath(path);
    void *handle = dlopen(lib->path.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (handle == nullptr) {
        const char *error = dlerror();
        *why = error != nullptr ? error : "cannot be loaded";
        return false;
    }
    auto entry = reinterpret_cast<oqDevSDK_DoorLock_DeviceCallbacks_F>(
        dlsym(handle, OQDEVSDK_DOORLOCK_DEVICE_CALLBACKS_SYMBOL));
    if (entry == nullptr) {
        dlclose(handle);
        *why = path + " does not export " + OQDEVSDK_DOORLOCK_DEVICE_CALLBACKS_SYMBOL;
        return false;
    }
    lib->callbacks = entry();
    if (lib->callbacks.Recv_Msg == nullptr || lib->callbacks.Get_Runtime_Info == nullptr) {
        dlclose(handle);
        *why = std::string(OQDEVSDK_DOORLOCK_DEVICE_CALLBACKS_SYMBOL) + " of " + path +
               " handed back a null callback";
        return false;
    }
    lib->event = reinterpret_cast<oqDevSDK_DoorLock_DeviceEvent_F>(
        dlsym(handle, OQDEVSDK_DOORLOCK_DEVICE_EVENT_SYMBOL));
    return true;
}

}  // namespace devlib
