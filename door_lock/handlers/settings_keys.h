// Names the platform uses for the lock's switches and key values, shared by
// the set handlers and the status items that report the values back.
#ifndef NORLA_HANDLERS_SETTINGS_KEYS_H
#define NORLA_HANDLERS_SETTINGS_KEYS_H

#include "oqDevSDK_door_lock.h"

namespace norla {

// Platform switch type of each device switch index. 451 is not a door-lock
// switch and is rejected like any unknown type.
constexpr int kSwitchPlatformTypes[OQDEVSDK_DOORLOCK_SWITCH_NUM] = {30,  450, 452, 453,
                                                                    454, 455, 456, 457};

// Device switch index of a platform switch type; -1 for any other number.
constexpr int SwitchIndexOfType(int platformType) {
    for (int i = 0; i < OQDEVSDK_DOORLOCK_SWITCH_NUM; ++i) {
        if (kSwitchPlatformTypes[i] == platformType) {
            return i;
        }
    }
    return -1;
}

constexpr const char *kKeyFingerStore = "doorFingerStore";
constexpr const char *kKeyBellTone = "doorBellTone";
constexpr const char *kKeyPromptTone = "doorPromptTone";
constexpr const char *kKeyFaceUnlock = "doorFaceUnlock";

// Members of the face unlock value's JSON object.
constexpr const char *kJsonUnlockType = "unlock_type";
constexpr const char *kJsonUnlockSensitivity = "unlock_sensitivity";

}  // namespace norla

#endif
