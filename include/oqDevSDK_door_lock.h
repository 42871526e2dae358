/*
 * Door-lock domain module: the interface between the module and the device
 * application that owns the lock.
 *
 * The device application calls the three entry points below and installs two
 * callbacks. Through them the module hands the lock typed messages (a user to
 * set, a switch to turn on) and asks it for typed runtime records (the lock's
 * state, its users, its plans). Every record is laid out with fixed-width
 * fields; the size of each is part of the contract and is checked at compile
 * time below.
 *
 * This header compiles as C (C11 or later) and as C++.
 */
#ifndef OQDEVSDK_DOOR_LOCK_H
#define OQDEVSDK_DOOR_LOCK_H

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

#if defined(__GNUC__)
#define OQDEVSDK_DOORLOCK_API __attribute__((visibility("default")))
#else
#define OQDEVSDK_DOORLOCK_API
#endif

/* Nothing the entry points do can throw into a C++ caller. */
#if defined(__cplusplus)
#define OQDEVSDK_DOORLOCK_NOEXCEPT noexcept
#else
#define OQDEVSDK_DOORLOCK_NOEXCEPT
#endif

#if defined(__cplusplus)
#define OQDEVSDK_DOORLOCK_ASSERT(cond, msg) static_assert(cond, msg)
#else
#define OQDEVSDK_DOORLOCK_ASSERT(cond, msg) _Static_assert(cond, msg)
#endif

/* Results of the entry points. */
#define OQDEVSDK_DOORLOCK_OK 0
#define OQDEVSDK_DOORLOCK_ERR_FAILED 1     /* null argument or a failed start-up step */
#define OQDEVSDK_DOORLOCK_ERR_NOT_INITED 2 /* module not inited */
#define OQDEVSDK_DOORLOCK_ERR_ALREADY_INITED 3

/*
 * One message between the module and the device application.
 * pData is owned by the caller and valid only during the callback; the
 * callee reads (Recv_Msg) or writes (Get_Runtime_Info) at most uiLen bytes.
 */
typedef struct oqDevSDK_DoorLock_Msg_S {
    int32_t iType; /* type code, see the tables below */
    void *pData;
    uint32_t uiLen; /* length of the record at pData in bytes */
} oqDevSDK_DoorLock_Msg_S;

/*
 * The device application's callbacks, both returning 0 for success and a
 * non-zero device error code otherwise; the module hands the code to the
 * operation that asked and that operation decides what it means.
 *
 * Recv_Msg: the lock receives a message of a "to device" type code. It reads
 *   uiLen bytes at pData. Some records carry outputs the lock writes back
 *   before returning (the slot index and password of a new snap password, the
 *   result of a user verification).
 * Get_Runtime_Info: the lock fills the record of a "from device" type code.
 *   It writes at most uiLen bytes at pData; the buffer is zero-filled for the
 *   large records only, so a lock must write every field it owns.
 *
 * Both may be called from the kernel's routing thread, the status-report
 * thread and the timer thread, possibly at the same time. The module holds
 * none of its locks during a callback, so a callback may call back into the
 * module.
 */
typedef struct oqDevSDK_DoorLock_Callback_S {
    int (*Recv_Msg)(oqDevSDK_DoorLock_Msg_S *pstMsg);
    int (*Get_Runtime_Info)(oqDevSDK_DoorLock_Msg_S *pstMsg);
} oqDevSDK_DoorLock_Callback_S;

/* The record given to oqDevSDK_DoorLock_Init. Only the callbacks are read and
 * they are copied, so the record need not outlive the call. */
typedef struct oqDevSDK_DoorLock_InitInfo_S {
    oqDevSDK_DoorLock_Callback_S stCallback;
} oqDevSDK_DoorLock_InitInfo_S;

/* A message of the device application's own for the platform. */
typedef struct oqDevSDK_DoorLock_SrvMsg_S {
    int32_t iType;
} oqDevSDK_DoorLock_SrvMsg_S;

/* Type codes to the device (Recv_Msg) and the length of each record. */
#define OQDEVSDK_DOORLOCK_TO_DEV_SWITCH 0          /* oqDevSDK_DoorLock_SwitchCfg_S */
#define OQDEVSDK_DOORLOCK_TO_DEV_FINGER_STORE 1    /* int32_t */
#define OQDEVSDK_DOORLOCK_TO_DEV_BELL_TONE 2       /* int32_t */
#define OQDEVSDK_DOORLOCK_TO_DEV_PROMPT_TONE 3     /* int32_t */
#define OQDEVSDK_DOORLOCK_TO_DEV_SET_USER 4        /* oqDevSDK_DoorLock_SetUserCfg_S */
#define OQDEVSDK_DOORLOCK_TO_DEV_SET_ALARM_PLAN 5  /* oqDevSDK_DoorLock_SetAlarmPlan_S */
#define OQDEVSDK_DOORLOCK_TO_DEV_SET_SNAP_PWD 6    /* oqDevSDK_DoorLock_SetSnapPwd_S */
#define OQDEVSDK_DOORLOCK_TO_DEV_DL_POWER 7        /* oqDevSDK_DoorLock_DLPower_S */
#define OQDEVSDK_DOORLOCK_TO_DEV_USER_VERIFY 8     /* oqDevSDK_DoorLock_UserVerify_S */
#define OQDEVSDK_DOORLOCK_TO_DEV_FACE_UNLOCK 9     /* oqDevSDK_DoorLock_FaceUnlock_S */
#define OQDEVSDK_DOORLOCK_TO_DEV_AUTO_FACE_PLAN 10 /* oqDevSDK_DoorLock_AutoFaceUnlockPlan_S */

