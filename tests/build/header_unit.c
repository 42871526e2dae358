/* The public headers as one translation unit of a device application sees
 * them. Compiled into header_c_check, and by header_modes.cmake in every C
 * and C++ language mode the headers support. The include guards make the
 * second inclusions harmless. */
/* clang-format off */
#include "oqDevSDK_door_lock.h"
#include "oqDevSDK_door_lock.h"
#include "oqDevSDK_door_lock_device.h"
#include "oqDevSDK_door_lock_device.h"
/* clang-format on */

/* The offsets a device application written against the tables of the guide
 * relies on. The header checks only sizes; a field moved inside a record of
 * the same size would slip through it. */
#define AT(rec, field, offset) \
    OQDEVSDK_DOORLOCK_CHECK(rec##_##field, offsetof(oqDevSDK_DoorLock_##rec, field) == (offset))

AT(SwitchCfg_S, iEnable, 4);
AT(SwitchCfg_S, iChannel, 8);
AT(FaceUnlock_S, iUnlockSensitivity, 4);
AT(LockStatus_S, ucSignal, 2);
AT(PowerInfo_S, usValueFirst, 4);
AT(PowerInfo_S, szSubSerial, 8);
AT(PowerInfo_S, szDes, 24);
AT(PowerStatus_S, stPower, 4);
AT(UserDate_S, ucWeekday, 16);
AT(UserDate_S, iNum, 20);
AT(User_S, szName, 4);
AT(User_S, szRemarkName, 68);
AT(User_S, uiBeginTime, 132);
AT(User_S, usDateNum, 140);
AT(User_S, astDate, 144);
AT(User_S, usPwdNum, 256);
AT(UserInfo_S, astUser, 4);
AT(SetUserCfg_S, usOptIndex, 2);
AT(SetUserCfg_S, stUser, 4);
AT(SetUserCfg_S, iContentsAction, 268);
AT(SetUserCfg_S, usContentIndex, 274);
AT(SetUserCfg_S, szContentStr, 276);
AT(UnlockEvtRec_S, ucUnlockType, 64);
AT(UnlockEvtRec_S, lUnlockTime, 68);
AT(UnlockEvtRecList_S, stRecord, 4);
AT(SetSnapPwd_S, usIndex, 2);
AT(SetSnapPwd_S, uiBeginTime, 68);
AT(SetSnapPwd_S, szPwd, 84);
AT(SnapPwdInfo_S, szName, 4);
AT(SnapPwdList_S, astEntry, 4);
AT(SetAlarmPlan_S, ucEnable, 4);
AT(SetAlarmPlan_S, astDate, 12);
AT(SetAlarmPlan_S, astUser, 76);
AT(AlarmPlanInfo_S, astDate, 8);
AT(AlarmPlanInfo_S, astUser, 72);
AT(AlarmPlanList_S, astPlan, 4);
AT(UserVerify_S, uiTimeout, 32);
AT(UserVerify_S, uiVerifyResult, 36);
AT(AutoFaceUnlockPlan_S, iEnable, 8);
AT(AutoFaceUnlockPlan_S, astDay, 12);

/* header_modes.cmake defines this to prove that the check fires in every
 * language mode, the pre-C11 fallback included. */
#ifdef DOORLOCK_BREAK_LAYOUT
AT(DLPower_S, aucReserved, 2);
#endif

OQDEVSDK_DOORLOCK_CHECK(version_number,
                        OQDEVSDK_DOORLOCK_VERSION == OQDEVSDK_DOORLOCK_VERSION_MAJOR * 10000 +
                                                         OQDEVSDK_DOORLOCK_VERSION_MINOR * 100 +
                                                         OQDEVSDK_DOORLOCK_VERSION_PATCH);

int header_c_send_null(void);
const char *header_c_version(void);

int header_c_send_null(void) {
    return oqDevSDK_DoorLock_Send2Srv_Msg(NULL);
}

const char *header_c_version(void) {
    return OQDEVSDK_DOORLOCK_VERSION_TEXT;
}
