// Records that change with nothing happening: the module compares every
// runtime record with its last copy and reports each difference to the
// platform, so a lock whose record moves by itself (a time stamp, a counter,
// a byte left from the caller's buffer) floods the platform with reports.
// Polled back to back and again after the clock has moved on.
#include <thread>

#include "checks.h"
#include "units.h"

namespace qualify {
namespace {

// Fill of a poll's buffer where the module does not zero it first.
constexpr uint8_t kStaleByte = 0xA5;
// Signal changes the module lets pass as no change.
constexpr int kSignalDrift = 10;
// Longer than a second, so that any clock the lock reads has ticked.
constexpr milliseconds kInterval{1200};

struct Poll {
    int type;
    int32_t sw;  // switch index, for the switch record
    std::vector<uint8_t> bytes;
    int ret;
    bool ok;
};

std::vector<Poll> PollAll(Session &s, bool stale) {
    std::vector<Poll> polls;
    for (const Record &r : AllRecords()) {
        // Unlock events are handed once by design: the events unit checks them.
        if (r.dir != Dir::From || r.type == OQDEVSDK_DOORLOCK_FROM_DEV_UNLOCK_EVTS) {
            continue;
        }
        const int32_t switches =
            r.type == OQDEVSDK_DOORLOCK_FROM_DEV_SWITCH ? OQDEVSDK_DOORLOCK_SWITCH_NUM : 1;
        for (int32_t n = 0; n < switches; ++n) {
            s.Step([&] {
                Poll p{r.type, n, std::vector<uint8_t>(r.len, stale && !r.zeroed ? kStaleByte : 0),
                       0, false};
                if (r.type == OQDEVSDK_DOORLOCK_FROM_DEV_SWITCH) {
                    std::memcpy(p.bytes.data(), &n, sizeof n);
                }
                p.ret = s.Get(r.type, p.bytes.data(), r.len);
                p.ok = p.ret == 0;
                polls.push_back(std::move(p));
            });
        }
    }
    return polls;
}

bool SignalOnly(const std::vector<uint8_t> &a, const std::vector<uint8_t> &b) {
    oqDevSDK_DoorLock_LockStatus_S x;
    oqDevSDK_DoorLock_LockStatus_S y;
    std::memcpy(&x, a.data(), sizeof x);
    std::memcpy(&y, b.data(), sizeof y);
    const int drift = x.ucSignal - y.ucSignal;
    return x.ucDoorState == y.ucDoorState && x.ucLockState == y.ucLockState &&
           x.ucReserved == y.ucReserved && drift >= -kSignalDrift && drift <= kSignalDrift;
}

void Compare(Session &s, const std::vector<Poll> &first, const std::vector<Poll> &second,
             const std::string &when) {
    for (const Poll &a : first) {
        for (const Poll &b : second) {
            if (a.type != b.type || a.sw != b.sw || !a.ok || !b.ok) {
                continue;
            }
            const size_t at = FirstDifference(a.bytes.data(), b.bytes.data(), a.bytes.size());
            if (at == a.bytes.size() || (a.type == OQDEVSDK_DOORLOCK_FROM_DEV_LOCK_STATUS &&
                                         SignalOnly(a.bytes, b.bytes))) {
                continue;
            }
            std::string which = a.type == OQDEVSDK_DOORLOCK_FROM_DEV_SWITCH
                                    ? "switch " + std::to_string(a.sw) + ": "
                                    : "";
            char bytes[64];
            std::snprintf(bytes, sizeof bytes, "byte %zu went from 0x%02x to 0x%02x", at,
                          a.bytes[at], b.bytes[at]);
            s.Fail(Dir::From, a.type,
                   which + "changed " + when + " with nothing happening (" + bytes + ")");
        }
    }
}

}  // namespace

void RunStability(Session &s) {
    const std::vector<Poll> first = PollAll(s, false);
    const std::vector<Poll> again = PollAll(s, true);
    Compare(s, first, again, "between two polls in a row");
    std::this_thread::sleep_for(kInterval);
    const std::vector<Poll> later = PollAll(s, true);
    Compare(s, first, later, "over " + std::to_string(kInterval.count()) + " ms");
    for (const Poll &p : first) {
        if (p.ok) {
            s.Checked(Dir::From, p.type);
        } else {
            s.Declined(Dir::From, p.type, p.ret);
        }
    }
}

}  // namespace qualify