#define OQDEVSDK_DOORLOCK_TO_DEV_SWITCH_LEN 12u
#define OQDEVSDK_DOORLOCK_TO_DEV_FINGER_STORE_LEN 4u
#define OQDEVSDK_DOORLOCK_TO_DEV_BELL_TONE_LEN 4u
#define OQDEVSDK_DOORLOCK_TO_DEV_PROMPT_TONE_LEN 4u
#define OQDEVSDK_DOORLOCK_TO_DEV_SET_USER_LEN 340u
#define OQDEVSDK_DOORLOCK_TO_DEV_SET_ALARM_PLAN_LEN 34076u
#define OQDEVSDK_DOORLOCK_TO_DEV_SET_SNAP_PWD_LEN 100u
#define OQDEVSDK_DOORLOCK_TO_DEV_DL_POWER_LEN 4u
#define OQDEVSDK_DOORLOCK_TO_DEV_USER_VERIFY_LEN 40u
#define OQDEVSDK_DOORLOCK_TO_DEV_FACE_UNLOCK_LEN 8u
#define OQDEVSDK_DOORLOCK_TO_DEV_AUTO_FACE_PLAN_LEN 236u

/* Type codes from the device (Get_Runtime_Info). The numbering is separate
 * from the one above: the same number names a different record. */
#define OQDEVSDK_DOORLOCK_FROM_DEV_SWITCH \
    0 /* oqDevSDK_DoorLock_SwitchCfg_S, iSwitchIndex set by the module */
#define OQDEVSDK_DOORLOCK_FROM_DEV_FINGER_STORE 1    /* int32_t */
#define OQDEVSDK_DOORLOCK_FROM_DEV_BELL_TONE 2       /* int32_t */
#define OQDEVSDK_DOORLOCK_FROM_DEV_PROMPT_TONE 3     /* int32_t */
#define OQDEVSDK_DOORLOCK_FROM_DEV_LOCK_STATUS 4     /* oqDevSDK_DoorLock_LockStatus_S */
#define OQDEVSDK_DOORLOCK_FROM_DEV_UNLOCK_EVTS 5     /* oqDevSDK_DoorLock_UnlockEvtRecList_S */
#define OQDEVSDK_DOORLOCK_FROM_DEV_USER_INFO 6       /* oqDevSDK_DoorLock_UserInfo_S */
#define OQDEVSDK_DOORLOCK_FROM_DEV_ALARM_PLANS 7     /* oqDevSDK_DoorLock_AlarmPlanList_S */
#define OQDEVSDK_DOORLOCK_FROM_DEV_SNAP_PWDS 8       /* oqDevSDK_DoorLock_SnapPwdList_S */
#define OQDEVSDK_DOORLOCK_FROM_DEV_POWER_STATUS 9    /* oqDevSDK_DoorLock_PowerStatus_S */
#define OQDEVSDK_DOORLOCK_FROM_DEV_FACE_UNLOCK 10    /* oqDevSDK_DoorLock_FaceUnlock_S */
#define OQDEVSDK_DOORLOCK_FROM_DEV_AUTO_FACE_PLAN 11 /* oqDevSDK_DoorLock_AutoFaceUnlockPlan_S */

#define OQDEVSDK_DOORLOCK_FROM_DEV_SWITCH_LEN 12u
#define OQDEVSDK_DOORLOCK_FROM_DEV_FINGER_STORE_LEN 4u
#define OQDEVSDK_DOORLOCK_FROM_DEV_BELL_TONE_LEN 4u
#define OQDEVSDK_DOORLOCK_FROM_DEV_PROMPT_TONE_LEN 4u
#define OQDEVSDK_DOORLOCK_FROM_DEV_LOCK_STATUS_LEN 4u
#define OQDEVSDK_DOORLOCK_FROM_DEV_UNLOCK_EVTS_LEN 7204u
#define OQDEVSDK_DOORLOCK_FROM_DEV_USER_INFO_LEN 132004u
#define OQDEVSDK_DOORLOCK_FROM_DEV_ALARM_PLANS_LEN 272580u
#define OQDEVSDK_DOORLOCK_FROM_DEV_SNAP_PWDS_LEN 256u
#define OQDEVSDK_DOORLOCK_FROM_DEV_POWER_STATUS_LEN 180u
#define OQDEVSDK_DOORLOCK_FROM_DEV_FACE_UNLOCK_LEN 8u
#define OQDEVSDK_DOORLOCK_FROM_DEV_AUTO_FACE_PLAN_LEN 236u

/* Low-battery threshold from the platform (to device, type 7). */
typedef struct oqDevSDK_DoorLock_DLPower_S {
    uint8_t ucLowPercent; /* percent, the platform's value cut to 8 bits */
    uint8_t aucReserved[3];
} oqDevSDK_DoorLock_DLPower_S;
OQDEVSDK_DOORLOCK_ASSERT(sizeof(oqDevSDK_DoorLock_DLPower_S) ==
                             OQDEVSDK_DOORLOCK_TO_DEV_DL_POWER_LEN,
                         "DLPower record is 4 bytes");

