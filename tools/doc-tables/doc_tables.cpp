// Writes the tables of docs/integration.md that come from the public header
// and the device-record table (the type codes of both directions, the limits,
// every record's layout) between the guide's markers "<!-- generated:NAME -->"
// and "<!-- end:NAME -->".
//   doc-tables GUIDE          rewrites the tables in GUIDE
//   doc-tables --check GUIDE  exits 1 when GUIDE's tables are not current
#include <cstdarg>
#include <cstddef>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "device_records.h"
#include "oqDevSDK_door_lock.h"

namespace {

struct Field {
    const char *name;
    size_t offset;
    size_t size;
    const char *type;
};

struct Record {
    const char *name;
    size_t size;
    std::vector<Field> fields;
};

struct Limit {
    const char *name;
    long value;
    const char *what;
};

#define FIELD(S, m, type)                                               \
    Field {                                                             \
#m, offsetof(S, m), sizeof(static_cast <S *>(nullptr)->m), type \
    }

const Limit kLimits[] = {
    {"OQDEVSDK_DOORLOCK_SWITCH_NUM", OQDEVSDK_DOORLOCK_SWITCH_NUM, "door open remind switches"},
    {"OQDEVSDK_DOORLOCK_MAX_USERS", OQDEVSDK_DOORLOCK_MAX_USERS, "users in the user table"},
    {"OQDEVSDK_DOORLOCK_MAX_USER_DATES", OQDEVSDK_DOORLOCK_MAX_USER_DATES,
     "weekly time slots of a user"},
    {"OQDEVSDK_DOORLOCK_MAX_UNLOCK_EVTS", OQDEVSDK_DOORLOCK_MAX_UNLOCK_EVTS,
     "unlock events in one batch"},
    {"OQDEVSDK_DOORLOCK_MAX_SNAP_PWDS", OQDEVSDK_DOORLOCK_MAX_SNAP_PWDS, "snap passwords"},
    {"OQDEVSDK_DOORLOCK_MAX_ALARM_PLANS", OQDEVSDK_DOORLOCK_MAX_ALARM_PLANS,
     "not-back alarm plans"},
    {"OQDEVSDK_DOORLOCK_MAX_ALARM_PLAN_USERS", OQDEVSDK_DOORLOCK_MAX_ALARM_PLAN_USERS,
     "users watched by one alarm plan"},
    {"OQDEVSDK_DOORLOCK_MAX_ALARM_PLAN_DATES", OQDEVSDK_DOORLOCK_MAX_ALARM_PLAN_DATES,
     "daily periods of one alarm plan"},
    {"OQDEVSDK_DOORLOCK_POWER_MAX", OQDEVSDK_DOORLOCK_POWER_MAX, "power sources"},
    {"OQDEVSDK_DOORLOCK_FACE_PLAN_DAYS", OQDEVSDK_DOORLOCK_FACE_PLAN_DAYS,
     "days of the auto face unlock plan"},
    {"OQDEVSDK_DOORLOCK_FACE_PLAN_SLOTS", OQDEVSDK_DOORLOCK_FACE_PLAN_SLOTS,
     "time slots a day of that plan"},
    {"OQDEVSDK_DOORLOCK_USER_NAME_LEN", OQDEVSDK_DOORLOCK_USER_NAME_LEN,
     "bytes of a user name, terminator included"},
    {"OQDEVSDK_DOORLOCK_USER_CONTENT_LEN", OQDEVSDK_DOORLOCK_USER_CONTENT_LEN,
     "bytes of a user set record's content text"},
    {"OQDEVSDK_DOORLOCK_UNLOCK_USER_LEN", OQDEVSDK_DOORLOCK_UNLOCK_USER_LEN,
     "bytes of an unlock event's user"},
    {"OQDEVSDK_DOORLOCK_SNAP_NAME_LEN", OQDEVSDK_DOORLOCK_SNAP_NAME_LEN,
     "bytes of a snap password's name"},
    {"OQDEVSDK_DOORLOCK_SNAP_PWD_LEN", OQDEVSDK_DOORLOCK_SNAP_PWD_LEN, "bytes of a snap password"},
    {"OQDEVSDK_DOORLOCK_ALARM_USER_NAME_LEN", OQDEVSDK_DOORLOCK_ALARM_USER_NAME_LEN,
     "bytes of an alarm plan user's name"},
    {"OQDEVSDK_DOORLOCK_VERIFY_USER_ID_LEN", OQDEVSDK_DOORLOCK_VERIFY_USER_ID_LEN,
     "bytes of the user id to verify"},
    {"OQDEVSDK_DOORLOCK_POWER_SUBSERIAL_LEN", OQDEVSDK_DOORLOCK_POWER_SUBSERIAL_LEN,
     "bytes of a power source's sub-device serial"},
    {"OQDEVSDK_DOORLOCK_POWER_DES_LEN", OQDEVSDK_DOORLOCK_POWER_DES_LEN,
     "bytes of a power source's description"},
};

std::vector<Record> Records() {
    using Switch = oqDevSDK_DoorLock_SwitchCfg_S;
    using Face = oqDevSDK_DoorLock_FaceUnlock_S;
    using Power = oqDevSDK_DoorLock_DLPower_S;
    using Status = oqDevSDK_DoorLock_LockStatus_S;
    using PowerInfo = oqDevSDK_DoorLock_PowerInfo_S;
    using PowerStatus = oqDevSDK_DoorLock_PowerStatus_S;
    using Date = oqDevSDK_DoorLock_UserDate_S;
    using User = oqDevSDK_DoorLock_User_S;
    using Users = oqDevSDK_DoorLock_UserInfo_S;
    using SetUser = oqDevSDK_DoorLock_SetUserCfg_S;
    using Evt = oqDevSDK_DoorLock_UnlockEvtRec_S;
    using Evts = oqDevSDK_DoorLock_UnlockEvtRecList_S;
    using SetSnap = oqDevSDK_DoorLock_SetSnapPwd_S;
    using Snap = oqDevSDK_DoorLock_SnapPwdInfo_S;
    using Snaps = oqDevSDK_DoorLock_SnapPwdList_S;
    using Period = oqDevSDK_DoorLock_AlarmPeriod_S;
    using AlarmUser = oqDevSDK_DoorLock_AlarmUser_S;
    using SetPlan = oqDevSDK_DoorLock_SetAlarmPlan_S;
    using Plan = oqDevSDK_DoorLock_AlarmPlanInfo_S;
    using Plans = oqDevSDK_DoorLock_AlarmPlanList_S;
    using Verify = oqDevSDK_DoorLock_UserVerify_S;
    using Slot = oqDevSDK_DoorLock_FacePlanSlot_S;
    using FacePlan = oqDevSDK_DoorLock_AutoFaceUnlockPlan_S;
    return {
        {"oqDevSDK_DoorLock_SwitchCfg_S",
         sizeof(Switch),
         {FIELD(Switch, iSwitchIndex, "int32_t"), FIELD(Switch, iEnable, "int32_t"),
          FIELD(Switch, iChannel, "int32_t")}},
        {"oqDevSDK_DoorLock_FaceUnlock_S",
         sizeof(Face),
         {FIELD(Face, iUnlockType, "int32_t"), FIELD(Face, iUnlockSensitivity, "int32_t")}},
        {"oqDevSDK_DoorLock_DLPower_S",
         sizeof(Power),
         {FIELD(Power, ucLowPercent, "uint8_t"), FIELD(Power, aucReserved, "uint8_t[3]")}},
        {"oqDevSDK_DoorLock_LockStatus_S",
         sizeof(Status),
         {FIELD(Status, ucDoorState, "uint8_t"), FIELD(Status, ucLockState, "uint8_t"),
          FIELD(Status, ucSignal, "uint8_t"), FIELD(Status, ucReserved, "uint8_t")}},
        {"oqDevSDK_DoorLock_PowerInfo_S",
         sizeof(PowerInfo),
         {FIELD(PowerInfo, ucPowerType, "uint8_t"), FIELD(PowerInfo, ucRemaining, "uint8_t"),
          FIELD(PowerInfo, ucNameType, "uint8_t"), FIELD(PowerInfo, ucStatus, "uint8_t"),
          FIELD(PowerInfo, usValueFirst, "uint16_t"), FIELD(PowerInfo, usValueSecond, "uint16_t"),
          FIELD(PowerInfo, szSubSerial, "char[], terminated"),
          FIELD(PowerInfo, szDes, "char[], terminated")}},
        {"oqDevSDK_DoorLock_PowerStatus_S",
         sizeof(PowerStatus),
         {FIELD(PowerStatus, usPowerNum, "uint16_t, count"),
          FIELD(PowerStatus, aucReserved, "uint8_t[2]"),
          FIELD(PowerStatus, stPower, "oqDevSDK_DoorLock_PowerInfo_S[]")}},
        {"oqDevSDK_DoorLock_UserDate_S",
         sizeof(Date),
         {FIELD(Date, iBeginHour, "int32_t"), FIELD(Date, iBeginMinute, "int32_t"),
          FIELD(Date, iEndHour, "int32_t"), FIELD(Date, iEndMinute, "int32_t"),
          FIELD(Date, ucWeekday, "uint8_t, bit 0 Sunday"), FIELD(Date, aucReserved, "uint8_t[3]"),
          FIELD(Date, iNum, "int32_t, -1 no limit"),
          FIELD(Date, iAvailable, "int32_t, -1 when iNum is -1")}},
        {"oqDevSDK_DoorLock_User_S",
         sizeof(User),
         {FIELD(User, usIndex, "uint16_t, 0-based"), FIELD(User, ucType, "uint8_t"),
          FIELD(User, ucExpireEnable, "uint8_t"), FIELD(User, szName, "char[], terminated"),
          FIELD(User, szRemarkName, "char[], terminated"),
          FIELD(User, uiBeginTime, "uint32_t, epoch seconds"),
          FIELD(User, uiEndTime, "uint32_t, epoch seconds"),
          FIELD(User, usDateNum, "uint16_t, count"), FIELD(User, aucReserved, "uint8_t[2]"),
          FIELD(User, astDate, "oqDevSDK_DoorLock_UserDate_S[]"), FIELD(User, usPwdNum, "uint16_t"),
          FIELD(User, usCardNum, "uint16_t"), FIELD(User, usFingerNum, "uint16_t"),
          FIELD(User, usFaceNum, "uint16_t")}},
        {"oqDevSDK_DoorLock_UserInfo_S",
         sizeof(Users),
         {FIELD(Users, usUserNum, "uint16_t, count"), FIELD(Users, aucReserved, "uint8_t[2]"),
          FIELD(Users, astUser, "oqDevSDK_DoorLock_User_S[]")}},
        {"oqDevSDK_DoorLock_SetUserCfg_S",
         sizeof(SetUser),
         {FIELD(SetUser, ucOptType, "uint8_t, 2 deletes"), FIELD(SetUser, ucReserved, "uint8_t"),
          FIELD(SetUser, usOptIndex, "uint16_t, 0-based"),
          FIELD(SetUser, stUser, "oqDevSDK_DoorLock_User_S"),
          FIELD(SetUser, iContentsAction, "int32_t, -2 none"),
          FIELD(SetUser, ucContentAction, "uint8_t"), FIELD(SetUser, ucContentType, "uint8_t"),
          FIELD(SetUser, usContentIndex, "uint16_t, 0-based"),
          FIELD(SetUser, szContentStr, "char[], terminated")}},
        {"oqDevSDK_DoorLock_UnlockEvtRec_S",
         sizeof(Evt),
         {FIELD(Evt, szUser, "char[], terminated"), FIELD(Evt, ucUnlockType, "uint8_t"),
          FIELD(Evt, aucReserved, "uint8_t[3]"),
          FIELD(Evt, lUnlockTime, "int32_t, epoch seconds")}},
        {"oqDevSDK_DoorLock_UnlockEvtRecList_S",
         sizeof(Evts),
         {FIELD(Evts, usRecNum, "uint16_t, count"), FIELD(Evts, aucReserved, "uint8_t[2]"),
          FIELD(Evts, stRecord, "oqDevSDK_DoorLock_UnlockEvtRec_S[]")}},
        {"oqDevSDK_DoorLock_SetSnapPwd_S",
         sizeof(SetSnap),
         {FIELD(SetSnap, ucOptType, "uint8_t, 0 create, 2 delete"),
          FIELD(SetSnap, ucReserved, "uint8_t"),
          FIELD(SetSnap, usIndex, "uint16_t, slot; output of a create"),
          FIELD(SetSnap, szName, "char[], terminated"),
          FIELD(SetSnap, uiBeginTime, "uint32_t, epoch seconds"),
          FIELD(SetSnap, uiEndTime, "uint32_t, epoch seconds"),
          FIELD(SetSnap, iLimitNum, "int32_t"), FIELD(SetSnap, iAvailableCount, "int32_t"),
          FIELD(SetSnap, szPwd, "char[], output, terminated")}},
        {"oqDevSDK_DoorLock_SnapPwdInfo_S",
         sizeof(Snap),
         {FIELD(Snap, usIndex, "uint16_t, slot"), FIELD(Snap, aucReserved, "uint8_t[2]"),
          FIELD(Snap, szName, "char[], terminated"),
          FIELD(Snap, uiBeginTime, "uint32_t, epoch seconds"),
          FIELD(Snap, uiEndTime, "uint32_t, epoch seconds"),
          FIELD(Snap, iLimitNum, "int32_t, -1 no limit"), FIELD(Snap, iAvailableCount, "int32_t")}},
        {"oqDevSDK_DoorLock_SnapPwdList_S",
         sizeof(Snaps),
         {FIELD(Snaps, usCount, "uint16_t, count"), FIELD(Snaps, aucReserved, "uint8_t[2]"),
          FIELD(Snaps, astEntry, "oqDevSDK_DoorLock_SnapPwdInfo_S[]")}},
        {"oqDevSDK_DoorLock_AlarmPeriod_S",
         sizeof(Period),
         {FIELD(Period, iBeginHour, "int32_t"), FIELD(Period, iBeginMinute, "int32_t"),
          FIELD(Period, iEndHour, "int32_t"), FIELD(Period, iEndMinute, "int32_t")}},
        {"oqDevSDK_DoorLock_AlarmUser_S",
         sizeof(AlarmUser),
         {FIELD(AlarmUser, usIndex, "uint16_t, 0-based"),
          FIELD(AlarmUser, aucReserved, "uint8_t[2]"),
          FIELD(AlarmUser, szName, "char[], terminated")}},
        {"oqDevSDK_DoorLock_SetAlarmPlan_S",
         sizeof(SetPlan),
         {FIELD(SetPlan, ucOptType, "uint8_t, 0 create, 2 delete, other change"),
          FIELD(SetPlan, ucReserved, "uint8_t"),
          FIELD(SetPlan, usIndex, "uint16_t, plan; output of a create"),
          FIELD(SetPlan, ucEnable, "uint8_t"), FIELD(SetPlan, ucWeekday, "uint8_t, mask"),
          FIELD(SetPlan, usDateNum, "uint16_t, count"),
          FIELD(SetPlan, usUserNum, "uint16_t, count"), FIELD(SetPlan, aucReserved, "uint8_t[2]"),
          FIELD(SetPlan, astDate, "oqDevSDK_DoorLock_AlarmPeriod_S[]"),
          FIELD(SetPlan, astUser, "oqDevSDK_DoorLock_AlarmUser_S[]")}},
        {"oqDevSDK_DoorLock_AlarmPlanInfo_S",
         sizeof(Plan),
         {FIELD(Plan, usIndex, "uint16_t, 0-based"), FIELD(Plan, ucEnable, "uint8_t"),
          FIELD(Plan, ucWeekday, "uint8_t, mask"), FIELD(Plan, usDateNum, "uint16_t, count"),
          FIELD(Plan, usUserNum, "uint16_t, count"),
          FIELD(Plan, astDate, "oqDevSDK_DoorLock_AlarmPeriod_S[]"),
          FIELD(Plan, astUser, "oqDevSDK_DoorLock_AlarmUser_S[]")}},
        {"oqDevSDK_DoorLock_AlarmPlanList_S",
         sizeof(Plans),
         {FIELD(Plans, usCount, "uint16_t, count"), FIELD(Plans, aucReserved, "uint8_t[2]"),
          FIELD(Plans, astPlan, "oqDevSDK_DoorLock_AlarmPlanInfo_S[]")}},
        {"oqDevSDK_DoorLock_UserVerify_S",
         sizeof(Verify),
         {FIELD(Verify, szUserId, "char[], terminated"),
          FIELD(Verify, uiTimeout, "uint32_t, seconds"),
          FIELD(Verify, uiVerifyResult, "uint32_t, output")}},
        {"oqDevSDK_DoorLock_FacePlanSlot_S",
         sizeof(Slot),
         {FIELD(Slot, uiBegin, "uint32_t, minutes"), FIELD(Slot, uiEnd, "uint32_t, minutes")}},
        {"oqDevSDK_DoorLock_AutoFaceUnlockPlan_S",
         sizeof(FacePlan),
         {FIELD(FacePlan, uiHeadWord, "uint32_t, the lock's own"),
          FIELD(FacePlan, uiChannel, "uint32_t"), FIELD(FacePlan, iEnable, "int32_t, 1 on, 0 off"),
          FIELD(FacePlan, astDay, "oqDevSDK_DoorLock_FacePlanSlot_S[][]")}},
    };
}

std::string Format(const char *fmt, ...) __attribute__((format(printf, 1, 2)));
std::string Format(const char *fmt, ...) {
    char text[512];
    va_list args;
    va_start(args, fmt);
    std::vsnprintf(text, sizeof text, fmt, args);
    va_end(args);
    return text;
}

std::string TypeCodes(norla::DevDir dir) {
    std::string out = "| Type | Record | Bytes | Carries |\n|---:|---|---:|---|\n";
    for (const norla::DeviceRecordInfo &info : norla::kDeviceRecords) {
        if (info.eDir == dir) {
            out += Format("| %d | `%s` | %u | %s |\n", info.iType, info.pszRecord, info.uiLen,
                          info.pszWhat);
        }
    }
    return out;
}

std::string Limits() {
    std::string out = "| Limit | Value | Of |\n|---|---:|---|\n";
    for (const Limit &l : kLimits) {
        out += Format("| `%s` | %ld | %s |\n", l.name, l.value, l.what);
    }
    return out;
}

// The fields must cover each record without gaps, so that a field added to
// the header and not here is caught.
bool RecordLayouts(std::string *out) {
    bool first = true;
    for (const Record &r : Records()) {
        size_t end = 0;
        for (const Field &f : r.fields) {
            if (f.offset != end) {
                std::fprintf(stderr, "doc-tables: %s.%s at %zu, expected %zu\n", r.name, f.name,
                             f.offset, end);
                return false;
            }
            end = f.offset + f.size;
        }
        if (end != r.size) {
            std::fprintf(stderr, "doc-tables: the fields of %s end at %zu, the record at %zu\n",
                         r.name, end, r.size);
            return false;
        }
        *out += Format("%s#### `%s`, %zu bytes\n\n", first ? "" : "\n", r.name, r.size);
        *out += "| Offset | Bytes | Field | Type |\n|---:|---:|---|---|\n";
        for (const Field &f : r.fields) {
            *out += Format("| %zu | %zu | `%s` | %s |\n", f.offset, f.size, f.name, f.type);
        }
        first = false;
    }
    return true;
}

// Replaces what lies between each pair of markers; false when a marker of
// a table is missing.
bool Splice(const std::map<std::string, std::string> &tables, std::string *guide) {
    for (const auto &table : tables) {
        const std::string begin = "<!-- generated:" + table.first + " -->\n";
        const std::string end = "<!-- end:" + table.first + " -->";
        const size_t from = guide->find(begin);
        const size_t to = from == std::string::npos ? from : guide->find(end, from);
        if (to == std::string::npos) {
            std::fprintf(stderr, "doc-tables: the guide lacks the markers of '%s'\n",
                         table.first.c_str());
            return false;
        }
        guide->replace(from + begin.size(), to - from - begin.size(), table.second);
    }
    return true;
}

}  // namespace

int main(int argc, char **argv) {
    const bool check = argc == 3 && std::strcmp(argv[1], "--check") == 0;
    if (argc != 2 && !check) {
        std::fputs("usage: doc-tables [--check] GUIDE\n", stderr);
        return 2;
    }
    const char *path = argv[argc - 1];
    std::map<std::string, std::string> tables;
    tables["to-device"] = TypeCodes(norla::DevDir::kToDevice);
    tables["from-device"] = TypeCodes(norla::DevDir::kFromDevice);
    tables["limits"] = Limits();
    if (!RecordLayouts(&tables["records"])) {
        return 1;
    }
    std::ifstream in(path);
    if (!in) {
        std::fprintf(stderr, "doc-tables: cannot read %s\n", path);
        return 1;
    }
    std::stringstream text;
    text << in.rdbuf();
    const std::string before = text.str();
    std::string after = before;
    if (!Splice(tables, &after)) {
        return 1;
    }
    if (check) {
        if (after != before) {
            std::fprintf(stderr,
                         "doc-tables: the tables of %s are stale; run scripts/gen-doc-tables\n",
                         path);
            return 1;
        }
        return 0;
    }
    std::ofstream(path) << after;
    return 0;
}
