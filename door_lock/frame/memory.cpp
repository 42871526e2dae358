#include "frame/memory.h"

#include <atomic>

namespace norla {
namespace {

std::atomic<void *(*)(std::size_t)> g_pfnAlloc{nullptr};
std::atomic<void (*)(void *)> g_pfnFree{nullptr};

}  // namespace

void DoorLock_SetAllocHooks(const DoorLock_AllocHooks_S &hooks) noexcept {
    g_pfnAlloc.store(hooks.pfnAlloc, std::memory_order_relaxed);
    g_pfnFree.store(hooks.pfnFree, std::memory_order_relaxed);
}

void *DoorLock_Malloc(std::size_t size) noexcept {
    auto *pfnAlloc = g_pfnAlloc.load(std::memory_order_relaxed);
    return pfnAlloc != nullptr ? pfnAlloc(size) : std::malloc(size);
}

void DoorLock_Free(void *ptr) noexcept {
    auto *pfnFree = g_pfnFree.load(std::memory_order_relaxed);
    if (pfnFree != nullptr) {
        pfnFree(ptr);
    } else {
        std::free(ptr);
    }
}

}  // namespace norla
