// Concurrency: the module calls the lock from the kernel's routing thread,
// the status-report thread and the timer thread, possibly at the same time.
//
// Made deterministic: a poll is stopped in the middle of filling its record
// (a trapped page of the buffer) while another thread changes what the record
// holds; once both are done, the polled record must be the state before the
// change or the state after it, never a mix. A lock that serialises its
// callbacks passes whether it holds its lock while filling (the change waits)
// or fills from a copy; a lock without locking hands over a torn record. The
// poll is stopped once at the first touch of the page and once at the second
// pass over it, for locks that clear the whole record before filling it.
//
// Then the three threads run freely for a while, as on a board, for a race
// detector to watch (see docs/integration.md) and for crashes to show.
#include <algorithm>
#include <atomic>
#include <memory>
#include <thread>

#include "checks.h"
#include "units.h"

namespace qualify {
namespace {

// How long the change may take while the poll is held is one call's bound
// (a lock that takes longer is waiting for the poll, as it should); the poll
// may take this many bounds to reach the trap, and at least kMinReach.
constexpr int kReachBounds = 10;
constexpr milliseconds kMinReach{2000};
constexpr milliseconds kFreeRun{300};
// Users of the plan the poll is stopped in, enough for it to span pages.
constexpr uint16_t kPlanUsers = 300;
constexpr int kPollSlot = 1;
constexpr int kChangeSlot = 2;

using Mode = GuardedBuffer::TrapMode;

bool WaitFor(const std::function<bool()> &done, milliseconds limit) {
    const auto until = std::chrono::steady_clock::now() + limit;
    while (!done()) {
        if (std::chrono::steady_clock::now() > until) {
            return false;
        }
        std::this_thread::sleep_for(milliseconds{1});
    }
    return true;
}

std::vector<uint8_t> Quiet(Session &s, int type) {
    std::vector<uint8_t> rec(RecordOf(Dir::From, type).len, 0);
    return s.Get(type, rec.data(), static_cast<uint32_t>(rec.size())) == 0 ? rec
                                                                           : std::vector<uint8_t>{};
}

// One stopped poll of `type` with `change` made meanwhile. False when the
// poll never reached the trap (nothing to see in this mode).
bool TornPoll(Session &s, int type, uint32_t trapAt, Mode mode, const std::string &what,
              const std::function<void()> &change) {
    const std::vector<uint8_t> before = Quiet(s, type);
    GuardedBuffer buffer(RecordOf(Dir::From, type).len);
    buffer.Trap(trapAt, mode);
    std::atomic<bool> polled{false};
    std::atomic<bool> changed{false};
    std::thread poll([&] {
        s.Step([&] { s.CallInPlace(Dir::From, type, buffer, kPollSlot); });
        polled = true;
    });
    const milliseconds reach = std::max(kMinReach, s.options().bound * kReachBounds);
    const bool reached = WaitFor([&] { return TrapSprung() || polled.load(); }, reach);
    if (!reached || polled.load()) {
        buffer.Release();
        poll.join();
        return false;
    }
    std::thread other([&] {
        change();
        changed = true;
    });
    WaitFor([&] { return changed.load(); }, s.options().bound);
    buffer.Release();
    poll.join();
    other.join();
    const std::vector<uint8_t> after = Quiet(s, type);
    if (before.empty() || after.empty()) {
        return true;
    }
    const uint8_t *got = buffer.data();
    const size_t len = before.size();
    if (std::memcmp(got, before.data(), len) != 0 && std::memcmp(got, after.data(), len) != 0) {
        const size_t fromBefore = FirstDifference(got, before.data(), len);
        const size_t fromAfter = FirstDifference(got, after.data(), len);
        s.Fail(Dir::From, type,
               "a poll that ran while another thread " + what +
                   " returned a record that is neither the state before (differs at byte " +
                   std::to_string(fromBefore) + ") nor after (differs at byte " +
                   std::to_string(fromAfter) +
                   "): the callbacks do not serialise access to the lock's state");
    }
    return true;
}

// A plan with users whose names fill several pages of the plan list.
std::vector<uint8_t> BigPlan(Session &s) {
    std::vector<uint8_t> rec = SampleRecord(s, OQDEVSDK_DOORLOCK_TO_DEV_SET_ALARM_PLAN);
    auto *plan = static_cast<oqDevSDK_DoorLock_SetAlarmPlan_S *>(static_cast<void *>(rec.data()));
    plan->usUserNum = kPlanUsers;
    for (uint16_t u = 0; u < kPlanUsers; ++u) {
        plan->astUser[u].usIndex = u;
        std::snprintf(plan->astUser[u].szName, sizeof plan->astUser[u].szName, "%s-%u", kCheckName,
                      static_cast<unsigned>(u));
    }
    return rec;
}

// Polls the plan list while the plan it is filling is deleted.
void AlarmPlans(Session &s) {
    const int to = OQDEVSDK_DOORLOCK_TO_DEV_SET_ALARM_PLAN;
    const int from = OQDEVSDK_DOORLOCK_FROM_DEV_ALARM_PLANS;
    const uint32_t trapAt =
        static_cast<uint32_t>(offsetof(oqDevSDK_DoorLock_AlarmPlanList_S, astPlan) +
                              offsetof(oqDevSDK_DoorLock_AlarmPlanInfo_S, astUser) +
                              sizeof(oqDevSDK_DoorLock_AlarmUser_S) * (kPlanUsers / 2));
    bool reached = false;
    for (Mode mode : {Mode::kFirstTouch, Mode::kSecondPass}) {
        // Only plans of the check's own: the stopped poll must fill a plan
        // the change deletes.
        std::vector<uint8_t> list = Quiet(s, from);
        if (list.empty()) {
            return;
        }
        uint16_t count = 0;
        std::memcpy(&count, list.data(), sizeof count);
        if (count != 0) {
            s.NotChecked(
                "the lock holds not-back alarm plans of its own; the stopped poll "
                "needs an empty list");
            return;
        }
        std::vector<uint8_t> plan = BigPlan(s);
        if (s.Recv(to, plan.data(), static_cast<uint32_t>(plan.size())) != 0) {
            return;
        }
        oqDevSDK_DoorLock_SetAlarmPlan_S del{};
        del.ucOptType = OQDEVSDK_DOORLOCK_OPT_DELETE;
        std::memcpy(&del.usIndex, plan.data() + offsetof(oqDevSDK_DoorLock_SetAlarmPlan_S, usIndex),
                    sizeof del.usIndex);
        const bool stopped = TornPoll(s, from, trapAt, mode, "deleted the plan being polled", [&] {
            s.Step([&] {
                auto rec = std::make_unique<oqDevSDK_DoorLock_SetAlarmPlan_S>(del);
                GuardedBuffer b(sizeof *rec);
                std::memcpy(b.data(), rec.get(), sizeof *rec);
                s.CallInPlace(Dir::To, to, b, kChangeSlot);
            });
        });
        reached = reached || stopped;
        s.Recv(to, &del);  // whatever is left of it
    }
    if (reached) {
        s.Checked(Dir::From, from);
    }
}

// Kernel, status-report and timer threads, each doing what it does on a
// board, for a while.
void FreeRun(Session &s) {
    std::atomic<bool> stop{false};
    auto loop = [&](const std::function<void()> &body) {
        return std::thread([&, body] {
            while (!stop.load()) {
                s.Step(body);
            }
        });
    };
    const std::vector<uint8_t> face = SampleRecord(s, OQDEVSDK_DOORLOCK_TO_DEV_AUTO_FACE_PLAN);
    const std::vector<uint8_t> snap = SampleRecord(s, OQDEVSDK_DOORLOCK_TO_DEV_SET_SNAP_PWD);
    const std::vector<uint8_t> power = SampleRecord(s, OQDEVSDK_DOORLOCK_TO_DEV_DL_POWER);
    auto call = [&](Dir dir, int type, const std::vector<uint8_t> &rec, int slot) {
        GuardedBuffer b(static_cast<uint32_t>(rec.size()));
        std::memcpy(b.data(), rec.data(), rec.size());
        return s.CallInPlace(dir, type, b, slot);
    };
    auto fresh = [](int type) { return std::vector<uint8_t>(RecordOf(Dir::From, type).len, 0); };
    std::thread kernel = loop([&] {
        call(Dir::To, OQDEVSDK_DOORLOCK_TO_DEV_AUTO_FACE_PLAN, face, 3);
        GuardedBuffer created(static_cast<uint32_t>(snap.size()));
        std::memcpy(created.data(), snap.data(), snap.size());
        if (s.CallInPlace(Dir::To, OQDEVSDK_DOORLOCK_TO_DEV_SET_SNAP_PWD, created, 3) == 0) {
            oqDevSDK_DoorLock_SetSnapPwd_S del{};
            del.ucOptType = OQDEVSDK_DOORLOCK_OPT_DELETE;
            std::memcpy(&del.usIndex,
                        created.data() + offsetof(oqDevSDK_DoorLock_SetSnapPwd_S, usIndex),
                        sizeof del.usIndex);
            std::vector<uint8_t> rec(sizeof del);
            std::memcpy(rec.data(), &del, sizeof del);
            call(Dir::To, OQDEVSDK_DOORLOCK_TO_DEV_SET_SNAP_PWD, rec, 3);
        }
        call(Dir::From, OQDEVSDK_DOORLOCK_FROM_DEV_SNAP_PWDS,
             fresh(OQDEVSDK_DOORLOCK_FROM_DEV_SNAP_PWDS), 3);
    });
    std::thread status = loop([&] {
        for (const Record &r : AllRecords()) {
            if (r.dir == Dir::From) {
                call(Dir::From, r.type, fresh(r.type), 4);
            }
        }
    });
    std::thread timer = loop([&] {
        call(Dir::To, OQDEVSDK_DOORLOCK_TO_DEV_DL_POWER, power, 5);
        call(Dir::From, OQDEVSDK_DOORLOCK_FROM_DEV_POWER_STATUS,
             fresh(OQDEVSDK_DOORLOCK_FROM_DEV_POWER_STATUS), 5);
    });
    std::this_thread::sleep_for(kFreeRun);
    stop = true;
    kernel.join();
    status.join();
    timer.join();
}

}  // namespace

void RunConcurrency(Session &s) {
    s.Step([&] { AlarmPlans(s); });
    FreeRun(s);
}

}  // namespace qualify
