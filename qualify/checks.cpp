#include "checks.h"

#include <algorithm>
#include <ctime>
#include <memory>
#include <set>

namespace qualify {
namespace {

constexpr int64_t kSecondsPerDay = 86400;
constexpr uint8_t kAllWeekdays = 0x7f;
constexpr int32_t kPlanBeginHour = 22;
constexpr int32_t kPlanEndHour = 23;
constexpr uint8_t kCheckLowPercent = 20;

// The vector's storage comes from operator new, aligned for any record; the
// cast through void says so to -Wcast-align on targets that align strictly.
template <typename T>
T *As(std::vector<uint8_t> &bytes) {
    return static_cast<T *>(static_cast<void *>(bytes.data()));
}

std::string Beyond(const std::string &field, size_t count, size_t max) {
    return field + " " + std::to_string(count) + " is beyond its array of " + std::to_string(max);
}

std::string NoTerminator(const std::string &field) {
    return field + " has no terminator";
}

bool AllZero(const void *p, size_t len) {
    const auto *b = static_cast<const uint8_t *>(p);
    return std::all_of(b, b + len, [](uint8_t x) { return x == 0; });
}

// Notes the first finding of each kind (a rule on one field of every entry)
// for one record: the first entry shows the fault well enough.
class Rules {
  public:
    Rules(Session &s, int type) : m_s(s), m_type(type) {}
    void Count(const std::string &field, size_t count, size_t max) {
        if (count > max) {
            Note("count " + Kind(field), Beyond(field, count, max));
        }
    }
    template <size_t N>
    void Text(const char (&text)[N], const std::string &field) {
        if (!Terminated(text)) {
            Note("text " + Kind(field), NoTerminator(field));
        }
    }
    // A counted entry that holds nothing: the count claims more than the
    // lock has.
    // False for an empty entry, whose other rules then say nothing new.
    bool NotEmpty(const void *entry, size_t len, const char *count, const std::string &field) {
        if (!AllZero(entry, len)) {
            return true;
        }
        Note(std::string("empty ") + count,
             std::string(count) + " counts " + field + ", which is empty (all zero)");
        return false;
    }
    void Unique(std::set<unsigned> *seen, unsigned index, const std::string &field) {
        if (!seen->insert(index).second) {
            Note("unique " + Kind(field),
                 field + " " + std::to_string(index) + " is counted twice");
        }
    }
    void Note(const std::string &kind, const std::string &text) {
        if (std::find(m_kinds.begin(), m_kinds.end(), kind) != m_kinds.end()) {
            return;
        }
        m_kinds.push_back(kind);
        m_s.Fail(Dir::From, m_type, text);
        m_failed = true;
    }
    bool failed() const { return m_failed; }

  private:
    // "astUser[3].szName" and "astUser[7].szName" are one kind.
    static std::string Kind(const std::string &field) {
        std::string kind;
        bool inIndex = false;
        for (char c : field) {
            inIndex = c == '[' ? true : c == ']' ? false : inIndex;
            if (!inIndex) {
                kind += c;
            }
        }
        return kind;
    }

