// Heap accounting for the benchmarks: every allocation of the module's own
// allocator, the XML library, cJSON and operator new is counted while it is
// live, except what the host does inside its own calls (see quiet_host.cpp).
#ifndef BENCH_ALLOC_COUNT_H
#define BENCH_ALLOC_COUNT_H

#include <cstddef>
#include <cstdint>

namespace bench {

// Routes the module's, the XML library's and cJSON's allocations through the
// counter. Call once, before any document exists.
void InstallAllocHooks();

// Bytes live in counted blocks now.
int64_t LiveBytes();
// Highest LiveBytes() since the last ResetPeak().
int64_t PeakBytes();
void ResetPeak();
// Bytes of the document libraries alone (XML pages and cJSON trees), now and
// at their peak since the last ResetPeak().
int64_t XmlLiveBytes();
int64_t XmlPeakBytes();

// While one of these lives, allocations on this thread are the host's: they
// are not counted, and freeing them later changes no count.
class HostScope {
  public:
    HostScope();
    ~HostScope();
    HostScope(const HostScope &) = delete;
    HostScope &operator=(const HostScope &) = delete;
};

}  // namespace bench

#endif
