#include <algorithm>
#include <mutex>

#include "oqdev_sim.h"
#include "oqdev_timer.h"
#include "sim_internal.h"

// The service has one common timer; its handle only needs a stable address.
struct oqdev_timer {
    int iUnused;
};

namespace oqsim {
namespace {

constexpr int kRunOnce = 0;

struct TimerState {
    bool running = false;
    int initCalls = 0;
    int finiCalls = 0;
    int nextId = 0;
    bool failAdd = false;
    std::vector<TimerJob> jobs;
};

oqdev_timer g_commTimer{0};
std::mutex g_lock;
TimerState g_timer;

std::vector<TimerJob>::iterator FindJob(int id) {
    return std::find_if(g_timer.jobs.begin(), g_timer.jobs.end(),
                        [id](const TimerJob &job) { return job.id == id; });
}

// The job as registered now, so that a job deleted meanwhile is not run.
bool CurrentJob(int id, TimerJob &out) {
    std::lock_guard<std::mutex> lock(g_lock);
    auto it = FindJob(id);
    if (it == g_timer.jobs.end()) {
        return false;
    }
    out = *it;
    return true;
}

void DropJob(int id) {
    std::lock_guard<std::mutex> lock(g_lock);
    auto it = FindJob(id);
    if (it != g_timer.jobs.end()) {
        g_timer.jobs.erase(it);
    }
}

std::vector<int> SnapshotIds() {
    std::lock_guard<std::mutex> lock(g_lock);
    std::vector<int> ids;
    ids.reserve(g_timer.jobs.size());
    for (const auto &job : g_timer.jobs) {
        ids.push_back(job.id);
    }
    return ids;
}

void EmitOp(const char *op) {
    detail::emit_event([&](detail::JsonObject &o) { o.str("ev", "timer").str("op", op); });
}

}  // namespace

bool timer_running() {
    std::lock_guard<std::mutex> lock(g_lock);
    return g_timer.running;
}

int timer_init_calls() {
    std::lock_guard<std::mutex> lock(g_lock);
    return g_timer.initCalls;
}

int timer_fini_calls() {
    std::lock_guard<std::mutex> lock(g_lock);
    return g_timer.finiCalls;
}

const std::vector<TimerJob> &timer_jobs() {
    return g_timer.jobs;
}

void timer_fail_add(bool fail) {
    std::lock_guard<std::mutex> lock(g_lock);
    g_timer.failAdd = fail;
}

void tick() {
    if (!timer_running()) {
        return;
    }
    std::vector<int> ids;
    try {
        ids = SnapshotIds();
    } catch (...) {
        return;
    }
    for (int id : ids) {
        TimerJob job;
        if (!CurrentJob(id, job) || job.fn == nullptr) {
            continue;
        }
        job.fn();
        if (job.mode == kRunOnce) {
            DropJob(id);
        }
    }
}

namespace detail {

void timer_reset() noexcept {
    std::lock_guard<std::mutex> lock(g_lock);
    g_timer.running = false;
    g_timer.initCalls = 0;
    g_timer.finiCalls = 0;
    g_timer.nextId = 0;
    g_timer.failAdd = false;
    g_timer.jobs.clear();
}

}  // namespace detail
}  // namespace oqsim

using oqsim::g_lock;
using oqsim::g_timer;

extern "C" int oqdev_timer_init(void) {
    {
        std::lock_guard<std::mutex> lock(g_lock);
        g_timer.running = true;
        ++g_timer.initCalls;
    }
    oqsim::EmitOp("init");
    return 0;
}

extern "C" int oqdev_timer_fini(void) {
    {
        std::lock_guard<std::mutex> lock(g_lock);
        g_timer.running = false;
        ++g_timer.finiCalls;
    }
    oqsim::EmitOp("fini");
    return 0;
}

extern "C" oqdev_timer *oqdev_timer_get_comm_instance(void) {
    return &oqsim::g_commTimer;
}

extern "C" int oqdev_timer_add_element(oqdev_timer *pstTimer, const char *pszName, int iInterval,
                                       int iMode, oqdev_timer_job_fn pfnJob) {
    if (pstTimer != &oqsim::g_commTimer || pszName == nullptr || pfnJob == nullptr) {
        return -1;
    }
    int id = -1;
    try {
        oqsim::TimerJob job{0, pszName, iInterval, iMode, pfnJob};
        std::lock_guard<std::mutex> lock(g_lock);
        // A refused add is still shown, with the id the caller gets.
        if (!g_timer.failAdd) {
            job.id = g_timer.nextId;
            g_timer.jobs.push_back(job);
            id = g_timer.nextId++;
        }
    } catch (...) {
        return -1;
    }
    oqsim::detail::emit_event([&](oqsim::detail::JsonObject &o) {
        o.str("ev", "timer")
            .str("op", "add")
            .str("name", pszName)
            .num("interval", iInterval)
            .num("mode", iMode)
            .num("id", id);
    });
    return id;
}

extern "C" int oqdev_timer_del_element(oqdev_timer *pstTimer, int iId) {
    if (pstTimer != &oqsim::g_commTimer) {
        return -1;
    }
    bool found = false;
    {
        std::lock_guard<std::mutex> lock(g_lock);
        auto it = oqsim::FindJob(iId);
        found = it != g_timer.jobs.end();
        if (found) {
            g_timer.jobs.erase(it);
        }
    }
    oqsim::detail::emit_event([&](oqsim::detail::JsonObject &o) {
        o.str("ev", "timer").str("op", "del").num("id", iId);
    });
    return found ? 0 : -1;
}
