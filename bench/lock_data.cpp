#include "lock_data.h"

#include <cstdio>
#include <cstring>

namespace bench {
namespace {

constexpr int kStates = 3;
constexpr uint32_t kBaseTime = 1700000000u;
constexpr uint32_t kYear = 31536000u;
constexpr int kSlotsPerUser = 4;
constexpr uint8_t kWorkdays = 0x3E;
constexpr uint8_t kEveryDay = 0x7F;
constexpr int kLimitedUses = 10;
constexpr int kUsesLeft = 7;
constexpr int kMinutesPerHour = 60;
constexpr int kSlotHours = 6;

// Static storage: the large records of the device are never on the heap, so
// they do not show in the module's heap figures.
struct StatusRecords {
    int32_t aiSwitchEnable[OQDEVSDK_DOORLOCK_SWITCH_NUM];
    int32_t iFingerStore;
    int32_t iBellTone;
    int32_t iPromptTone;
    oqDevSDK_DoorLock_LockStatus_S stLock;
    oqDevSDK_DoorLock_UnlockEvtRecList_S stEvents;
    oqDevSDK_DoorLock_PowerStatus_S stPower;
    oqDevSDK_DoorLock_FaceUnlock_S stFace;
    oqDevSDK_DoorLock_AutoFaceUnlockPlan_S stFacePlan;
};
StatusRecords g_status[kStates];
int g_state = 0;

// Table 0 is the one requests see (ServeUsers); the poll's states 1 and 2
// serve full tables that differ in one byte.
oqDevSDK_DoorLock_UserInfo_S g_users[kStates];
oqDevSDK_DoorLock_AlarmPlanList_S g_plans;
oqDevSDK_DoorLock_SnapPwdList_S g_snapPwds;

void FillUser(oqDevSDK_DoorLock_User_S &user, int i) {
    user.usIndex = static_cast<uint16_t>(i);
    user.ucType = static_cast<uint8_t>(1 + i % 3);
    user.ucExpireEnable = 1;
    std::snprintf(user.szName, sizeof user.szName, "user-%03d", i);
    std::snprintf(user.szRemarkName, sizeof user.szRemarkName, "remark of user %d", i);
    user.uiBeginTime = kBaseTime + static_cast<uint32_t>(i);
    user.uiEndTime = kBaseTime + kYear + static_cast<uint32_t>(i);
    user.usDateNum = kSlotsPerUser;
    for (int s = 0; s < kSlotsPerUser; ++s) {
        oqDevSDK_DoorLock_UserDate_S &slot = user.astDate[s];
        slot.iBeginHour = s * kSlotHours;
        slot.iBeginMinute = i % kMinutesPerHour;
        slot.iEndHour = s * kSlotHours + kSlotHours - 1;
        slot.iEndMinute = (i + s) % kMinutesPerHour;
        slot.ucWeekday = s % 2 == 0 ? kWorkdays : kEveryDay;
        slot.iNum = s == 0 ? OQDEVSDK_DOORLOCK_USER_UNLIMITED : kLimitedUses;
        slot.iAvailable = s == 0 ? OQDEVSDK_DOORLOCK_USER_UNLIMITED : kUsesLeft;
    }
    user.usPwdNum = 1;
    user.usCardNum = 2;
    user.usFingerNum = 3;
    user.usFaceNum = 1;
}

void FillPlan(oqDevSDK_DoorLock_AlarmPlanInfo_S &plan, int p) {
    plan.usIndex = static_cast<uint16_t>(p);
    plan.ucEnable = 1;
    plan.ucWeekday = kEveryDay;
    plan.usDateNum = OQDEVSDK_DOORLOCK_MAX_ALARM_PLAN_DATES;
    for (int d = 0; d < OQDEVSDK_DOORLOCK_MAX_ALARM_PLAN_DATES; ++d) {
        plan.astDate[d] = {d * kSlotHours, 0, d * kSlotHours + kSlotHours - 1, p};
    }
    plan.usUserNum = OQDEVSDK_DOORLOCK_MAX_ALARM_PLAN_USERS;
    for (int u = 0; u < OQDEVSDK_DOORLOCK_MAX_ALARM_PLAN_USERS; ++u) {
        plan.astUser[u].usIndex = static_cast<uint16_t>(u);
        std::snprintf(plan.astUser[u].szName, sizeof plan.astUser[u].szName, "user-%03d", u);
    }
}

void FillStatus(StatusRecords &rec, int state) {
    std::memset(&rec, 0, sizeof rec);
    for (int n = 0; n < OQDEVSDK_DOORLOCK_SWITCH_NUM; ++n) {
        rec.aiSwitchEnable[n] = (n + state) % 2;
    }
    rec.iFingerStore = state;
    rec.iBellTone = state + 1;
    rec.iPromptTone = state + 2;
    rec.stLock = {static_cast<uint8_t>(state % 2), static_cast<uint8_t>((state + 1) % 2),
                  static_cast<uint8_t>(state * 40), 0};
    if (state != 0) {
        rec.stEvents.usRecNum = OQDEVSDK_DOORLOCK_MAX_UNLOCK_EVTS;
        for (int e = 0; e < OQDEVSDK_DOORLOCK_MAX_UNLOCK_EVTS; ++e) {
            oqDevSDK_DoorLock_UnlockEvtRec_S &evt = rec.stEvents.stRecord[e];
            std::snprintf(evt.szUser, sizeof evt.szUser, "user-%03d", e + state);
            evt.ucUnlockType = static_cast<uint8_t>(e % 4);
            evt.lUnlockTime = static_cast<int32_t>(kBaseTime) + e * kMinutesPerHour + state;
        }
    }
    rec.stPower.usPowerNum = OQDEVSDK_DOORLOCK_POWER_MAX;
    for (int p = 0; p < OQDEVSDK_DOORLOCK_POWER_MAX; ++p) {
        oqDevSDK_DoorLock_PowerInfo_S &power = rec.stPower.stPower[p];
        power.ucPowerType = static_cast<uint8_t>(p);
        power.ucRemaining = static_cast<uint8_t>(80 - 10 * state - p);
        power.ucNameType = static_cast<uint8_t>(p);
        std::snprintf(power.szSubSerial, sizeof power.szSubSerial, "PWR%04d", p);
        std::snprintf(power.szDes, sizeof power.szDes, "battery %d", p);
    }
    rec.stFace = {state, state + 1};
    rec.stFacePlan.uiChannel = 1;
    rec.stFacePlan.iEnable = state % 2;
    for (int d = 0; d < OQDEVSDK_DOORLOCK_FACE_PLAN_DAYS; ++d) {
        rec.stFacePlan.astDay[d][0] = {static_cast<uint32_t>(480 + state),
                                       static_cast<uint32_t>(1080 + d)};
    }
}

struct Tables {
    Tables() {
        for (int s = 0; s < kStates; ++s) {
            FillStatus(g_status[s], s);
        }
        for (int u = 0; u < OQDEVSDK_DOORLOCK_MAX_USERS; ++u) {
            FillUser(g_users[0].astUser[u], u);
        }
        g_users[1] = g_users[0];
        g_users[2] = g_users[0];
        g_users[1].usUserNum = OQDEVSDK_DOORLOCK_MAX_USERS;
        g_users[2].usUserNum = OQDEVSDK_DOORLOCK_MAX_USERS;
        g_users[2].astUser[0].usFaceNum = 2;
        for (int p = 0; p < OQDEVSDK_DOORLOCK_MAX_ALARM_PLANS; ++p) {
            FillPlan(g_plans.astPlan[p], p);
        }
        g_snapPwds.usCount = OQDEVSDK_DOORLOCK_MAX_SNAP_PWDS;
        for (int i = 0; i < OQDEVSDK_DOORLOCK_MAX_SNAP_PWDS; ++i) {
            oqDevSDK_DoorLock_SnapPwdInfo_S &entry = g_snapPwds.astEntry[i];
            entry.usIndex = static_cast<uint16_t>(i);
            std::snprintf(entry.szName, sizeof entry.szName, "guest %d", i);
            entry.uiBeginTime = kBaseTime;
            entry.uiEndTime = kBaseTime + kYear;
            entry.iLimitNum = i == 0 ? -1 : kLimitedUses;
            entry.iAvailableCount = kUsesLeft;
        }
    }
};
const Tables g_tables;

int Copy(oqDevSDK_DoorLock_Msg_S *msg, const void *rec, std::size_t len) {
    std::memcpy(msg->pData, rec, msg->uiLen < len ? msg->uiLen : len);
    return 0;
}

}  // namespace

int DeviceRecv(oqDevSDK_DoorLock_Msg_S *msg) {
    if (msg->iType == OQDEVSDK_DOORLOCK_TO_DEV_SET_SNAP_PWD) {
        auto *rec = static_cast<oqDevSDK_DoorLock_SetSnapPwd_S *>(msg->pData);
        std::memcpy(rec->szPwd, "738291", sizeof "738291");
    }
    return 0;
}

int DeviceGet(oqDevSDK_DoorLock_Msg_S *msg) {
    const StatusRecords &st = g_status[g_state];
    switch (msg->iType) {
        case OQDEVSDK_DOORLOCK_FROM_DEV_SWITCH: {
            auto *rec = static_cast<oqDevSDK_DoorLock_SwitchCfg_S *>(msg->pData);
            const int n = rec->iSwitchIndex;
            rec->iEnable = n >= 0 && n < OQDEVSDK_DOORLOCK_SWITCH_NUM ? st.aiSwitchEnable[n] : 0;
            rec->iChannel = 0;
            return 0;
        }
        case OQDEVSDK_DOORLOCK_FROM_DEV_FINGER_STORE:
            return Copy(msg, &st.iFingerStore, sizeof st.iFingerStore);
        case OQDEVSDK_DOORLOCK_FROM_DEV_BELL_TONE:
            return Copy(msg, &st.iBellTone, sizeof st.iBellTone);
        case OQDEVSDK_DOORLOCK_FROM_DEV_PROMPT_TONE:
            return Copy(msg, &st.iPromptTone, sizeof st.iPromptTone);
        case OQDEVSDK_DOORLOCK_FROM_DEV_LOCK_STATUS:
            return Copy(msg, &st.stLock, sizeof st.stLock);
        case OQDEVSDK_DOORLOCK_FROM_DEV_UNLOCK_EVTS:
            return Copy(msg, &st.stEvents, sizeof st.stEvents);
        case OQDEVSDK_DOORLOCK_FROM_DEV_USER_INFO:
            return Copy(msg, &g_users[g_state], sizeof g_users[0]);
        case OQDEVSDK_DOORLOCK_FROM_DEV_ALARM_PLANS:
            return Copy(msg, &g_plans, sizeof g_plans);
        case OQDEVSDK_DOORLOCK_FROM_DEV_SNAP_PWDS:
            return Copy(msg, &g_snapPwds, sizeof g_snapPwds);
        case OQDEVSDK_DOORLOCK_FROM_DEV_POWER_STATUS:
            return Copy(msg, &st.stPower, sizeof st.stPower);
        case OQDEVSDK_DOORLOCK_FROM_DEV_FACE_UNLOCK:
            return Copy(msg, &st.stFace, sizeof st.stFace);
        case OQDEVSDK_DOORLOCK_FROM_DEV_AUTO_FACE_PLAN:
            return Copy(msg, &st.stFacePlan, sizeof st.stFacePlan);
        default:
            return -1;
    }
}

int FetchRecord(int type, void *buf, uint32_t len) {
    oqDevSDK_DoorLock_Msg_S msg{type, buf, len};
    return DeviceGet(&msg);
}

void SetStatusState(int state) {
    g_state = state;
}

void ServeUsers(int users) {
    g_users[0].usUserNum = static_cast<uint16_t>(users);
}

void ServeAlarmPlans(int plans) {
    g_plans.usCount = static_cast<uint16_t>(plans);
}

const oqDevSDK_DoorLock_UserInfo_S &ServedUsers() {
    return g_users[0];
}

namespace {

const char kDecl[] = "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n";

std::string Wrap(const std::string &body) {
    return kDecl + std::string("<Request>") + body + "</Request>";
}

}  // namespace

std::string SetSwitchRequest() {
    return Wrap("<Switch Type=\"452\" Enable=\"1\" Channel=\"0\"/>");
}

std::string SetBellToneRequest() {
    return Wrap("<Type>doorBellTone</Type><Value>3</Value>");
}

std::string SetFaceUnlockRequest() {
    return Wrap(
        "<Type>doorFaceUnlock</Type>"
        "<Value>{\"unlock_type\":1,\"unlock_sensitivity\":2}</Value>");
}

std::string SetUserRequest() {
    std::string dates;
    for (int s = 0; s < kSlotsPerUser; ++s) {
        char date[160];
        std::snprintf(date, sizeof date,
                      "<Date Weekday=\"1,2,3,4,5\" Begin=\"%02d:00\" End=\"%02d:30\" Num=\"%d\" "
                      "Available=\"%d\"/>",
                      s * kSlotHours, s * kSlotHours + 1, s == 0 ? -1 : kLimitedUses, kUsesLeft);
        dates += date;
    }
    return Wrap(
        "<OptType Type=\"1\" Index=\"1\"/>"
        "<UserInfo>"
        "<User Index=\"1\" Type=\"1\" Name=\"user-000\" RemarkName=\"front door\"/>"
        "<Expire Enable=\"1\" Begin=\"2024-01-01 08:00:00\" End=\"2025-01-01 08:00:00\">"
        "<DateList>" +
        dates +
        "</DateList></Expire>"
        "<Auth Pwd=\"1\" Card=\"2\" Finger=\"3\" Face=\"1\"/>"
        "<Contents><Content index=\"1\" type=\"2\" action=\"1\" str=\"123456\"/></Contents>"
        "</UserInfo>");
}

std::string EmptyRequest() {
    return Wrap("");
}

std::string SetSnapPwdRequest() {
    return Wrap(
        "<OptType Type=\"0\"/>"
        "<Info><User Name=\"guest\"/>"
        "<Expire Begin=\"2024-01-01 08:00:00\" End=\"2024-01-02 08:00:00\"/>"
        "<Limit Num=\"3\"/></Info>");
}

std::string SetAlarmPlanRequest(int users) {
    std::string body =
        "<OptType Type=\"1\" Index=\"1\"/>"
        "<Plan Enable=\"1\" Weekday=\"1,2,3,4,5,6,7\"><DateList>";
    for (int d = 0; d < OQDEVSDK_DOORLOCK_MAX_ALARM_PLAN_DATES; ++d) {
        char date[64];
        std::snprintf(date, sizeof date, "<Date Begin=\"%02d:00\" End=\"%02d:59\"/>",
                      d * kSlotHours, d * kSlotHours + kSlotHours - 1);
        body += date;
    }
    body += "</DateList><UserList>";
    for (int u = 0; u < users; ++u) {
        char user[64];
        std::snprintf(user, sizeof user, "<User Index=\"%d\" Name=\"user-%03d\"/>", u + 1, u);
        body += user;
    }
    body += "</UserList></Plan>";
    return Wrap(body);
}

std::string TriggerVerifyRequest() {
    return Wrap("<UserID>user-007</UserID><Timeout>60</Timeout>");
}

std::string SetDevPlanRequest() {
    std::string body = "<Enable>1</Enable><Actor Channel=\"1\" PlanType=\"19\"/>";
    for (int d = 0; d < OQDEVSDK_DOORLOCK_FACE_PLAN_DAYS; ++d) {
        char date[200];
        std::snprintf(date, sizeof date,
                      "<Date Weekday=\"%d\"><Plan B=\"06:00\" E=\"08:00\"/>"
                      "<Plan B=\"11:00\" E=\"13:00\"/><Plan B=\"17:00\" E=\"19:00\"/>"
                      "<Plan B=\"21:00\" E=\"23:30\"/></Date>",
                      d);
        body += date;
    }
    return Wrap(body);
}

std::string SystemConfigAnswer() {
    return std::string(kDecl) +
           "<Response><Result>0</Result>"
           "<Type name=\"DLPower\" value='{\"low_percent\":20}'/></Response>";
}

}  // namespace bench
