#include "records.h"

#include <cstdio>
#include <cstring>
#include <ctime>
#include <memory>

#include "device_records.h"
#include "oqDevSDK_door_lock.h"
#include "vocabulary.h"

namespace dlsim {

using namespace norla;

namespace {

struct Named {
    int id;
    const char *name;
};

constexpr Named kCommands[] = {
    {kCmdSetSwitch, "set switch"},
    {kCmdSetDevPlan, "set device plan"},
    {kCmdSetKeyValue, "set key value"},
    {kCmdTriggerUserVerify, "trigger user verify"},
    {kCmdQueryAlarmPlans, "query not-back alarm plans"},
    {kCmdSetAlarmPlan, "set not-back alarm plan"},
    {kCmdSetUserInfo, "set user info"},
    {kCmdSetSnapPwd, "set snap password"},
    {kCmdQuerySnapPwds, "query snap passwords"},
    {kCmdQueryUserInfo, "query user info"},
    {kCmdSystemConfigReq, "system config request"},
    {kCmdSystemConfigRsp, "system config answer"},
    {kCmdReportSwitches, "switch report"},
    {kCmdReportStatus, "status value report"},
    {kCmdReportAutoFacePlan, "auto face unlock plan report"},
    {kCmdReportLockStatus, "lock status report"},
    {kCmdReportUnlockEvents, "unlock event report"},
    {kCmdReportUserInfo, "user info report"},
};

// Requests the module answers under their id plus one.
constexpr int kAnsweredRequests[] = {
    kCmdSetSwitch,    kCmdSetDevPlan,  kCmdSetKeyValue, kCmdTriggerUserVerify, kCmdQueryAlarmPlans,
    kCmdSetAlarmPlan, kCmdSetUserInfo, kCmdSetSnapPwd,  kCmdQuerySnapPwds,     kCmdQueryUserInfo};

constexpr Named kStatusItems[] = {
    {kStatusSwitches, "door open remind switches"},
    {kStatusFingerStore, "fingerprint store"},
    {kStatusBellTone, "bell tone"},
    {kStatusPromptTone, "prompt tone"},
    {kStatusLockStatus, "lock status"},
    {kStatusUnlockEvents, "unlock events"},
    {kStatusUserInfo, "user info"},
    {kStatusPower, "power status"},
    {kStatusFaceUnlock, "face unlock"},
    {kStatusAutoFacePlan, "auto face unlock plan"},
};

template <size_t N>
const char *FindName(const Named (&table)[N], int id) {
    for (const Named &n : table) {
        if (n.id == id) {
            return n.name;
        }
    }
    return nullptr;
}

// A copy of the record in its own aligned, zero-filled storage; bytes beyond
// `len` stay zero so that a short buffer never makes the decoder read past it.
template <typename T>
std::unique_ptr<T> Load(const uint8_t *data, size_t len) {
    auto rec = std::make_unique<T>();
    std::memcpy(rec.get(), data, len < sizeof(T) ? len : sizeof(T));
    return rec;
}

template <typename T>
T Clamp(T value, T limit) {
    return value < limit ? value : limit;
}

class FieldList {
  public:
    explicit FieldList(Fields &out, std::string prefix = "")
        : m_out(out), m_prefix(std::move(prefix)) {}

    FieldList Sub(const std::string &name) const { return FieldList(m_out, m_prefix + name + "."); }
    FieldList Sub(const std::string &name, size_t index) const {
        return Sub(name + "[" + std::to_string(index) + "]");
    }

