// Every record the module exchanges with the device application: its
// direction, type code and length, in one table. The module's typed bridge,
// the simulator's decoder, the guide's tables and the fuzzers all read it, so
// a record, its code and its length cannot drift apart.
#ifndef NORLA_CONTRACT_DEVICE_RECORDS_H
#define NORLA_CONTRACT_DEVICE_RECORDS_H

#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "oqDevSDK_door_lock.h"

namespace norla {

// The three numeric settings travel as a bare int32_t; a type of their own
// each lets the bridge tell them apart at compile time.
struct DoorLock_FingerStore_S {
    static constexpr const char *kDeclaredAs = "int32_t";
    int32_t iValue;
};
struct DoorLock_BellTone_S {
    static constexpr const char *kDeclaredAs = "int32_t";
    int32_t iValue;
};
struct DoorLock_PromptTone_S {
    static constexpr const char *kDeclaredAs = "int32_t";
    int32_t iValue;
};

// Direction, type code (the header's name without its prefix), record, short
// name, what the record is for. One row per type code.
// clang-format off
#define NORLA_DEVICE_RECORDS(X)                                                                                                                            \
    X(ToDevice,   TO_DEV_SWITCH,           oqDevSDK_DoorLock_SwitchCfg_S,          "switch",                 "set one door open remind switch")               \
    X(ToDevice,   TO_DEV_FINGER_STORE,     DoorLock_FingerStore_S,                 "fingerprint store",      "set \"doorFingerStore\"")                       \
    X(ToDevice,   TO_DEV_BELL_TONE,        DoorLock_BellTone_S,                    "bell tone",              "set \"doorBellTone\"")                          \
    X(ToDevice,   TO_DEV_PROMPT_TONE,      DoorLock_PromptTone_S,                  "prompt tone",            "set \"doorPromptTone\"")                        \
    X(ToDevice,   TO_DEV_SET_USER,         oqDevSDK_DoorLock_SetUserCfg_S,         "set user",               "add, change or delete one user")                \
    X(ToDevice,   TO_DEV_SET_ALARM_PLAN,   oqDevSDK_DoorLock_SetAlarmPlan_S,       "set not-back alarm plan", "create, change or delete one not-back alarm plan") \
    X(ToDevice,   TO_DEV_SET_SNAP_PWD,     oqDevSDK_DoorLock_SetSnapPwd_S,         "set snap password",      "create or delete one snap password (outputs)")  \
    X(ToDevice,   TO_DEV_DL_POWER,         oqDevSDK_DoorLock_DLPower_S,            "low-battery threshold",  "low-battery threshold from the platform")       \
    X(ToDevice,   TO_DEV_USER_VERIFY,      oqDevSDK_DoorLock_UserVerify_S,         "user verification",      "have a user verify themselves (output)")        \
    X(ToDevice,   TO_DEV_FACE_UNLOCK,      oqDevSDK_DoorLock_FaceUnlock_S,         "face unlock",            "set \"doorFaceUnlock\"")                        \
    X(ToDevice,   TO_DEV_AUTO_FACE_PLAN,   oqDevSDK_DoorLock_AutoFaceUnlockPlan_S, "auto face unlock plan",  "set the auto face unlock plan")                 \
    X(FromDevice, FROM_DEV_SWITCH,         oqDevSDK_DoorLock_SwitchCfg_S,          "switch",                 "one switch; the module sets iSwitchIndex")      \
    X(FromDevice, FROM_DEV_FINGER_STORE,   DoorLock_FingerStore_S,                 "fingerprint store",      "current \"doorFingerStore\"")                   \
    X(FromDevice, FROM_DEV_BELL_TONE,      DoorLock_BellTone_S,                    "bell tone",              "current \"doorBellTone\"")                      \
    X(FromDevice, FROM_DEV_PROMPT_TONE,    DoorLock_PromptTone_S,                  "prompt tone",            "current \"doorPromptTone\"")                    \
    X(FromDevice, FROM_DEV_LOCK_STATUS,    oqDevSDK_DoorLock_LockStatus_S,         "lock status",            "door, bolt and signal")                         \
    X(FromDevice, FROM_DEV_UNLOCK_EVTS,    oqDevSDK_DoorLock_UnlockEvtRecList_S,   "unlock events",          "unlock events not yet handed, oldest first")    \
    X(FromDevice, FROM_DEV_USER_INFO,      oqDevSDK_DoorLock_UserInfo_S,           "user table",             "the whole user table")                          \
    X(FromDevice, FROM_DEV_ALARM_PLANS,    oqDevSDK_DoorLock_AlarmPlanList_S,      "not-back alarm plans",   "all not-back alarm plans")                      \
    X(FromDevice, FROM_DEV_SNAP_PWDS,      oqDevSDK_DoorLock_SnapPwdList_S,        "snap passwords",         "the snap passwords")                            \
    X(FromDevice, FROM_DEV_POWER_STATUS,   oqDevSDK_DoorLock_PowerStatus_S,        "power status",           "power sources")                                 \
    X(FromDevice, FROM_DEV_FACE_UNLOCK,    oqDevSDK_DoorLock_FaceUnlock_S,         "face unlock",            "current \"doorFaceUnlock\"")                    \
    X(FromDevice, FROM_DEV_AUTO_FACE_PLAN, oqDevSDK_DoorLock_AutoFaceUnlockPlan_S, "auto face unlock plan",  "the auto face unlock plan")
// clang-format on

// Record -> type code and length, per direction. A record without a row has
// no traits, so handing it to the bridge does not compile.
template <typename Record>
struct ToDevice;
template <typename Record>
struct FromDevice;

#define NORLA_RECORD_TRAITS(Dir, Code, Record, Name, What)                      \
    template <>                                                                 \
    struct Dir<Record> {                                                        \
        static constexpr int kType = OQDEVSDK_DOORLOCK_##Code;                  \
        static constexpr uint32_t kLen = OQDEVSDK_DOORLOCK_##Code##_LEN;        \
        static_assert(sizeof(Record) == kLen, #Record " is not " #Code "_LEN"); \
        static_assert(std::is_trivially_copyable<Record>::value,                \
                      #Record " is handed over as bytes");                      \
    };
NORLA_DEVICE_RECORDS(NORLA_RECORD_TRAITS)
#undef NORLA_RECORD_TRAITS

enum class DevDir : uint8_t { kToDevice, kFromDevice };

// The table as data, for code that walks every record.
struct DeviceRecordInfo {
    DevDir eDir;
    int iType;
    uint32_t uiLen;
    const char *pszRecord;  // the C type the public header declares
    const char *pszName;
    const char *pszWhat;
};

namespace detail {
template <typename Record, typename = void>
struct DeclaredAs {
    static constexpr const char *Get(const char *spelled) noexcept { return spelled; }
};
template <typename Record>
struct DeclaredAs<Record, std::void_t<decltype(Record::kDeclaredAs)>> {
    static constexpr const char *Get(const char *) noexcept { return Record::kDeclaredAs; }
};
}  // namespace detail

#define NORLA_RECORD_INFO(Dir, Code, Record, Name, What)       \
    DeviceRecordInfo{DevDir::k##Dir,                           \
                     Dir<Record>::kType,                       \
                     Dir<Record>::kLen,                        \
                     detail::DeclaredAs<Record>::Get(#Record), \
                     Name,                                     \
                     What},
constexpr DeviceRecordInfo kDeviceRecords[] = {NORLA_DEVICE_RECORDS(NORLA_RECORD_INFO)};
#undef NORLA_RECORD_INFO

// The row of a type code in one direction; null when the contract has none.
constexpr const DeviceRecordInfo *FindDeviceRecord(DevDir dir, int type) noexcept {
    for (const DeviceRecordInfo &info : kDeviceRecords) {
        if (info.eDir == dir && info.iType == type) {
            return &info;
        }
    }
    return nullptr;
}

}  // namespace norla

#endif
