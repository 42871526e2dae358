/*
 * The lock side of a device application: the two callbacks the door-lock
 * module calls, answered from the lock's state as a real application keeps
 * it (on a board, this state mirrors what the lock's MCU reports over its
 * serial link; here it lives in memory).
 *
 * What every device application must get right, and where this file does it:
 * - The module owns every record; a callback reads or writes only uiLen bytes
 *   at pData and keeps no pointer to it (CheckRecord).
 * - A runtime record is written whole, reserved bytes zero and lists packed
 *   at the front with their count, so that an unchanged lock yields the same
 *   bytes and the module's change detection stays quiet (Fill*).
 * - Texts are cut to their field and always terminated (CopyText).
 * - Unlock events are handed over once and then forgotten (FillUnlockEvents).
 * - The module calls from its kernel, status-report and timer threads at the
 *   same time: one mutex guards the whole state and is never held while
 *   calling out.
 * - Non-zero answers: the header's OQDEVSDK_DOORLOCK_DEV_ERR_* where one
 *   fits (the module turns them into platform results of their own), the
 *   lock's own codes below otherwise.
 */
#include <pthread.h>
#include <stdio.h>
#include <string.h>
#include <time.h>

#include "oqDevSDK_door_lock_device.h"

/* Answers besides 0: the ones with a meaning to the module, then this
 * lock's own, which the platform hears as a plain failure. */
#define LOCK_ERR_SNAP_FULL OQDEVSDK_DOORLOCK_DEV_ERR_SNAP_PWD_FULL
#define LOCK_ERR_SNAP_UNKNOWN OQDEVSDK_DOORLOCK_DEV_ERR_SNAP_PWD_UNKNOWN
#define LOCK_ERR_SNAP_LIMIT OQDEVSDK_DOORLOCK_DEV_ERR_SNAP_PWD_LIMIT
#define LOCK_ERR_USERS_FULL OQDEVSDK_DOORLOCK_DEV_ERR_USERS_FULL
#define LOCK_ERR_USER_UNKNOWN OQDEVSDK_DOORLOCK_DEV_ERR_USER_UNKNOWN
#define LOCK_ERR_BAD_RECORD 0x18000   /* unknown type, wrong length, index out of range */
#define LOCK_ERR_PLANS_FULL 0x18006   /* no free alarm plan slot */
#define LOCK_ERR_PLAN_UNKNOWN 0x18007 /* no alarm plan with that index */

/* This lock's own codes in the records it fills. */
#define LOCK_DOOR_CLOSED 0
#define LOCK_DOOR_OPEN 1
#define LOCK_BOLT_UNLOCKED 0
#define LOCK_BOLT_LOCKED 1
#define LOCK_UNLOCK_BY_PASSWORD 2
#define LOCK_POWER_BATTERY 1
#define LOCK_POWER_OK 0
#define LOCK_POWER_LOW 1
#define LOCK_SIGNAL 80
#define LOCK_FACE_PLAN_VERSION 1u
#define LOCK_SNAP_PWD_DIGITS 6

typedef struct {
    pthread_mutex_t mutex;
    oqDevSDK_DoorLock_SwitchCfg_S switches[OQDEVSDK_DOORLOCK_SWITCH_NUM];
    int32_t finger_store;
    int32_t bell_tone;
    int32_t prompt_tone;
    oqDevSDK_DoorLock_FaceUnlock_S face;
    oqDevSDK_DoorLock_AutoFaceUnlockPlan_S face_plan;
    uint8_t low_percent;
    uint8_t door;
    uint8_t bolt;
    uint8_t battery[OQDEVSDK_DOORLOCK_POWER_MAX]; /* percent, door then cat eye */
    uint16_t pending_num;                         /* unlock events not yet handed over */
    oqDevSDK_DoorLock_UnlockEvtRec_S pending[OQDEVSDK_DOORLOCK_MAX_UNLOCK_EVTS];
    oqDevSDK_DoorLock_UserInfo_S users; /* packed, sorted by usIndex */
    uint8_t snap_used[OQDEVSDK_DOORLOCK_MAX_SNAP_PWDS];
    oqDevSDK_DoorLock_SnapPwdInfo_S snap[OQDEVSDK_DOORLOCK_MAX_SNAP_PWDS];
    char snap_pwd[OQDEVSDK_DOORLOCK_MAX_SNAP_PWDS][OQDEVSDK_DOORLOCK_SNAP_PWD_LEN];
    uint32_t snap_seed;
    uint8_t plan_used[OQDEVSDK_DOORLOCK_MAX_ALARM_PLANS];
    oqDevSDK_DoorLock_AlarmPlanInfo_S plans[OQDEVSDK_DOORLOCK_MAX_ALARM_PLANS];
} LockState;

