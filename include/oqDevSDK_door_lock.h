/*
 * Door-lock domain module: the interface between the module and the device
 * application that owns the lock.
 *
 * The device application installs two callbacks with oqDevSDK_DoorLock_Init.
 * Through them the module hands the lock typed messages (a user to set, a
 * switch to turn on) and asks it for typed runtime records (the lock's state,
 * its users, its plans). Platform requests become such messages, and changes
 * the module finds in the records become reports to the platform.
 *
 * What a device application must know, in short:
 * - Call Init once per process. The module cannot be stopped again: Fini
 *   leaves it running, so both callbacks must stay valid and answering until
 *   the process ends (see oqDevSDK_DoorLock_Init).
 * - The callbacks run on the host SDK's threads, two of them at a time, and
 *   may already run before Init returns (see oqDevSDK_DoorLock_Callback_S).
 * - Every record is laid out with fixed-width fields, natural alignment and
 *   explicit reserved bytes, the same on 32- and 64-bit targets; the size of
 *   each is part of the contract and is checked at compile time below.
 *   Reserved bytes and unused array slots stay zero.
 *
 * Compiles as C99 or later and as C++11 or later.
 */
#ifndef OQDEVSDK_DOOR_LOCK_H
#define OQDEVSDK_DOOR_LOCK_H

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Version of this interface and of the module built from it. */
#define OQDEVSDK_DOORLOCK_VERSION_MAJOR 1
#define OQDEVSDK_DOORLOCK_VERSION_MINOR 0
#define OQDEVSDK_DOORLOCK_VERSION_PATCH 0
/* One number for #if: 10000 * major + 100 * minor + patch. */
#define OQDEVSDK_DOORLOCK_VERSION                                                      \
    (OQDEVSDK_DOORLOCK_VERSION_MAJOR * 10000 + OQDEVSDK_DOORLOCK_VERSION_MINOR * 100 + \
     OQDEVSDK_DOORLOCK_VERSION_PATCH)
/* "major.minor.patch" */
#define OQDEVSDK_DOORLOCK_VERSION_TEXT_(a, b, c) #a "." #b "." #c
#define OQDEVSDK_DOORLOCK_VERSION_TEXT_X(a, b, c) OQDEVSDK_DOORLOCK_VERSION_TEXT_(a, b, c)
#define OQDEVSDK_DOORLOCK_VERSION_TEXT                                \
    OQDEVSDK_DOORLOCK_VERSION_TEXT_X(OQDEVSDK_DOORLOCK_VERSION_MAJOR, \
                                     OQDEVSDK_DOORLOCK_VERSION_MINOR, \
                                     OQDEVSDK_DOORLOCK_VERSION_PATCH)

#if defined(__GNUC__)
#define OQDEVSDK_DOORLOCK_API __attribute__((visibility("default")))
#else
#define OQDEVSDK_DOORLOCK_API
#endif

/* Nothing the entry points do can throw into a C++ caller. */
#if defined(__cplusplus) && __cplusplus >= 201103L
#define OQDEVSDK_DOORLOCK_NOEXCEPT noexcept
#elif defined(__cplusplus)
#define OQDEVSDK_DOORLOCK_NOEXCEPT throw()
#else
#define OQDEVSDK_DOORLOCK_NOEXCEPT
#endif

/* Compile-time check of the record layouts. Before C11 a negative array size
 * stands in for _Static_assert, so a wrong layout fails to compile in every
 * language mode. */
#if defined(__cplusplus) && __cplusplus >= 201103L
#define OQDEVSDK_DOORLOCK_CHECK(tag, cond) static_assert(cond, #tag)
#elif !defined(__cplusplus) && defined(__STDC_VERSION__) && __STDC_VERSION__ >= 201112L
#define OQDEVSDK_DOORLOCK_CHECK(tag, cond) _Static_assert(cond, #tag)
#else
#define OQDEVSDK_DOORLOCK_CHECK(tag, cond) \
    typedef char oqDevSDK_DoorLock_check_##tag[(cond) ? 1 : -1]
#endif

/* ------------------------------------------------------------------------ */
/* Entry points and the records they take                                   */

/* Results of the entry points. */
#define OQDEVSDK_DOORLOCK_OK 0
#define OQDEVSDK_DOORLOCK_ERR_FAILED 1         /* null argument, failed start-up step, refused */
#define OQDEVSDK_DOORLOCK_ERR_NOT_INITED 2     /* Send2Srv_Msg's answer to every record */
#define OQDEVSDK_DOORLOCK_ERR_ALREADY_INITED 3 /* reserved: no entry point answers it */

