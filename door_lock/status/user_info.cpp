// Status item 72: the whole user table, reported when any byte of it changes.
#include <cstring>

#include "CMarkupSTL.h"
#include "frame/bus_dev.h"
#include "frame/domain_ids.h"
#include "frame/memory.h"
#include "handlers/user_xml.h"
#include "messaging/envelope.h"
#include "oqDevSDK_door_lock.h"
#include "oqdev_log.h"
#include "status/items.h"

namespace norla {
namespace {

// The table last found changed; what the report sends.
oqDevSDK_DoorLock_UserInfo_S g_stUserInfo;

}  // namespace

int UserInfo_IsChanged() noexcept {
    auto table = DoorLock_HeapZalloc<oqDevSDK_DoorLock_UserInfo_S>();
    if (!table) {
        oqdev_debug(kLogError, "Failed to malloc mem, size=%u.\n",
                    OQDEVSDK_DOORLOCK_FROM_DEV_USER_INFO_LEN);
        return 0;
    }
    if (DoorLock_BusDev_GetRuntimeInfo(OQDEVSDK_DOORLOCK_FROM_DEV_USER_INFO, table.get(),
                                       OQDEVSDK_DOORLOCK_FROM_DEV_USER_INFO_LEN) != 0) {
        oqdev_debug(kLogError, "Failed to get user info.\n");
        return 0;
    }
    // Unused slots and reserved bytes count too: any byte the device changes
    // is news.
    if (std::memcmp(table.get(), &g_stUserInfo, sizeof g_stUserInfo) == 0) {
        return 0;
    }
    std::memcpy(&g_stUserInfo, table.get(), sizeof g_stUserInfo);
    return 1;
}

int UserInfo_Report(int arg) noexcept {
    static_cast<void>(arg);
    CMarkupSTL xml;
    if (DoorLock_xml_init_report(xml) != 0) {
        return -1;
    }
    // A list cut short by a failed allocation is not sent at all.
    if (!FillUserInfo(xml, &g_stUserInfo)) {
        return -1;
    }
    return DoorLock_send_report(xml, kCmdReportUserInfo);
}

// No device delivers an all-0xFF table, so the next detection reports.
int UserInfo_Reset() noexcept {
    std::memset(&g_stUserInfo, 0xFF, sizeof g_stUserInfo);
    return 0;
}

}  // namespace norla