/* Static: the user table and the plans are too large for a stack. */
static LockState g_lock = {
    .mutex = PTHREAD_MUTEX_INITIALIZER,
    .door = LOCK_DOOR_CLOSED,
    .bolt = LOCK_BOLT_LOCKED,
    .battery = {85, 60},
    .low_percent = 20,
    .face_plan = {.uiHeadWord = LOCK_FACE_PLAN_VERSION},
};

static const struct {
    uint8_t name_type;
    const char *sub_serial;
    const char *description;
} kPowerSources[OQDEVSDK_DOORLOCK_POWER_MAX] = {
    {OQDEVSDK_DOORLOCK_POWER_NAME_DOOR, "LOCK0001", "door lock battery"},
    {OQDEVSDK_DOORLOCK_POWER_NAME_CAT_EYE, "EYE0001", "cat eye battery"},
};

/* The record at pData when the module handed exactly `size` bytes, else NULL. */
static void *CheckRecord(const oqDevSDK_DoorLock_Msg_S *msg, size_t size) {
    if (msg == NULL || msg->pData == NULL || msg->uiLen != size) {
        return NULL;
    }
    return msg->pData;
}

#define RECORD(type, msg) ((type *)CheckRecord((msg), sizeof(type)))

static void CopyText(char *dst, size_t size, const char *src) {
    snprintf(dst, size, "%s", src);
}

/* The pending unlock events keep the newest when the lock's buffer is full,
 * as the lock's own log would. */
static void AddUnlockEvent(const char *user, uint8_t how) {
    if (g_lock.pending_num == OQDEVSDK_DOORLOCK_MAX_UNLOCK_EVTS) {
        memmove(&g_lock.pending[0], &g_lock.pending[1],
                sizeof g_lock.pending[0] * (OQDEVSDK_DOORLOCK_MAX_UNLOCK_EVTS - 1));
        --g_lock.pending_num;
    }
    oqDevSDK_DoorLock_UnlockEvtRec_S *rec = &g_lock.pending[g_lock.pending_num++];
    memset(rec, 0, sizeof *rec);
    CopyText(rec->szUser, sizeof rec->szUser, user);
    rec->ucUnlockType = how;
    rec->lUnlockTime = (int32_t)time(NULL);
    g_lock.bolt = LOCK_BOLT_UNLOCKED;
}

/* ---- to device ---------------------------------------------------------- */

static int SetSwitch(const oqDevSDK_DoorLock_SwitchCfg_S *rec) {
    if (rec->iSwitchIndex < 0 || rec->iSwitchIndex >= OQDEVSDK_DOORLOCK_SWITCH_NUM) {
        return LOCK_ERR_BAD_RECORD;
    }
    g_lock.switches[rec->iSwitchIndex] = *rec;
    return 0;
}

static size_t UserPosition(uint16_t index) {
    size_t pos = 0;
    while (pos < g_lock.users.usUserNum && g_lock.users.astUser[pos].usIndex < index) {
        ++pos;
    }
    return pos;
}

/* This lock reads every operation but delete as "the user at usOptIndex is
 * now this one", adding it when it is new. Another lock may give the
 * operation numbers other meanings: they are agreed with its platform. */