/*
 * One message between the module and the device application, built by the
 * module for each callback call.
 * pData belongs to the module and is valid only until the callback returns:
 * copy what you need, never keep the pointer. uiLen is always the length of
 * the record of iType (the *_LEN constants below).
 */
typedef struct oqDevSDK_DoorLock_Msg_S {
    int32_t iType;  /* type code, OQDEVSDK_DOORLOCK_TO_DEV_* or OQDEVSDK_DOORLOCK_FROM_DEV_* */
    void *pData;    /* the record */
    uint32_t uiLen; /* length of the record at pData in bytes */
} oqDevSDK_DoorLock_Msg_S;

/*
 * The device application's callbacks. Both return 0 for success and a
 * non-zero device result otherwise; the module passes the result to the
 * operation that asked, which decides what it means (the
 * OQDEVSDK_DOORLOCK_DEV_ERR_* results below carry a meaning; any other
 * non-zero value is a plain failure).
 *
 * Recv_Msg: the lock receives a message of a to-device type code. It reads
 *   at most uiLen bytes at pData. The module zero-fills the record before
 *   filling it; texts are terminated and cut to their field's width minus
 *   one. Three records carry outputs that the lock writes before it returns
 *   (marked "output" below): a snap password create, an alarm plan create
 *   and a user verification. Write nothing else.
 *   The module does not check the values it passes on (hours, indexes,
 *   flags of the platform's choosing, marked "unchecked"): validate them.
 * Get_Runtime_Info: the lock fills the record of a from-device type code. It
 *   writes at most uiLen bytes at pData. Every buffer is zero-filled except
 *   the switch record, which carries the previous switch's values beside the
 *   index the module set: write every field you own. Keep counts within
 *   their arrays and texts terminated inside their fields. The module
 *   compares each record with the last one it reported and reports every
 *   difference, reserved bytes and unused slots included: a record must not
 *   change while nothing happened.
 *
 * Threads: Recv_Msg runs on the host kernel's routing thread, one platform
 * message at a time. Get_Runtime_Info runs on the routing thread and on the
 * status-report thread. So the two callbacks, and Get_Runtime_Info with
 * itself, may run at the same time: make them thread-safe. Either may run
 * before Init returns. The module holds none of its locks during a callback.
 *
 * Time: a call should return within OQDEVSDK_DOORLOCK_CALL_BUDGET_MS; while it
 * runs, no other platform message is handled (routing thread) or no other
 * status is polled (status-report thread). The one exception is a user
 * verification (OQDEVSDK_DOORLOCK_TO_DEV_USER_VERIFY), which may wait for the
 * user up to its uiTimeout seconds.
 */
typedef struct oqDevSDK_DoorLock_Callback_S {
    int (*Recv_Msg)(oqDevSDK_DoorLock_Msg_S *pstMsg);
    int (*Get_Runtime_Info)(oqDevSDK_DoorLock_Msg_S *pstMsg);
} oqDevSDK_DoorLock_Callback_S;

/* Longest a callback call should take, in milliseconds. */
#define OQDEVSDK_DOORLOCK_CALL_BUDGET_MS 200

/* The record given to oqDevSDK_DoorLock_Init. Only the callbacks are read;
 * they are copied, so the record need not outlive the call. */
typedef struct oqDevSDK_DoorLock_InitInfo_S {
    oqDevSDK_DoorLock_Callback_S stCallback;
} oqDevSDK_DoorLock_InitInfo_S;

/* A message of the device application's own for the platform. */
typedef struct oqDevSDK_DoorLock_SrvMsg_S {
    int32_t iType;
} oqDevSDK_DoorLock_SrvMsg_S;

/*
 * Starts the module: installs the callbacks, registers the status items with
 * the host's status-report module, loads the door-lock domain into the host
 * kernel and adds the periodic system-configuration job to the host's timer
 * service. From the moment the domain is loaded the callbacks may be called,
 * before Init returns: have the lock ready first.
 * pstInitInfo: read during the call only. A null callback is accepted; every
 * operation that needs it then fails.
 *
 * Returns 0 when running; 1 for a null argument (nothing done) or when a
 * step failed, in which case everything done so far was undone (callbacks
 * uninstalled, status items unregistered, timer job removed) and Init may be
 * called again. It never returns 3.
 *
 * Call it once per process. The module does not remember that it runs: a
 * second Init installs the new callbacks and repeats every step (adding a
 * second timer job), and if the kernel then refuses to load the domain again,
 * that Init tears the running module down and returns 1. The domain stays
 * loaded in the kernel, so platform requests are still answered, with
 * failure results, but the lock is no longer asked for anything and nothing
 * is reported any more.
 */
