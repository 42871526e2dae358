// Events: an unlock is handed over in one poll and never again (the module
// reports whatever batch it gets, so a repeated batch is a repeated report),
// and a door or battery change shows in the next poll and then holds still.
// The lock is made to produce them through its event entry point when it
// exports one, or by the tester at the lock with --interactive.
#include <ctime>
#include <iostream>
#include <memory>
#include <string>

#include "checks.h"
#include "units.h"

namespace qualify {
namespace {

constexpr int kEvents = OQDEVSDK_DOORLOCK_FROM_DEV_UNLOCK_EVTS;
// How far an event's time may be from the clock when it was made, in seconds.
constexpr int64_t kClockSlack = 5;
// Charges the battery event asks for: one differs from what the lock reports.
constexpr int kCharge = 50;
constexpr int kOtherCharge = 40;

using Events = oqDevSDK_DoorLock_UnlockEvtRecList_S;

std::unique_ptr<Events> Collect(Session &s, int *ret) {
    auto batch = std::make_unique<Events>();
    std::memset(static_cast<void *>(batch.get()), 0, sizeof *batch);
    *ret = s.Get(kEvents, batch.get());
    return batch;
}

// Produces an event: through the library, or by asking the tester. False
// when it could not be made.
class Producer {
  public:
    explicit Producer(Session &s) : m_s(s) {}
    bool available() const { return m_s.event() != nullptr || m_s.options().interactive; }

    bool Unlock(const std::string &user) {
        if (m_s.event() == nullptr) {
            return Ask("unlock the lock once (any way), then press Enter");
        }
        oqDevSDK_DoorLock_DeviceEvent_S ev{};
        ev.iEvent = OQDEVSDK_DOORLOCK_DEVICE_EVT_UNLOCK;
        ev.iValue = OQDEVSDK_DOORLOCK_DEVICE_ANY;
        std::snprintf(ev.szUser, sizeof ev.szUser, "%s", user.c_str());
        return m_s.event()(&ev) == 0;
    }
    bool Door() {
        if (m_s.event() == nullptr) {
            return Ask("open the door if it is closed, close it if it is open, then press Enter");
        }
        oqDevSDK_DoorLock_DeviceEvent_S ev{};
        ev.iEvent = OQDEVSDK_DOORLOCK_DEVICE_EVT_DOOR;
        ev.iValue = OQDEVSDK_DOORLOCK_DEVICE_ANY;
        return m_s.event()(&ev) == 0;
    }
    bool Battery(int part, int percent) {
        if (m_s.event() == nullptr) {
            return false;  // nobody can drain a battery on request
        }
        oqDevSDK_DoorLock_DeviceEvent_S ev{};
        ev.iEvent = OQDEVSDK_DOORLOCK_DEVICE_EVT_BATTERY;
        ev.iIndex = part;
        ev.iValue = percent;
        return m_s.event()(&ev) == 0;
    }
    bool byHand() const { return m_s.event() == nullptr; }