static int SetUser(const oqDevSDK_DoorLock_SetUserCfg_S *rec) {
    oqDevSDK_DoorLock_UserInfo_S *t = &g_lock.users;
    if (rec->usOptIndex >= OQDEVSDK_DOORLOCK_MAX_USERS) {
        return LOCK_ERR_BAD_RECORD;
    }
    const size_t pos = UserPosition(rec->usOptIndex);
    const int known = pos < t->usUserNum && t->astUser[pos].usIndex == rec->usOptIndex;
    if (rec->ucOptType == OQDEVSDK_DOORLOCK_USER_OPT_DELETE) {
        if (!known) {
            return LOCK_ERR_USER_UNKNOWN;
        }
        memmove(&t->astUser[pos], &t->astUser[pos + 1],
                sizeof t->astUser[0] * (t->usUserNum - pos - 1));
        --t->usUserNum;
        memset(&t->astUser[t->usUserNum], 0, sizeof t->astUser[0]);
        return 0;
    }
    if (!known) {
        if (t->usUserNum == OQDEVSDK_DOORLOCK_MAX_USERS) {
            return LOCK_ERR_USERS_FULL;
        }
        memmove(&t->astUser[pos + 1], &t->astUser[pos],
                sizeof t->astUser[0] * (t->usUserNum - pos));
        ++t->usUserNum;
    }
    /* Field by field: the record as sent may carry junk in its reserved
     * bytes, the table must not. */
    oqDevSDK_DoorLock_User_S *u = &t->astUser[pos];
    const oqDevSDK_DoorLock_User_S *in = &rec->stUser;
    memset(u, 0, sizeof *u);
    u->usIndex = rec->usOptIndex;
    u->ucType = in->ucType;
    u->ucExpireEnable = in->ucExpireEnable;
    CopyText(u->szName, sizeof u->szName, in->szName);
    CopyText(u->szRemarkName, sizeof u->szRemarkName, in->szRemarkName);
    u->uiBeginTime = in->uiBeginTime;
    u->uiEndTime = in->uiEndTime;
    u->usDateNum = in->usDateNum < OQDEVSDK_DOORLOCK_MAX_USER_DATES
                       ? in->usDateNum
                       : OQDEVSDK_DOORLOCK_MAX_USER_DATES;
    for (size_t d = 0; d < u->usDateNum; ++d) {
        oqDevSDK_DoorLock_UserDate_S *slot = &u->astDate[d];
        const oqDevSDK_DoorLock_UserDate_S *from = &in->astDate[d];
        slot->iBeginHour = from->iBeginHour;
        slot->iBeginMinute = from->iBeginMinute;
        slot->iEndHour = from->iEndHour;
        slot->iEndMinute = from->iEndMinute;
        slot->ucWeekday = from->ucWeekday;
        slot->iNum = from->iNum;
        slot->iAvailable = from->iNum == OQDEVSDK_DOORLOCK_USER_UNLIMITED
                               ? OQDEVSDK_DOORLOCK_USER_UNLIMITED
                               : from->iAvailable;
    }
    u->usPwdNum = in->usPwdNum;
    u->usCardNum = in->usCardNum;
    u->usFingerNum = in->usFingerNum;
    u->usFaceNum = in->usFaceNum;
    return 0;
}

static int FreeSlot(const uint8_t *used, size_t n) {
    for (size_t i = 0; i < n; ++i) {
        if (!used[i]) {
            return (int)i;
        }
    }
    return -1;
}