OQDEVSDK_DOORLOCK_API int oqDevSDK_DoorLock_Init(oqDevSDK_DoorLock_InitInfo_S *pstInitInfo)
    OQDEVSDK_DOORLOCK_NOEXCEPT;

/*
 * Does not stop the module: it logs "DoorLock domain has not inited." and
 * returns, leaving the callbacks installed and the domain loaded. Keep the
 * callbacks valid until the process ends.
 */
OQDEVSDK_DOORLOCK_API void oqDevSDK_DoorLock_Fini(void) OQDEVSDK_DOORLOCK_NOEXCEPT;

/*
 * Reserved hook for messages of the device application's own; no message
 * type is supported yet and nothing is sent. pstMsg: read during the call
 * only. Returns 1 for a null argument and 2 for every record.
 */
OQDEVSDK_DOORLOCK_API int oqDevSDK_DoorLock_Send2Srv_Msg(oqDevSDK_DoorLock_SrvMsg_S *pstMsg)
    OQDEVSDK_DOORLOCK_NOEXCEPT;

/* ------------------------------------------------------------------------ */
/* Device results with a meaning of their own                               */

/* Recv_Msg of a snap password (OQDEVSDK_DOORLOCK_TO_DEV_SET_SNAP_PWD); the
 * platform is answered 0x183001, 0x183002, 0x183003 respectively. */
#define OQDEVSDK_DOORLOCK_DEV_ERR_SNAP_PWD_FULL 0x18001    /* no free slot */
#define OQDEVSDK_DOORLOCK_DEV_ERR_SNAP_PWD_UNKNOWN 0x18002 /* no password in that slot */
#define OQDEVSDK_DOORLOCK_DEV_ERR_SNAP_PWD_LIMIT 0x18003   /* use limit not acceptable */
/* Recv_Msg of a user set (OQDEVSDK_DOORLOCK_TO_DEV_SET_USER); the platform is
 * answered 0x182007 and 0x182008 respectively. */
#define OQDEVSDK_DOORLOCK_DEV_ERR_USERS_FULL 0x18004   /* user table full */
#define OQDEVSDK_DOORLOCK_DEV_ERR_USER_UNKNOWN 0x18005 /* no user at that index */

/* Get_Runtime_Info of the face unlock setting and the auto face unlock plan
 * (OQDEVSDK_DOORLOCK_FROM_DEV_FACE_UNLOCK, _AUTO_FACE_PLAN) during a status
 * poll: a result whose low 12 bits are 4 (0x18004 among them) is passed to
 * the status-report module as -1; any other failure reads as "no change". */
#define OQDEVSDK_DOORLOCK_DEV_ERR_CLASS_MASK 0xFFF
#define OQDEVSDK_DOORLOCK_DEV_ERR_CLASS_REFUSED 4
#define OQDEVSDK_DOORLOCK_DEV_ERR_IS_REFUSED(result) \
    (((result)&OQDEVSDK_DOORLOCK_DEV_ERR_CLASS_MASK) == OQDEVSDK_DOORLOCK_DEV_ERR_CLASS_REFUSED)

/* ------------------------------------------------------------------------ */
/* Type codes                                                               */

/* To the device (Recv_Msg), with the record each carries. */
#define OQDEVSDK_DOORLOCK_TO_DEV_SWITCH 0          /* oqDevSDK_DoorLock_SwitchCfg_S */
#define OQDEVSDK_DOORLOCK_TO_DEV_FINGER_STORE 1    /* int32_t, "doorFingerStore" */
#define OQDEVSDK_DOORLOCK_TO_DEV_BELL_TONE 2       /* int32_t, "doorBellTone" */
#define OQDEVSDK_DOORLOCK_TO_DEV_PROMPT_TONE 3     /* int32_t, "doorPromptTone" */
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

/* From the device (Get_Runtime_Info). The numbering is separate from the one
 * above: the same number names a different record. */
#define OQDEVSDK_DOORLOCK_FROM_DEV_SWITCH 0          /* oqDevSDK_DoorLock_SwitchCfg_S */
#define OQDEVSDK_DOORLOCK_FROM_DEV_FINGER_STORE 1    /* int32_t, "doorFingerStore" */
#define OQDEVSDK_DOORLOCK_FROM_DEV_BELL_TONE 2       /* int32_t, "doorBellTone" */
#define OQDEVSDK_DOORLOCK_FROM_DEV_PROMPT_TONE 3     /* int32_t, "doorPromptTone" */
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