    void Num(const char *name, long long value) { Add(name, std::to_string(value)); }
    void Hex(const char *name, unsigned long long value) {
        char buf[32];
        std::snprintf(buf, sizeof buf, "0x%llx", value);
        Add(name, buf);
    }
    template <size_t N>
    void Text(const char *name, const char (&field)[N]) {
        Add(name, "\"" + std::string(field, strnlen(field, N)) + "\"");
    }
    // Time values are signed 32-bit seconds on the wire, whatever the field's
    // declared signedness.
    void Time(const char *name, uint32_t raw) {
        const int32_t seconds = static_cast<int32_t>(raw);
        Add(name, std::to_string(seconds) + " (" + LocalTimeText(seconds) + ")");
    }
    void Weekday(const char *name, uint8_t mask) {
        char buf[8];
        std::snprintf(buf, sizeof buf, "0x%02x", mask);
        Add(name, std::string(buf) + " (" + WeekdayText(mask) + ")");
    }
    void Minutes(const char *name, uint32_t minutes) {
        Add(name, std::to_string(minutes) + " (" + MinutesText(minutes) + ")");
    }
    void Add(const char *name, std::string value) {
        m_out.emplace_back(m_prefix + name, std::move(value));
    }

  private:
    Fields &m_out;
    std::string m_prefix;
};

void Switch(FieldList f, const oqDevSDK_DoorLock_SwitchCfg_S &r) {
    f.Num("iSwitchIndex", r.iSwitchIndex);
    f.Num("iEnable", r.iEnable);
    f.Num("iChannel", r.iChannel);
}

void FaceUnlock(FieldList f, const oqDevSDK_DoorLock_FaceUnlock_S &r) {
    f.Num("iUnlockType", r.iUnlockType);
    f.Num("iUnlockSensitivity", r.iUnlockSensitivity);
}

// A time of day the lock holds as hour and minute, shown as the minutes of
// the day it stands for; any pair the lock reports, wrapped to 32 bits.
std::string ClockText(int32_t hour, int32_t minute) {
    return MinutesText(static_cast<uint32_t>(hour) * 60u + static_cast<uint32_t>(minute));
}

void User(FieldList f, const oqDevSDK_DoorLock_User_S &u) {
    f.Num("usIndex", u.usIndex);
    f.Num("ucType", u.ucType);
    f.Num("ucExpireEnable", u.ucExpireEnable);
    f.Text("szName", u.szName);
    f.Text("szRemarkName", u.szRemarkName);
    f.Time("uiBeginTime", u.uiBeginTime);
    f.Time("uiEndTime", u.uiEndTime);
    f.Num("usDateNum", u.usDateNum);
    const size_t dates = Clamp<size_t>(u.usDateNum, OQDEVSDK_DOORLOCK_MAX_USER_DATES);
    for (size_t i = 0; i < dates; ++i) {
        const oqDevSDK_DoorLock_UserDate_S &d = u.astDate[i];
        FieldList s = f.Sub("astDate", i);
        s.Add("begin", ClockText(d.iBeginHour, d.iBeginMinute));
        s.Add("end", ClockText(d.iEndHour, d.iEndMinute));
        s.Weekday("ucWeekday", d.ucWeekday);
        s.Num("iNum", d.iNum);
        s.Num("iAvailable", d.iAvailable);
    }
    f.Num("usPwdNum", u.usPwdNum);
    f.Num("usCardNum", u.usCardNum);
    f.Num("usFingerNum", u.usFingerNum);
    f.Num("usFaceNum", u.usFaceNum);
}

void SetUser(FieldList f, const oqDevSDK_DoorLock_SetUserCfg_S &r) {
    f.Num("ucOptType", r.ucOptType);
    f.Num("usOptIndex", r.usOptIndex);
    if (r.ucOptType == OQDEVSDK_DOORLOCK_USER_OPT_DELETE) {
        return;
    }
    User(f.Sub("stUser"), r.stUser);
    f.Num("iContentsAction", r.iContentsAction);
    f.Num("ucContentAction", r.ucContentAction);
    f.Num("ucContentType", r.ucContentType);
    f.Num("usContentIndex", r.usContentIndex);
    f.Text("szContentStr", r.szContentStr);
}

void AlarmBody(
    FieldList f,
    const oqDevSDK_DoorLock_AlarmPeriod_S (&dates)[OQDEVSDK_DOORLOCK_MAX_ALARM_PLAN_DATES],
    uint16_t dateNum,
    const oqDevSDK_DoorLock_AlarmUser_S (&users)[OQDEVSDK_DOORLOCK_MAX_ALARM_PLAN_USERS],
    uint16_t userNum) {
    for (size_t i = 0; i < Clamp<size_t>(dateNum, OQDEVSDK_DOORLOCK_MAX_ALARM_PLAN_DATES); ++i) {
        const auto &d = dates[i];
        FieldList s = f.Sub("astDate", i);
        s.Add("begin", ClockText(d.iBeginHour, d.iBeginMinute));
        s.Add("end", ClockText(d.iEndHour, d.iEndMinute));
    }
    for (size_t i = 0; i < Clamp<size_t>(userNum, OQDEVSDK_DOORLOCK_MAX_ALARM_PLAN_USERS); ++i) {
        FieldList s = f.Sub("astUser", i);
        s.Num("usIndex", users[i].usIndex);
        s.Text("szName", users[i].szName);
    }
}

void SetAlarmPlan(FieldList f, const oqDevSDK_DoorLock_SetAlarmPlan_S &r) {
    f.Num("ucOptType", r.ucOptType);
    f.Num("usIndex", r.usIndex);
    if (r.ucOptType == OQDEVSDK_DOORLOCK_OPT_DELETE) {
        return;
    }
    f.Num("ucEnable", r.ucEnable);
    f.Weekday("ucWeekday", r.ucWeekday);
    f.Num("usDateNum", r.usDateNum);
    f.Num("usUserNum", r.usUserNum);
    AlarmBody(f, r.astDate, r.usDateNum, r.astUser, r.usUserNum);
}

void SetSnapPwd(FieldList f, const oqDevSDK_DoorLock_SetSnapPwd_S &r) {
    f.Num("ucOptType", r.ucOptType);
    f.Num("usIndex", r.usIndex);
    if (r.ucOptType == OQDEVSDK_DOORLOCK_OPT_DELETE) {
        return;
    }
    f.Text("szName", r.szName);
    f.Time("uiBeginTime", r.uiBeginTime);
    f.Time("uiEndTime", r.uiEndTime);
    f.Num("iLimitNum", r.iLimitNum);
    f.Num("iAvailableCount", r.iAvailableCount);
}

void AutoFacePlan(FieldList f, const oqDevSDK_DoorLock_AutoFaceUnlockPlan_S &r) {
    f.Hex("uiHeadWord", r.uiHeadWord);
    f.Num("uiChannel", r.uiChannel);
    f.Num("iEnable", r.iEnable);
    for (size_t d = 0; d < OQDEVSDK_DOORLOCK_FACE_PLAN_DAYS; ++d) {
        for (size_t s = 0; s < OQDEVSDK_DOORLOCK_FACE_PLAN_SLOTS; ++s) {
            const oqDevSDK_DoorLock_FacePlanSlot_S &slot = r.astDay[d][s];
            if (slot.uiBegin == 0 && slot.uiEnd == 0) {
                continue;
            }
            FieldList sub = f.Sub("astDay[" + std::to_string(d) + "]", s);
            sub.Minutes("uiBegin", slot.uiBegin);
            sub.Minutes("uiEnd", slot.uiEnd);
        }
    }
}

void Int32(FieldList f, const uint8_t *data, size_t len) {
    int32_t value = 0;
    std::memcpy(&value, data, Clamp(len, sizeof value));
    f.Num("value", value);
}

void UnlockEvents(FieldList f, const oqDevSDK_DoorLock_UnlockEvtRecList_S &r) {
    f.Num("usRecNum", r.usRecNum);
    for (size_t i = 0; i < Clamp<size_t>(r.usRecNum, OQDEVSDK_DOORLOCK_MAX_UNLOCK_EVTS); ++i) {
        const oqDevSDK_DoorLock_UnlockEvtRec_S &e = r.stRecord[i];
        FieldList s = f.Sub("stRecord", i);
        s.Text("szUser", e.szUser);
        s.Num("ucUnlockType", e.ucUnlockType);
        s.Time("lUnlockTime", static_cast<uint32_t>(e.lUnlockTime));
    }
}

void UserTable(FieldList f, const oqDevSDK_DoorLock_UserInfo_S &r) {
    f.Num("usUserNum", r.usUserNum);
    for (size_t i = 0; i < Clamp<size_t>(r.usUserNum, OQDEVSDK_DOORLOCK_MAX_USERS); ++i) {
        User(f.Sub("astUser", i), r.astUser[i]);
    }
}

void AlarmPlans(FieldList f, const oqDevSDK_DoorLock_AlarmPlanList_S &r) {
    f.Num("usCount", r.usCount);
    for (size_t i = 0; i < Clamp<size_t>(r.usCount, OQDEVSDK_DOORLOCK_MAX_ALARM_PLANS); ++i) {
        const oqDevSDK_DoorLock_AlarmPlanInfo_S &p = r.astPlan[i];
        FieldList s = f.Sub("astPlan", i);
        s.Num("usIndex", p.usIndex);
        s.Num("ucEnable", p.ucEnable);
        s.Weekday("ucWeekday", p.ucWeekday);
        s.Num("usDateNum", p.usDateNum);
        s.Num("usUserNum", p.usUserNum);
        AlarmBody(s, p.astDate, p.usDateNum, p.astUser, p.usUserNum);
    }
}

void SnapPwds(FieldList f, const oqDevSDK_DoorLock_SnapPwdList_S &r) {
    f.Num("usCount", r.usCount);
    for (size_t i = 0; i < Clamp<size_t>(r.usCount, OQDEVSDK_DOORLOCK_MAX_SNAP_PWDS); ++i) {
        const oqDevSDK_DoorLock_SnapPwdInfo_S &e = r.astEntry[i];
        FieldList s = f.Sub("astEntry", i);
        s.Num("usIndex", e.usIndex);
        s.Text("szName", e.szName);
        s.Time("uiBeginTime", e.uiBeginTime);
        s.Time("uiEndTime", e.uiEndTime);
        s.Num("iLimitNum", e.iLimitNum);
        s.Num("iAvailableCount", e.iAvailableCount);
    }
}

void PowerStatus(FieldList f, const oqDevSDK_DoorLock_PowerStatus_S &r) {
    f.Num("usPowerNum", r.usPowerNum);
    for (size_t i = 0; i < Clamp<size_t>(r.usPowerNum, OQDEVSDK_DOORLOCK_POWER_MAX); ++i) {
        const oqDevSDK_DoorLock_PowerInfo_S &p = r.stPower[i];
        FieldList s = f.Sub("stPower", i);
        s.Num("ucPowerType", p.ucPowerType);
        s.Num("ucRemaining", p.ucRemaining);
        s.Num("ucNameType", p.ucNameType);
        s.Num("ucStatus", p.ucStatus);
        s.Num("usValueFirst", p.usValueFirst);
        s.Num("usValueSecond", p.usValueSecond);
        s.Text("szSubSerial", p.szSubSerial);
        s.Text("szDes", p.szDes);
    }
}

}  // namespace

std::string CommandName(int cmd) {
    if (const char *name = FindName(kCommands, cmd)) {
        return name;
    }
    for (int req : kAnsweredRequests) {
        if (ResponseOf(req) == cmd) {
            return std::string(FindName(kCommands, req)) + " response";
        }
    }
    return "";
}

std::string StatusName(int id) {
    const char *name = FindName(kStatusItems, id);
    return name != nullptr ? name : "";
}

std::string ToDeviceName(int type) {
    const DeviceRecordInfo *t = FindDeviceRecord(DevDir::kToDevice, type);
    return t != nullptr ? t->pszName : "";
}

std::string FromDeviceName(int type) {
    const DeviceRecordInfo *t = FindDeviceRecord(DevDir::kFromDevice, type);
    return t != nullptr ? t->pszName : "";
}

uint32_t ToDeviceLength(int type) {
    const DeviceRecordInfo *t = FindDeviceRecord(DevDir::kToDevice, type);
    return t != nullptr ? t->uiLen : 0;
}

uint32_t FromDeviceLength(int type) {
    const DeviceRecordInfo *t = FindDeviceRecord(DevDir::kFromDevice, type);
    return t != nullptr ? t->uiLen : 0;
}

Fields DescribeToDevice(int type, const uint8_t *data, size_t len) {
    Fields out;
    FieldList f(out);
    switch (type) {
        case OQDEVSDK_DOORLOCK_TO_DEV_SWITCH:
            Switch(f, *Load<oqDevSDK_DoorLock_SwitchCfg_S>(data, len));
            break;
        case OQDEVSDK_DOORLOCK_TO_DEV_FINGER_STORE:
        case OQDEVSDK_DOORLOCK_TO_DEV_BELL_TONE:
        case OQDEVSDK_DOORLOCK_TO_DEV_PROMPT_TONE:
            Int32(f, data, len);
            break;
        case OQDEVSDK_DOORLOCK_TO_DEV_SET_USER:
            SetUser(f, *Load<oqDevSDK_DoorLock_SetUserCfg_S>(data, len));
            break;
        case OQDEVSDK_DOORLOCK_TO_DEV_SET_ALARM_PLAN:
            SetAlarmPlan(f, *Load<oqDevSDK_DoorLock_SetAlarmPlan_S>(data, len));
            break;
        case OQDEVSDK_DOORLOCK_TO_DEV_SET_SNAP_PWD:
            SetSnapPwd(f, *Load<oqDevSDK_DoorLock_SetSnapPwd_S>(data, len));
            break;
        case OQDEVSDK_DOORLOCK_TO_DEV_DL_POWER:
            f.Num("ucLowPercent", Load<oqDevSDK_DoorLock_DLPower_S>(data, len)->ucLowPercent);
            break;
        case OQDEVSDK_DOORLOCK_TO_DEV_USER_VERIFY: {
            auto r = Load<oqDevSDK_DoorLock_UserVerify_S>(data, len);
            f.Text("szUserId", r->szUserId);
            f.Num("uiTimeout", r->uiTimeout);
            break;
        }
        case OQDEVSDK_DOORLOCK_TO_DEV_FACE_UNLOCK:
            FaceUnlock(f, *Load<oqDevSDK_DoorLock_FaceUnlock_S>(data, len));
            break;
        case OQDEVSDK_DOORLOCK_TO_DEV_AUTO_FACE_PLAN:
            AutoFacePlan(f, *Load<oqDevSDK_DoorLock_AutoFaceUnlockPlan_S>(data, len));
            break;
        default:
            break;
    }
    return out;
}

Fields DescribeOutputs(int type, const uint8_t *data, size_t len) {
    Fields out;
    FieldList f(out);
    switch (type) {
        case OQDEVSDK_DOORLOCK_TO_DEV_SET_ALARM_PLAN: {
            auto r = Load<oqDevSDK_DoorLock_SetAlarmPlan_S>(data, len);
            if (r->ucOptType == OQDEVSDK_DOORLOCK_OPT_CREATE) {
                f.Num("usIndex", r->usIndex);
            }
            break;
        }
        case OQDEVSDK_DOORLOCK_TO_DEV_SET_SNAP_PWD: {
            auto r = Load<oqDevSDK_DoorLock_SetSnapPwd_S>(data, len);
            if (r->ucOptType != OQDEVSDK_DOORLOCK_OPT_CREATE) {
                break;
            }
            f.Num("usIndex", r->usIndex);
            f.Text("szPwd", r->szPwd);
            break;
        }
        case OQDEVSDK_DOORLOCK_TO_DEV_USER_VERIFY:
            f.Num("uiVerifyResult",
                  Load<oqDevSDK_DoorLock_UserVerify_S>(data, len)->uiVerifyResult);
            break;
        default:
            break;
    }
    return out;
}

Fields DescribeFromDevice(int type, const uint8_t *data, size_t len) {
    Fields out;
    FieldList f(out);
    switch (type) {
        case OQDEVSDK_DOORLOCK_FROM_DEV_SWITCH:
            Switch(f, *Load<oqDevSDK_DoorLock_SwitchCfg_S>(data, len));
            break;
        case OQDEVSDK_DOORLOCK_FROM_DEV_FINGER_STORE:
        case OQDEVSDK_DOORLOCK_FROM_DEV_BELL_TONE:
        case OQDEVSDK_DOORLOCK_FROM_DEV_PROMPT_TONE:
            Int32(f, data, len);
            break;
        case OQDEVSDK_DOORLOCK_FROM_DEV_LOCK_STATUS: {
            auto r = Load<oqDevSDK_DoorLock_LockStatus_S>(data, len);
            f.Num("ucDoorState", r->ucDoorState);
            f.Num("ucLockState", r->ucLockState);
            f.Num("ucSignal", r->ucSignal);
            f.Num("ucReserved", r->ucReserved);
            break;
        }
        case OQDEVSDK_DOORLOCK_FROM_DEV_UNLOCK_EVTS:
            UnlockEvents(f, *Load<oqDevSDK_DoorLock_UnlockEvtRecList_S>(data, len));
            break;
        case OQDEVSDK_DOORLOCK_FROM_DEV_USER_INFO:
            UserTable(f, *Load<oqDevSDK_DoorLock_UserInfo_S>(data, len));
            break;
        case OQDEVSDK_DOORLOCK_FROM_DEV_ALARM_PLANS:
            AlarmPlans(f, *Load<oqDevSDK_DoorLock_AlarmPlanList_S>(data, len));
            break;
        case OQDEVSDK_DOORLOCK_FROM_DEV_SNAP_PWDS:
            SnapPwds(f, *Load<oqDevSDK_DoorLock_SnapPwdList_S>(data, len));
            break;
        case OQDEVSDK_DOORLOCK_FROM_DEV_POWER_STATUS:
            PowerStatus(f, *Load<oqDevSDK_DoorLock_PowerStatus_S>(data, len));
            break;
        case OQDEVSDK_DOORLOCK_FROM_DEV_FACE_UNLOCK:
            FaceUnlock(f, *Load<oqDevSDK_DoorLock_FaceUnlock_S>(data, len));
            break;
        case OQDEVSDK_DOORLOCK_FROM_DEV_AUTO_FACE_PLAN:
            AutoFacePlan(f, *Load<oqDevSDK_DoorLock_AutoFaceUnlockPlan_S>(data, len));
            break;
        default:
            break;
    }
    return out;
}

std::string WeekdayText(uint8_t mask) {
    // Monday first, Sunday (bit 0) last, as the platform writes them.
    static const char *const kDays[] = {"Mon", "Tue", "Wed", "Thu", "Fri", "Sat"};
    std::string text;
    for (int bit = 1; bit <= 6; ++bit) {
        if ((mask & (1u << bit)) != 0) {
            text += text.empty() ? "" : ",";
            text += kDays[bit - 1];
        }
    }
    if ((mask & 1u) != 0) {
        text += text.empty() ? "Sun" : ",Sun";
    }
    return text.empty() ? "none" : text;
}

std::string LocalTimeText(int64_t seconds) {
    const time_t t = static_cast<time_t>(seconds);
    struct tm tm {};
    if (localtime_r(&t, &tm) == nullptr) {
        return "?";
    }
    char buf[64];
    std::snprintf(buf, sizeof buf, "%04d-%02d-%02d %02d:%02d:%02d", tm.tm_year + 1900,
                  tm.tm_mon + 1, tm.tm_mday, tm.tm_hour, tm.tm_min, tm.tm_sec);
    return buf;
}

std::string MinutesText(uint32_t minutes) {
    char buf[32];
    std::snprintf(buf, sizeof buf, "%02u:%02u", minutes / 60, minutes % 60);
    return buf;
}

}  // namespace dlsim