/* Door open remind switches: the lock has this many, index 0..7. */
#define OQDEVSDK_DOORLOCK_SWITCH_NUM 8

/* One switch (to device type 0; from device type 0, where the module sets
 * iSwitchIndex and the lock fills in the rest). */
typedef struct oqDevSDK_DoorLock_SwitchCfg_S {
    int32_t iSwitchIndex; /* 0..OQDEVSDK_DOORLOCK_SWITCH_NUM-1 */
    int32_t iEnable;
    int32_t iChannel;
} oqDevSDK_DoorLock_SwitchCfg_S;
OQDEVSDK_DOORLOCK_ASSERT(sizeof(oqDevSDK_DoorLock_SwitchCfg_S) ==
                             OQDEVSDK_DOORLOCK_TO_DEV_SWITCH_LEN,
                         "switch record is 12 bytes");
OQDEVSDK_DOORLOCK_ASSERT(sizeof(oqDevSDK_DoorLock_SwitchCfg_S) ==
                             OQDEVSDK_DOORLOCK_FROM_DEV_SWITCH_LEN,
                         "switch record has one layout in both directions");
OQDEVSDK_DOORLOCK_ASSERT(offsetof(oqDevSDK_DoorLock_SwitchCfg_S, iEnable) == 4, "iEnable at 4");
OQDEVSDK_DOORLOCK_ASSERT(offsetof(oqDevSDK_DoorLock_SwitchCfg_S, iChannel) == 8, "iChannel at 8");

/* Face unlock setting (to device type 9, from device type 10). */
typedef struct oqDevSDK_DoorLock_FaceUnlock_S {
    int32_t iUnlockType;
    int32_t iUnlockSensitivity;
} oqDevSDK_DoorLock_FaceUnlock_S;
OQDEVSDK_DOORLOCK_ASSERT(sizeof(oqDevSDK_DoorLock_FaceUnlock_S) ==
                             OQDEVSDK_DOORLOCK_TO_DEV_FACE_UNLOCK_LEN,
                         "face unlock record is 8 bytes");
OQDEVSDK_DOORLOCK_ASSERT(sizeof(oqDevSDK_DoorLock_FaceUnlock_S) ==
                             OQDEVSDK_DOORLOCK_FROM_DEV_FACE_UNLOCK_LEN,
                         "face unlock record has one layout in both directions");
OQDEVSDK_DOORLOCK_ASSERT(offsetof(oqDevSDK_DoorLock_FaceUnlock_S, iUnlockSensitivity) == 4,
                         "iUnlockSensitivity at 4");

/* Door, bolt and radio signal (from device type 4). */
typedef struct oqDevSDK_DoorLock_LockStatus_S {
    uint8_t ucDoorState;
    uint8_t ucLockState;
    uint8_t ucSignal;
    uint8_t ucReserved;
} oqDevSDK_DoorLock_LockStatus_S;
OQDEVSDK_DOORLOCK_ASSERT(sizeof(oqDevSDK_DoorLock_LockStatus_S) ==
                             OQDEVSDK_DOORLOCK_FROM_DEV_LOCK_STATUS_LEN,
                         "lock status record is 4 bytes");
OQDEVSDK_DOORLOCK_ASSERT(offsetof(oqDevSDK_DoorLock_LockStatus_S, ucSignal) == 2, "ucSignal at 2");

/* Power sources (from device type 9): room for this many entries, of which
 * the platform hears about at most OQDEVSDK_DOORLOCK_POWER_REPORT_MAX. */
#define OQDEVSDK_DOORLOCK_POWER_MAX 2
#define OQDEVSDK_DOORLOCK_POWER_REPORT_MAX 2
#define OQDEVSDK_DOORLOCK_POWER_SUBSERIAL_LEN 16
#define OQDEVSDK_DOORLOCK_POWER_DES_LEN 64
#define OQDEVSDK_DOORLOCK_POWER_INFO_LEN 88u

/* ucNameType: the part of the lock a power source belongs to. */
#define OQDEVSDK_DOORLOCK_POWER_NAME_DOOR 0
#define OQDEVSDK_DOORLOCK_POWER_NAME_CAT_EYE 1
#define OQDEVSDK_DOORLOCK_POWER_NAME_VIDEO_LOCK 2

typedef struct oqDevSDK_DoorLock_PowerInfo_S {
    uint8_t ucPowerType;
    uint8_t ucRemaining;
    uint8_t ucNameType; /* OQDEVSDK_DOORLOCK_POWER_NAME_* */
    uint8_t ucStatus;
    uint16_t usValueFirst;
    uint16_t usValueSecond;
    char szSubSerial[OQDEVSDK_DOORLOCK_POWER_SUBSERIAL_LEN]; /* zero-terminated */
    char szDes[OQDEVSDK_DOORLOCK_POWER_DES_LEN];             /* zero-terminated */
} oqDevSDK_DoorLock_PowerInfo_S;
OQDEVSDK_DOORLOCK_ASSERT(sizeof(oqDevSDK_DoorLock_PowerInfo_S) == OQDEVSDK_DOORLOCK_POWER_INFO_LEN,
                         "power entry is 88 bytes");