/* ------------------------------------------------------------------------ */
/* Records                                                                  */

/* Low-battery threshold from the platform (to device, type 7), handed on
 * each time the periodic job gets an answer, about once a day. */
typedef struct oqDevSDK_DoorLock_DLPower_S {
    uint8_t ucLowPercent; /* percent, the platform's value cut to 8 bits, unchecked */
    uint8_t aucReserved[3];
} oqDevSDK_DoorLock_DLPower_S;
OQDEVSDK_DOORLOCK_CHECK(DLPower_S, sizeof(oqDevSDK_DoorLock_DLPower_S) ==
                                       OQDEVSDK_DOORLOCK_TO_DEV_DL_POWER_LEN);

/* Door open remind switches: the lock has this many, index 0..7. */
#define OQDEVSDK_DOORLOCK_SWITCH_NUM 8

/* One switch (to device type 0; from device type 0, where the module sets
 * iSwitchIndex and the lock fills in the rest). */
typedef struct oqDevSDK_DoorLock_SwitchCfg_S {
    int32_t iSwitchIndex; /* 0..OQDEVSDK_DOORLOCK_SWITCH_NUM-1 */
    int32_t iEnable;      /* the platform's value, unchecked */
    int32_t iChannel;     /* the platform's value, unchecked; never reported */
} oqDevSDK_DoorLock_SwitchCfg_S;
OQDEVSDK_DOORLOCK_CHECK(SwitchCfg_S, sizeof(oqDevSDK_DoorLock_SwitchCfg_S) ==
                                             OQDEVSDK_DOORLOCK_TO_DEV_SWITCH_LEN &&
                                         OQDEVSDK_DOORLOCK_TO_DEV_SWITCH_LEN ==
                                             OQDEVSDK_DOORLOCK_FROM_DEV_SWITCH_LEN);

/* Face unlock setting (to device type 9, from device type 10). */
typedef struct oqDevSDK_DoorLock_FaceUnlock_S {
    int32_t iUnlockType;        /* JSON "unlock_type", unchecked */
    int32_t iUnlockSensitivity; /* JSON "unlock_sensitivity", unchecked */
} oqDevSDK_DoorLock_FaceUnlock_S;
OQDEVSDK_DOORLOCK_CHECK(FaceUnlock_S, sizeof(oqDevSDK_DoorLock_FaceUnlock_S) ==
                                              OQDEVSDK_DOORLOCK_TO_DEV_FACE_UNLOCK_LEN &&
                                          OQDEVSDK_DOORLOCK_TO_DEV_FACE_UNLOCK_LEN ==
                                              OQDEVSDK_DOORLOCK_FROM_DEV_FACE_UNLOCK_LEN);

/* Signal changes of up to this much against the last reported signal, with
 * door and bolt unchanged, are not reported. */
#define OQDEVSDK_DOORLOCK_SIGNAL_DEADBAND 10

/* Door, bolt and radio signal (from device type 4). */
typedef struct oqDevSDK_DoorLock_LockStatus_S {
    uint8_t ucDoorState; /* reported as "Door" */
    uint8_t ucLockState; /* reported as "Lock" */
    uint8_t ucSignal;    /* reported as "Signal", see OQDEVSDK_DOORLOCK_SIGNAL_DEADBAND */
    uint8_t ucReserved;
} oqDevSDK_DoorLock_LockStatus_S;
OQDEVSDK_DOORLOCK_CHECK(LockStatus_S, sizeof(oqDevSDK_DoorLock_LockStatus_S) ==
                                          OQDEVSDK_DOORLOCK_FROM_DEV_LOCK_STATUS_LEN);

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
    uint8_t ucPowerType;    /* JSON "Type" */
    uint8_t ucRemaining;    /* JSON "Remaining", percent */
    uint8_t ucNameType;     /* OQDEVSDK_DOORLOCK_POWER_NAME_*, other: "Unknown" */
    uint8_t ucStatus;       /* JSON "Status" */
    uint16_t usValueFirst;  /* JSON "Value", first of "%d/%d" */
    uint16_t usValueSecond; /* JSON "Value", second of "%d/%d" */
    char szSubSerial[OQDEVSDK_DOORLOCK_POWER_SUBSERIAL_LEN]; /* terminated */
    char szDes[OQDEVSDK_DOORLOCK_POWER_DES_LEN];             /* terminated */
} oqDevSDK_DoorLock_PowerInfo_S;
OQDEVSDK_DOORLOCK_CHECK(PowerInfo_S,
                        sizeof(oqDevSDK_DoorLock_PowerInfo_S) == OQDEVSDK_DOORLOCK_POWER_INFO_LEN);

