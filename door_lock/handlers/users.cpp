// Platform commands that set one user and list every user; both answer with
// the user table (user_xml.h).
#include "frame/bus_dev.h"
#include "frame/memory.h"
#include "frame/record_fetch.h"
#include "handlers/handlers.h"
#include "handlers/user_xml.h"
#include "handlers/xml_fields.h"
#include "messaging/envelope.h"
#include "oqDevSDK_door_lock.h"
#include "oqdev_log.h"
#include "vocabulary.h"

namespace norla {
namespace {

// Two refusals of the device application that the platform knows by codes of
// its own; every other refusal is a plain 4.
constexpr DoorLock_Refusal_S kUserRefusals[] = {
    {OQDEVSDK_DOORLOCK_DEV_ERR_USERS_FULL, kResultUsersFull},
    {OQDEVSDK_DOORLOCK_DEV_ERR_USER_UNKNOWN, kResultUserUnknown},
};

HeapPtr<oqDevSDK_DoorLock_UserInfo_S> FetchUserTable() {
    return DoorLock_FetchRecord<oqDevSDK_DoorLock_UserInfo_S>("Failed to get user info.\n");
}

// DevSerial, then the lock's users as they are now; a table the lock does
// not hand over leaves the list empty.
void AddUserTable(DoorLock_XmlWriter &response) {
    DoorLock_xml_add_dev_serial(response);
    auto table = FetchUserTable();
    if (table) {
        FillUserInfo(response, *table);
    }
}

}  // namespace

int ReqHnd_SetUserInfo(CMarkupSTL &request, DoorLock_XmlWriter &response) {
    int result = kResultOk;
    auto cfg = DoorLock_HeapZalloc<oqDevSDK_DoorLock_SetUserCfg_S>();
    if (!cfg) {
        DoorLock_LogMallocFailed(ToDevice<oqDevSDK_DoorLock_SetUserCfg_S>::kLen);
        result = kResultRefused;
    } else if (ParseSetUserInfo(request, cfg.get()) != 0) {
        oqdev_debug(kLogError, "Failed to ParseSetUserInfo.\n");
        result = kResultBadRequest;
    } else {
        const int answer = DoorLock_BusDev_Send(*cfg);
        if (answer != 0) {
            oqdev_debug(kLogError, "Failed to set user info of door lock.\n");
            result = MapDeviceRefusal(kUserRefusals, answer);
        }
    }
    // The platform always gets the list as it is now, whether the set took or
    // not; failing to get it does not change the set's result.
    AddUserTable(response);
    return result;
}

int ReqHnd_QueryUserInfo(CMarkupSTL & /*request*/, DoorLock_XmlWriter &response) {
    auto table = FetchUserTable();
    DoorLock_xml_add_dev_serial(response);
    if (!table) {
        return kResultRefused;
    }
    FillUserInfo(response, *table);
    return kResultOk;
}

}  // namespace norla
