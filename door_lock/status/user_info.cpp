// Status item 72: the whole user table, reported when any byte of it changes.
#include <cstring>

#include "CMarkupSTL.h"
#include "frame/record_fetch.h"
#include "handlers/user_xml.h"
#include "messaging/envelope.h"
#include "oqDevSDK_door_lock.h"
#include "status/item_common.h"
#include "status/items.h"
#include "vocabulary.h"

namespace norla {
namespace {

// The table last found changed; what the report sends.
oqDevSDK_DoorLock_UserInfo_S g_stUserInfo;

}  // namespace

int UserInfo_IsChanged() {
    auto table = DoorLock_FetchRecord<oqDevSDK_DoorLock_UserInfo_S>("Failed to get user info.\n");
    // Unused slots and reserved bytes count too: any byte the device changes
    // is news.
    return table && TakeIfChanged(g_stUserInfo, *table) ? 1 : 0;
}

int UserInfo_Report(int /*arg*/) {
    CMarkupSTL doc;
    DoorLock_XmlWriter xml(doc);
    DoorLock_xml_init_report(xml);
    // A list cut short by a failed allocation is not sent at all.
    if (!FillUserInfo(xml, g_stUserInfo)) {
        return -1;
    }
    return DoorLock_send_report(xml, kCmdReportUserInfo);
}

// No device delivers an all-0xFF table, so the next detection reports.
int UserInfo_Reset() {
    std::memset(&g_stUserInfo, 0xFF, sizeof g_stUserInfo);
    return 0;
}

}  // namespace norla
