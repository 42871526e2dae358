// The conformance check of a device application: calls both callbacks with
// every type code, as the module would, and reports per type code what the
// device application did wrong.
#ifndef DOORLOCK_SIM_CONFORMANCE_H
#define DOORLOCK_SIM_CONFORMANCE_H

#include <chrono>
#include <cstdio>
#include <string>

#include "oqDevSDK_door_lock.h"

namespace dlsim {

// How long one callback may take. User verification may take its time-out
// on top (the check asks for a verification with kVerifyTimeoutSeconds).
constexpr std::chrono::milliseconds kCallBound{200};
constexpr uint32_t kVerifyTimeoutSeconds = 1;

// Exit status of a run that found something wrong, and of one whose device
// library could not be used.
constexpr int kExitNonConforming = 3;
constexpr int kExitNoDevice = 1;

// Runs the whole check against `device`, writes the per-type report to `out`
// and returns the number of type codes with findings. The check changes the
// device's settings and restores what it can: switches and values are set
// back, the user, snap password and alarm plan it adds are deleted again,
// and the low-battery threshold is left at kCheckLowPercent.
constexpr uint8_t kCheckLowPercent = 20;
int RunConformance(const oqDevSDK_DoorLock_Callback_S &device, const std::string &name,
                   std::chrono::milliseconds bound, FILE *out);

// doorlock-sim --conformance [--device PATH]: checks the library at
// `devicePath`, or the simulated lock when it is empty. Returns the exit
// status: 0 when every type code conforms.
int ConformanceMain(const std::string &devicePath, FILE *out, FILE *err);

}  // namespace dlsim

#endif