OQDEVSDK_DOORLOCK_ASSERT(offsetof(oqDevSDK_DoorLock_PowerInfo_S, usValueFirst) == 4,
                         "usValueFirst at 4");
OQDEVSDK_DOORLOCK_ASSERT(offsetof(oqDevSDK_DoorLock_PowerInfo_S, szSubSerial) == 8,
                         "szSubSerial at 8");
OQDEVSDK_DOORLOCK_ASSERT(offsetof(oqDevSDK_DoorLock_PowerInfo_S, szDes) == 24, "szDes at 24");

typedef struct oqDevSDK_DoorLock_PowerStatus_S {
    uint16_t usPowerNum; /* valid entries in stPower, as the lock reports it */
    uint8_t aucReserved[2];
    oqDevSDK_DoorLock_PowerInfo_S stPower[OQDEVSDK_DOORLOCK_POWER_MAX];
} oqDevSDK_DoorLock_PowerStatus_S;
OQDEVSDK_DOORLOCK_ASSERT(sizeof(oqDevSDK_DoorLock_PowerStatus_S) ==
                             OQDEVSDK_DOORLOCK_FROM_DEV_POWER_STATUS_LEN,
                         "power status record is 180 bytes");
OQDEVSDK_DOORLOCK_ASSERT(offsetof(oqDevSDK_DoorLock_PowerStatus_S, stPower) == 4, "stPower at 4");

/* Limits of the user and unlock event records. */
#define OQDEVSDK_DOORLOCK_MAX_USERS 500
#define OQDEVSDK_DOORLOCK_MAX_USER_DATES 4
#define OQDEVSDK_DOORLOCK_USER_NAME_LEN 64
#define OQDEVSDK_DOORLOCK_USER_CONTENT_LEN 64
#define OQDEVSDK_DOORLOCK_MAX_UNLOCK_EVTS 100
#define OQDEVSDK_DOORLOCK_UNLOCK_USER_LEN 64
#define OQDEVSDK_DOORLOCK_USER_LEN 264u
#define OQDEVSDK_DOORLOCK_USER_DATE_LEN 28u
#define OQDEVSDK_DOORLOCK_UNLOCK_EVT_LEN 72u

/* Operation of the user set record that carries only the index. */
#define OQDEVSDK_DOORLOCK_USER_OPT_DELETE 2
/* iContentsAction when the request carries no contents action. */
#define OQDEVSDK_DOORLOCK_USER_NO_CONTENTS (-2)
/* iNum (and so iAvailable) of a time slot without a use limit. */
#define OQDEVSDK_DOORLOCK_USER_UNLIMITED (-1)

/* A weekly time slot of a user. */
typedef struct oqDevSDK_DoorLock_UserDate_S {
    int32_t iBeginHour;
    int32_t iBeginMinute;
    int32_t iEndHour;
    int32_t iEndMinute;
    uint8_t ucWeekday; /* bit 0 Sunday, bits 1..6 Monday..Saturday */
    uint8_t aucReserved[3];
    int32_t iNum;       /* uses allowed, OQDEVSDK_DOORLOCK_USER_UNLIMITED for no limit */
    int32_t iAvailable; /* uses left, -1 whenever iNum is -1 */
} oqDevSDK_DoorLock_UserDate_S;
OQDEVSDK_DOORLOCK_ASSERT(sizeof(oqDevSDK_DoorLock_UserDate_S) == OQDEVSDK_DOORLOCK_USER_DATE_LEN,
                         "user time slot is 28 bytes");
OQDEVSDK_DOORLOCK_ASSERT(offsetof(oqDevSDK_DoorLock_UserDate_S, ucWeekday) == 16,
                         "time slot: ucWeekday at 16");
OQDEVSDK_DOORLOCK_ASSERT(offsetof(oqDevSDK_DoorLock_UserDate_S, iNum) == 20,
                         "time slot: iNum at 20");

/* One user of the lock. */
typedef struct oqDevSDK_DoorLock_User_S {
    uint16_t usIndex; /* 0-based */
    uint8_t ucType;
    uint8_t ucExpireEnable;                             /* validity period in force */
    char szName[OQDEVSDK_DOORLOCK_USER_NAME_LEN];       /* zero-terminated */
    char szRemarkName[OQDEVSDK_DOORLOCK_USER_NAME_LEN]; /* zero-terminated */
    uint32_t uiBeginTime;                               /* validity, seconds since the epoch */
    uint32_t uiEndTime;
    uint16_t usDateNum; /* slots of astDate in use, 0..OQDEVSDK_DOORLOCK_MAX_USER_DATES */
    uint8_t aucReserved[2];
    oqDevSDK_DoorLock_UserDate_S astDate[OQDEVSDK_DOORLOCK_MAX_USER_DATES];
    uint16_t usPwdNum; /* credentials enrolled */
    uint16_t usCardNum;
    uint16_t usFingerNum;
    uint16_t usFaceNum;
} oqDevSDK_DoorLock_User_S;
OQDEVSDK_DOORLOCK_ASSERT(sizeof(oqDevSDK_DoorLock_User_S) == OQDEVSDK_DOORLOCK_USER_LEN,
                         "user record is 264 bytes");
