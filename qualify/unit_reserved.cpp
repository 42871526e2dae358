// Reserved bytes are zero: the module compares whole records, reserved bytes
// included, so anything a lock leaves there (a time stamp, a counter, bytes
// from its own buffers) reads as a change on a board even when it happens to
// hold still in a test.
#include <cstddef>

#include "checks.h"
#include "units.h"

namespace qualify {
namespace {

struct Checker {
    Session &s;
    int type;
    const uint8_t *rec;
    bool failed = false;

    // Bytes [offset, offset + len) of the record, named `field`.
    void Zero(size_t offset, size_t len, const std::string &field) {
        for (size_t i = 0; i < len && !failed; ++i) {
            if (rec[offset + i] != 0) {
                char text[32];
                std::snprintf(text, sizeof text, " is 0x%02x", rec[offset + i]);
                s.Fail(Dir::From, type,
                       field + " (byte " + std::to_string(offset + i) + ")" + text +
                           ", reserved bytes must be zero");
                failed = true;
            }
        }
    }
};

template <typename T>
T Read(const uint8_t *rec, size_t offset) {
    T value;
    std::memcpy(&value, rec + offset, sizeof value);
    return value;
}

void CheckRecord(Checker &c) {
    using Users = oqDevSDK_DoorLock_UserInfo_S;
    using User = oqDevSDK_DoorLock_User_S;
    using Events = oqDevSDK_DoorLock_UnlockEvtRecList_S;
    using Event = oqDevSDK_DoorLock_UnlockEvtRec_S;
    using Snaps = oqDevSDK_DoorLock_SnapPwdList_S;
    using Snap = oqDevSDK_DoorLock_SnapPwdInfo_S;
    using Plans = oqDevSDK_DoorLock_AlarmPlanList_S;
    using Plan = oqDevSDK_DoorLock_AlarmPlanInfo_S;
    using PlanUser = oqDevSDK_DoorLock_AlarmUser_S;
    switch (c.type) {
        case OQDEVSDK_DOORLOCK_FROM_DEV_LOCK_STATUS:
            c.Zero(offsetof(oqDevSDK_DoorLock_LockStatus_S, ucReserved), 1, "ucReserved");
            break;
        case OQDEVSDK_DOORLOCK_FROM_DEV_POWER_STATUS:
            c.Zero(offsetof(oqDevSDK_DoorLock_PowerStatus_S, aucReserved), 2, "aucReserved");
            break;
        case OQDEVSDK_DOORLOCK_FROM_DEV_UNLOCK_EVTS: {
            c.Zero(offsetof(Events, aucReserved), 2, "aucReserved");
            const size_t n = std::min<size_t>(Read<uint16_t>(c.rec, offsetof(Events, usRecNum)),
                                              OQDEVSDK_DOORLOCK_MAX_UNLOCK_EVTS);
            for (size_t i = 0; i < n; ++i) {
                c.Zero(
                    offsetof(Events, stRecord) + i * sizeof(Event) + offsetof(Event, aucReserved),
                    3, Item("stRecord", i, "aucReserved"));
            }
            break;
        }
        case OQDEVSDK_DOORLOCK_FROM_DEV_USER_INFO: {
            c.Zero(offsetof(Users, aucReserved), 2, "aucReserved");
            const size_t n = std::min<size_t>(Read<uint16_t>(c.rec, offsetof(Users, usUserNum)),
                                              OQDEVSDK_DOORLOCK_MAX_USERS);
            for (size_t i = 0; i < n; ++i) {
                const size_t user = offsetof(Users, astUser) + i * sizeof(User);
                c.Zero(user + offsetof(User, aucReserved), 2, Item("astUser", i, "aucReserved"));
                const size_t dates =
                    std::min<size_t>(Read<uint16_t>(c.rec, user + offsetof(User, usDateNum)),
                                     OQDEVSDK_DOORLOCK_MAX_USER_DATES);
                for (size_t d = 0; d < dates; ++d) {
                    c.Zero(user + offsetof(User, astDate) +
                               d * sizeof(oqDevSDK_DoorLock_UserDate_S) +
                               offsetof(oqDevSDK_DoorLock_UserDate_S, aucReserved),
                           3, Item("astUser", i, "astDate[" + std::to_string(d) + "].aucReserved"));
                }
            }
            break;
        }
        case OQDEVSDK_DOORLOCK_FROM_DEV_SNAP_PWDS: {
            c.Zero(offsetof(Snaps, aucReserved), 2, "aucReserved");
            const size_t n = std::min<size_t>(Read<uint16_t>(c.rec, offsetof(Snaps, usCount)),
                                              OQDEVSDK_DOORLOCK_MAX_SNAP_PWDS);
            for (size_t i = 0; i < n; ++i) {
                c.Zero(offsetof(Snaps, astEntry) + i * sizeof(Snap) + offsetof(Snap, aucReserved),
                       2, Item("astEntry", i, "aucReserved"));
            }
            break;
        }
        case OQDEVSDK_DOORLOCK_FROM_DEV_ALARM_PLANS: {
            c.Zero(offsetof(Plans, aucReserved), 2, "aucReserved");
            const size_t n = std::min<size_t>(Read<uint16_t>(c.rec, offsetof(Plans, usCount)),
                                              OQDEVSDK_DOORLOCK_MAX_ALARM_PLANS);
            for (size_t i = 0; i < n; ++i) {
                const size_t plan = offsetof(Plans, astPlan) + i * sizeof(Plan);
                const size_t users =
                    std::min<size_t>(Read<uint16_t>(c.rec, plan + offsetof(Plan, usUserNum)),
                                     OQDEVSDK_DOORLOCK_MAX_ALARM_PLAN_USERS);
                for (size_t u = 0; u < users; ++u) {
                    c.Zero(plan + offsetof(Plan, astUser) + u * sizeof(PlanUser) +
                               offsetof(PlanUser, aucReserved),
                           2, Item("astPlan", i, "astUser[" + std::to_string(u) + "].aucReserved"));
                }
            }
            break;
        }
        default:
            break;
    }
}

}  // namespace

void RunReserved(Session &s) {
    // Lists get an entry first where the check can make one, so that the
    // reserved bytes of entries are seen too.
    s.Step([&] {
        std::vector<uint8_t> plan = SampleRecord(s, OQDEVSDK_DOORLOCK_TO_DEV_SET_ALARM_PLAN);
        s.Recv(OQDEVSDK_DOORLOCK_TO_DEV_SET_ALARM_PLAN, plan.data(),
               static_cast<uint32_t>(plan.size()));
    });
    s.Step([&] {
        std::vector<uint8_t> snap = SampleRecord(s, OQDEVSDK_DOORLOCK_TO_DEV_SET_SNAP_PWD);
        s.Recv(OQDEVSDK_DOORLOCK_TO_DEV_SET_SNAP_PWD, snap.data(),
               static_cast<uint32_t>(snap.size()));
    });
    if (s.event() != nullptr) {
        oqDevSDK_DoorLock_DeviceEvent_S unlock{};
        unlock.iEvent = OQDEVSDK_DOORLOCK_DEVICE_EVT_UNLOCK;
        unlock.iValue = OQDEVSDK_DOORLOCK_DEVICE_ANY;
        std::snprintf(unlock.szUser, sizeof unlock.szUser, "%s", kCheckName);
        s.event()(&unlock);
    }
    for (const Record &r : AllRecords()) {
        if (r.dir != Dir::From) {
            continue;
        }
        s.Step([&] {
            std::vector<uint8_t> rec(r.len, 0);
            const int ret = s.Get(r.type, rec.data(), r.len);
            if (ret != 0) {
                s.Declined(Dir::From, r.type, ret);
                return;
            }
            Checker c{s, r.type, rec.data()};
            CheckRecord(c);
            s.Checked(Dir::From, r.type);
        });
    }
}

}  // namespace qualify