/* A create fills in the slot it chose and the password it made. */
static int SetSnapPwd(oqDevSDK_DoorLock_SetSnapPwd_S *rec) {
    if (rec->ucOptType == OQDEVSDK_DOORLOCK_OPT_DELETE) {
        if (rec->usIndex >= OQDEVSDK_DOORLOCK_MAX_SNAP_PWDS || !g_lock.snap_used[rec->usIndex]) {
            return LOCK_ERR_SNAP_UNKNOWN;
        }
        g_lock.snap_used[rec->usIndex] = 0;
        memset(&g_lock.snap[rec->usIndex], 0, sizeof g_lock.snap[0]);
        return 0;
    }
    if (rec->ucOptType != OQDEVSDK_DOORLOCK_OPT_CREATE) {
        return LOCK_ERR_BAD_RECORD;
    }
    if (rec->iLimitNum != -1 && rec->iLimitNum <= 0) {
        return LOCK_ERR_SNAP_LIMIT;
    }
    const int slot = FreeSlot(g_lock.snap_used, OQDEVSDK_DOORLOCK_MAX_SNAP_PWDS);
    if (slot < 0) {
        return LOCK_ERR_SNAP_FULL;
    }
    oqDevSDK_DoorLock_SnapPwdInfo_S *e = &g_lock.snap[slot];
    memset(e, 0, sizeof *e);
    e->usIndex = (uint16_t)slot;
    CopyText(e->szName, sizeof e->szName, rec->szName);
    e->uiBeginTime = rec->uiBeginTime;
    e->uiEndTime = rec->uiEndTime;
    e->iLimitNum = rec->iLimitNum;
    e->iAvailableCount = rec->iLimitNum;
    /* A real lock draws the password from its MCU's random source. */
    g_lock.snap_seed = g_lock.snap_seed * 1103515245u + 12345u + (uint32_t)time(NULL);
    snprintf(g_lock.snap_pwd[slot], sizeof g_lock.snap_pwd[slot], "%0*u", LOCK_SNAP_PWD_DIGITS,
             (unsigned)(g_lock.snap_seed % 1000000u));
    g_lock.snap_used[slot] = 1;
    rec->usIndex = (uint16_t)slot;
    CopyText(rec->szPwd, sizeof rec->szPwd, g_lock.snap_pwd[slot]);
    return 0;
}

static void CopyPlan(oqDevSDK_DoorLock_AlarmPlanInfo_S *p,
                     const oqDevSDK_DoorLock_SetAlarmPlan_S *rec, uint16_t index) {
    memset(p, 0, sizeof *p);
    p->usIndex = index;
    p->ucEnable = rec->ucEnable;
    p->ucWeekday = rec->ucWeekday;
    p->usDateNum = rec->usDateNum < OQDEVSDK_DOORLOCK_MAX_ALARM_PLAN_DATES
                       ? rec->usDateNum
                       : OQDEVSDK_DOORLOCK_MAX_ALARM_PLAN_DATES;
    memcpy(p->astDate, rec->astDate, sizeof p->astDate[0] * p->usDateNum);
    p->usUserNum = rec->usUserNum < OQDEVSDK_DOORLOCK_MAX_ALARM_PLAN_USERS
                       ? rec->usUserNum
                       : OQDEVSDK_DOORLOCK_MAX_ALARM_PLAN_USERS;
    for (size_t i = 0; i < p->usUserNum; ++i) {
        p->astUser[i].usIndex = rec->astUser[i].usIndex;
        CopyText(p->astUser[i].szName, sizeof p->astUser[i].szName, rec->astUser[i].szName);
    }
}

/* Create takes a free slot and reports it in usIndex; delete frees one; any
 * other operation changes the plan at usIndex. */
static int SetAlarmPlan(oqDevSDK_DoorLock_SetAlarmPlan_S *rec) {
    if (rec->ucOptType == OQDEVSDK_DOORLOCK_OPT_CREATE) {
        const int slot = FreeSlot(g_lock.plan_used, OQDEVSDK_DOORLOCK_MAX_ALARM_PLANS);
        if (slot < 0) {
            return LOCK_ERR_PLANS_FULL;
        }
        CopyPlan(&g_lock.plans[slot], rec, (uint16_t)slot);
        g_lock.plan_used[slot] = 1;
        rec->usIndex = (uint16_t)slot;
        return 0;
    }
    if (rec->usIndex >= OQDEVSDK_DOORLOCK_MAX_ALARM_PLANS || !g_lock.plan_used[rec->usIndex]) {
        return LOCK_ERR_PLAN_UNKNOWN;
    }
    if (rec->ucOptType == OQDEVSDK_DOORLOCK_OPT_DELETE) {
        g_lock.plan_used[rec->usIndex] = 0;
        memset(&g_lock.plans[rec->usIndex], 0, sizeof g_lock.plans[0]);
        return 0;
    }
    CopyPlan(&g_lock.plans[rec->usIndex], rec, rec->usIndex);
    return 0;
}