/* Compared byte for byte with the last reported record: unused entries stay
 * zero. */
typedef struct oqDevSDK_DoorLock_PowerStatus_S {
    uint16_t usPowerNum; /* valid entries at the start of stPower */
    uint8_t aucReserved[2];
    oqDevSDK_DoorLock_PowerInfo_S stPower[OQDEVSDK_DOORLOCK_POWER_MAX];
} oqDevSDK_DoorLock_PowerStatus_S;
OQDEVSDK_DOORLOCK_CHECK(PowerStatus_S, sizeof(oqDevSDK_DoorLock_PowerStatus_S) ==
                                           OQDEVSDK_DOORLOCK_FROM_DEV_POWER_STATUS_LEN);

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
    int32_t iBeginHour; /* unchecked */
    int32_t iBeginMinute;
    int32_t iEndHour;
    int32_t iEndMinute;
    uint8_t ucWeekday; /* bit 0 Sunday, bits 1..6 Monday..Saturday */
    uint8_t aucReserved[3];
    int32_t iNum;       /* uses allowed, OQDEVSDK_DOORLOCK_USER_UNLIMITED: no limit */
    int32_t iAvailable; /* uses left; -1 whenever iNum is -1 */
} oqDevSDK_DoorLock_UserDate_S;
OQDEVSDK_DOORLOCK_CHECK(UserDate_S,
                        sizeof(oqDevSDK_DoorLock_UserDate_S) == OQDEVSDK_DOORLOCK_USER_DATE_LEN);

/* One user of the lock. */
typedef struct oqDevSDK_DoorLock_User_S {
    uint16_t usIndex;                             /* 0-based; the platform's is 1-based */
    uint8_t ucType;                               /* the platform's user type, passed through */
    uint8_t ucExpireEnable;                       /* validity period in force */
    char szName[OQDEVSDK_DOORLOCK_USER_NAME_LEN]; /* terminated */
    char szRemarkName[OQDEVSDK_DOORLOCK_USER_NAME_LEN]; /* terminated */
    uint32_t uiBeginTime;                               /* validity, seconds since the epoch */
    uint32_t uiEndTime;                                 /* seconds since the epoch */
    uint16_t usDateNum; /* slots of astDate in use, 0..OQDEVSDK_DOORLOCK_MAX_USER_DATES */
    uint8_t aucReserved[2];
    oqDevSDK_DoorLock_UserDate_S astDate[OQDEVSDK_DOORLOCK_MAX_USER_DATES];
    uint16_t usPwdNum;    /* passwords enrolled */
    uint16_t usCardNum;   /* cards enrolled */
    uint16_t usFingerNum; /* fingerprints enrolled */
    uint16_t usFaceNum;   /* faces enrolled */
} oqDevSDK_DoorLock_User_S;
OQDEVSDK_DOORLOCK_CHECK(User_S, sizeof(oqDevSDK_DoorLock_User_S) == OQDEVSDK_DOORLOCK_USER_LEN);

/* The lock's users (from device, type 6). Compared byte for byte with the
 * last reported table: unused user slots stay zero. */
typedef struct oqDevSDK_DoorLock_UserInfo_S {
    uint16_t usUserNum; /* valid users at the start of astUser, 0..OQDEVSDK_DOORLOCK_MAX_USERS */
    uint8_t aucReserved[2];
    oqDevSDK_DoorLock_User_S astUser[OQDEVSDK_DOORLOCK_MAX_USERS];
} oqDevSDK_DoorLock_UserInfo_S;
OQDEVSDK_DOORLOCK_CHECK(UserInfo_S, sizeof(oqDevSDK_DoorLock_UserInfo_S) ==
                                        OQDEVSDK_DOORLOCK_FROM_DEV_USER_INFO_LEN);

/*
 * Adds, changes or deletes one user (to device, type 4). A delete carries
 * only ucOptType and usOptIndex; the other operations carry the whole user.
 * The response to the platform carries the user table fetched afresh (from
 * device, type 6).
 */
