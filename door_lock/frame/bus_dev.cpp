#include "frame/bus_dev.h"

#include <pthread.h>

#include "oqdev_log.h"
#include "vocabulary.h"

namespace norla {
namespace {

oqDevSDK_DoorLock_Callback_S g_stBusDev_CtrlObj = {nullptr, nullptr};
pthread_mutex_t g_hLock_BusDev = PTHREAD_MUTEX_INITIALIZER;

using DevEntry = int (*)(oqDevSDK_DoorLock_Msg_S *);

// The lock guards only the pointer read: a callback may call back into the
// module, and uninstalling must not wait for a callback under way.
DevEntry LoadEntry(DevEntry oqDevSDK_DoorLock_Callback_S::*member) noexcept {
    oqDevSDK_DoorLock_Callback_S local = {nullptr, nullptr};
    pthread_mutex_lock(&g_hLock_BusDev);
    local.*member = g_stBusDev_CtrlObj.*member;
    pthread_mutex_unlock(&g_hLock_BusDev);
    return local.*member;
}

int CallEntry(DevEntry entry, int type, void *buf, unsigned int len) noexcept {
    oqDevSDK_DoorLock_Msg_S msg;
    msg.iType = type;
    msg.pData = buf;
    msg.uiLen = len;
    return entry(&msg);
}

}  // namespace

void DoorLock_BusDev_SetOps(oqDevSDK_DoorLock_Callback_S *ops) noexcept {
    pthread_mutex_lock(&g_hLock_BusDev);
    g_stBusDev_CtrlObj.Recv_Msg = ops->Recv_Msg;
    g_stBusDev_CtrlObj.Get_Runtime_Info = ops->Get_Runtime_Info;
    pthread_mutex_unlock(&g_hLock_BusDev);
}

int DoorLock_BusDev_Msg2Dev(int type, void *buf, unsigned int len) noexcept {
    DevEntry entry = LoadEntry(&oqDevSDK_DoorLock_Callback_S::Recv_Msg);
    if (entry == nullptr) {
        oqdev_debug(kLogError, "Recv_Msg function of door_lock domain, is null.\n");
        return -1;
    }
    return CallEntry(entry, type, buf, len);
}

int DoorLock_BusDev_GetRuntimeInfo(int type, void *buf, unsigned int len) noexcept {
    DevEntry entry = LoadEntry(&oqDevSDK_DoorLock_Callback_S::Get_Runtime_Info);
    if (entry == nullptr) {
        oqdev_debug(kLogError, "Get_Runtime_Info function of door_lock domain, is null.\n");
        return -1;
    }
    return CallEntry(entry, type, buf, len);
}

}  // namespace norla
