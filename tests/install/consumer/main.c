/* A device application's smallest use of the installed module: the header
 * compiles as C, the entry points link and answer. */
#include <stdio.h>

#include <oqDevSDK_door_lock.h>

int main(void) {
    oqDevSDK_DoorLock_SrvMsg_S msg = {0};
    if (oqDevSDK_DoorLock_Send2Srv_Msg(NULL) != OQDEVSDK_DOORLOCK_ERR_FAILED) {
        fputs("null record not refused\n", stderr);
        return 1;
    }
    if (oqDevSDK_DoorLock_Send2Srv_Msg(&msg) != OQDEVSDK_DOORLOCK_ERR_NOT_INITED) {
        fputs("module claims to be inited\n", stderr);
        return 1;
    }
    puts("consumer ok");
    return 0;
}
