/*
 * Door-lock domain module: what a device application built as a shared
 * library exports so that host-side tools can drive it without the board
 * (doorlock-sim --device, doorlock-qualify).
 *
 * The library exports oqDevSDK_DoorLock_DeviceCallbacks, and may export
 * oqDevSDK_DoorLock_DeviceEvent so that a test can make the lock produce
 * what otherwise takes a person at the door. Both are looked up by name
 * with dlsym; declaring them through this header keeps their types exact.
 *
 * This header compiles as C (C99 or later) and as C++ (C++11 or later).
 */
#ifndef OQDEVSDK_DOOR_LOCK_DEVICE_H
#define OQDEVSDK_DOOR_LOCK_DEVICE_H

#include "oqDevSDK_door_lock.h"

#ifdef __cplusplus
extern "C" {
#endif

#define OQDEVSDK_DOORLOCK_DEVICE_CALLBACKS_SYMBOL "oqDevSDK_DoorLock_DeviceCallbacks"
#define OQDEVSDK_DOORLOCK_DEVICE_EVENT_SYMBOL "oqDevSDK_DoorLock_DeviceEvent"

/*
 * Required. The two callbacks the library would hand to oqDevSDK_DoorLock_Init,
 * both non-null. Called once, before either callback; the lock starts in the
 * state it keeps after a power-up.
 */
typedef oqDevSDK_DoorLock_Callback_S (*oqDevSDK_DoorLock_DeviceCallbacks_F)(void);
OQDEVSDK_DOORLOCK_API oqDevSDK_DoorLock_Callback_S oqDevSDK_DoorLock_DeviceCallbacks(void);

/* Events a test can ask the lock for (iEvent). */
#define OQDEVSDK_DOORLOCK_DEVICE_EVT_UNLOCK 1  /* someone unlocks the door */
#define OQDEVSDK_DOORLOCK_DEVICE_EVT_DOOR 2    /* the door state changes */
#define OQDEVSDK_DOORLOCK_DEVICE_EVT_BATTERY 3 /* a battery's charge changes */

/* iValue when the lock itself picks the value (any unlock type it has; the
 * door state other than the present one). */
#define OQDEVSDK_DOORLOCK_DEVICE_ANY (-1)

/*
 * One event, as if it happened on the board at the lock's present time.
 *   UNLOCK:  szUser unlocks the door in the way iValue (the lock's
 *            ucUnlockType code, or ANY). The next unlock event batch holds
 *            it, once.
 *   DOOR:    the door state becomes iValue (the lock's ucDoorState code, or
 *            ANY for the other state).
 *   BATTERY: the power source of part iIndex (OQDEVSDK_DOORLOCK_POWER_NAME_*)
 *            now holds iValue percent.
 */
typedef struct oqDevSDK_DoorLock_DeviceEvent_S {
    int32_t iEvent; /* OQDEVSDK_DOORLOCK_DEVICE_EVT_* */
    int32_t iIndex;
    int32_t iValue;
    char szUser[OQDEVSDK_DOORLOCK_UNLOCK_USER_LEN]; /* zero-terminated */
} oqDevSDK_DoorLock_DeviceEvent_S;
OQDEVSDK_DOORLOCK_CHECK(DeviceEvent_S, sizeof(oqDevSDK_DoorLock_DeviceEvent_S) == 76);

/*
 * Optional. Makes the lock produce one event; pstEvent is read during the
 * call only. Returns 0 when the event happened (the next Get_Runtime_Info
 * shows it) and non-zero when this lock cannot produce that event or value,
 * in which case nothing changed. May be called from any thread, while the
 * callbacks run on others.
 */
typedef int (*oqDevSDK_DoorLock_DeviceEvent_F)(const oqDevSDK_DoorLock_DeviceEvent_S *pstEvent);
OQDEVSDK_DOORLOCK_API int oqDevSDK_DoorLock_DeviceEvent(
    const oqDevSDK_DoorLock_DeviceEvent_S *pstEvent);

#ifdef __cplusplus
}
#endif

#endif /* OQDEVSDK_DOOR_LOCK_DEVICE_H */