    Session &m_s;
    int m_type;
    std::vector<std::string> m_kinds;
    bool m_failed = false;
};

void CheckUsers(Rules &r, const oqDevSDK_DoorLock_UserInfo_S &t) {
    constexpr size_t kDates = OQDEVSDK_DOORLOCK_MAX_USER_DATES;
    r.Count("usUserNum", t.usUserNum, OQDEVSDK_DOORLOCK_MAX_USERS);
    const size_t n = std::min<size_t>(t.usUserNum, OQDEVSDK_DOORLOCK_MAX_USERS);
    std::set<unsigned> seen;
    for (size_t i = 0; i < n; ++i) {
        const oqDevSDK_DoorLock_User_S &u = t.astUser[i];
        if (!r.NotEmpty(&u, sizeof u, "usUserNum", Item("astUser", i, ""))) {
            continue;
        }
        r.Unique(&seen, u.usIndex, Item("astUser", i, "usIndex"));
        r.Text(u.szName, Item("astUser", i, "szName"));
        r.Text(u.szRemarkName, Item("astUser", i, "szRemarkName"));
        r.Count(Item("astUser", i, "usDateNum"), u.usDateNum, kDates);
        for (size_t d = 0; d < std::min<size_t>(u.usDateNum, kDates); ++d) {
            if (u.astDate[d].iNum == OQDEVSDK_DOORLOCK_USER_UNLIMITED &&
                u.astDate[d].iAvailable != OQDEVSDK_DOORLOCK_USER_UNLIMITED) {
                r.Note("available", Item("astUser", i, "astDate[") + std::to_string(d) +
                                        "].iAvailable is not -1 with iNum -1");
            }
        }
    }
}

void CheckAlarmPlans(Rules &r, const oqDevSDK_DoorLock_AlarmPlanList_S &l) {
    constexpr size_t kDates = OQDEVSDK_DOORLOCK_MAX_ALARM_PLAN_DATES;
    constexpr size_t kUsers = OQDEVSDK_DOORLOCK_MAX_ALARM_PLAN_USERS;
    r.Count("usCount", l.usCount, OQDEVSDK_DOORLOCK_MAX_ALARM_PLANS);
    const size_t n = std::min<size_t>(l.usCount, OQDEVSDK_DOORLOCK_MAX_ALARM_PLANS);
    std::set<unsigned> seen;
    for (size_t i = 0; i < n; ++i) {
        const oqDevSDK_DoorLock_AlarmPlanInfo_S &p = l.astPlan[i];
        if (!r.NotEmpty(&p, sizeof p, "usCount", Item("astPlan", i, ""))) {
            continue;
        }
        r.Unique(&seen, p.usIndex, Item("astPlan", i, "usIndex"));
        r.Count(Item("astPlan", i, "usDateNum"), p.usDateNum, kDates);
        r.Count(Item("astPlan", i, "usUserNum"), p.usUserNum, kUsers);
        for (size_t u = 0; u < std::min<size_t>(p.usUserNum, kUsers); ++u) {
            r.Text(p.astUser[u].szName,
                   Item("astPlan", i, "astUser[") + std::to_string(u) + "].szName");
        }
    }
}

void CheckSnapPwds(Rules &r, const oqDevSDK_DoorLock_SnapPwdList_S &l) {
    r.Count("usCount", l.usCount, OQDEVSDK_DOORLOCK_MAX_SNAP_PWDS);
    const size_t n = std::min<size_t>(l.usCount, OQDEVSDK_DOORLOCK_MAX_SNAP_PWDS);
    std::set<unsigned> seen;
    for (size_t i = 0; i < n; ++i) {
        const oqDevSDK_DoorLock_SnapPwdInfo_S &e = l.astEntry[i];
        if (!r.NotEmpty(&e, sizeof e, "usCount", Item("astEntry", i, ""))) {
            continue;
        }
        r.Unique(&seen, e.usIndex, Item("astEntry", i, "usIndex"));
        if (e.usIndex >= OQDEVSDK_DOORLOCK_MAX_SNAP_PWDS) {
            r.Note("slot", Item("astEntry", i, "usIndex") + " " + std::to_string(e.usIndex) +
                               " is not a slot of the " +
                               std::to_string(OQDEVSDK_DOORLOCK_MAX_SNAP_PWDS) + " there are");
        }
        r.Text(e.szName, Item("astEntry", i, "szName"));
    }
}

void CheckPower(Rules &r, const oqDevSDK_DoorLock_PowerStatus_S &p) {
    r.Count("usPowerNum", p.usPowerNum, OQDEVSDK_DOORLOCK_POWER_MAX);
    for (size_t i = 0; i < std::min<size_t>(p.usPowerNum, OQDEVSDK_DOORLOCK_POWER_MAX); ++i) {
        if (!r.NotEmpty(&p.stPower[i], sizeof p.stPower[i], "usPowerNum", Item("stPower", i, ""))) {
            continue;
        }
        r.Text(p.stPower[i].szSubSerial, Item("stPower", i, "szSubSerial"));
        r.Text(p.stPower[i].szDes, Item("stPower", i, "szDes"));
    }
}

void CheckUnlockEvents(Rules &r, const oqDevSDK_DoorLock_UnlockEvtRecList_S &l) {
    r.Count("usRecNum", l.usRecNum, OQDEVSDK_DOORLOCK_MAX_UNLOCK_EVTS);
    for (size_t i = 0; i < std::min<size_t>(l.usRecNum, OQDEVSDK_DOORLOCK_MAX_UNLOCK_EVTS); ++i) {
        if (!r.NotEmpty(&l.stRecord[i], sizeof l.stRecord[i], "usRecNum",
                        Item("stRecord", i, ""))) {
            continue;
        }
        r.Text(l.stRecord[i].szUser, Item("stRecord", i, "szUser"));
    }
}

}  // namespace

std::string Item(const std::string &array, size_t i, const std::string &field) {
    return array + "[" + std::to_string(i) + "]" + (field.empty() ? "" : "." + field);
}

size_t FirstDifference(const uint8_t *a, const uint8_t *b, size_t len) {
    return static_cast<size_t>(std::mismatch(a, a + len, b).first - a);
}

bool ValidateRecord(Session &s, int fromType, const uint8_t *rec) {
    Rules r(s, fromType);
    // Copies keep the records aligned whatever the caller's buffer.
    switch (fromType) {
        case OQDEVSDK_DOORLOCK_FROM_DEV_UNLOCK_EVTS: {
            auto l = std::make_unique<oqDevSDK_DoorLock_UnlockEvtRecList_S>();
            std::memcpy(l.get(), rec, sizeof *l);
            CheckUnlockEvents(r, *l);
            break;
        }
        case OQDEVSDK_DOORLOCK_FROM_DEV_USER_INFO: {
            auto t = std::make_unique<oqDevSDK_DoorLock_UserInfo_S>();
            std::memcpy(t.get(), rec, sizeof *t);
            CheckUsers(r, *t);
            break;
        }
        case OQDEVSDK_DOORLOCK_FROM_DEV_ALARM_PLANS: {
            auto l = std::make_unique<oqDevSDK_DoorLock_AlarmPlanList_S>();
            std::memcpy(l.get(), rec, sizeof *l);
            CheckAlarmPlans(r, *l);
            break;
        }
        case OQDEVSDK_DOORLOCK_FROM_DEV_SNAP_PWDS: {
            oqDevSDK_DoorLock_SnapPwdList_S l;
            std::memcpy(&l, rec, sizeof l);
            CheckSnapPwds(r, l);
            break;
        }
        case OQDEVSDK_DOORLOCK_FROM_DEV_POWER_STATUS: {
            oqDevSDK_DoorLock_PowerStatus_S p;
            std::memcpy(&p, rec, sizeof p);
            CheckPower(r, p);
            break;
        }
        default:
            break;
    }
    return !r.failed();
}

milliseconds ExtraTime(int toType) {
    return toType == OQDEVSDK_DOORLOCK_TO_DEV_USER_VERIFY
               ? milliseconds{kVerifyTimeoutSeconds * 1000}
               : milliseconds{0};
}

std::vector<uint8_t> SampleRecord(Session &s, int toType) {
    std::vector<uint8_t> rec(RecordOf(Dir::To, toType).len, 0);
    // A value the lock reports is one it takes; zero when it reports none.
    auto readBack = [&](int fromType) {
        try {
            if (s.Get(fromType, rec.data(), static_cast<uint32_t>(rec.size())) == 0) {
                return;
            }
        } catch (const Excluded &) {
        }
        std::fill(rec.begin(), rec.end(), 0);
    };
    const auto now = static_cast<int64_t>(std::time(nullptr));
    switch (toType) {
        case OQDEVSDK_DOORLOCK_TO_DEV_SWITCH:
            readBack(OQDEVSDK_DOORLOCK_FROM_DEV_SWITCH);  // asks for switch 0
            break;
        case OQDEVSDK_DOORLOCK_TO_DEV_FINGER_STORE:
            readBack(OQDEVSDK_DOORLOCK_FROM_DEV_FINGER_STORE);
            break;
        case OQDEVSDK_DOORLOCK_TO_DEV_BELL_TONE:
            readBack(OQDEVSDK_DOORLOCK_FROM_DEV_BELL_TONE);
            break;
        case OQDEVSDK_DOORLOCK_TO_DEV_PROMPT_TONE:
            readBack(OQDEVSDK_DOORLOCK_FROM_DEV_PROMPT_TONE);
            break;
        case OQDEVSDK_DOORLOCK_TO_DEV_FACE_UNLOCK:
            readBack(OQDEVSDK_DOORLOCK_FROM_DEV_FACE_UNLOCK);
            break;
        case OQDEVSDK_DOORLOCK_TO_DEV_AUTO_FACE_PLAN:
            readBack(OQDEVSDK_DOORLOCK_FROM_DEV_AUTO_FACE_PLAN);
            break;
        case OQDEVSDK_DOORLOCK_TO_DEV_SET_USER: {
            auto *set = As<oqDevSDK_DoorLock_SetUserCfg_S>(rec);
            set->ucOptType = OQDEVSDK_DOORLOCK_USER_OPT_DELETE;
            set->usOptIndex = OQDEVSDK_DOORLOCK_MAX_USERS - 1;
            break;
        }
        case OQDEVSDK_DOORLOCK_TO_DEV_SET_ALARM_PLAN: {
            auto *set = As<oqDevSDK_DoorLock_SetAlarmPlan_S>(rec);
            set->ucOptType = OQDEVSDK_DOORLOCK_OPT_CREATE;
            set->ucEnable = 1;
            set->ucWeekday = kAllWeekdays;
            set->usDateNum = 1;
            set->astDate[0].iBeginHour = kPlanBeginHour;
            set->astDate[0].iEndHour = kPlanEndHour;
            set->usUserNum = 1;
            std::snprintf(set->astUser[0].szName, sizeof set->astUser[0].szName, "%s", kCheckName);
            break;
        }
        case OQDEVSDK_DOORLOCK_TO_DEV_SET_SNAP_PWD: {
            auto *set = As<oqDevSDK_DoorLock_SetSnapPwd_S>(rec);
            set->ucOptType = OQDEVSDK_DOORLOCK_OPT_CREATE;
            std::snprintf(set->szName, sizeof set->szName, "%s", kCheckName);
            set->uiBeginTime = static_cast<uint32_t>(now);
            set->uiEndTime = static_cast<uint32_t>(now + kSecondsPerDay);
            set->iLimitNum = 1;
            set->iAvailableCount = 1;
            break;
        }
        case OQDEVSDK_DOORLOCK_TO_DEV_DL_POWER:
            As<oqDevSDK_DoorLock_DLPower_S>(rec)->ucLowPercent = kCheckLowPercent;
            break;
        case OQDEVSDK_DOORLOCK_TO_DEV_USER_VERIFY: {
            auto *verify = As<oqDevSDK_DoorLock_UserVerify_S>(rec);
            std::snprintf(verify->szUserId, sizeof verify->szUserId, "%s", kCheckName);
            verify->uiTimeout = kVerifyTimeoutSeconds;
            break;
        }
        default:
            break;
    }
    return rec;
}

}  // namespace qualify
