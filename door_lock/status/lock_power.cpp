// Status items of the lock's state: door, bolt and signal (70) and the power
// sources (73).
#include <cjson/cJSON.h>

#include <cstddef>
#include <cstdio>
#include <cstring>

#include "frame/bus_dev.h"
#include "frame/record_fetch.h"
#include "frame/text_field.h"
#include "handlers/decimal_text.h"
#include "messaging/envelope.h"
#include "messaging/json_ptr.h"
#include "oqDevSDK_door_lock.h"
#include "oqdev_log.h"
#include "status/item_common.h"
#include "status/items.h"
#include "vocabulary.h"

namespace norla {
namespace {

constexpr uint8_t kUnknownByte = 0xFF;
constexpr std::size_t kPowerNameLen = 32;
constexpr std::size_t kPowerValueLen = 32;

oqDevSDK_DoorLock_LockStatus_S g_stLockStatus = {kUnknownByte, 0, 0, 0};
// usPowerNum reads 255 until the first change.
oqDevSDK_DoorLock_PowerStatus_S g_stPowerStatus = {kUnknownByte, {0, 0}, {}};

// Measured against the last accepted signal, so that a slow drift adds up.
bool SignalWithinTolerance(uint8_t cached, uint8_t fetched) {
    const int drift = static_cast<int>(cached) - static_cast<int>(fetched);
    return drift >= -OQDEVSDK_DOORLOCK_SIGNAL_DEADBAND &&
           drift <= OQDEVSDK_DOORLOCK_SIGNAL_DEADBAND;
}

const char *PowerName(uint8_t nameType) {
    switch (nameType) {
        case OQDEVSDK_DOORLOCK_POWER_NAME_DOOR:
            return "Door";
        case OQDEVSDK_DOORLOCK_POWER_NAME_CAT_EYE:
            return "CatEye";
        case OQDEVSDK_DOORLOCK_POWER_NAME_VIDEO_LOCK:
            return "VideoLock";
        default:
            return "Unknown";
    }
}

// Adds one power source to the list; false when the object could not be made.
bool AddPowerEntry(cJSON *list, const oqDevSDK_DoorLock_PowerInfo_S &power) {
    cJSON *entry = cJSON_CreateObject();
    if (entry == nullptr) {
        oqdev_debug(kLogError, "Failed to create cjson object.\n");
        return false;
    }
    cJSON_AddItemToArray(list, entry);

    const FieldText subSerial(power.szSubSerial);
    const FieldText des(power.szDes);
    char name[kPowerNameLen] = {};
    std::snprintf(name, sizeof name, "%s", PowerName(power.ucNameType));
    char value[kPowerValueLen];
    DecimalText(value, sizeof value).Int(power.usValueFirst).Char('/').Int(power.usValueSecond);

    // A member that could not be added fails the entry: no report with holes.
    const bool complete =
        cJSON_AddStringToObject(entry, "SubSerial", subSerial.c_str()) != nullptr &&
        cJSON_AddNumberToObject(entry, "Type", power.ucPowerType) != nullptr &&
        cJSON_AddStringToObject(entry, "Des", des.c_str()) != nullptr &&
        cJSON_AddNumberToObject(entry, "Remaining", power.ucRemaining) != nullptr &&
        cJSON_AddNumberToObject(entry, "Status", power.ucStatus) != nullptr &&
        cJSON_AddStringToObject(entry, "Name", name) != nullptr &&
        cJSON_AddStringToObject(entry, "Value", value) != nullptr;
    if (!complete) {
        oqdev_debug(kLogError, "Failed to create cjson object.\n");
    }
    return complete;
}

}  // namespace

int LockStatus_IsChanged() {
    oqDevSDK_DoorLock_LockStatus_S rec;
    std::memset(&rec, 0, sizeof rec);
    if (DoorLock_BusDev_Fetch(rec) != 0) {
        oqdev_debug(kLogError, "Failed to get door lock status info.\n ");
        return 0;
    }
    if (std::memcmp(&rec, &g_stLockStatus, sizeof rec) == 0) {
        return 0;
    }
    // The cache keeps the last accepted signal, so a slow drift is reported
    // once it adds up; a change of the reserved byte alone goes unnoticed.
    if (rec.ucDoorState == g_stLockStatus.ucDoorState &&
        rec.ucLockState == g_stLockStatus.ucLockState &&
        SignalWithinTolerance(g_stLockStatus.ucSignal, rec.ucSignal)) {
        return 0;
    }
    g_stLockStatus = rec;
    return 1;
}

int LockStatus_Report(int /*arg*/) {
    CMarkupSTL doc;
    DoorLock_XmlWriter xml(doc);
    DoorLock_xml_init_report(xml)
        .Elem("Door", g_stLockStatus.ucDoorState)
        .Elem("Lock", g_stLockStatus.ucLockState)
        .Elem("Signal", g_stLockStatus.ucSignal);
    return DoorLock_send_report(xml, kCmdReportLockStatus);
}

int LockStatus_Reset() {
    std::memset(&g_stLockStatus, kUnknownByte, sizeof g_stLockStatus);
    return 0;
}

int PowerStatus_IsChanged() {
    auto rec =
        DoorLock_FetchRecord<oqDevSDK_DoorLock_PowerStatus_S>("Failed to get mul poser status.\n");
    return rec && TakeIfChanged(g_stPowerStatus, *rec) ? 1 : 0;
}

int PowerStatus_Report(int /*arg*/) {
    JsonPtr list(cJSON_CreateArray());
    if (!list) {
        oqdev_debug(kLogError, "Failed to create cjson array.\n");
        return -1;
    }
    // usPowerNum is the lock's word; never read past the record's entries.
    static_assert(OQDEVSDK_DOORLOCK_POWER_REPORT_MAX <= OQDEVSDK_DOORLOCK_POWER_MAX,
                  "reported entries lie within the record");
    for (int i = 0; i < g_stPowerStatus.usPowerNum && i < OQDEVSDK_DOORLOCK_POWER_REPORT_MAX;
         ++i) {
        if (!AddPowerEntry(list.get(), g_stPowerStatus.stPower[i])) {
            return -1;
        }
    }
    JsonTextPtr text(cJSON_Print(list.get()));
    if (!text) {
        oqdev_debug(kLogError, "Failed to create string from cjson.\n");
        return -1;
    }
    return SendStatusReport("multiPower", text.get());
}

int PowerStatus_Reset() {
    std::memset(&g_stPowerStatus, kUnknownByte, sizeof g_stPowerStatus);
    return 0;
}

}  // namespace norla