OQDEVSDK_DOORLOCK_ASSERT(offsetof(oqDevSDK_DoorLock_User_S, szName) == 4, "user: szName at 4");
OQDEVSDK_DOORLOCK_ASSERT(offsetof(oqDevSDK_DoorLock_User_S, szRemarkName) == 68,
                         "user: szRemarkName at 68");
OQDEVSDK_DOORLOCK_ASSERT(offsetof(oqDevSDK_DoorLock_User_S, uiBeginTime) == 132,
                         "user: uiBeginTime at 132");
OQDEVSDK_DOORLOCK_ASSERT(offsetof(oqDevSDK_DoorLock_User_S, usDateNum) == 140,
                         "user: usDateNum at 140");
OQDEVSDK_DOORLOCK_ASSERT(offsetof(oqDevSDK_DoorLock_User_S, astDate) == 144,
                         "user: astDate at 144");
OQDEVSDK_DOORLOCK_ASSERT(offsetof(oqDevSDK_DoorLock_User_S, usPwdNum) == 256,
                         "user: usPwdNum at 256");

/* The lock's users (from device, type 6). */
typedef struct oqDevSDK_DoorLock_UserInfo_S {
    uint16_t usUserNum; /* valid users at the start of astUser, 0..OQDEVSDK_DOORLOCK_MAX_USERS */
    uint8_t aucReserved[2];
    oqDevSDK_DoorLock_User_S astUser[OQDEVSDK_DOORLOCK_MAX_USERS];
} oqDevSDK_DoorLock_UserInfo_S;
OQDEVSDK_DOORLOCK_ASSERT(sizeof(oqDevSDK_DoorLock_UserInfo_S) ==
                             OQDEVSDK_DOORLOCK_FROM_DEV_USER_INFO_LEN,
                         "user table is 132004 bytes");
OQDEVSDK_DOORLOCK_ASSERT(offsetof(oqDevSDK_DoorLock_UserInfo_S, astUser) == 4,
                         "user table: astUser at 4");

/*
 * Adds, changes or deletes one user (to device, type 4). A delete carries
 * only ucOptType and usOptIndex; the other operations carry the whole user.
 */
typedef struct oqDevSDK_DoorLock_SetUserCfg_S {
    uint8_t ucOptType;
    uint8_t ucReserved;
    uint16_t usOptIndex; /* 0-based user the operation applies to */
    oqDevSDK_DoorLock_User_S stUser;
    int32_t iContentsAction; /* OQDEVSDK_DOORLOCK_USER_NO_CONTENTS when absent */
    uint8_t ucContentAction;
    uint8_t ucContentType;
    uint16_t usContentIndex;                               /* 0-based */
    char szContentStr[OQDEVSDK_DOORLOCK_USER_CONTENT_LEN]; /* zero-terminated */
} oqDevSDK_DoorLock_SetUserCfg_S;
OQDEVSDK_DOORLOCK_ASSERT(sizeof(oqDevSDK_DoorLock_SetUserCfg_S) ==
                             OQDEVSDK_DOORLOCK_TO_DEV_SET_USER_LEN,
                         "user set record is 340 bytes");
OQDEVSDK_DOORLOCK_ASSERT(offsetof(oqDevSDK_DoorLock_SetUserCfg_S, usOptIndex) == 2,
                         "user set record: usOptIndex at 2");
OQDEVSDK_DOORLOCK_ASSERT(offsetof(oqDevSDK_DoorLock_SetUserCfg_S, stUser) == 4,
                         "user set record: stUser at 4");
OQDEVSDK_DOORLOCK_ASSERT(offsetof(oqDevSDK_DoorLock_SetUserCfg_S, iContentsAction) == 268,
                         "user set record: iContentsAction at 268");
OQDEVSDK_DOORLOCK_ASSERT(offsetof(oqDevSDK_DoorLock_SetUserCfg_S, usContentIndex) == 274,
                         "user set record: usContentIndex at 274");
OQDEVSDK_DOORLOCK_ASSERT(offsetof(oqDevSDK_DoorLock_SetUserCfg_S, szContentStr) == 276,
                         "user set record: szContentStr at 276");

/* One unlocking of the door. */
typedef struct oqDevSDK_DoorLock_UnlockEvtRec_S {
    char szUser[OQDEVSDK_DOORLOCK_UNLOCK_USER_LEN]; /* zero-terminated */
    uint8_t ucUnlockType;
    uint8_t aucReserved[3];
    int32_t lUnlockTime; /* seconds since the epoch */
} oqDevSDK_DoorLock_UnlockEvtRec_S;
OQDEVSDK_DOORLOCK_ASSERT(sizeof(oqDevSDK_DoorLock_UnlockEvtRec_S) ==
                             OQDEVSDK_DOORLOCK_UNLOCK_EVT_LEN,
                         "unlock event is 72 bytes");
OQDEVSDK_DOORLOCK_ASSERT(offsetof(oqDevSDK_DoorLock_UnlockEvtRec_S, ucUnlockType) == 64,
                         "unlock event: ucUnlockType at 64");
OQDEVSDK_DOORLOCK_ASSERT(offsetof(oqDevSDK_DoorLock_UnlockEvtRec_S, lUnlockTime) == 68,
                         "unlock event: lUnlockTime at 68");

/* The unlock events not yet collected, oldest first (from device, type 5).
 * The lock hands each event once. */
