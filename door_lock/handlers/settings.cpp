// Platform commands that set the lock's switches (18699) and key values
// (18829).
#include <cjson/cJSON.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

#include "frame/bus_dev.h"
#include "frame/domain_ids.h"
#include "handlers/handlers.h"
#include "handlers/settings_keys.h"
#include "messaging/envelope.h"
#include "messaging/json_ptr.h"
#include "oqDevSDK_door_lock.h"
#include "oqdev_log.h"
#include "oqdev_status_report.h"
#include "status/items.h"

namespace norla {
namespace {

// The key text is compared after being cut to this buffer (31 characters).
constexpr std::size_t kKeyBufLen = 32;

struct KeyValueTarget {
    const char *pszKey;
    int iToDevType;
    int iStatusId;
};

// Compared in this order; the first match wins.
constexpr KeyValueTarget kKeyTargets[] = {
    {kKeyFingerStore, OQDEVSDK_DOORLOCK_TO_DEV_FINGER_STORE, kStatusFingerStore},
    {kKeyBellTone, OQDEVSDK_DOORLOCK_TO_DEV_BELL_TONE, kStatusBellTone},
    {kKeyPromptTone, OQDEVSDK_DOORLOCK_TO_DEV_PROMPT_TONE, kStatusPromptTone},
    {kKeyFaceUnlock, OQDEVSDK_DOORLOCK_TO_DEV_FACE_UNLOCK, kStatusFaceUnlock},
};

int Finish(CMarkupSTL &response, int result) noexcept {
    DoorLock_xml_set_result(response, result);
    return result;
}

int32_t ToInt32(const std::string &text) noexcept {
    return static_cast<int32_t>(std::strtol(text.c_str(), nullptr, 10));
}

// An absent or empty attribute counts as missing and is logged.
bool ReadIntAttrib(const CMarkupSTL &xml, const char *name, int32_t *value) noexcept {
    const std::string text = xml.x_GetAttrib(name);
    if (text.empty()) {
        oqdev_debug(kLogError, "Failed to find attrib:%s\n", name);
        return false;
    }
    *value = ToInt32(text);
    return true;
}

const KeyValueTarget *FindKeyTarget(const char *key) noexcept {
    for (const KeyValueTarget &target : kKeyTargets) {
        if (std::strcmp(target.pszKey, key) == 0) {
            return &target;
        }
    }
    return nullptr;
}

// 0 when the device took the value, -1 otherwise.
int SendNumericValue(int toDevType, const std::string &text) noexcept {
    int32_t value = ToInt32(text);
    return DoorLock_BusDev_Msg2Dev(toDevType, &value, sizeof value) == 0 ? 0 : -1;
}

int SendFaceUnlock(const std::string &text) noexcept {
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
    return DoorLock_BusDev_Msg2Dev(OQDEVSDK_DOORLOCK_TO_DEV_FACE_UNLOCK, &rec, sizeof rec) == 0
               ? 0
               : -1;
}

}  // namespace

int ReqHnd_SetSwitchEnable(CMarkupSTL &request, CMarkupSTL &response) noexcept {
    if (!request.FindElem("Switch", true)) {
        oqdev_debug(kLogError, "Failed to find elem:Switch\n");
        return Finish(response, kResultBadRequest);
    }
    int32_t platformType = 0;
    if (!ReadIntAttrib(request, "Type", &platformType)) {
        return Finish(response, kResultBadRequest);
    }
    oqDevSDK_DoorLock_SwitchCfg_S rec;
    std::memset(&rec, 0, sizeof rec);
    rec.iSwitchIndex = SwitchIndexOfType(platformType);
    if (rec.iSwitchIndex < 0) {
        oqdev_debug(kLogError, "Invalid switch type:%d\n", platformType);
        return Finish(response, kResultUnknownType);
    }
    if (!ReadIntAttrib(request, "Enable", &rec.iEnable) ||
        !ReadIntAttrib(request, "Channel", &rec.iChannel)) {
        return Finish(response, kResultBadRequest);
    }
    if (DoorLock_BusDev_Msg2Dev(OQDEVSDK_DOORLOCK_TO_DEV_SWITCH, &rec, sizeof rec) != 0) {
        // One message for every switch type.
        oqdev_debug(kLogError, "Failed to set switch of door open remind.\n");
        return Finish(response, kResultRefused);
    }
    return Finish(response, kResultOk);
}

int ReqHnd_SetKeyValue(CMarkupSTL &request, CMarkupSTL &response) noexcept {
    if (!request.FindElem("Type", true)) {
        oqdev_debug(kLogError, "Failed to find elem:Type.\n");
        return Finish(response, kResultBadRequest);
    }
    char key[kKeyBufLen] = {};
    const std::string keyText = request.x_GetData();
    std::strncpy(key, keyText.c_str(), sizeof key - 1);

    if (!request.FindElem("Value", true)) {
        oqdev_debug(kLogError, "Failed to find elem:Value.\n");
        return Finish(response, kResultBadRequest);
    }
    const KeyValueTarget *target = FindKeyTarget(key);
    if (target == nullptr) {
        oqdev_debug(kLogError, "Invalid Key:%s\n", key);
        return Finish(response, kResultUnknownType);
    }

    const int sent = target->iStatusId == kStatusFaceUnlock
                         ? SendFaceUnlock(request.x_GetData())
                         : SendNumericValue(target->iToDevType, request.x_GetData());
    // The platform hears the lock's actual value back, whether it took the new
    // one or not.
    oqDevSDK_report_set_force_report(target->iStatusId);
    if (sent != 0) {
        oqdev_debug(kLogError, "Failed to set key value, key=%s, value=%s\n", key,
                    request.x_GetData().c_str());
        return Finish(response, kResultRefused);
    }
    return Finish(response, kResultOk);
}

}  // namespace norla
