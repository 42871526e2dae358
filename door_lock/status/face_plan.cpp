#include <cstring>

#include "frame/bus_dev.h"
#include "messaging/envelope.h"
#include "oqDevSDK_door_lock.h"
#include "oqdev_log.h"
#include "oqdev_time.h"
#include "oqdev_xml.h"
#include "status/item_common.h"
#include "status/items.h"
#include "vocabulary.h"

namespace norla {

// A lock never reports -1 in both words, so the first poll after a reset
// always sees a change.
constexpr uint32_t kResetHeadWord = 0xFFFFFFFFu;
constexpr int32_t kResetEnable = -1;

// The last plan the lock reported; only the status-report thread touches it.
oqDevSDK_DoorLock_AutoFaceUnlockPlan_S g_auto_face_unlock_plan = {
    kResetHeadWord, 0, kResetEnable, {}};

namespace {

constexpr unsigned int kTimeTextLen = 8;
// Fixed values of the report, whatever the cache holds.
constexpr int kReportChannel = 1;
constexpr int kReportEventType = 0;

using Plan = oqDevSDK_DoorLock_AutoFaceUnlockPlan_S;
using Slot = oqDevSDK_DoorLock_FacePlanSlot_S;

bool SlotEmpty(const Slot &slot) {
    return slot.uiBegin == 0 && slot.uiEnd == 0;
}

bool AllSlotsEmpty(const Plan &plan) {
    for (const auto &day : plan.astDay) {
        for (const Slot &slot : day) {
            if (!SlotEmpty(slot)) {
                return false;
            }
        }
    }
    return true;
}

void AddSlot(DoorLock_XmlWriter &xml, const Slot &slot) {
    char begin[kTimeTextLen] = {};
    char end[kTimeTextLen] = {};
    oqdev_MakeTimeString(slot.uiBegin, begin, kTimeTextLen);
    oqdev_MakeTimeString(slot.uiEnd, end, kTimeTextLen);
    xml.Elem("Plan").Attr("B", begin).Attr("E", end);
}

void AddDay(DoorLock_XmlWriter &xml, int day,
            const Slot (&slots)[OQDEVSDK_DOORLOCK_FACE_PLAN_SLOTS]) {
    xml.Elem("Date").Attr("Weekday", day).Into();
    for (const Slot &slot : slots) {
        if (!SlotEmpty(slot)) {
            AddSlot(xml, slot);
        }
    }
    xml.Out();
}

void AddParams(DoorLock_XmlWriter &xml, const Plan &plan) {
    xml.Elem("Params")
        .Into()
        .Elem("Enable", plan.iEnable)
        .Elem("Force", AllSlotsEmpty(plan) ? "1" : "0")
        .Elem("Actor", "D")
        .Attr("Channel", kReportChannel)
        .Attr("PlanType", kAutoFacePlanType)
        .Attr("EventType", kReportEventType);
    for (int day = 0; day < OQDEVSDK_DOORLOCK_FACE_PLAN_DAYS; ++day) {
        AddDay(xml, day, plan.astDay[day]);
    }
    xml.Out();
}

// The host's own request skeleton reports no failure, but its text shows one:
// without the declaration it writes first, its document was not set.
bool HostSkeleton(CMarkupSTL &doc) {
    oqdev_xml_init_req(doc);
    return doc.GetDoc().rfind("<?xml", 0) == 0;
}

bool BuildReport(DoorLock_XmlWriter &xml, const Plan &plan) {
    if (!HostSkeleton(xml.Doc())) {
        return false;
    }
    xml.Elem("Authorization").Elem("Type", "DevicePlan");
    AddParams(xml, plan);
    return xml.Ok();
}

}  // namespace

int DoorAutoFaceUnlockPlan_IsChanged() {
    Plan fetched;
    std::memset(&fetched, 0, sizeof fetched);
    int ret = DoorLock_BusDev_Fetch(fetched);
    if (ret != 0) {
        return IsChangedFetchError(ret);
    }
    if (!TakeIfChanged(g_auto_face_unlock_plan, fetched)) {
        return 0;
    }
    oqdev_debug(kLogInfo, "auto face unlock plan IsChanged\n");
    return 1;
}

// The report carries no DevSerial: it is built on the host's own request
// skeleton, as the platform expects for device plans.
int DoorAutoFaceUnlockPlan_Report(int /*arg*/) {
    oqdev_debug(kLogInfo, "start to report ayuo face unlock plan\n");
    CMarkupSTL doc;
    DoorLock_XmlWriter xml(doc);
    if (!BuildReport(xml, g_auto_face_unlock_plan)) {
        oqdev_debug(kLogError, "Failed to build auto face unlock plan report.\n");
        return -1;
    }
    return DoorLock_send_report(xml, kCmdReportAutoFacePlan);
}

int DoorAutoFaceUnlockPlan_Reset() {
    g_auto_face_unlock_plan.uiHeadWord = kResetHeadWord;
    g_auto_face_unlock_plan.uiChannel = 0;
    g_auto_face_unlock_plan.iEnable = kResetEnable;
    std::memset(g_auto_face_unlock_plan.astDay, 0, sizeof g_auto_face_unlock_plan.astDay);
    return 0;
}

}  // namespace norla
