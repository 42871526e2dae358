// The floor of each case: the same request parsed, the same device records
// filled, and the same response built and printed directly with pugixml,
// ending at the same kernel send. No checks, copies or logs beyond that.
#ifndef BENCH_FLOOR_H
#define BENCH_FLOOR_H

#include <cstdint>
#include <string>

#include "oqDevSDK_door_lock.h"

namespace bench {

void FloorSetSwitch(const std::string &body, uint32_t seq);
void FloorSetKeyValue(const std::string &body, uint32_t seq);
void FloorSetUser(const std::string &body, uint32_t seq);
void FloorQueryUsers(const std::string &body, uint32_t seq);
void FloorSetSnapPwd(const std::string &body, uint32_t seq);
void FloorQuerySnapPwds(const std::string &body, uint32_t seq);
void FloorSetAlarmPlan(const std::string &body, uint32_t seq);
void FloorQueryAlarmPlans(const std::string &body, uint32_t seq);
void FloorTriggerVerify(const std::string &body, uint32_t seq);
void FloorSetDevPlan(const std::string &body, uint32_t seq);
void FloorSystemConfig(const std::string &body, uint32_t seq);
void FloorUserInfoReport(const oqDevSDK_DoorLock_UserInfo_S &table, uint32_t seq);

// Fetches every record one poll fetches and compares it with a cached copy;
// with `copy`, a record that differs is copied into the cache.
void FloorPollCycle(bool copy);

}  // namespace bench

#endif
