/* The reference device application with one typical device-side bug
 * switched on (DEFECT, one library per bug), so that the qualification has
 * something to find; everything else it answers correctly. DEFECT 0 is a
 * correct lock whose user operations mean something else than the
 * reference's: the qualification must not assume them. */
#define _POSIX_C_SOURCE 200809L

#define DEFECT_OWN_USER_OPS 0
#define DEFECT_OVERFLOW_LARGE 1
#define DEFECT_OVERFLOW_SMALL 2
#define DEFECT_PWD_OVERFLOW 3
#define DEFECT_CRASH 4
#define DEFECT_HANG 5
#define DEFECT_SLOW 6
#define DEFECT_COUNT_CAPACITY 7
#define DEFECT_COUNT_BEYOND 8
#define DEFECT_COUNT_FEWER 9
#define DEFECT_NO_TERMINATOR 10
#define DEFECT_RESERVED_TIME 11
#define DEFECT_SWITCH_STALE 12
#define DEFECT_EVENTS_TWICE 13
#define DEFECT_NO_MUTEX 14
#define DEFECT_WRONG_SWITCH 15

#include <pthread.h>
#include <string.h>
#include <time.h>

#define oqDevSDK_DoorLock_DeviceCallbacks Reference_DeviceCallbacks
#define oqDevSDK_DoorLock_DeviceEvent Reference_DeviceEvent
#if DEFECT == DEFECT_NO_MUTEX
#define pthread_mutex_lock(m) ((void)(m))
#define pthread_mutex_unlock(m) ((void)(m))
#endif
#include "door_lock_device.c"
#undef oqDevSDK_DoorLock_DeviceCallbacks
#undef oqDevSDK_DoorLock_DeviceEvent

OQDEVSDK_DOORLOCK_API oqDevSDK_DoorLock_Callback_S oqDevSDK_DoorLock_DeviceCallbacks(void);
OQDEVSDK_DOORLOCK_API int oqDevSDK_DoorLock_DeviceEvent(
    const oqDevSDK_DoorLock_DeviceEvent_S *pstEvent);

#ifndef BROKEN_SLOW_MS
#define BROKEN_SLOW_MS 300 /* beyond the check's bound of one call */
#endif
#define BROKEN_HANG_S 1000 /* a call that never comes back */
#define BROKEN_PWD_LEN 20  /* more than szPwd holds, at the end of its record */
#define OWN_OPT_ADD 0      /* this lock's user operations */
#define OWN_OPT_MODIFY 1

static void SleepMs(long ms) {
    struct timespec t;
    t.tv_sec = ms / 1000;
    t.tv_nsec = (ms % 1000) * 1000000L;
    while (nanosleep(&t, &t) != 0) {
    }
}

static int Recv(oqDevSDK_DoorLock_Msg_S *msg) {
    switch (DEFECT) {
        case DEFECT_PWD_OVERFLOW:
            if (msg->iType == OQDEVSDK_DOORLOCK_TO_DEV_SET_SNAP_PWD) {
                oqDevSDK_DoorLock_SetSnapPwd_S *rec = msg->pData;
                const int ret = RecvMsg(msg);
                memset(rec->szPwd, '7', BROKEN_PWD_LEN);
                return ret;
            }
            break;
        case DEFECT_OWN_USER_OPS:
            if (msg->iType == OQDEVSDK_DOORLOCK_TO_DEV_SET_USER &&
                msg->uiLen == sizeof(oqDevSDK_DoorLock_SetUserCfg_S)) {
                const oqDevSDK_DoorLock_SetUserCfg_S *rec = msg->pData;
                pthread_mutex_lock(&g_lock.mutex);
                const size_t pos = UserPosition(rec->usOptIndex);
                const int known = pos < g_lock.users.usUserNum &&
                                  g_lock.users.astUser[pos].usIndex == rec->usOptIndex;
                pthread_mutex_unlock(&g_lock.mutex);
                if ((rec->ucOptType == OWN_OPT_MODIFY && !known) ||
                    (rec->ucOptType == OWN_OPT_ADD && known)) {
                    return LOCK_ERR_USER_UNKNOWN;
                }
            }
            break;
        default:
            break;
    }
    return RecvMsg(msg);
}

