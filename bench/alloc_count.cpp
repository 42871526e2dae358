#include "alloc_count.h"

#include <cjson/cJSON.h>

#include <cstdlib>
#include <new>

#include "frame/memory.h"
#include "oqdev_sim.h"

namespace bench {
namespace {

// Every counted block carries its size and owner in front of it, so that a
// free knows what to subtract, whoever allocated the block.
enum class Owner : uint32_t { kHost = 0x486f7374u, kModule = 0x4d6f646cu, kXml = 0x584d4c21u };
struct alignas(std::max_align_t) Header {
    std::size_t size;
    Owner owner;
};

int64_t g_live = 0;
int64_t g_peak = 0;
int64_t g_xmlLive = 0;
int64_t g_xmlPeak = 0;
thread_local int t_hostDepth = 0;

void *Allocate(std::size_t size, bool xml) noexcept {
    auto *header = static_cast<Header *>(std::malloc(sizeof(Header) + size));
    if (header == nullptr) {
        return nullptr;
    }
    header->size = size;
    header->owner = t_hostDepth > 0 ? Owner::kHost : (xml ? Owner::kXml : Owner::kModule);
    if (header->owner != Owner::kHost) {
        g_live += static_cast<int64_t>(size);
        g_peak = g_live > g_peak ? g_live : g_peak;
    }
    if (header->owner == Owner::kXml) {
        g_xmlLive += static_cast<int64_t>(size);
        g_xmlPeak = g_xmlLive > g_xmlPeak ? g_xmlLive : g_xmlPeak;
    }
    return header + 1;
}

void Release(void *ptr) noexcept {
    if (ptr == nullptr) {
        return;
    }
    Header *header = static_cast<Header *>(ptr) - 1;
    if (header->owner != Owner::kHost) {
        g_live -= static_cast<int64_t>(header->size);
    }
    if (header->owner == Owner::kXml) {
        g_xmlLive -= static_cast<int64_t>(header->size);
    }
    std::free(header);
}

void *ModuleAlloc(std::size_t size) {
    return Allocate(size, false);
}
void *XmlAlloc(std::size_t size) {
    return Allocate(size, true);
}
void FreeAny(void *ptr) {
    Release(ptr);
}

}  // namespace

void InstallAllocHooks() {
    norla::DoorLock_SetAllocHooks(norla::DoorLock_AllocHooks_S{&ModuleAlloc, &FreeAny});
    oqsim::xml_set_alloc_hooks(&XmlAlloc, &FreeAny);
    // The JSON trees carried inside XML count with the document libraries.
    cJSON_Hooks hooks{&XmlAlloc, &FreeAny};
    cJSON_InitHooks(&hooks);
}

int64_t LiveBytes() {
    return g_live;
}
int64_t PeakBytes() {
    return g_peak;
}
int64_t XmlLiveBytes() {
    return g_xmlLive;
}
int64_t XmlPeakBytes() {
    return g_xmlPeak;
}
void ResetPeak() {
    g_peak = g_live;
    g_xmlPeak = g_xmlLive;
}

HostScope::HostScope() {
    ++t_hostDepth;
}
HostScope::~HostScope() {
    --t_hostDepth;
}

}  // namespace bench

// The module's std::string texts (the printed document above all) come from
// here.
void *operator new(std::size_t size) {
    void *ptr = bench::Allocate(size, false);
    if (ptr == nullptr) {
        throw std::bad_alloc();
    }
    return ptr;
}
void *operator new[](std::size_t size) {
    return operator new(size);
}
void *operator new(std::size_t size, const std::nothrow_t &) noexcept {
    return bench::Allocate(size, false);
}
void *operator new[](std::size_t size, const std::nothrow_t &) noexcept {
    return bench::Allocate(size, false);
}
void operator delete(void *ptr) noexcept {
    bench::Release(ptr);
}
void operator delete[](void *ptr) noexcept {
    bench::Release(ptr);
}
void operator delete(void *ptr, std::size_t) noexcept {
    bench::Release(ptr);
}
void operator delete[](void *ptr, std::size_t) noexcept {
    bench::Release(ptr);
}