typedef struct oqDevSDK_DoorLock_UnlockEvtRecList_S {
    uint16_t usRecNum; /* 0..OQDEVSDK_DOORLOCK_MAX_UNLOCK_EVTS */
    uint8_t aucReserved[2];
    oqDevSDK_DoorLock_UnlockEvtRec_S stRecord[OQDEVSDK_DOORLOCK_MAX_UNLOCK_EVTS];
} oqDevSDK_DoorLock_UnlockEvtRecList_S;
OQDEVSDK_DOORLOCK_ASSERT(sizeof(oqDevSDK_DoorLock_UnlockEvtRecList_S) ==
                             OQDEVSDK_DOORLOCK_FROM_DEV_UNLOCK_EVTS_LEN,
                         "unlock event batch is 7204 bytes");
OQDEVSDK_DOORLOCK_ASSERT(offsetof(oqDevSDK_DoorLock_UnlockEvtRecList_S, stRecord) == 4,
                         "unlock event batch: stRecord at 4");

/* Limits of the plan and snap password records. */
#define OQDEVSDK_DOORLOCK_MAX_SNAP_PWDS 3
#define OQDEVSDK_DOORLOCK_MAX_ALARM_PLANS 8
#define OQDEVSDK_DOORLOCK_MAX_ALARM_PLAN_USERS 500
#define OQDEVSDK_DOORLOCK_MAX_ALARM_PLAN_DATES 4
#define OQDEVSDK_DOORLOCK_FACE_PLAN_DAYS 7
#define OQDEVSDK_DOORLOCK_FACE_PLAN_SLOTS 4
#define OQDEVSDK_DOORLOCK_SNAP_NAME_LEN 64
#define OQDEVSDK_DOORLOCK_SNAP_PWD_LEN 16
#define OQDEVSDK_DOORLOCK_ALARM_USER_NAME_LEN 64
#define OQDEVSDK_DOORLOCK_VERIFY_USER_ID_LEN 32

/* Operation codes of the snap password and alarm plan set records. */
#define OQDEVSDK_DOORLOCK_OPT_CREATE 0
#define OQDEVSDK_DOORLOCK_OPT_DELETE 2

/*
 * Creates or deletes one snap password (to device, type 6). The lock writes
 * the password it made into szPwd and may write the slot it chose into
 * usIndex before returning.
 */
typedef struct oqDevSDK_DoorLock_SetSnapPwd_S {
    uint8_t ucOptType; /* OQDEVSDK_DOORLOCK_OPT_CREATE or _DELETE */
    uint8_t ucReserved;
    uint16_t usIndex; /* slot, 0-based; 0 for a create */
    char szName[OQDEVSDK_DOORLOCK_SNAP_NAME_LEN];
    uint32_t uiBeginTime; /* validity, seconds since the epoch */
    uint32_t uiEndTime;
    int32_t iLimitNum; /* uses allowed */
    int32_t iAvailableCount;
    char szPwd[OQDEVSDK_DOORLOCK_SNAP_PWD_LEN]; /* output */
} oqDevSDK_DoorLock_SetSnapPwd_S;
OQDEVSDK_DOORLOCK_ASSERT(sizeof(oqDevSDK_DoorLock_SetSnapPwd_S) ==
                             OQDEVSDK_DOORLOCK_TO_DEV_SET_SNAP_PWD_LEN,
                         "snap password set record is 100 bytes");
OQDEVSDK_DOORLOCK_ASSERT(offsetof(oqDevSDK_DoorLock_SetSnapPwd_S, usIndex) == 2,
                         "set record: usIndex at 2");
OQDEVSDK_DOORLOCK_ASSERT(offsetof(oqDevSDK_DoorLock_SetSnapPwd_S, uiBeginTime) == 68,
                         "set record: uiBeginTime at 68");
OQDEVSDK_DOORLOCK_ASSERT(offsetof(oqDevSDK_DoorLock_SetSnapPwd_S, szPwd) == 84,
                         "set record: szPwd at 84");

/* One snap password the lock holds. Unlike the set record, the index comes
 * first. */
typedef struct oqDevSDK_DoorLock_SnapPwdInfo_S {
    uint16_t usIndex; /* slot, 0-based */
    uint8_t aucReserved[2];
    char szName[OQDEVSDK_DOORLOCK_SNAP_NAME_LEN];
    uint32_t uiBeginTime;
    uint32_t uiEndTime;
    int32_t iLimitNum; /* -1: unlimited */
    int32_t iAvailableCount;
} oqDevSDK_DoorLock_SnapPwdInfo_S;
OQDEVSDK_DOORLOCK_ASSERT(sizeof(oqDevSDK_DoorLock_SnapPwdInfo_S) == 84,
                         "snap password entry is 84 bytes");
OQDEVSDK_DOORLOCK_ASSERT(offsetof(oqDevSDK_DoorLock_SnapPwdInfo_S, szName) == 4,
                         "snap password entry: szName at 4");

/* The snap passwords the lock holds (from device, type 8). */
typedef struct oqDevSDK_DoorLock_SnapPwdList_S {
    uint16_t usCount;
    uint8_t aucReserved[2];
    oqDevSDK_DoorLock_SnapPwdInfo_S astEntry[OQDEVSDK_DOORLOCK_MAX_SNAP_PWDS];
} oqDevSDK_DoorLock_SnapPwdList_S;
OQDEVSDK_DOORLOCK_ASSERT(sizeof(oqDevSDK_DoorLock_SnapPwdList_S) ==
                             OQDEVSDK_DOORLOCK_FROM_DEV_SNAP_PWDS_LEN,
                         "snap password list is 256 bytes");
