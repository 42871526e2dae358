// Writes the tables of docs/integration.md that come from the public header
// and the device-record table (the type codes of both directions, the limits,
// every record's layout) between the guide's markers "<!-- generated:NAME -->"
// and "<!-- end:NAME -->". Offsets and sizes come from the compiled header;
// each field's type and note come from the header's text (its declaration and
// its comment), so that the guide cannot say what the header does not.
//   doc-tables HEADER GUIDE          rewrites the tables in GUIDE
//   doc-tables --check HEADER GUIDE  exits 1 when GUIDE's tables are not current
// HEADER is the text of the public header this program was compiled with.
#include <cstdarg>
#include <cstddef>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <map>
#include <regex>
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

#define FIELD(S, m)                                               \
    Field {                                                       \
#m, offsetof(S, m), sizeof(static_cast <S *>(nullptr)->m) \
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
         {FIELD(Switch, iSwitchIndex), FIELD(Switch, iEnable), FIELD(Switch, iChannel)}},
        {"oqDevSDK_DoorLock_FaceUnlock_S",
         sizeof(Face),
         {FIELD(Face, iUnlockType), FIELD(Face, iUnlockSensitivity)}},
        {"oqDevSDK_DoorLock_DLPower_S",
         sizeof(Power),
         {FIELD(Power, ucLowPercent), FIELD(Power, aucReserved)}},
        {"oqDevSDK_DoorLock_LockStatus_S",
         sizeof(Status),
         {FIELD(Status, ucDoorState), FIELD(Status, ucLockState), FIELD(Status, ucSignal),
          FIELD(Status, ucReserved)}},
        {"oqDevSDK_DoorLock_PowerInfo_S",
         sizeof(PowerInfo),
         {FIELD(PowerInfo, ucPowerType), FIELD(PowerInfo, ucRemaining),
          FIELD(PowerInfo, ucNameType), FIELD(PowerInfo, ucStatus), FIELD(PowerInfo, usValueFirst),
          FIELD(PowerInfo, usValueSecond), FIELD(PowerInfo, szSubSerial), FIELD(PowerInfo, szDes)}},
        {"oqDevSDK_DoorLock_PowerStatus_S",
         sizeof(PowerStatus),
         {FIELD(PowerStatus, usPowerNum), FIELD(PowerStatus, aucReserved),
          FIELD(PowerStatus, stPower)}},
        {"oqDevSDK_DoorLock_UserDate_S",
         sizeof(Date),
         {FIELD(Date, iBeginHour), FIELD(Date, iBeginMinute), FIELD(Date, iEndHour),
          FIELD(Date, iEndMinute), FIELD(Date, ucWeekday), FIELD(Date, aucReserved),
          FIELD(Date, iNum), FIELD(Date, iAvailable)}},
        {"oqDevSDK_DoorLock_User_S",
         sizeof(User),
         {FIELD(User, usIndex), FIELD(User, ucType), FIELD(User, ucExpireEnable),
          FIELD(User, szName), FIELD(User, szRemarkName), FIELD(User, uiBeginTime),
          FIELD(User, uiEndTime), FIELD(User, usDateNum), FIELD(User, aucReserved),
          FIELD(User, astDate), FIELD(User, usPwdNum), FIELD(User, usCardNum),
          FIELD(User, usFingerNum), FIELD(User, usFaceNum)}},
        {"oqDevSDK_DoorLock_UserInfo_S",
         sizeof(Users),
         {FIELD(Users, usUserNum), FIELD(Users, aucReserved), FIELD(Users, astUser)}},
        {"oqDevSDK_DoorLock_SetUserCfg_S",
         sizeof(SetUser),
         {FIELD(SetUser, ucOptType), FIELD(SetUser, ucReserved), FIELD(SetUser, usOptIndex),
          FIELD(SetUser, stUser), FIELD(SetUser, iContentsAction), FIELD(SetUser, ucContentAction),
          FIELD(SetUser, ucContentType), FIELD(SetUser, usContentIndex),
          FIELD(SetUser, szContentStr)}},
        {"oqDevSDK_DoorLock_UnlockEvtRec_S",
         sizeof(Evt),
         {FIELD(Evt, szUser), FIELD(Evt, ucUnlockType), FIELD(Evt, aucReserved),
          FIELD(Evt, lUnlockTime)}},
        {"oqDevSDK_DoorLock_UnlockEvtRecList_S",
         sizeof(Evts),
         {FIELD(Evts, usRecNum), FIELD(Evts, aucReserved), FIELD(Evts, stRecord)}},
        {"oqDevSDK_DoorLock_SetSnapPwd_S",
         sizeof(SetSnap),
         {FIELD(SetSnap, ucOptType), FIELD(SetSnap, ucReserved), FIELD(SetSnap, usIndex),
          FIELD(SetSnap, szName), FIELD(SetSnap, uiBeginTime), FIELD(SetSnap, uiEndTime),
          FIELD(SetSnap, iLimitNum), FIELD(SetSnap, iAvailableCount), FIELD(SetSnap, szPwd)}},
        {"oqDevSDK_DoorLock_SnapPwdInfo_S",
         sizeof(Snap),
         {FIELD(Snap, usIndex), FIELD(Snap, aucReserved), FIELD(Snap, szName),
          FIELD(Snap, uiBeginTime), FIELD(Snap, uiEndTime), FIELD(Snap, iLimitNum),
          FIELD(Snap, iAvailableCount)}},
        {"oqDevSDK_DoorLock_SnapPwdList_S",
         sizeof(Snaps),
         {FIELD(Snaps, usCount), FIELD(Snaps, aucReserved), FIELD(Snaps, astEntry)}},
        {"oqDevSDK_DoorLock_AlarmPeriod_S",
         sizeof(Period),
         {FIELD(Period, iBeginHour), FIELD(Period, iBeginMinute), FIELD(Period, iEndHour),
          FIELD(Period, iEndMinute)}},
        {"oqDevSDK_DoorLock_AlarmUser_S",
         sizeof(AlarmUser),
         {FIELD(AlarmUser, usIndex), FIELD(AlarmUser, aucReserved), FIELD(AlarmUser, szName)}},
        {"oqDevSDK_DoorLock_SetAlarmPlan_S",
         sizeof(SetPlan),
         {FIELD(SetPlan, ucOptType), FIELD(SetPlan, ucReserved), FIELD(SetPlan, usIndex),
          FIELD(SetPlan, ucEnable), FIELD(SetPlan, ucWeekday), FIELD(SetPlan, usDateNum),
          FIELD(SetPlan, usUserNum), FIELD(SetPlan, aucReserved), FIELD(SetPlan, astDate),
          FIELD(SetPlan, astUser)}},
        {"oqDevSDK_DoorLock_AlarmPlanInfo_S",
         sizeof(Plan),
         {FIELD(Plan, usIndex), FIELD(Plan, ucEnable), FIELD(Plan, ucWeekday),
          FIELD(Plan, usDateNum), FIELD(Plan, usUserNum), FIELD(Plan, astDate),
          FIELD(Plan, astUser)}},
        {"oqDevSDK_DoorLock_AlarmPlanList_S",
         sizeof(Plans),
         {FIELD(Plans, usCount), FIELD(Plans, aucReserved), FIELD(Plans, astPlan)}},
        {"oqDevSDK_DoorLock_UserVerify_S",
         sizeof(Verify),
         {FIELD(Verify, szUserId), FIELD(Verify, uiTimeout), FIELD(Verify, uiVerifyResult)}},
        {"oqDevSDK_DoorLock_FacePlanSlot_S",
         sizeof(Slot),
         {FIELD(Slot, uiBegin), FIELD(Slot, uiEnd)}},
        {"oqDevSDK_DoorLock_AutoFaceUnlockPlan_S",
         sizeof(FacePlan),
         {FIELD(FacePlan, uiHeadWord), FIELD(FacePlan, uiChannel), FIELD(FacePlan, iEnable),
          FIELD(FacePlan, astDay)}},
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

