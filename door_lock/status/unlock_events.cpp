// Status item 71: the lock's unlock events, drained in batches. Every
// non-empty batch is news; once sent (or lost in sending) it is forgotten.
#include <cstring>

#include "CMarkupSTL.h"
#include "frame/record_fetch.h"
#include "frame/text_field.h"
#include "handlers/codecs.h"
#include "messaging/envelope.h"
#include "oqDevSDK_door_lock.h"
#include "oqdev_log.h"
#include "status/items.h"
#include "vocabulary.h"

namespace norla {
namespace {

// The batch waiting to be reported; usRecNum 0 means none.
oqDevSDK_DoorLock_UnlockEvtRecList_S g_stUnlockEvtRec;

}  // namespace

int UnlockEvtRec_IsChanged() {
    auto batch = DoorLock_FetchRecord<oqDevSDK_DoorLock_UnlockEvtRecList_S>(
        "Failed to get unlock event records info.\n", false);
    if (!batch) {
        return 0;
    }
    // An empty answer keeps a batch that was fetched but not yet reported.
    if (batch->usRecNum == 0) {
        return 0;
    }
    std::memcpy(&g_stUnlockEvtRec, batch.get(), sizeof g_stUnlockEvtRec);
    return 1;
}

int UnlockEvtRec_Report(int /*arg*/) {
    CMarkupSTL doc;
    DoorLock_XmlWriter xml(doc);
    DoorLock_xml_init_report(xml).Elem("Record").Into();
    char date[kDateStrLen] = {};
    for (unsigned int i = 0; i < g_stUnlockEvtRec.usRecNum && i < OQDEVSDK_DOORLOCK_MAX_UNLOCK_EVTS;
         ++i) {
        const oqDevSDK_DoorLock_UnlockEvtRec_S &rec = g_stUnlockEvtRec.stRecord[i];
        GetDateStrFromTime(&rec.lUnlockTime, date, sizeof date);
        // The user field may fill its whole width without a terminator.
        xml.Elem("Info")
            .Attr("User", FieldText(rec.szUser).c_str())
            .Attr("Type", rec.ucUnlockType)
            .Attr("Date", date);
    }
    xml.Out();
    const int ret = DoorLock_send_report(xml, kCmdReportUnlockEvents);
    if (ret != 0) {
        oqdev_debug(kLogError, "Failed to send unlock event records to platform!!\n");
    }
    // A batch whose sending failed is dropped as well, by design: the report
    // is never retried from the cache.
    std::memset(&g_stUnlockEvtRec, 0, sizeof g_stUnlockEvtRec);
    return ret;
}

int UnlockEvtRec_Reset() {
    std::memset(&g_stUnlockEvtRec, 0, sizeof g_stUnlockEvtRec);
    return 0;
}

}  // namespace norla
