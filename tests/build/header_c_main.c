/* A device application written in C: the public header alone must be enough
 * to call the entry points, and the records must match their declared sizes
 * when laid out by a C compiler (the header asserts that at compile time). */
#include <stdio.h>

#include "oqDevSDK_door_lock.h"

int header_c_send_null(void);

static int Expect(const char *what, int got, int want) {
    if (got == want) {
        return 0;
    }
    fprintf(stderr, "%s: got %d, want %d\n", what, got, want);
    return 1;
}

int main(void) {
    oqDevSDK_DoorLock_SrvMsg_S stMsg = {0};
    int iFailures = 0;

    iFailures += Expect("Send2Srv_Msg(NULL)", header_c_send_null(), OQDEVSDK_DOORLOCK_ERR_FAILED);
    iFailures += Expect("Send2Srv_Msg before Init", oqDevSDK_DoorLock_Send2Srv_Msg(&stMsg),
                        OQDEVSDK_DOORLOCK_ERR_NOT_INITED);
    iFailures += Expect("Init(NULL)", oqDevSDK_DoorLock_Init(NULL), OQDEVSDK_DOORLOCK_ERR_FAILED);
    oqDevSDK_DoorLock_Fini();
    return iFailures == 0 ? 0 : 1;
}
