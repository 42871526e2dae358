// Heap blocks of the module. Every block is owned by a HeapPtr so that it is
// released on every path.
#ifndef NORLA_FRAME_MEMORY_H
#define NORLA_FRAME_MEMORY_H

#include <cstddef>
#include <cstdlib>
#include <memory>

#include "oqdev_log.h"
#include "vocabulary.h"

namespace norla {

// Replaces the module's allocator (tests count and fail allocations with it).
// Null entries restore malloc and free.
struct DoorLock_AllocHooks_S {
    void *(*pfnAlloc)(std::size_t size);
    void (*pfnFree)(void *ptr);
};
void DoorLock_SetAllocHooks(const DoorLock_AllocHooks_S &hooks) noexcept;

void *DoorLock_Malloc(std::size_t size) noexcept;
void DoorLock_Free(void *ptr) noexcept;

struct DoorLock_FreeDeleter {
    void operator()(void *ptr) const noexcept { DoorLock_Free(ptr); }
};
template <typename T>
using HeapPtr = std::unique_ptr<T, DoorLock_FreeDeleter>;

// The one log line of a failed allocation; one caller's message has no full
// stop.
inline void DoorLock_LogMallocFailed(unsigned int size, bool fullStop = true) noexcept {
    oqdev_debug(kLogError, "Failed to malloc mem, size=%u%s\n", size, fullStop ? "." : "");
}

// A zero-filled block of `size` bytes (at least sizeof(T)); null on failure.
// The caller logs the failure with its own message.
template <typename T>
HeapPtr<T> DoorLock_HeapZalloc(std::size_t size = sizeof(T)) noexcept {
    void *ptr = DoorLock_Malloc(size);
    if (ptr != nullptr) {
        __builtin_memset(ptr, 0, size);
    }
    return HeapPtr<T>(static_cast<T *>(ptr));
}

}  // namespace norla

#endif