typedef struct oqDevSDK_DoorLock_SetUserCfg_S {
    uint8_t ucOptType; /* the platform's operation; OQDEVSDK_DOORLOCK_USER_OPT_DELETE deletes */
    uint8_t ucReserved;
    uint16_t usOptIndex; /* 0-based user the operation applies to; 0 when ucOptType is 0 */
    oqDevSDK_DoorLock_User_S stUser;
    int32_t iContentsAction; /* OQDEVSDK_DOORLOCK_USER_NO_CONTENTS when absent */
    uint8_t ucContentAction; /* passed through */
    uint8_t ucContentType;   /* passed through */
    uint16_t usContentIndex; /* 0-based */
    char szContentStr[OQDEVSDK_DOORLOCK_USER_CONTENT_LEN]; /* terminated */
} oqDevSDK_DoorLock_SetUserCfg_S;
OQDEVSDK_DOORLOCK_CHECK(SetUserCfg_S, sizeof(oqDevSDK_DoorLock_SetUserCfg_S) ==
                                          OQDEVSDK_DOORLOCK_TO_DEV_SET_USER_LEN);

/* One unlocking of the door. */
typedef struct oqDevSDK_DoorLock_UnlockEvtRec_S {
    char szUser[OQDEVSDK_DOORLOCK_UNLOCK_USER_LEN]; /* terminated */
    uint8_t ucUnlockType;                           /* how, passed through */
    uint8_t aucReserved[3];
    int32_t lUnlockTime; /* seconds since the epoch */
} oqDevSDK_DoorLock_UnlockEvtRec_S;
OQDEVSDK_DOORLOCK_CHECK(UnlockEvtRec_S, sizeof(oqDevSDK_DoorLock_UnlockEvtRec_S) ==
                                            OQDEVSDK_DOORLOCK_UNLOCK_EVT_LEN);

/* The unlock events not yet handed over, oldest first (from device, type 5).
 * Hand each event once: the module reports every non-empty batch it fetches. */
typedef struct oqDevSDK_DoorLock_UnlockEvtRecList_S {
    uint16_t usRecNum; /* 0..OQDEVSDK_DOORLOCK_MAX_UNLOCK_EVTS */
    uint8_t aucReserved[2];
    oqDevSDK_DoorLock_UnlockEvtRec_S stRecord[OQDEVSDK_DOORLOCK_MAX_UNLOCK_EVTS];
} oqDevSDK_DoorLock_UnlockEvtRecList_S;
OQDEVSDK_DOORLOCK_CHECK(UnlockEvtRecList_S, sizeof(oqDevSDK_DoorLock_UnlockEvtRecList_S) ==
                                                OQDEVSDK_DOORLOCK_FROM_DEV_UNLOCK_EVTS_LEN);

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
 * Creates or deletes one snap password (to device, type 6). For a create the
 * lock writes the password it made into szPwd and may write the slot it chose
 * into usIndex before returning; both go back to the platform.
 */
typedef struct oqDevSDK_DoorLock_SetSnapPwd_S {
    uint8_t ucOptType; /* OQDEVSDK_DOORLOCK_OPT_CREATE or _DELETE */
    uint8_t ucReserved;
    uint16_t usIndex; /* slot, 0-based; 0 in a create, then its output */
    char szName[OQDEVSDK_DOORLOCK_SNAP_NAME_LEN]; /* terminated */
    uint32_t uiBeginTime;                         /* validity, seconds since the epoch */
    uint32_t uiEndTime;                           /* seconds since the epoch */
    int32_t iLimitNum;                            /* uses allowed, unchecked */
    int32_t iAvailableCount;                      /* equal to iLimitNum */
    char szPwd[OQDEVSDK_DOORLOCK_SNAP_PWD_LEN];   /* output of a create, terminated */
} oqDevSDK_DoorLock_SetSnapPwd_S;
OQDEVSDK_DOORLOCK_CHECK(SetSnapPwd_S, sizeof(oqDevSDK_DoorLock_SetSnapPwd_S) ==
                                          OQDEVSDK_DOORLOCK_TO_DEV_SET_SNAP_PWD_LEN);

/* One snap password the lock holds. Unlike the set record, the index comes
 * first. */
typedef struct oqDevSDK_DoorLock_SnapPwdInfo_S {
    uint16_t usIndex; /* slot, 0-based */
    uint8_t aucReserved[2];
    char szName[OQDEVSDK_DOORLOCK_SNAP_NAME_LEN]; /* terminated */
    uint32_t uiBeginTime;                         /* seconds since the epoch */
    uint32_t uiEndTime;                           /* seconds since the epoch */
    int32_t iLimitNum;                            /* -1: unlimited */
    int32_t iAvailableCount;                      /* reported as -1 when iLimitNum is -1 */
} oqDevSDK_DoorLock_SnapPwdInfo_S;
OQDEVSDK_DOORLOCK_CHECK(SnapPwdInfo_S, sizeof(oqDevSDK_DoorLock_SnapPwdInfo_S) == 84);

