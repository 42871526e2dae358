// The host's code may throw through the module: a host XML class built on
// std::string throws std::bad_alloc when memory runs out. Every way in from
// the host runs its work through DoorLock_Guard, so that such an exception
// becomes a logged failure instead of terminating the process.
#ifndef NORLA_FRAME_HOST_GUARD_H
#define NORLA_FRAME_HOST_GUARD_H

#include <exception>

#include "oqdev_log.h"
#include "vocabulary.h"

namespace norla {

// True when `body` ran to its end; false when it threw, which is logged with
// `where`. The caller then answers as for an allocation failure.
template <typename Body>
bool DoorLock_Guard(const char *where, Body &&body) noexcept {
    try {
        body();
        return true;
    } catch (const std::exception &e) {
        oqdev_debug(kLogError, "Exception in %s: %s\n", where, e.what());
    } catch (...) {
        oqdev_debug(kLogError, "Exception in %s: unknown\n", where);
    }
    return false;
}

}  // namespace norla

#endif