static int Get(oqDevSDK_DoorLock_Msg_S *msg) {
    const int type = msg->iType;
    switch (DEFECT) {
        case DEFECT_OVERFLOW_LARGE:
            if (type == OQDEVSDK_DOORLOCK_FROM_DEV_FACE_UNLOCK) {
                /* The plan copied where the face unlock setting goes. */
                memcpy(msg->pData, &g_lock.face_plan, sizeof g_lock.face_plan);
                return 0;
            }
            break;
        case DEFECT_OVERFLOW_SMALL:
            if (type == OQDEVSDK_DOORLOCK_FROM_DEV_FINGER_STORE) {
                const int64_t value = g_lock.finger_store;
                memcpy(msg->pData, &value, sizeof value);
                return 0;
            }
            break;
        case DEFECT_CRASH:
            if (type == OQDEVSDK_DOORLOCK_FROM_DEV_BELL_TONE) {
                volatile int32_t *nowhere = NULL;
                *(int32_t *)msg->pData = *nowhere;
                return 0;
            }
            break;
        case DEFECT_HANG:
            if (type == OQDEVSDK_DOORLOCK_FROM_DEV_PROMPT_TONE) {
                SleepMs(BROKEN_HANG_S * 1000L);
            }
            break;
        case DEFECT_SLOW:
            if (type == OQDEVSDK_DOORLOCK_FROM_DEV_SNAP_PWDS) {
                SleepMs(BROKEN_SLOW_MS);
            }
            break;
        case DEFECT_SWITCH_STALE:
            if (type == OQDEVSDK_DOORLOCK_FROM_DEV_SWITCH) {
                /* Leaves the channel as it found it: the previous switch's. */
                oqDevSDK_DoorLock_SwitchCfg_S *rec = msg->pData;
                if (rec->iSwitchIndex >= 0 && rec->iSwitchIndex < OQDEVSDK_DOORLOCK_SWITCH_NUM) {
                    rec->iEnable = g_lock.switches[rec->iSwitchIndex].iEnable;
                }
                return 0;
            }
            break;
        case DEFECT_WRONG_SWITCH:
            if (type == OQDEVSDK_DOORLOCK_FROM_DEV_SWITCH) {
                *(oqDevSDK_DoorLock_SwitchCfg_S *)msg->pData = g_lock.switches[0];
                return 0;
            }
            break;
        default:
            break;
    }
    const int ret = GetRuntimeInfo(msg);
    if (ret != 0) {
        return ret;
    }
    switch (DEFECT) {
        case DEFECT_COUNT_CAPACITY:
            if (type == OQDEVSDK_DOORLOCK_FROM_DEV_SNAP_PWDS) {
                ((oqDevSDK_DoorLock_SnapPwdList_S *)msg->pData)->usCount =
                    OQDEVSDK_DOORLOCK_MAX_SNAP_PWDS;
            }
            break;
        case DEFECT_COUNT_BEYOND:
            if (type == OQDEVSDK_DOORLOCK_FROM_DEV_USER_INFO) {
                ((oqDevSDK_DoorLock_UserInfo_S *)msg->pData)->usUserNum =
                    OQDEVSDK_DOORLOCK_MAX_USERS + 1;
            }
            break;
        case DEFECT_COUNT_FEWER:
            if (type == OQDEVSDK_DOORLOCK_FROM_DEV_SNAP_PWDS) {
                oqDevSDK_DoorLock_SnapPwdList_S *rec = msg->pData;
                rec->usCount = rec->usCount > 0 ? (uint16_t)(rec->usCount - 1) : 0;
            }
            break;
        case DEFECT_NO_TERMINATOR:
            if (type == OQDEVSDK_DOORLOCK_FROM_DEV_POWER_STATUS) {
                oqDevSDK_DoorLock_PowerStatus_S *rec = msg->pData;
                memset(rec->stPower[0].szDes, 'x', sizeof rec->stPower[0].szDes);
            }
            break;
        case DEFECT_RESERVED_TIME:
            if (type == OQDEVSDK_DOORLOCK_FROM_DEV_LOCK_STATUS) {
                ((oqDevSDK_DoorLock_LockStatus_S *)msg->pData)->ucReserved =
                    (uint8_t)(0x80 | (time(NULL) & 0x7f));
            }
            break;
        case DEFECT_EVENTS_TWICE:
            if (type == OQDEVSDK_DOORLOCK_FROM_DEV_UNLOCK_EVTS) {
                /* Hands the batch and keeps it. */
                oqDevSDK_DoorLock_UnlockEvtRecList_S *rec = msg->pData;
                pthread_mutex_lock(&g_lock.mutex);
                memcpy(g_lock.pending, rec->stRecord, sizeof rec->stRecord[0] * rec->usRecNum);
                g_lock.pending_num = rec->usRecNum;
                pthread_mutex_unlock(&g_lock.mutex);
            }
            break;
        default:
            break;
    }
    return 0;
}

oqDevSDK_DoorLock_Callback_S oqDevSDK_DoorLock_DeviceCallbacks(void) {
    oqDevSDK_DoorLock_Callback_S callbacks = {Recv, Get};
    return callbacks;
}

int oqDevSDK_DoorLock_DeviceEvent(const oqDevSDK_DoorLock_DeviceEvent_S *pstEvent) {
    return Reference_DeviceEvent(pstEvent);
}