// A member as the header's text declares it.
struct Declared {
    std::string name;
    std::string type;
    std::vector<std::string> bounds;  // as written: numbers or limit names
    std::string note;                 // its comment, on its line or just above
};

std::string Trim(const std::string &text) {
    const size_t from = text.find_first_not_of(" \t\n");
    const size_t to = text.find_last_not_of(" \t\n");
    return from == std::string::npos ? std::string() : text.substr(from, to - from + 1);
}

// The text of the comments in `text`, joined by a blank.
std::string CommentText(const std::string &text) {
    static const std::regex comment(R"(/\*((?:[^*]|\*(?!/))*)\*/)");
    std::string out;
    for (std::sregex_iterator it(text.begin(), text.end(), comment), end; it != end; ++it) {
        std::string part = std::regex_replace((*it)[1].str(), std::regex(R"(\s*\n\s*\*?\s*)"), " ");
        out += (out.empty() ? "" : " ") + Trim(part);
    }
    return out;
}

// Every "typedef struct NAME { ... } NAME;" of the header, its members in
// order. A declaration runs to its ';'; a comment that starts on that line
// runs to its end.
std::map<std::string, std::vector<Declared>> ReadHeader(const std::string &header) {
    static const std::regex open(R"(^typedef struct (\w+) \{)");
    static const std::regex member(
        R"(^\s*([A-Za-z_]\w*(?: [A-Za-z_]\w*)*)\s+\**(\w+)((?:\s*\[[^\]]+\])*)\s*$)");
    static const std::regex bound(R"(\[\s*([^\]]+?)\s*\])");
    std::map<std::string, std::vector<Declared>> records;
    std::istringstream lines(header);
    std::string line;
    std::vector<Declared> *current = nullptr;
    std::string pending;  // a comment of its own lines, for the next member
    while (std::getline(lines, line)) {
        std::smatch m;
        if (current == nullptr) {
            if (std::regex_search(line, m, open)) {
                current = &records[m[1].str()];
                pending.clear();
            }
            continue;
        }
        if (Trim(line).rfind('}', 0) == 0) {
            current = nullptr;
            continue;
        }
        std::string text = line;
        auto unclosed = [&text] {
            return text.rfind("/*") != std::string::npos &&
                   text.find("*/", text.rfind("/*")) == std::string::npos;
        };
        if (Trim(text).rfind("/*", 0) == 0) {
            while (unclosed() && std::getline(lines, line)) {
                text += "\n" + line;
            }
            pending = CommentText(text);
            continue;
        }
        while ((text.find(';') == std::string::npos || unclosed()) && std::getline(lines, line)) {
            text += "\n" + line;
        }
        const size_t semicolon = text.find(';');
        const std::string declaration =
            std::regex_replace(text.substr(0, semicolon), std::regex(R"(\s+)"), " ");
        if (!std::regex_match(declaration, m, member)) {
            // A member no record table shows (a function pointer): kept by
            // its text, so that a listed record holding one fails below.
            current->push_back({Trim(declaration), "", {}, ""});
            pending.clear();
            continue;
        }
        Declared d{m[2].str(), m[1].str(), {}, CommentText(text.substr(semicolon))};
        const std::string bounds = m[3].str();
        for (std::sregex_iterator it(bounds.begin(), bounds.end(), bound), end; it != end; ++it) {
            d.bounds.push_back((*it)[1].str());
        }
        if (d.note.empty()) {
            d.note = pending;
        }
        pending.clear();
        current->push_back(d);
    }
    return records;
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

// The value of a bound as written in the header: a number or a limit.
bool BoundValue(const std::string &bound, size_t *value) {
    if (!bound.empty() && bound.find_first_not_of("0123456789") == std::string::npos) {
        *value = std::stoul(bound);
        return true;
    }
    for (const Limit &l : kLimits) {
        if (bound == l.name) {
            *value = static_cast<size_t>(l.value);
            return true;
        }
    }
    std::fprintf(stderr, "doc-tables: the bound %s is not a number or a listed limit\n",
                 bound.c_str());
    return false;
}

// The bytes of one element of a declared type.
size_t ElementSize(const std::string &type, const std::vector<Record> &records) {
    static const std::map<std::string, size_t> kScalars = {
        {"char", 1}, {"uint8_t", 1}, {"uint16_t", 2}, {"int32_t", 4}, {"uint32_t", 4}};
    const auto scalar = kScalars.find(type);
    if (scalar != kScalars.end()) {
        return scalar->second;
    }
    for (const Record &r : records) {
        if (type == r.name) {
            return r.size;
        }
    }
    return 0;
}

// The header's text must declare exactly the fields listed here, in this
// order, with types whose size is the compiled one; the fields must cover
// each record without gaps. So a field added to the header and not here, or
// a declaration that disagrees with the layout, is caught.
bool RecordLayouts(const std::map<std::string, std::vector<Declared>> &header, std::string *out) {
    const std::vector<Record> records = Records();
    bool first = true;
    for (const Record &r : records) {
        const auto declared = header.find(r.name);
        if (declared == header.end() || declared->second.size() != r.fields.size()) {
            std::fprintf(stderr, "doc-tables: the header declares %s with other fields\n", r.name);
            return false;
        }
        *out += Format("%s#### `%s`, %zu bytes\n\n", first ? "" : "\n", r.name, r.size);
        *out += "| Offset | Bytes | Field | Type | Note |\n|---:|---:|---|---|---|\n";
        size_t end = 0;
        for (size_t i = 0; i < r.fields.size(); ++i) {
            const Field &f = r.fields[i];
            const Declared &d = declared->second[i];
            if (d.name != f.name || f.offset != end) {
                std::fprintf(stderr, "doc-tables: %s: %s at %zu, expected %s at %zu\n", r.name,
                             d.name.c_str(), f.offset, f.name, end);
                return false;
            }
            std::string type = d.type;
            size_t count = 1;
            for (const std::string &bound : d.bounds) {
                size_t value = 0;
                if (!BoundValue(bound, &value)) {
                    return false;
                }
                type += Format("[%zu]", value);
                count *= value;
            }
            if (ElementSize(d.type, records) * count != f.size) {
                std::fprintf(stderr, "doc-tables: %s.%s is declared %s, which is not %zu bytes\n",
                             r.name, f.name, type.c_str(), f.size);
                return false;
            }
            *out += Format("| %zu | %zu | `%s` | %s | %s |\n", f.offset, f.size, f.name,
                           type.c_str(), d.note.c_str());
            end = f.offset + f.size;
        }
        if (end != r.size) {
            std::fprintf(stderr, "doc-tables: the fields of %s end at %zu, the record at %zu\n",
                         r.name, end, r.size);
            return false;
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

bool ReadFile(const char *path, std::string *text) {
    std::ifstream in(path);
    if (!in) {
        std::fprintf(stderr, "doc-tables: cannot read %s\n", path);
        return false;
    }
    std::stringstream buffer;
    buffer << in.rdbuf();
    *text = buffer.str();
    return true;
}

}  // namespace

int main(int argc, char **argv) {
    const bool check = argc == 4 && std::strcmp(argv[1], "--check") == 0;
    if (argc != 3 && !check) {
        std::fputs("usage: doc-tables [--check] HEADER GUIDE\n", stderr);
        return 2;
    }
    const char *path = argv[argc - 1];
    std::string header;
    std::string before;
    if (!ReadFile(argv[argc - 2], &header) || !ReadFile(path, &before)) {
        return 1;
    }
    std::map<std::string, std::string> tables;
    tables["to-device"] = TypeCodes(norla::DevDir::kToDevice);
    tables["from-device"] = TypeCodes(norla::DevDir::kFromDevice);
    tables["limits"] = Limits();
    if (!RecordLayouts(ReadHeader(header), &tables["records"])) {
        return 1;
    }
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
