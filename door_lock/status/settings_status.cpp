// Status items of the lock's settings: the door open remind switches (66) and
// the key values fingerprint store (67), bell tone (68), prompt tone (69) and
// face unlock (97).
#include <cjson/cJSON.h>

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "frame/bus_dev.h"
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

constexpr int32_t kUnknownValue = -1;

// Only iEnable of a slot is compared and reported. At load slots 0 to 2 are
// unknown (-1) while slots 3 to 7 start as off (0): a first poll that finds
// the later switches off sees no change for them.
oqDevSDK_DoorLock_SwitchCfg_S g_door_lock_switch[OQDEVSDK_DOORLOCK_SWITCH_NUM] = {
    {-1, -1, -1}, {-1, -1, -1}, {-1, -1, 0}};

int32_t g_uiDoorFingerStore_Val = kUnknownValue;
int32_t g_uiDoorBellTone_Val = kUnknownValue;
int32_t g_uiDoorPromptTone_Val = kUnknownValue;
oqDevSDK_DoorLock_FaceUnlock_S g_stFaceUnlock = {kUnknownValue, kUnknownValue};

// The lock's current value of one numeric setting.
template <typename Record>
int FetchValue(int32_t &value) noexcept {
    Record rec = {0};
    const int ret = DoorLock_BusDev_Fetch(rec);
    value = rec.iValue;
    return ret;
}

struct NumericKeyItem {
    const char *pszKey;
    int (*pfnFetch)(int32_t &value);
    const char *pszFetchError;
    int32_t *piCache;
};

const NumericKeyItem kFingerStore = {kKeyFingerStore, &FetchValue<DoorLock_FingerStore_S>,
                                     "Failed to get door finger store info.\n",
                                     &g_uiDoorFingerStore_Val};
const NumericKeyItem kBellTone = {kKeyBellTone, &FetchValue<DoorLock_BellTone_S>,
                                  "Failed to get door bell tone info.\n", &g_uiDoorBellTone_Val};
const NumericKeyItem kPromptTone = {kKeyPromptTone, &FetchValue<DoorLock_PromptTone_S>,
                                    "Failed to get door prompt tone info.\n",
                                    &g_uiDoorPromptTone_Val};

int NumericKey_IsChanged(const NumericKeyItem &item) {
    int32_t value = 0;
    if (item.pfnFetch(value) != 0) {
        oqdev_debug(kLogError, "%s", item.pszFetchError);
        return 0;
    }
    if (value == *item.piCache) {
        return 0;
    }
    *item.piCache = value;
    return 1;
}

int NumericKey_Report(const NumericKeyItem &item) {
    char value[kIntTextLen];
    IntText(*item.piCache, value);
    return SendStatusReport(item.pszKey, value);
}

int NumericKey_Reset(const NumericKeyItem &item) {
    *item.piCache = kUnknownValue;
    return 0;
}

}  // namespace

int DoorOpenRemindSwitch_IsChanged() {
    oqDevSDK_DoorLock_SwitchCfg_S rec;
    rec.iEnable = 0;
    rec.iChannel = 0;
    int changed = 0;
    // Every switch is fetched on every poll; one that fails keeps its cache.
    for (int32_t n = 0; n < OQDEVSDK_DOORLOCK_SWITCH_NUM; ++n) {
        rec.iSwitchIndex = n;
        if (DoorLock_BusDev_Fetch(rec) != 0) {
            continue;
        }
        if (rec.iEnable != g_door_lock_switch[n].iEnable) {
            g_door_lock_switch[n].iEnable = rec.iEnable;
            changed = 1;
        }
    }
    return changed;
}

int DoorOpenRemindSwitch_Report(int /*arg*/) {
    CMarkupSTL doc;
    DoorLock_XmlWriter xml(doc);
    DoorLock_xml_init_report(xml).Elem("Type", "SWITCHENABLE").Elem("Params").Into();
    for (int n = 0; n < OQDEVSDK_DOORLOCK_SWITCH_NUM; ++n) {
        // The platform addresses the switches by type; the lock's channel is
        // not part of the report.
        xml.Elem("Switch")
            .Attr("Channel", 0)
            .Attr("Enable", g_door_lock_switch[n].iEnable)
            .Attr("Type", kSwitchPlatformTypes[n]);
    }
    xml.Out();
    return DoorLock_send_report(xml, kCmdReportSwitches);
}

int DoorOpenRemindSwitch_Reset() {
    std::memset(g_door_lock_switch, 0xFF, sizeof g_door_lock_switch);
    return 0;
}

int KeyVal_DoorFingerStore_IsChanged() {
    return NumericKey_IsChanged(kFingerStore);
}
int KeyVal_DoorFingerStore_Report(int /*arg*/) {
    return NumericKey_Report(kFingerStore);
}
int KeyVal_DoorFingerStore_Reset() {
    return NumericKey_Reset(kFingerStore);
}

int KeyVal_DoorBellTone_IsChanged() {
    return NumericKey_IsChanged(kBellTone);
}
int KeyVal_DoorBellTone_Report(int /*arg*/) {
    return NumericKey_Report(kBellTone);
}
int KeyVal_DoorBellTone_Reset() {
    return NumericKey_Reset(kBellTone);
}

int KeyVal_DoorPromptTone_IsChanged() {
    return NumericKey_IsChanged(kPromptTone);
}
int KeyVal_DoorPromptTone_Report(int /*arg*/) {
    return NumericKey_Report(kPromptTone);
}
int KeyVal_DoorPromptTone_Reset() {
    return NumericKey_Reset(kPromptTone);
}

int KeyVal_DoorFaceUnlock_IsChanged() {
    oqDevSDK_DoorLock_FaceUnlock_S rec;
    std::memset(&rec, 0, sizeof rec);
    const int ret = DoorLock_BusDev_Fetch(rec);
    if (ret != 0) {
        return IsChangedFetchError(ret);
    }
    return TakeIfChanged(g_stFaceUnlock, rec) ? 1 : 0;
}

// A JSON failure here answers 0 (nothing to send), unlike the power report.
int KeyVal_DoorFaceUnlock_Report(int /*arg*/) {
    JsonPtr object(cJSON_CreateObject());
    if (!object) {
        oqdev_debug(kLogError, "Failed to create json object.\n");
        return 0;
    }
    // A member that could not be added would leave the platform half a value.
    if (cJSON_AddNumberToObject(object.get(), kJsonUnlockType, g_stFaceUnlock.iUnlockType) ==
            nullptr ||
        cJSON_AddNumberToObject(object.get(), kJsonUnlockSensitivity,
                                g_stFaceUnlock.iUnlockSensitivity) == nullptr) {
        oqdev_debug(kLogError, "Failed to create json object.\n");
        return 0;
    }
    JsonTextPtr text(cJSON_Print(object.get()));
    if (!text) {
        oqdev_debug(kLogError, "Failed to gen string from cjson object.\n");
        return 0;
    }
    return SendStatusReport(kKeyFaceUnlock, text.get());
}

int KeyVal_DoorFaceUnlock_Reset() {
    g_stFaceUnlock.iUnlockType = kUnknownValue;
    g_stFaceUnlock.iUnlockSensitivity = kUnknownValue;
    return 0;
}

}  // namespace norla