/* On a board the lock would prompt and wait up to uiTimeout seconds; with
 * nobody at the door, a user the lock knows by name counts as verified. */
static void VerifyUser(oqDevSDK_DoorLock_UserVerify_S *rec) {
    char id[OQDEVSDK_DOORLOCK_VERIFY_USER_ID_LEN];
    CopyText(id, sizeof id, rec->szUserId);
    rec->uiVerifyResult = OQDEVSDK_DOORLOCK_VERIFY_FAILED;
    for (size_t i = 0; i < g_lock.users.usUserNum; ++i) {
        if (strcmp(g_lock.users.astUser[i].szName, id) == 0) {
            rec->uiVerifyResult = OQDEVSDK_DOORLOCK_VERIFY_OK;
        }
    }
}

static int ReceiveLocked(oqDevSDK_DoorLock_Msg_S *msg) {
    switch (msg->iType) {
        case OQDEVSDK_DOORLOCK_TO_DEV_SWITCH: {
            const oqDevSDK_DoorLock_SwitchCfg_S *rec = RECORD(oqDevSDK_DoorLock_SwitchCfg_S, msg);
            return rec != NULL ? SetSwitch(rec) : LOCK_ERR_BAD_RECORD;
        }
        case OQDEVSDK_DOORLOCK_TO_DEV_FINGER_STORE:
        case OQDEVSDK_DOORLOCK_TO_DEV_BELL_TONE:
        case OQDEVSDK_DOORLOCK_TO_DEV_PROMPT_TONE: {
            const int32_t *value = RECORD(int32_t, msg);
            if (value == NULL) {
                return LOCK_ERR_BAD_RECORD;
            }
            int32_t *target =
                msg->iType == OQDEVSDK_DOORLOCK_TO_DEV_FINGER_STORE ? &g_lock.finger_store
                : msg->iType == OQDEVSDK_DOORLOCK_TO_DEV_BELL_TONE  ? &g_lock.bell_tone
                                                                    : &g_lock.prompt_tone;
            *target = *value;
            return 0;
        }
        case OQDEVSDK_DOORLOCK_TO_DEV_SET_USER: {
            const oqDevSDK_DoorLock_SetUserCfg_S *rec = RECORD(oqDevSDK_DoorLock_SetUserCfg_S, msg);
            return rec != NULL ? SetUser(rec) : LOCK_ERR_BAD_RECORD;
        }
        case OQDEVSDK_DOORLOCK_TO_DEV_SET_ALARM_PLAN: {
            oqDevSDK_DoorLock_SetAlarmPlan_S *rec = RECORD(oqDevSDK_DoorLock_SetAlarmPlan_S, msg);
            return rec != NULL ? SetAlarmPlan(rec) : LOCK_ERR_BAD_RECORD;
        }
        case OQDEVSDK_DOORLOCK_TO_DEV_SET_SNAP_PWD: {
            oqDevSDK_DoorLock_SetSnapPwd_S *rec = RECORD(oqDevSDK_DoorLock_SetSnapPwd_S, msg);
            return rec != NULL ? SetSnapPwd(rec) : LOCK_ERR_BAD_RECORD;
        }
        case OQDEVSDK_DOORLOCK_TO_DEV_DL_POWER: {
            const oqDevSDK_DoorLock_DLPower_S *rec = RECORD(oqDevSDK_DoorLock_DLPower_S, msg);
            if (rec == NULL) {
                return LOCK_ERR_BAD_RECORD;
            }
            g_lock.low_percent = rec->ucLowPercent;
            return 0;
        }
        case OQDEVSDK_DOORLOCK_TO_DEV_USER_VERIFY: {
            oqDevSDK_DoorLock_UserVerify_S *rec = RECORD(oqDevSDK_DoorLock_UserVerify_S, msg);
            if (rec == NULL) {
                return LOCK_ERR_BAD_RECORD;
            }
            VerifyUser(rec);
            return 0;
        }
        case OQDEVSDK_DOORLOCK_TO_DEV_FACE_UNLOCK: {
            const oqDevSDK_DoorLock_FaceUnlock_S *rec = RECORD(oqDevSDK_DoorLock_FaceUnlock_S, msg);
            if (rec == NULL) {
                return LOCK_ERR_BAD_RECORD;
            }
            g_lock.face = *rec;
            return 0;
        }
        case OQDEVSDK_DOORLOCK_TO_DEV_AUTO_FACE_PLAN: {
            const oqDevSDK_DoorLock_AutoFaceUnlockPlan_S *rec =
                RECORD(oqDevSDK_DoorLock_AutoFaceUnlockPlan_S, msg);
            if (rec == NULL) {
                return LOCK_ERR_BAD_RECORD;
            }
            /* The head word is the lock's own, whatever comes back. */
            g_lock.face_plan.uiChannel = rec->uiChannel;
            g_lock.face_plan.iEnable = rec->iEnable;
            memcpy(g_lock.face_plan.astDay, rec->astDay, sizeof g_lock.face_plan.astDay);
            return 0;
        }
        default:
            return LOCK_ERR_BAD_RECORD;
    }
}

