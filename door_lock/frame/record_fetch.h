// Large device records fetched into heap blocks.
#ifndef NORLA_FRAME_RECORD_FETCH_H
#define NORLA_FRAME_RECORD_FETCH_H

#include "frame/bus_dev.h"
#include "frame/memory.h"
#include "oqdev_log.h"
#include "vocabulary.h"

namespace norla {

// Fetches the device record T into a fresh zero-filled block. Null when
// either step fails, each logged: the allocation with the record's length,
// the fetch with `fetchError`.
template <typename T>
HeapPtr<T> DoorLock_FetchRecord(const char *fetchError, bool mallocFullStop = true) noexcept {
    auto rec = DoorLock_HeapZalloc<T>();
    if (!rec) {
        DoorLock_LogMallocFailed(FromDevice<T>::kLen, mallocFullStop);
        return rec;
    }
    if (DoorLock_BusDev_Fetch(*rec) != 0) {
        oqdev_debug(kLogError, "%s", fetchError);
        rec.reset();
    }
    return rec;
}

}  // namespace norla

#endif