OQDEVSDK_DOORLOCK_ASSERT(offsetof(oqDevSDK_DoorLock_SnapPwdList_S, astEntry) == 4,
                         "snap password list: entries at 4");

/* A daily time period of a not-back alarm plan. */
typedef struct oqDevSDK_DoorLock_AlarmPeriod_S {
    int32_t iBeginHour;
    int32_t iBeginMinute;
    int32_t iEndHour;
    int32_t iEndMinute;
} oqDevSDK_DoorLock_AlarmPeriod_S;
OQDEVSDK_DOORLOCK_ASSERT(sizeof(oqDevSDK_DoorLock_AlarmPeriod_S) == 16,
                         "alarm plan period is 16 bytes");

/* A user watched by a not-back alarm plan. */
typedef struct oqDevSDK_DoorLock_AlarmUser_S {
    uint16_t usIndex; /* user, 0-based */
    uint8_t aucReserved[2];
    char szName[OQDEVSDK_DOORLOCK_ALARM_USER_NAME_LEN];
} oqDevSDK_DoorLock_AlarmUser_S;
OQDEVSDK_DOORLOCK_ASSERT(sizeof(oqDevSDK_DoorLock_AlarmUser_S) == 68,
                         "alarm plan user is 68 bytes");

/* Creates, changes or deletes one not-back alarm plan (to device, type 5). */
typedef struct oqDevSDK_DoorLock_SetAlarmPlan_S {
    uint8_t ucOptType; /* 0 create, 2 delete, other non-zero: change */
    uint8_t ucReserved;
    uint16_t usIndex; /* plan, 0-based; 0 for a create */
    uint8_t ucEnable;
    uint8_t ucWeekday; /* weekday mask */
    uint16_t usDateNum;
    uint16_t usUserNum;
    uint8_t aucReserved[2];
    oqDevSDK_DoorLock_AlarmPeriod_S astDate[OQDEVSDK_DOORLOCK_MAX_ALARM_PLAN_DATES];
    oqDevSDK_DoorLock_AlarmUser_S astUser[OQDEVSDK_DOORLOCK_MAX_ALARM_PLAN_USERS];
} oqDevSDK_DoorLock_SetAlarmPlan_S;
OQDEVSDK_DOORLOCK_ASSERT(sizeof(oqDevSDK_DoorLock_SetAlarmPlan_S) ==
                             OQDEVSDK_DOORLOCK_TO_DEV_SET_ALARM_PLAN_LEN,
                         "alarm plan set record is 34076 bytes");
OQDEVSDK_DOORLOCK_ASSERT(offsetof(oqDevSDK_DoorLock_SetAlarmPlan_S, ucEnable) == 4,
                         "alarm plan set record: ucEnable at 4");
OQDEVSDK_DOORLOCK_ASSERT(offsetof(oqDevSDK_DoorLock_SetAlarmPlan_S, astDate) == 12,
                         "alarm plan set record: astDate at 12");
OQDEVSDK_DOORLOCK_ASSERT(offsetof(oqDevSDK_DoorLock_SetAlarmPlan_S, astUser) == 76,
                         "alarm plan set record: astUser at 76");

/* One not-back alarm plan the lock holds. Laid out without the operation
 * code of the set record. */
typedef struct oqDevSDK_DoorLock_AlarmPlanInfo_S {
    uint16_t usIndex; /* plan, 0-based */
    uint8_t ucEnable;
    uint8_t ucWeekday;
    uint16_t usDateNum;
    uint16_t usUserNum;
    oqDevSDK_DoorLock_AlarmPeriod_S astDate[OQDEVSDK_DOORLOCK_MAX_ALARM_PLAN_DATES];
    oqDevSDK_DoorLock_AlarmUser_S astUser[OQDEVSDK_DOORLOCK_MAX_ALARM_PLAN_USERS];
} oqDevSDK_DoorLock_AlarmPlanInfo_S;
OQDEVSDK_DOORLOCK_ASSERT(sizeof(oqDevSDK_DoorLock_AlarmPlanInfo_S) == 34072,
                         "alarm plan entry is 34072 bytes");
OQDEVSDK_DOORLOCK_ASSERT(offsetof(oqDevSDK_DoorLock_AlarmPlanInfo_S, astDate) == 8,
                         "alarm plan entry: astDate at 8");
OQDEVSDK_DOORLOCK_ASSERT(offsetof(oqDevSDK_DoorLock_AlarmPlanInfo_S, astUser) == 72,
                         "alarm plan entry: astUser at 72");

/* The not-back alarm plans the lock holds (from device, type 7). */
typedef struct oqDevSDK_DoorLock_AlarmPlanList_S {
    uint16_t usCount;
    uint8_t aucReserved[2];
    oqDevSDK_DoorLock_AlarmPlanInfo_S astPlan[OQDEVSDK_DOORLOCK_MAX_ALARM_PLANS];
} oqDevSDK_DoorLock_AlarmPlanList_S;
OQDEVSDK_DOORLOCK_ASSERT(sizeof(oqDevSDK_DoorLock_AlarmPlanList_S) ==
                             OQDEVSDK_DOORLOCK_FROM_DEV_ALARM_PLANS_LEN,
                         "alarm plan list is 272580 bytes");
