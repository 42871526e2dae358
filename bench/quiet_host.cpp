// Two host functions replaced for the benchmarks, in front of the emulator's.
//
// The log is silent: on a lock the host drops the content dumps at its
// production level, and what a log sink costs is the host's, not the
// module's. The kernel send still goes to the emulator (so that the bench can
// read what was sent), but what the emulator allocates for its own copy is
// the host's memory and is kept out of the module's heap figures; the same
// holds for the emulator's trace of forced reports.
#include <dlfcn.h>

#include "alloc_count.h"
#include "oqdev_kernel.h"
#include "oqdev_log.h"
#include "oqdev_status_report.h"

namespace {

// The emulator's definition of a host function this file replaces.
template <typename Fn>
Fn Emulator(const char *name) {
    return reinterpret_cast<Fn>(dlsym(RTLD_NEXT, name));
}

}  // namespace

extern "C" void oqdev_debug(int iLevel, const char *pszFmt, ...) {
    static_cast<void>(iLevel);
    static_cast<void>(pszFmt);
}

extern "C" int oqdev_sdk_kernel_send(oqdev_kernel_send_s *pstSend) {
    using Fn = int (*)(oqdev_kernel_send_s *);
    static const Fn fn = Emulator<Fn>("oqdev_sdk_kernel_send");
    bench::HostScope host;
    return fn != nullptr ? fn(pstSend) : -1;
}

extern "C" int oqDevSDK_report_set_force_report(int iStatusId) {
    using Fn = int (*)(int);
    static const Fn fn = Emulator<Fn>("oqDevSDK_report_set_force_report");
    bench::HostScope host;
    return fn != nullptr ? fn(iStatusId) : -1;
}