static int RecvMsg(oqDevSDK_DoorLock_Msg_S *msg) {
    if (msg == NULL) {
        return LOCK_ERR_BAD_RECORD;
    }
    pthread_mutex_lock(&g_lock.mutex);
    const int ret = ReceiveLocked(msg);
    pthread_mutex_unlock(&g_lock.mutex);
    return ret;
}

/* ---- from device -------------------------------------------------------- */

static void FillPower(oqDevSDK_DoorLock_PowerStatus_S *rec) {
    rec->usPowerNum = OQDEVSDK_DOORLOCK_POWER_MAX;
    for (size_t i = 0; i < OQDEVSDK_DOORLOCK_POWER_MAX; ++i) {
        oqDevSDK_DoorLock_PowerInfo_S *p = &rec->stPower[i];
        p->ucPowerType = LOCK_POWER_BATTERY;
        p->ucRemaining = g_lock.battery[i];
        p->ucNameType = kPowerSources[i].name_type;
        p->ucStatus = g_lock.battery[i] < g_lock.low_percent ? LOCK_POWER_LOW : LOCK_POWER_OK;
        p->usValueFirst = g_lock.battery[i];
        p->usValueSecond = 100;
        CopyText(p->szSubSerial, sizeof p->szSubSerial, kPowerSources[i].sub_serial);
        CopyText(p->szDes, sizeof p->szDes, kPowerSources[i].description);
    }
}

/* Hands over the pending unlock events and forgets them: the module reports
 * whatever it gets, so an event handed twice reaches the platform twice. */
static void FillUnlockEvents(oqDevSDK_DoorLock_UnlockEvtRecList_S *rec) {
    rec->usRecNum = g_lock.pending_num;
    memcpy(rec->stRecord, g_lock.pending, sizeof g_lock.pending[0] * g_lock.pending_num);
    g_lock.pending_num = 0;
}

static void FillSnapPwds(oqDevSDK_DoorLock_SnapPwdList_S *rec) {
    for (size_t i = 0; i < OQDEVSDK_DOORLOCK_MAX_SNAP_PWDS; ++i) {
        if (g_lock.snap_used[i]) {
            rec->astEntry[rec->usCount++] = g_lock.snap[i];
        }
    }
}

static void FillAlarmPlans(oqDevSDK_DoorLock_AlarmPlanList_S *rec) {
    for (size_t i = 0; i < OQDEVSDK_DOORLOCK_MAX_ALARM_PLANS; ++i) {
        if (g_lock.plan_used[i]) {
            rec->astPlan[rec->usCount++] = g_lock.plans[i];
        }
    }
}