OQDEVSDK_DOORLOCK_ASSERT(offsetof(oqDevSDK_DoorLock_AlarmPlanList_S, astPlan) == 4,
                         "alarm plan list: plans at 4");

/* Verification results the lock writes into uiVerifyResult. */
#define OQDEVSDK_DOORLOCK_VERIFY_OK 0
#define OQDEVSDK_DOORLOCK_VERIFY_FAILED 1 /* any other value: the second kind of failure */

/* Asks the lock to have a user verify themselves (to device, type 8). */
typedef struct oqDevSDK_DoorLock_UserVerify_S {
    char szUserId[OQDEVSDK_DOORLOCK_VERIFY_USER_ID_LEN];
    uint32_t uiTimeout;
    uint32_t uiVerifyResult; /* output */
} oqDevSDK_DoorLock_UserVerify_S;
OQDEVSDK_DOORLOCK_ASSERT(sizeof(oqDevSDK_DoorLock_UserVerify_S) ==
                             OQDEVSDK_DOORLOCK_TO_DEV_USER_VERIFY_LEN,
                         "user verification record is 40 bytes");
OQDEVSDK_DOORLOCK_ASSERT(offsetof(oqDevSDK_DoorLock_UserVerify_S, uiTimeout) == 32,
                         "user verification record: uiTimeout at 32");

/* A time slot of the auto face unlock plan. Times of day are numbers in the
 * host SDK's encoding of "HH:MM" (the emulated SDK uses minutes since
 * midnight). Both values 0: the slot is empty. */
typedef struct oqDevSDK_DoorLock_FacePlanSlot_S {
    uint32_t uiBegin;
    uint32_t uiEnd;
} oqDevSDK_DoorLock_FacePlanSlot_S;
OQDEVSDK_DOORLOCK_ASSERT(sizeof(oqDevSDK_DoorLock_FacePlanSlot_S) == 8,
                         "face plan slot is 8 bytes");

/* The auto face unlock plan (to device, type 10; from device, type 11). */
typedef struct oqDevSDK_DoorLock_AutoFaceUnlockPlan_S {
    uint32_t uiHeadWord; /* the lock's own; the module hands it back as read */
    uint32_t uiChannel;
    int32_t iEnable; /* 1 on, 0 off */
    /* Day d as numbered by the platform's Weekday digit, 0..6. */
    oqDevSDK_DoorLock_FacePlanSlot_S astDay[OQDEVSDK_DOORLOCK_FACE_PLAN_DAYS]
                                           [OQDEVSDK_DOORLOCK_FACE_PLAN_SLOTS];
} oqDevSDK_DoorLock_AutoFaceUnlockPlan_S;
OQDEVSDK_DOORLOCK_ASSERT(sizeof(oqDevSDK_DoorLock_AutoFaceUnlockPlan_S) ==
                             OQDEVSDK_DOORLOCK_TO_DEV_AUTO_FACE_PLAN_LEN,
                         "auto face unlock plan is 236 bytes");
OQDEVSDK_DOORLOCK_ASSERT(sizeof(oqDevSDK_DoorLock_AutoFaceUnlockPlan_S) ==
                             OQDEVSDK_DOORLOCK_FROM_DEV_AUTO_FACE_PLAN_LEN,
                         "auto face unlock plan is 236 bytes both ways");
OQDEVSDK_DOORLOCK_ASSERT(offsetof(oqDevSDK_DoorLock_AutoFaceUnlockPlan_S, astDay) == 12,
                         "auto face unlock plan: astDay at 12");

/*
 * Starts the module: installs the callbacks, registers the status items with
 * the host's status-report module, loads the door-lock domain into the host
 * kernel and starts the periodic system-configuration job. The kernel may call
 * into the module (and so into the callbacks) before this returns.
 * pstInitInfo: read during the call only.
 * Returns 0 on success; 1 for a null argument or a failed step (the module is
 * then torn down completely and Init may be called again); 3 when already
 * inited.
 */
OQDEVSDK_DOORLOCK_API int oqDevSDK_DoorLock_Init(oqDevSDK_DoorLock_InitInfo_S *pstInitInfo)
    OQDEVSDK_DOORLOCK_NOEXCEPT;

/*
 * Shuts the module down when it is inited; otherwise logs
 * "DoorLock domain has not inited." and does nothing.
 */
OQDEVSDK_DOORLOCK_API void oqDevSDK_DoorLock_Fini(void) OQDEVSDK_DOORLOCK_NOEXCEPT;

/*
 * Reserved hook for messages of the device application's own; no message type
 * is supported yet. pstMsg: read during the call only.
 * Returns 1 for a null argument, 2 when the module is not inited, 1 for every
 * message type otherwise.
 */
OQDEVSDK_DOORLOCK_API int oqDevSDK_DoorLock_Send2Srv_Msg(oqDevSDK_DoorLock_SrvMsg_S *pstMsg)
    OQDEVSDK_DOORLOCK_NOEXCEPT;

#ifdef __cplusplus
}
#endif

#endif /* OQDEVSDK_DOOR_LOCK_H */
