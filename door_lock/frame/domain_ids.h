// Identity of the door-lock domain and the limits shared across the module.
#ifndef NORLA_FRAME_DOMAIN_IDS_H
#define NORLA_FRAME_DOMAIN_IDS_H

namespace norla {

constexpr int kDoorLockDomainId = 4400;
constexpr const char *kDoorLockDomainName = "door_lock";
constexpr const char *kDoorLockVersion = "v1.0.0";

// Results written into a response's Result element.
constexpr int kResultOk = 0;
constexpr int kResultUnknownType = 2;
constexpr int kResultBadRequest = 3;
constexpr int kResultRefused = 4;

// Log levels of oqdev_debug.
constexpr int kLogError = 1;
constexpr int kLogWarn = 2;
constexpr int kLogInfo = 3;
constexpr int kLogDump = 4;

}  // namespace norla

#endif
