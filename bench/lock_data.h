// The lock the benchmarks talk to: a device application that hands out
// prepared records, and the records and requests of every case.
#ifndef BENCH_LOCK_DATA_H
#define BENCH_LOCK_DATA_H

#include <cstdint>
#include <string>

#include "oqDevSDK_door_lock.h"

namespace bench {

// Runtime records by type code; index 0..11 as the from-device codes.
constexpr int kFromDevTypes = 12;

// The device application's callbacks. Get_Runtime_Info copies the current
// record of the type (at most the buffer's length); Recv_Msg accepts
// everything and writes the lock's outputs (snap password, verification).
int DeviceRecv(oqDevSDK_DoorLock_Msg_S *msg);
int DeviceGet(oqDevSDK_DoorLock_Msg_S *msg);
// Calls DeviceGet as the module's bridge would.
int FetchRecord(int type, void *buf, uint32_t len);

// Two full sets of status records that differ in every item. The state
// picks the one DeviceGet serves; the unlock event batch is empty in state 0
// and full in states 1 and 2, which differ.
void SetStatusState(int state);

// The user table and the alarm plan list the device serves.
void ServeUsers(int users);
void ServeAlarmPlans(int plans);
const oqDevSDK_DoorLock_UserInfo_S &ServedUsers();

// Request bodies. Set requests address user / plan index 1.
std::string SetSwitchRequest();
std::string SetBellToneRequest();
std::string SetFaceUnlockRequest();
std::string SetUserRequest();
std::string EmptyRequest();
std::string SetSnapPwdRequest();
std::string SetAlarmPlanRequest(int users);
std::string TriggerVerifyRequest();
std::string SetDevPlanRequest();
std::string SystemConfigAnswer();

}  // namespace bench

#endif