/* Called with the record zeroed: only what the lock holds is written. */
static int FillLocked(oqDevSDK_DoorLock_Msg_S *msg) {
    switch (msg->iType) {
        case OQDEVSDK_DOORLOCK_FROM_DEV_SWITCH: {
            oqDevSDK_DoorLock_SwitchCfg_S *rec = msg->pData;
            const int32_t index = rec->iSwitchIndex; /* the module's question */
            if (index < 0 || index >= OQDEVSDK_DOORLOCK_SWITCH_NUM) {
                return LOCK_ERR_BAD_RECORD;
            }
            *rec = g_lock.switches[index];
            rec->iSwitchIndex = index;
            return 0;
        }
        case OQDEVSDK_DOORLOCK_FROM_DEV_FINGER_STORE:
            *(int32_t *)msg->pData = g_lock.finger_store;
            return 0;
        case OQDEVSDK_DOORLOCK_FROM_DEV_BELL_TONE:
            *(int32_t *)msg->pData = g_lock.bell_tone;
            return 0;
        case OQDEVSDK_DOORLOCK_FROM_DEV_PROMPT_TONE:
            *(int32_t *)msg->pData = g_lock.prompt_tone;
            return 0;
        case OQDEVSDK_DOORLOCK_FROM_DEV_LOCK_STATUS: {
            oqDevSDK_DoorLock_LockStatus_S *rec = msg->pData;
            rec->ucDoorState = g_lock.door;
            rec->ucLockState = g_lock.bolt;
            rec->ucSignal = LOCK_SIGNAL;
            return 0;
        }
        case OQDEVSDK_DOORLOCK_FROM_DEV_UNLOCK_EVTS:
            FillUnlockEvents(msg->pData);
            return 0;
        case OQDEVSDK_DOORLOCK_FROM_DEV_USER_INFO:
            memcpy(msg->pData, &g_lock.users, sizeof g_lock.users);
            return 0;
        case OQDEVSDK_DOORLOCK_FROM_DEV_ALARM_PLANS:
            FillAlarmPlans(msg->pData);
            return 0;
        case OQDEVSDK_DOORLOCK_FROM_DEV_SNAP_PWDS:
            FillSnapPwds(msg->pData);
            return 0;
        case OQDEVSDK_DOORLOCK_FROM_DEV_POWER_STATUS:
            FillPower(msg->pData);
            return 0;
        case OQDEVSDK_DOORLOCK_FROM_DEV_FACE_UNLOCK:
            *(oqDevSDK_DoorLock_FaceUnlock_S *)msg->pData = g_lock.face;
            return 0;
        case OQDEVSDK_DOORLOCK_FROM_DEV_AUTO_FACE_PLAN:
            *(oqDevSDK_DoorLock_AutoFaceUnlockPlan_S *)msg->pData = g_lock.face_plan;
            return 0;
        default:
            return LOCK_ERR_BAD_RECORD;
    }
}

static uint32_t FromDeviceLength(int32_t type) {
    static const uint32_t kLength[] = {
        OQDEVSDK_DOORLOCK_FROM_DEV_SWITCH_LEN,      OQDEVSDK_DOORLOCK_FROM_DEV_FINGER_STORE_LEN,
        OQDEVSDK_DOORLOCK_FROM_DEV_BELL_TONE_LEN,   OQDEVSDK_DOORLOCK_FROM_DEV_PROMPT_TONE_LEN,
        OQDEVSDK_DOORLOCK_FROM_DEV_LOCK_STATUS_LEN, OQDEVSDK_DOORLOCK_FROM_DEV_UNLOCK_EVTS_LEN,
        OQDEVSDK_DOORLOCK_FROM_DEV_USER_INFO_LEN,   OQDEVSDK_DOORLOCK_FROM_DEV_ALARM_PLANS_LEN,
        OQDEVSDK_DOORLOCK_FROM_DEV_SNAP_PWDS_LEN,   OQDEVSDK_DOORLOCK_FROM_DEV_POWER_STATUS_LEN,
        OQDEVSDK_DOORLOCK_FROM_DEV_FACE_UNLOCK_LEN, OQDEVSDK_DOORLOCK_FROM_DEV_AUTO_FACE_PLAN_LEN,
    };
    return type >= 0 && (size_t)type < sizeof kLength / sizeof kLength[0] ? kLength[type] : 0;
}

