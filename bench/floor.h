// Floors of a few cases: the same request parsed, the same device records
// fetched, and the same response built and printed directly with pugixml
// (numbers and dates through snprintf, as a plain implementation writes
// them), ending at the same kernel send. No checks, copies or logs beyond
// that. Kept for one small command, where the fixed cost of a message shows,
// and for the largest documents, where the cost per entry does.
#ifndef BENCH_FLOOR_H
#define BENCH_FLOOR_H

#include <cstdint>
#include <string>

#include "oqDevSDK_door_lock.h"

namespace bench {

void FloorSetSwitch(const std::string &body, uint32_t seq);
void FloorQueryUsers(const std::string &body, uint32_t seq);
void FloorQueryAlarmPlans(const std::string &body, uint32_t seq);
void FloorUserInfoReport(const oqDevSDK_DoorLock_UserInfo_S &table, uint32_t seq);

}  // namespace bench

#endif
