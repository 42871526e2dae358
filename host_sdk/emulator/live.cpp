#include <chrono>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <thread>

#include "oqdev_sim.h"
#include "sim_internal.h"

namespace oqsim {
namespace {

struct Message {
    int cmd;
    uint32_t seq;
    std::string body;
};

struct LiveState {
    std::mutex lock;
    std::condition_variable wake;
    std::condition_variable idle;
    std::deque<Message> queue;
    bool stopping = false;
    bool routing = false;
    std::thread router;
    std::thread poller;
    std::thread ticker;
};

LiveState g_live;

// Delivers queued messages one at a time, as the kernel's routing thread does;
// on stop it finishes what is queued first.
void RouteLoop() {
    std::unique_lock<std::mutex> lock(g_live.lock);
    for (;;) {
        g_live.wake.wait(lock, [] { return g_live.stopping || !g_live.queue.empty(); });
        if (g_live.queue.empty()) {
            return;
        }
        Message msg = std::move(g_live.queue.front());
        g_live.queue.pop_front();
        g_live.routing = true;
        lock.unlock();
        deliver(msg.cmd, msg.seq, msg.body);
        lock.lock();
        g_live.routing = false;
        g_live.idle.notify_all();
    }
}

// Runs `step` every `interval_us` until stopped.
void PeriodicLoop(void (*step)(), int interval_us) {
    std::unique_lock<std::mutex> lock(g_live.lock);
    while (!g_live.stopping) {
        lock.unlock();
        step();
        lock.lock();
        g_live.wake.wait_for(lock, std::chrono::microseconds(interval_us),
                             [] { return g_live.stopping; });
    }
}

}  // namespace

// A non-positive interval leaves that thread out.
void live_start(int poll_interval_us, int tick_interval_us) {
    live_stop();
    {
        std::lock_guard<std::mutex> lock(g_live.lock);
        g_live.stopping = false;
    }
    g_live.router = std::thread(RouteLoop);
    if (poll_interval_us > 0) {
        g_live.poller = std::thread(PeriodicLoop, &poll, poll_interval_us);
    }
    if (tick_interval_us > 0) {
        g_live.ticker = std::thread(PeriodicLoop, &tick, tick_interval_us);
    }
}

void live_stop() {
    {
        std::lock_guard<std::mutex> lock(g_live.lock);
        g_live.stopping = true;
    }
    g_live.wake.notify_all();
    for (std::thread *t : {&g_live.router, &g_live.poller, &g_live.ticker}) {
        if (t->joinable()) {
            t->join();
        }
    }
}

void deliver_async(int cmd, uint32_t seq, const std::string &body) {
    {
        std::lock_guard<std::mutex> lock(g_live.lock);
        g_live.queue.push_back({cmd, seq, body});
    }
    g_live.wake.notify_all();
}

void live_drain() {
    std::unique_lock<std::mutex> lock(g_live.lock);
    if (!g_live.router.joinable()) {
        return;
    }
    g_live.idle.wait(lock, [] { return g_live.queue.empty() && !g_live.routing; });
}

namespace detail {

void live_reset() noexcept {
    try {
        live_stop();
    } catch (...) {
        // Joining only fails for threads that were never started.
    }
    std::lock_guard<std::mutex> lock(g_live.lock);
    g_live.queue.clear();
}

}  // namespace detail
}  // namespace oqsim