static int GetRuntimeInfo(oqDevSDK_DoorLock_Msg_S *msg) {
    const uint32_t len = msg != NULL ? FromDeviceLength(msg->iType) : 0;
    if (len == 0 || CheckRecord(msg, len) == NULL) {
        return LOCK_ERR_BAD_RECORD;
    }
    /* Only the switch record carries a question (its index); every other
     * record is cleared first, so no byte of it is left to chance. */
    if (msg->iType != OQDEVSDK_DOORLOCK_FROM_DEV_SWITCH) {
        memset(msg->pData, 0, len);
    }
    pthread_mutex_lock(&g_lock.mutex);
    const int ret = FillLocked(msg);
    pthread_mutex_unlock(&g_lock.mutex);
    return ret;
}

/* ---- exports ------------------------------------------------------------ */

oqDevSDK_DoorLock_Callback_S oqDevSDK_DoorLock_DeviceCallbacks(void) {
    oqDevSDK_DoorLock_Callback_S callbacks = {RecvMsg, GetRuntimeInfo};
    return callbacks;
}

static int EventLocked(const oqDevSDK_DoorLock_DeviceEvent_S *ev) {
    switch (ev->iEvent) {
        case OQDEVSDK_DOORLOCK_DEVICE_EVT_UNLOCK: {
            if (ev->iValue != OQDEVSDK_DOORLOCK_DEVICE_ANY &&
                (ev->iValue < 0 || ev->iValue > 255)) {
                return LOCK_ERR_BAD_RECORD;
            }
            char user[OQDEVSDK_DOORLOCK_UNLOCK_USER_LEN];
            CopyText(user, sizeof user, ev->szUser);
            AddUnlockEvent(user, ev->iValue == OQDEVSDK_DOORLOCK_DEVICE_ANY
                                     ? LOCK_UNLOCK_BY_PASSWORD
                                     : (uint8_t)ev->iValue);
            return 0;
        }
        case OQDEVSDK_DOORLOCK_DEVICE_EVT_DOOR:
            if (ev->iValue == OQDEVSDK_DOORLOCK_DEVICE_ANY) {
                g_lock.door = g_lock.door == LOCK_DOOR_CLOSED ? LOCK_DOOR_OPEN : LOCK_DOOR_CLOSED;
                return 0;
            }
            if (ev->iValue != LOCK_DOOR_CLOSED && ev->iValue != LOCK_DOOR_OPEN) {
                return LOCK_ERR_BAD_RECORD;
            }
            g_lock.door = (uint8_t)ev->iValue;
            return 0;
        case OQDEVSDK_DOORLOCK_DEVICE_EVT_BATTERY:
            if (ev->iValue < 0 || ev->iValue > 100) {
                return LOCK_ERR_BAD_RECORD;
            }
            for (size_t i = 0; i < OQDEVSDK_DOORLOCK_POWER_MAX; ++i) {
                if (kPowerSources[i].name_type == ev->iIndex) {
                    g_lock.battery[i] = (uint8_t)ev->iValue;
                    return 0;
                }
            }
            return LOCK_ERR_BAD_RECORD;
        default:
            return LOCK_ERR_BAD_RECORD;
    }
}

int oqDevSDK_DoorLock_DeviceEvent(const oqDevSDK_DoorLock_DeviceEvent_S *pstEvent) {
    if (pstEvent == NULL) {
        return LOCK_ERR_BAD_RECORD;
    }
    pthread_mutex_lock(&g_lock.mutex);
    const int ret = EventLocked(pstEvent);
    pthread_mutex_unlock(&g_lock.mutex);
    return ret;
}
