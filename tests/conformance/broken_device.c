/* A device application that breaks the callbacks' contract on purpose, one
 * way per type code it gets wrong, so that the conformance check has
 * something to find. Everything it does not break it answers correctly. */
#include <string.h>
#include <time.h>

#include "oqDevSDK_door_lock_device.h"

#define BROKEN_SLOW_MS 300    /* beyond the check's bound of one call */
#define BROKEN_ERROR 0x18000  /* answered to a setting it should take */
#define BROKEN_SIGNAL_STEP 20 /* more drift than the module ignores */

static int g_signal = 40;
static oqDevSDK_DoorLock_FaceUnlock_S g_face = {1, 2};

static void SleepMs(long ms) {
    struct timespec t;
    t.tv_sec = ms / 1000;
    t.tv_nsec = (ms % 1000) * 1000000L;
    nanosleep(&t, NULL);
}

static int RecvMsg(oqDevSDK_DoorLock_Msg_S *msg) {
    switch (msg->iType) {
        case OQDEVSDK_DOORLOCK_TO_DEV_BELL_TONE:
            return BROKEN_ERROR;
        case OQDEVSDK_DOORLOCK_TO_DEV_SET_SNAP_PWD: {
            /* The password fills its field without a terminator and is not
             * kept in the list. */
            oqDevSDK_DoorLock_SetSnapPwd_S *rec = msg->pData;
            memset(rec->szPwd, '7', sizeof rec->szPwd);
            return 0;
        }
        case OQDEVSDK_DOORLOCK_TO_DEV_FACE_UNLOCK:
            memcpy(&g_face, msg->pData, sizeof g_face);
            return 0;
        default:
            /* Takes every other message and forgets it: a switch turned on
             * still reads as off. */
            return 0;
    }
}

static int GetRuntimeInfo(oqDevSDK_DoorLock_Msg_S *msg) {
    switch (msg->iType) {
        case OQDEVSDK_DOORLOCK_FROM_DEV_SWITCH: {
            oqDevSDK_DoorLock_SwitchCfg_S *rec = msg->pData;
            rec->iEnable = 0;
            rec->iChannel = 1;
            return 0;
        }
        case OQDEVSDK_DOORLOCK_FROM_DEV_FINGER_STORE: {
            /* A 64-bit value into a 32-bit record. */
            const int64_t value = 1;
            memcpy(msg->pData, &value, sizeof value);
            return 0;
        }
        case OQDEVSDK_DOORLOCK_FROM_DEV_LOCK_STATUS: {
            oqDevSDK_DoorLock_LockStatus_S *rec = msg->pData;
            g_signal += BROKEN_SIGNAL_STEP;
            rec->ucSignal = (uint8_t)g_signal;
            return 0;
        }
        case OQDEVSDK_DOORLOCK_FROM_DEV_UNLOCK_EVTS: {
            /* The same event every time. */
            oqDevSDK_DoorLock_UnlockEvtRecList_S *rec = msg->pData;
            rec->usRecNum = 1;
            strcpy(rec->stRecord[0].szUser, "alice");
            return 0;
        }
        case OQDEVSDK_DOORLOCK_FROM_DEV_USER_INFO: {
            oqDevSDK_DoorLock_UserInfo_S *rec = msg->pData;
            rec->usUserNum = OQDEVSDK_DOORLOCK_MAX_USERS + 1;
            return 0;
        }
        case OQDEVSDK_DOORLOCK_FROM_DEV_SNAP_PWDS:
            SleepMs(BROKEN_SLOW_MS);
            return 0;
        case OQDEVSDK_DOORLOCK_FROM_DEV_POWER_STATUS: {
            oqDevSDK_DoorLock_PowerStatus_S *rec = msg->pData;
            rec->usPowerNum = 1;
            memset(rec->stPower[0].szDes, 'x', sizeof rec->stPower[0].szDes);
            return 0;
        }
        case OQDEVSDK_DOORLOCK_FROM_DEV_FACE_UNLOCK: {
            /* Leaves the second field as it found it. */
            oqDevSDK_DoorLock_FaceUnlock_S *rec = msg->pData;
            rec->iUnlockType = g_face.iUnlockType;
            return 0;
        }
        default:
            /* Zero-filled records: the other values, lists and the plan. */
            return 0;
    }
}

oqDevSDK_DoorLock_Callback_S oqDevSDK_DoorLock_DeviceCallbacks(void) {
    oqDevSDK_DoorLock_Callback_S callbacks = {RecvMsg, GetRuntimeInfo};
    return callbacks;
}
