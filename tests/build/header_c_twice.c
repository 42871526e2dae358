/* The include guard must make a second inclusion harmless. */
/* clang-format off */
#include "oqDevSDK_door_lock.h"
#include "oqDevSDK_door_lock.h"
#include "oqDevSDK_door_lock_device.h"
#include "oqDevSDK_door_lock_device.h"
/* clang-format on */

int header_c_send_null(void);

int header_c_send_null(void) {
    return oqDevSDK_DoorLock_Send2Srv_Msg(NULL);
}
