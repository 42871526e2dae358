// Platform commands that set the lock's switches and key values.
#include <cjson/cJSON.h>

#include <cstdint>
#include <cstring>
#include <string>

#include "frame/bus_dev.h"
#include "frame/text_field.h"
#include "handlers/handlers.h"
#include "handlers/xml_fields.h"
#include "messaging/envelope.h"
#include "messaging/json_ptr.h"
#include "oqDevSDK_door_lock.h"
#include "oqdev_log.h"
#include "oqdev_status_report.h"
#include "vocabulary.h"

namespace norla {
namespace {

// The key text is compared after being cut to this buffer (31 characters).
constexpr std::size_t kKeyBufLen = 32;

// 0 when the device took the value, -1 otherwise.
template <typename Record>
int SendNumericValue(const std::string &text) {
    Record rec = {ToInt32(text)};
    return DoorLock_BusDev_Send(rec) == 0 ? 0 : -1;
}

int SendFaceUnlock(const std::string &text) {
    oqDevSDK_DoorLock_FaceUnlock_S rec;
    std::memset(&rec, 0, sizeof rec);
    JsonPtr root(cJSON_Parse(text.c_str()));
    if (!root) {
        oqdev_debug(kLogError, "Failed to parse value string of icr dss:%s\n", text.c_str());
        return -1;
    }
    const cJSON *type = cJSON_GetObjectItem(root.get(), kJsonUnlockType);
    const cJSON *sensitivity = cJSON_GetObjectItem(root.get(), kJsonUnlockSensitivity);
    if (type == nullptr || sensitivity == nullptr) {
        // One message for both members.
        oqdev_debug(kLogError, "Failed to find item:unlockType\n");
        return -1;
    }
    rec.iUnlockType = type->valueint;
    rec.iUnlockSensitivity = sensitivity->valueint;
    return DoorLock_BusDev_Send(rec) == 0 ? 0 : -1;
}

struct KeyValueTarget {
    const char *pszKey;
    int iStatusId;
    int (*pfnSend)(const std::string &value);
};

// Compared in this order; the first match wins.
constexpr KeyValueTarget kKeyTargets[] = {
    {kKeyFingerStore, kStatusFingerStore, &SendNumericValue<DoorLock_FingerStore_S>},
    {kKeyBellTone, kStatusBellTone, &SendNumericValue<DoorLock_BellTone_S>},
    {kKeyPromptTone, kStatusPromptTone, &SendNumericValue<DoorLock_PromptTone_S>},
    {kKeyFaceUnlock, kStatusFaceUnlock, &SendFaceUnlock},
};

const KeyValueTarget *FindKeyTarget(const char *key) {
    for (const KeyValueTarget &target : kKeyTargets) {
        if (std::strcmp(target.pszKey, key) == 0) {
            return &target;
        }
    }
    return nullptr;
}

}  // namespace

int ReqHnd_SetSwitchEnable(CMarkupSTL &request, DoorLock_XmlWriter & /*response*/) {
    if (!FindRequiredElem(request, "Switch", true)) {
        return kResultBadRequest;
    }
    int32_t platformType = 0;
    if (!ReadRequiredInt(request, "Type", platformType)) {
        return kResultBadRequest;
    }
    oqDevSDK_DoorLock_SwitchCfg_S rec;
    std::memset(&rec, 0, sizeof rec);
    rec.iSwitchIndex = SwitchIndexOfType(platformType);
    if (rec.iSwitchIndex < 0) {
        oqdev_debug(kLogError, "Invalid switch type:%d\n", platformType);
        return kResultUnknownType;
    }
    if (!ReadRequiredInt(request, "Enable", rec.iEnable) ||
        !ReadRequiredInt(request, "Channel", rec.iChannel)) {
        return kResultBadRequest;
    }
    if (DoorLock_BusDev_Send(rec) != 0) {
        // One message for every switch type.
        oqdev_debug(kLogError, "Failed to set switch of door open remind.\n");
        return kResultRefused;
    }
    return kResultOk;
}

int ReqHnd_SetKeyValue(CMarkupSTL &request, DoorLock_XmlWriter & /*response*/) {
    if (!FindRequiredElem(request, "Type", true, kMissFullStop)) {
        return kResultBadRequest;
    }
    char key[kKeyBufLen] = {};
    CopyText(key, request.x_GetData().c_str());

    if (!FindRequiredElem(request, "Value", true, kMissFullStop)) {
        return kResultBadRequest;
    }
    const KeyValueTarget *target = FindKeyTarget(key);
    if (target == nullptr) {
        oqdev_debug(kLogError, "Invalid Key:%s\n", key);
        return kResultUnknownType;
    }

    const int sent = target->pfnSend(request.x_GetData());
    // The platform hears the lock's actual value back, whether it took the new
    // one or not.
    oqDevSDK_report_set_force_report(target->iStatusId);
    if (sent != 0) {
        oqdev_debug(kLogError, "Failed to set key value, key=%s, value=%s\n", key,
                    request.x_GetData().c_str());
        return kResultRefused;
    }
    return kResultOk;
}

}  // namespace norla
