/*
 * A device application's process: starts the door-lock module with the
 * lock's callbacks and keeps it running until it is told to stop.
 *
 *   door_lock_app            run until SIGINT or SIGTERM
 *   door_lock_app SECONDS    run that long (a smoke test)
 */
#include <signal.h>
#include <stdio.h>
#include <stdlib.h>
#include <unistd.h>

#include "oqDevSDK_door_lock_device.h"

int main(int argc, char **argv) {
    const long seconds = argc > 1 ? strtol(argv[1], NULL, 10) : -1;

    /* Block the stop signals before the module starts its threads, so that
     * only sigwait below sees them. */
    sigset_t stop;
    sigemptyset(&stop);
    sigaddset(&stop, SIGINT);
    sigaddset(&stop, SIGTERM);
    sigprocmask(SIG_BLOCK, &stop, NULL);

    /* The record is copied during the call. The kernel may call the
     * callbacks before Init returns, so the lock is ready before this. */
    oqDevSDK_DoorLock_InitInfo_S info = {oqDevSDK_DoorLock_DeviceCallbacks()};
    const int ret = oqDevSDK_DoorLock_Init(&info);
    if (ret != OQDEVSDK_DOORLOCK_OK) {
        fprintf(stderr, "door_lock_app: the door-lock module did not start (%d)\n", ret);
        return 1;
    }
    if (seconds >= 0) {
        sleep((unsigned)seconds);
    } else {
        int sig = 0;
        sigwait(&stop, &sig);
    }
    oqDevSDK_DoorLock_Fini();
    return 0;
}
