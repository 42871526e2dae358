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

bool Open(const std::string &path, DeviceLibrary *lib, std::string *why) {
    lib->path = ResolvePath(path);
    void *handle = dlopen(lib->path.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (handle == nullptr) {
        const char *error = dlerror();
        *why = error != nullptr ? error : "cannot be loaded";
        return false;
    }
    lib->entry = reinterpret_cast<oqDevSDK_DoorLock_DeviceCallbacks_F>(
        dlsym(handle, OQDEVSDK_DOORLOCK_DEVICE_CALLBACKS_SYMBOL));
    if (lib->entry == nullptr) {
        dlclose(handle);
        *why = path + " does not export " + OQDEVSDK_DOORLOCK_DEVICE_CALLBACKS_SYMBOL;
        return false;
    }
    lib->event = reinterpret_cast<oqDevSDK_DoorLock_DeviceEvent_F>(
        dlsym(handle, OQDEVSDK_DOORLOCK_DEVICE_EVENT_SYMBOL));
    return true;
}

bool Start(DeviceLibrary *lib, std::string *why) {
    lib->callbacks = lib->entry();
    if (lib->callbacks.Recv_Msg == nullptr || lib->callbacks.Get_Runtime_Info == nullptr) {
        *why = std::string(OQDEVSDK_DOORLOCK_DEVICE_CALLBACKS_SYMBOL) + " of " + lib->path +
               " handed back a null callback";
        return false;
    }
    return true;
}

bool Load(const std::string &path, DeviceLibrary *lib, std::string *why) {
    return Open(path, lib, why) && Start(lib, why);
}

}  // namespace devlib