  private:
    static bool Ask(const char *what) {
        std::cerr << "doorlock-qualify: at the lock: " << what << std::flush;
        std::string line;
        return static_cast<bool>(std::getline(std::cin, line));
    }
    Session &m_s;
};

// With nothing happening, a batch must not come back in the next poll.
void Repeated(Session &s) {
    int ret = 0;
    auto first = Collect(s, &ret);
    if (ret != 0) {
        s.Declined(Dir::From, kEvents, ret);
        return;
    }
    auto second = Collect(s, &ret);
    if (ret == 0 && first->usRecNum != 0 && second->usRecNum != 0) {
        s.Fail(Dir::From, kEvents,
               "handed events again in the next poll with nothing happening (usRecNum " +
                   std::to_string(second->usRecNum) + "); each event is handed once");
    }
    s.Checked(Dir::From, kEvents);
}

void UnlockOnce(Session &s, Producer &make) {
    int ret = 0;
    Collect(s, &ret);  // whatever was pending before
    const auto before = static_cast<int64_t>(std::time(nullptr));
    if (!make.Unlock(kCheckName)) {
        s.NotChecked("the lock did not produce an unlock event");
        return;
    }
    const auto after = static_cast<int64_t>(std::time(nullptr));
    auto batch = Collect(s, &ret);
    if (ret != 0) {
        s.Declined(Dir::From, kEvents, ret);
        return;
    }
    if (batch->usRecNum != 1) {
        s.Fail(
            Dir::From, kEvents,
            "one unlock gave a batch with usRecNum " + std::to_string(batch->usRecNum) + ", not 1");
        return;
    }
    const oqDevSDK_DoorLock_UnlockEvtRec_S &rec = batch->stRecord[0];
    if (!Terminated(rec.szUser)) {
        s.Fail(Dir::From, kEvents, "stRecord[0].szUser has no terminator");
    } else if (!make.byHand() && BoundedText(rec.szUser) != kCheckName) {
        s.Fail(Dir::From, kEvents,
               "stRecord[0].szUser is \"" + BoundedText(rec.szUser) + "\", the unlock was by \"" +
                   kCheckName + "\"");
    }
    if (rec.lUnlockTime < before - kClockSlack || rec.lUnlockTime > after + kClockSlack) {
        s.Fail(Dir::From, kEvents,
               "stRecord[0].lUnlockTime " + std::to_string(rec.lUnlockTime) + " is not the time " +
                   "of the unlock (" + std::to_string(before) + ")");
    }
    auto again = Collect(s, &ret);
    if (ret == 0 && again->usRecNum != 0) {
        s.Fail(Dir::From, kEvents,
               "handed the unlock again in the next poll (usRecNum " +
                   std::to_string(again->usRecNum) + "); each event is handed once");
    }
    s.Checked(Dir::From, kEvents);
}

// Two unlocks before a poll come in one batch, oldest first.
void UnlockTwice(Session &s, Producer &make) {
    if (make.byHand()) {
        return;
    }
    int ret = 0;
    Collect(s, &ret);
    if (!make.Unlock("qualify-1") || !make.Unlock("qualify-2")) {
        return;
    }
    auto batch = Collect(s, &ret);
    if (ret != 0) {
        return;
    }
    if (batch->usRecNum != 2 || BoundedText(batch->stRecord[0].szUser) != "qualify-1" ||
        BoundedText(batch->stRecord[1].szUser) != "qualify-2") {
        s.Fail(Dir::From, kEvents,
               "two unlocks gave usRecNum " + std::to_string(batch->usRecNum) +
                   ", not 2 in the order they happened");
    }
}

// A change shows in the next poll of `type` and then holds. `Same` compares
// what must not move by itself.
template <typename T>
bool WholeRecord(const T &a, const T &b) {
    return std::memcmp(&a, &b, sizeof a) == 0;
}

// The signal drifts on its own; door and bolt must not.
bool DoorAndBolt(const oqDevSDK_DoorLock_LockStatus_S &a, const oqDevSDK_DoorLock_LockStatus_S &b) {
    return a.ucDoorState == b.ucDoorState && a.ucLockState == b.ucLockState &&
           a.ucReserved == b.ucReserved;
}

template <typename T>
void Change(Session &s, int type, const char *what, const std::function<bool(const T &)> &make,
            bool (*same)(const T &, const T &)) {
    T before{};
    int ret = s.Get(type, &before);
    if (ret != 0) {
        s.Declined(Dir::From, type, ret);
        return;
    }
    if (!make(before)) {
        s.NotChecked(std::string("the lock did not produce ") + what);
        return;
    }
    T after{};
    T again{};
    if (s.Get(type, &after) != 0 || s.Get(type, &again) != 0) {
        return;
    }
    if (same(before, after)) {
        s.Fail(Dir::From, type, std::string("did not change after ") + what);
    } else if (!same(after, again)) {
        s.Fail(Dir::From, type,
               std::string("changed again in the poll after ") + what + " with nothing happening");
    }
    s.Checked(Dir::From, type);
}

}  // namespace

void RunEvents(Session &s) {
    s.Step([&] { Repeated(s); });
    Producer make(s);
    if (!make.available()) {
        s.NotChecked(
            "the library exports no oqDevSDK_DoorLock_DeviceEvent (and --interactive was not "
            "given): unlock events, door and battery changes were not produced");
        return;
    }
    s.Step([&] { UnlockOnce(s, make); });
    s.Step([&] { UnlockTwice(s, make); });
    s.Step([&] {
        Change<oqDevSDK_DoorLock_LockStatus_S>(
            s, OQDEVSDK_DOORLOCK_FROM_DEV_LOCK_STATUS, "a door change",
            [&](const oqDevSDK_DoorLock_LockStatus_S &) { return make.Door(); }, &DoorAndBolt);
    });
    if (make.byHand()) {
        return;
    }
    s.Step([&] {
        Change<oqDevSDK_DoorLock_PowerStatus_S>(
            s, OQDEVSDK_DOORLOCK_FROM_DEV_POWER_STATUS, "a battery change",
            [&](const oqDevSDK_DoorLock_PowerStatus_S &p) {
                if (p.usPowerNum == 0) {
                    return false;
                }
                const oqDevSDK_DoorLock_PowerInfo_S &first = p.stPower[0];
                return make.Battery(first.ucNameType,
                                    first.ucRemaining == kCharge ? kOtherCharge : kCharge);
            },
            &WholeRecord<oqDevSDK_DoorLock_PowerStatus_S>);
    });
}

}  // namespace qualify
