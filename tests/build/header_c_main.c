/* A device application written in C99: the public header alone must be
 * enough to call the entry points, and they answer as the header says. */
#include <stdio.h>
#include <string.h>

#include "oqDevSDK_door_lock.h"

int header_c_send_null(void);
const char *header_c_version(void);

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
    iFailures += Expect("Send2Srv_Msg with a record", oqDevSDK_DoorLock_Send2Srv_Msg(&stMsg),
                        OQDEVSDK_DOORLOCK_ERR_NOT_INITED);
    iFailures += Expect("Init(NULL)", oqDevSDK_DoorLock_Init(NULL), OQDEVSDK_DOORLOCK_ERR_FAILED);
    oqDevSDK_DoorLock_Fini();
    /* The build takes its version from the header; the text must match. */
    if (strcmp(header_c_version(), DOORLOCK_EXPECTED_VERSION) != 0) {
        fprintf(stderr, "version text %s, build version %s\n", header_c_version(),
                DOORLOCK_EXPECTED_VERSION);
        ++iFailures;
    }
    return iFailures == 0 ? 0 : 1;
}
