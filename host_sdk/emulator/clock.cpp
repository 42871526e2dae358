#include <time.h>

#include <atomic>
#include <cstdlib>

#include "oqdev_sim.h"
#include "sim_internal.h"

namespace oqsim {
namespace {

std::atomic<bool> g_fake{false};
std::atomic<int64_t> g_now{0};

}  // namespace

void clock_set(int64_t seconds) {
    g_now = seconds;
    g_fake = true;
}

void clock_advance(int64_t seconds) {
    g_now += seconds;
}

void clock_real() {
    g_fake = false;
}

void set_tz(const char *tz) {
    if (tz == nullptr) {
        unsetenv("TZ");
    } else {
        setenv("TZ", tz, 1);
    }
    tzset();
}

namespace detail {

void clock_reset() noexcept {
    g_fake = false;
    g_now = 0;
}

}  // namespace detail
}  // namespace oqsim

// Takes the place of the C library's time() for everything loaded with the
// emulator, so that tests can hold the clock.
extern "C" time_t time(time_t *pt) noexcept {
    time_t now = 0;
    if (oqsim::g_fake) {
        now = static_cast<time_t>(oqsim::g_now.load());
    } else {
        struct timespec ts {};
        clock_gettime(CLOCK_REALTIME, &ts);
        now = ts.tv_sec;
    }
    if (pt != nullptr) {
        *pt = now;
    }
    return now;
}