/* The snap passwords the lock holds (from device, type 8). */
typedef struct oqDevSDK_DoorLock_SnapPwdList_S {
    uint16_t usCount; /* valid entries, 0..OQDEVSDK_DOORLOCK_MAX_SNAP_PWDS */
    uint8_t aucReserved[2];
    oqDevSDK_DoorLock_SnapPwdInfo_S astEntry[OQDEVSDK_DOORLOCK_MAX_SNAP_PWDS];
} oqDevSDK_DoorLock_SnapPwdList_S;
OQDEVSDK_DOORLOCK_CHECK(SnapPwdList_S, sizeof(oqDevSDK_DoorLock_SnapPwdList_S) ==
                                           OQDEVSDK_DOORLOCK_FROM_DEV_SNAP_PWDS_LEN);

/* A daily time period of a not-back alarm plan. */
typedef struct oqDevSDK_DoorLock_AlarmPeriod_S {
    int32_t iBeginHour; /* unchecked */
    int32_t iBeginMinute;
    int32_t iEndHour;
    int32_t iEndMinute;
} oqDevSDK_DoorLock_AlarmPeriod_S;
OQDEVSDK_DOORLOCK_CHECK(AlarmPeriod_S, sizeof(oqDevSDK_DoorLock_AlarmPeriod_S) == 16);

/* A user watched by a not-back alarm plan. */
typedef struct oqDevSDK_DoorLock_AlarmUser_S {
    uint16_t usIndex; /* user, 0-based, unchecked */
    uint8_t aucReserved[2];
    char szName[OQDEVSDK_DOORLOCK_ALARM_USER_NAME_LEN]; /* terminated */
} oqDevSDK_DoorLock_AlarmUser_S;
OQDEVSDK_DOORLOCK_CHECK(AlarmUser_S, sizeof(oqDevSDK_DoorLock_AlarmUser_S) == 68);

/* Creates, changes or deletes one not-back alarm plan (to device, type 5).
 * For a create the lock may write the plan it chose into usIndex before
 * returning; it goes back to the platform. */
typedef struct oqDevSDK_DoorLock_SetAlarmPlan_S {
    uint8_t ucOptType; /* 0 create, 2 delete (only usIndex), other non-zero: change */
    uint8_t ucReserved;
    uint16_t usIndex;   /* plan, 0-based; 0 in a create, then its output */
    uint8_t ucEnable;   /* the platform's value, unchecked */
    uint8_t ucWeekday;  /* bit 0 Sunday, bits 1..6 Monday..Saturday */
    uint16_t usDateNum; /* 0..OQDEVSDK_DOORLOCK_MAX_ALARM_PLAN_DATES */
    uint16_t usUserNum; /* 0..OQDEVSDK_DOORLOCK_MAX_ALARM_PLAN_USERS */
    uint8_t aucReserved[2];
    oqDevSDK_DoorLock_AlarmPeriod_S astDate[OQDEVSDK_DOORLOCK_MAX_ALARM_PLAN_DATES];
    oqDevSDK_DoorLock_AlarmUser_S astUser[OQDEVSDK_DOORLOCK_MAX_ALARM_PLAN_USERS];
} oqDevSDK_DoorLock_SetAlarmPlan_S;
OQDEVSDK_DOORLOCK_CHECK(SetAlarmPlan_S, sizeof(oqDevSDK_DoorLock_SetAlarmPlan_S) ==
                                            OQDEVSDK_DOORLOCK_TO_DEV_SET_ALARM_PLAN_LEN);

/* One not-back alarm plan the lock holds. Laid out without the operation
 * code of the set record. */
typedef struct oqDevSDK_DoorLock_AlarmPlanInfo_S {
    uint16_t usIndex;   /* plan, 0-based */
    uint8_t ucEnable;   /* 1 active, 0 inactive */
    uint8_t ucWeekday;  /* bit 0 Sunday, bits 1..6 Monday..Saturday */
    uint16_t usDateNum; /* 0..OQDEVSDK_DOORLOCK_MAX_ALARM_PLAN_DATES */
    uint16_t usUserNum; /* 0..OQDEVSDK_DOORLOCK_MAX_ALARM_PLAN_USERS */
    oqDevSDK_DoorLock_AlarmPeriod_S astDate[OQDEVSDK_DOORLOCK_MAX_ALARM_PLAN_DATES];
    oqDevSDK_DoorLock_AlarmUser_S astUser[OQDEVSDK_DOORLOCK_MAX_ALARM_PLAN_USERS];
} oqDevSDK_DoorLock_AlarmPlanInfo_S;
OQDEVSDK_DOORLOCK_CHECK(AlarmPlanInfo_S, sizeof(oqDevSDK_DoorLock_AlarmPlanInfo_S) == 34072);

