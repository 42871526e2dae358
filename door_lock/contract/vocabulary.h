// The words the module shares with the platform, the kernel and the device
// application: identities, command and status ids, result codes, log levels,
// limits and the names of the lock's settings. The one place each is defined;
// the module, its tests, the simulator, the tools and the fuzzers read it.
#ifndef NORLA_CONTRACT_VOCABULARY_H
#define NORLA_CONTRACT_VOCABULARY_H

#include <cstddef>
#include <cstdint>

#include "oqDevSDK_door_lock.h"

namespace norla {

// Domain identity in the host kernel.
constexpr int kDoorLockDomainId = 4400;
constexpr const char *kDoorLockDomainName = "door_lock";
constexpr const char *kDoorLockVersion = "v1.0.0";

// Platform requests the module answers; the answer's id is one more.
constexpr int kCmdSetSwitch = 18699;
constexpr int kCmdSetDevPlan = 18731;
constexpr int kCmdSetKeyValue = 18829;
constexpr int kCmdTriggerUserVerify = 18849;
constexpr int kCmdQueryAlarmPlans = 18853;
constexpr int kCmdSetAlarmPlan = 18855;
constexpr int kCmdSetUserInfo = 18857;
constexpr int kCmdSetSnapPwd = 18859;
constexpr int kCmdQuerySnapPwds = 18861;
constexpr int kCmdQueryUserInfo = 20160;

constexpr int ResponseOf(int requestCmd) noexcept {
    return requestCmd + 1;
}

// The system configuration: the module asks, the platform answers.
constexpr int kCmdSystemConfigReq = 10375;
constexpr int kCmdSystemConfigRsp = 10376;

// Reports the module starts.
constexpr int kCmdReportSwitches = 12355;
constexpr int kCmdReportAutoFacePlan = 12366;
constexpr int kCmdReportStatus = 12382;
constexpr int kCmdReportLockStatus = 14736;
constexpr int kCmdReportUnlockEvents = 14738;
constexpr int kCmdReportUserInfo = 14740;

// Status items registered with the host's status-report module.
constexpr int kStatusSwitches = 66;
constexpr int kStatusFingerStore = 67;
constexpr int kStatusBellTone = 68;
constexpr int kStatusPromptTone = 69;
constexpr int kStatusLockStatus = 70;
constexpr int kStatusUnlockEvents = 71;
constexpr int kStatusUserInfo = 72;
constexpr int kStatusPower = 73;
constexpr int kStatusFaceUnlock = 97;
constexpr int kStatusAutoFacePlan = 121;

// Kernel events of the domain, and the register status they leave.
constexpr int kEventRegistered = 0;
constexpr int kEventUnregistered = 1;
constexpr int kEventReregistered = 2;
constexpr int kNotRegistered = 0;
constexpr int kRegistered = 1;

// Results written into a response's Result element.
constexpr int kResultOk = 0;
constexpr int kResultUnknownType = 2;
constexpr int kResultBadRequest = 3;
constexpr int kResultRefused = 4;  // also: out of memory
// A set device plan the module cannot take, or the lock's plan it cannot read.
constexpr int kResultPlanRefused = 131;
// The user did not verify, or the verification ended some other way.
constexpr int kResultVerifyFailed = 0x180003;
constexpr int kResultVerifyOther = 0x180004;

// What the platform hears for the device refusals the public header names
// (OQDEVSDK_DOORLOCK_DEV_ERR_*); every other refusal is a plain
// kResultRefused.
constexpr int kResultSnapFull = 0x183001;
constexpr int kResultSnapUnknown = 0x183002;
constexpr int kResultSnapLimit = 0x183003;
constexpr int kResultUsersFull = 0x182007;
constexpr int kResultUserUnknown = 0x182008;

// Levels of oqdev_debug.
constexpr int kLogError = 1;
constexpr int kLogWarn = 2;
constexpr int kLogInfo = 3;
constexpr int kLogDump = 4;

// Device-information key of the lock's sub-serial.
constexpr const char *kDevSerialKey = "dev_subserial";

// Room for the text of any int32_t with its terminator: "-2147483648".
constexpr std::size_t kIntTextLen = 12;

// Platform switch type of each device switch index. 451 is not a door-lock
// switch and is rejected like any unknown type.
constexpr int kSwitchPlatformTypes[OQDEVSDK_DOORLOCK_SWITCH_NUM] = {30,  450, 452, 453,
                                                                    454, 455, 456, 457};

// Device switch index of a platform switch type; -1 for any other number.
constexpr int SwitchIndexOfType(int platformType) noexcept {
    for (int i = 0; i < OQDEVSDK_DOORLOCK_SWITCH_NUM; ++i) {
        if (kSwitchPlatformTypes[i] == platformType) {
            return i;
        }
    }
    return -1;
}

// Key-value names of the lock's settings, in the order the platform's key
// redirections are registered.
constexpr const char *kKeyFingerStore = "doorFingerStore";
constexpr const char *kKeyBellTone = "doorBellTone";
constexpr const char *kKeyPromptTone = "doorPromptTone";
constexpr const char *kKeyFaceUnlock = "doorFaceUnlock";
constexpr const char *kSettingKeys[] = {kKeyFingerStore, kKeyBellTone, kKeyPromptTone,
                                        kKeyFaceUnlock};

// Members of the face unlock value's JSON object.
constexpr const char *kJsonUnlockType = "unlock_type";
constexpr const char *kJsonUnlockSensitivity = "unlock_sensitivity";

// The one device plan type the lock has: the auto face unlock plan.
constexpr int kAutoFacePlanType = 19;

// The system configuration item the module asks for, and its member.
constexpr const char *kSysCfgDLPower = "DLPower";
constexpr const char *kJsonLowPercent = "low_percent";

}  // namespace norla

#endif