/* The not-back alarm plans the lock holds (from device, type 7). */
typedef struct oqDevSDK_DoorLock_AlarmPlanList_S {
    uint16_t usCount; /* valid plans, 0..OQDEVSDK_DOORLOCK_MAX_ALARM_PLANS */
    uint8_t aucReserved[2];
    oqDevSDK_DoorLock_AlarmPlanInfo_S astPlan[OQDEVSDK_DOORLOCK_MAX_ALARM_PLANS];
} oqDevSDK_DoorLock_AlarmPlanList_S;
OQDEVSDK_DOORLOCK_CHECK(AlarmPlanList_S, sizeof(oqDevSDK_DoorLock_AlarmPlanList_S) ==
                                             OQDEVSDK_DOORLOCK_FROM_DEV_ALARM_PLANS_LEN);

/* Verification results the lock writes into uiVerifyResult. */
#define OQDEVSDK_DOORLOCK_VERIFY_OK 0
#define OQDEVSDK_DOORLOCK_VERIFY_FAILED 1 /* any other value: the second kind of failure */
/* uiTimeout when the platform asks for 0 or sends no number. */
#define OQDEVSDK_DOORLOCK_VERIFY_DEFAULT_TIMEOUT 120

/* Asks the lock to have a user verify themselves (to device, type 8). The
 * call may block until the user did or uiTimeout passed; the lock then
 * returns 0 with the outcome in uiVerifyResult. */
typedef struct oqDevSDK_DoorLock_UserVerify_S {
    char szUserId[OQDEVSDK_DOORLOCK_VERIFY_USER_ID_LEN]; /* terminated */
    uint32_t uiTimeout;                                  /* seconds, unchecked */
    uint32_t uiVerifyResult;                             /* output, OQDEVSDK_DOORLOCK_VERIFY_* */
} oqDevSDK_DoorLock_UserVerify_S;
OQDEVSDK_DOORLOCK_CHECK(UserVerify_S, sizeof(oqDevSDK_DoorLock_UserVerify_S) ==
                                          OQDEVSDK_DOORLOCK_TO_DEV_USER_VERIFY_LEN);

/* A time slot of the auto face unlock plan. Times of day are numbers in the
 * host SDK's encoding of "HH:MM" (the emulated SDK uses minutes since
 * midnight). Both values 0: the slot is empty. */
typedef struct oqDevSDK_DoorLock_FacePlanSlot_S {
    uint32_t uiBegin; /* time of day, host SDK's encoding */
    uint32_t uiEnd;   /* time of day, host SDK's encoding */
} oqDevSDK_DoorLock_FacePlanSlot_S;
OQDEVSDK_DOORLOCK_CHECK(FacePlanSlot_S, sizeof(oqDevSDK_DoorLock_FacePlanSlot_S) == 8);

/* The auto face unlock plan (to device, type 10; from device, type 11). A set
 * first fetches the lock's plan and hands it back changed. */
typedef struct oqDevSDK_DoorLock_AutoFaceUnlockPlan_S {
    uint32_t uiHeadWord; /* the lock's own; handed back as read */
    uint32_t uiChannel;  /* the platform's value, unchecked; never reported */
    int32_t iEnable;     /* 1 on, 0 off; never -1 together with uiHeadWord 0xFFFFFFFF */
    /* Day d as numbered by the platform's Weekday digit, 0..6. */
    oqDevSDK_DoorLock_FacePlanSlot_S astDay[OQDEVSDK_DOORLOCK_FACE_PLAN_DAYS]
                                           [OQDEVSDK_DOORLOCK_FACE_PLAN_SLOTS];
} oqDevSDK_DoorLock_AutoFaceUnlockPlan_S;
OQDEVSDK_DOORLOCK_CHECK(AutoFaceUnlockPlan_S,
                        sizeof(oqDevSDK_DoorLock_AutoFaceUnlockPlan_S) ==
                                OQDEVSDK_DOORLOCK_TO_DEV_AUTO_FACE_PLAN_LEN &&
                            OQDEVSDK_DOORLOCK_TO_DEV_AUTO_FACE_PLAN_LEN ==
                                OQDEVSDK_DOORLOCK_FROM_DEV_AUTO_FACE_PLAN_LEN);

#ifdef __cplusplus
}
#endif

#endif /* OQDEVSDK_DOOR_LOCK_H */
