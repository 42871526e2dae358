// Counts and texts: every list as the lock reports it holds what its count
// says, and follows what the check creates and deletes with the operations
// whose meaning is fixed (create and delete); the meaning of any other
// operation number is the lock's own and is not assumed.
#include <algorithm>
#include <memory>

#include "checks.h"
#include "units.h"

namespace qualify {
namespace {

template <typename T>
std::unique_ptr<T> Fetch(Session &s, int type, bool *ok) {
    auto rec = std::make_unique<T>();
    std::memset(static_cast<void *>(rec.get()), 0, sizeof *rec);
    const int ret = s.Get(type, rec.get());
    *ok = ret == 0;
    if (!*ok) {
        s.Declined(Dir::From, type, ret);
    }
    return rec;
}

void CheckSwitches(Session &s) {
    const int type = OQDEVSDK_DOORLOCK_FROM_DEV_SWITCH;
    for (int32_t n = 0; n < OQDEVSDK_DOORLOCK_SWITCH_NUM; ++n) {
        oqDevSDK_DoorLock_SwitchCfg_S sw{n, 0, 0};
        const int ret = s.Get(type, &sw);
        if (ret != 0) {
            s.Declined(Dir::From, type, ret);
        } else if (sw.iSwitchIndex != n) {
            s.Fail(Dir::From, type,
                   "asked for switch " + std::to_string(n) + ", answered iSwitchIndex " +
                       std::to_string(sw.iSwitchIndex));
            return;
        }
    }
    s.Checked(Dir::From, type);
}

void CheckLists(Session &s) {
    for (int type : {OQDEVSDK_DOORLOCK_FROM_DEV_UNLOCK_EVTS, OQDEVSDK_DOORLOCK_FROM_DEV_USER_INFO,
                     OQDEVSDK_DOORLOCK_FROM_DEV_ALARM_PLANS, OQDEVSDK_DOORLOCK_FROM_DEV_SNAP_PWDS,
                     OQDEVSDK_DOORLOCK_FROM_DEV_POWER_STATUS}) {
        s.Step([&] {
            const uint32_t len = RecordOf(Dir::From, type).len;
            std::vector<uint8_t> rec(len, 0);
            const int ret = s.Get(type, rec.data(), len);
            if (ret != 0) {
                s.Declined(Dir::From, type, ret);
                return;
            }
            ValidateRecord(s, type, rec.data());
            s.Checked(Dir::From, type);
        });
    }
}

// Creates a snap password, finds it in the list under the slot the lock
// wrote back, deletes it and finds it gone.
void SnapRoundTrip(Session &s) {
    const int to = OQDEVSDK_DOORLOCK_TO_DEV_SET_SNAP_PWD;
    const int from = OQDEVSDK_DOORLOCK_FROM_DEV_SNAP_PWDS;
    bool ok = false;
    auto before = Fetch<oqDevSDK_DoorLock_SnapPwdList_S>(s, from, &ok);
    if (!ok || !ValidateRecord(s, from, reinterpret_cast<const uint8_t *>(before.get())) ||
        before->usCount >= OQDEVSDK_DOORLOCK_MAX_SNAP_PWDS) {
        return;
    }
    std::vector<uint8_t> bytes = SampleRecord(s, to);
    oqDevSDK_DoorLock_SetSnapPwd_S set;
    std::memcpy(&set, bytes.data(), sizeof set);
    const int ret = s.Recv(to, &set);
    if (ret != 0) {
        s.Declined(Dir::To, to, ret);
        return;
    }
    if (!Terminated(set.szPwd)) {
        s.Fail(Dir::To, to, "szPwd has no terminator");
    } else if (set.szPwd[0] == '\0') {
        s.Fail(Dir::To, to, "a create wrote no password into szPwd");
    }
    if (set.usIndex >= OQDEVSDK_DOORLOCK_MAX_SNAP_PWDS) {
        s.Fail(Dir::To, to,
               "a create wrote usIndex " + std::to_string(set.usIndex) + ", not one of the " +
                   std::to_string(OQDEVSDK_DOORLOCK_MAX_SNAP_PWDS) + " slots");
        return;
    }
    auto listed = [&](const oqDevSDK_DoorLock_SnapPwdList_S &l) {
        const size_t n = std::min<size_t>(l.usCount, OQDEVSDK_DOORLOCK_MAX_SNAP_PWDS);
        return std::any_of(
            l.astEntry, l.astEntry + n, [&](const oqDevSDK_DoorLock_SnapPwdInfo_S &e) {
                return e.usIndex == set.usIndex && BoundedText(e.szName) == kCheckName;
            });
    };
    auto after = Fetch<oqDevSDK_DoorLock_SnapPwdList_S>(s, from, &ok);
    if (!ok) {
        return;
    }
    const std::string slot = "slot " + std::to_string(set.usIndex);
    if (after->usCount != before->usCount + 1) {
        s.Fail(Dir::From, from,
               "usCount went from " + std::to_string(before->usCount) + " to " +
                   std::to_string(after->usCount) + " after one snap password was created");
    } else if (!listed(*after)) {
        s.Fail(Dir::To, to, "the snap password created in " + slot + " is not in the list");
    }
    oqDevSDK_DoorLock_SetSnapPwd_S del{};
    del.ucOptType = OQDEVSDK_DOORLOCK_OPT_DELETE;
    del.usIndex = set.usIndex;
    const int delRet = s.Recv(to, &del);
    if (delRet != 0) {
        s.Fail(Dir::To, to,
               "refused to delete the snap password it created in " + slot + ": answered " +
                   ResultText(delRet));
        return;
    }
    auto gone = Fetch<oqDevSDK_DoorLock_SnapPwdList_S>(s, from, &ok);
    if (ok && (listed(*gone) || gone->usCount != before->usCount)) {
        s.Fail(Dir::From, from,
               "usCount is " + std::to_string(gone->usCount) + " after the delete of " + slot +
                   ", " + std::to_string(before->usCount) + " before its create");
    }
    s.Checked(Dir::To, to);
}

std::vector<uint16_t> PlanIndexes(const oqDevSDK_DoorLock_AlarmPlanList_S &l) {
    std::vector<uint16_t> out;
    for (size_t i = 0; i < std::min<size_t>(l.usCount, OQDEVSDK_DOORLOCK_MAX_ALARM_PLANS); ++i) {
        out.push_back(l.astPlan[i].usIndex);
    }
    return out;
}

void AlarmPlanRoundTrip(Session &s) {
    const int to = OQDEVSDK_DOORLOCK_TO_DEV_SET_ALARM_PLAN;
    const int from = OQDEVSDK_DOORLOCK_FROM_DEV_ALARM_PLANS;
    bool ok = false;
    auto before = Fetch<oqDevSDK_DoorLock_AlarmPlanList_S>(s, from, &ok);
    if (!ok || !ValidateRecord(s, from, reinterpret_cast<const uint8_t *>(before.get())) ||
        before->usCount >= OQDEVSDK_DOORLOCK_MAX_ALARM_PLANS) {
        return;
    }
    std::vector<uint8_t> set = SampleRecord(s, to);
    const int ret = s.Recv(to, set.data(), static_cast<uint32_t>(set.size()));
    if (ret != 0) {
        s.Declined(Dir::To, to, ret);
        return;
    }
    auto after = Fetch<oqDevSDK_DoorLock_AlarmPlanList_S>(s, from, &ok);
    if (!ok) {
        return;
    }
    const std::vector<uint16_t> was = PlanIndexes(*before);
    std::vector<uint16_t> added;
    for (uint16_t index : PlanIndexes(*after)) {
        if (std::find(was.begin(), was.end(), index) == was.end()) {
            added.push_back(index);
        }
    }
    if (after->usCount != before->usCount + 1 || added.size() != 1) {
        s.Fail(Dir::From, from,
               "usCount went from " + std::to_string(before->usCount) + " to " +
                   std::to_string(after->usCount) + " and " + std::to_string(added.size()) +
                   " new plans are listed after one plan was created");
        return;
    }
    auto del = std::make_unique<oqDevSDK_DoorLock_SetAlarmPlan_S>();
    del->ucOptType = OQDEVSDK_DOORLOCK_OPT_DELETE;
    del->usIndex = added[0];
    const std::string which = "plan " + std::to_string(added[0]);
    const int delRet = s.Recv(to, del.get());
    if (delRet != 0) {
        s.Fail(Dir::To, to,
               "refused to delete " + which + " it created: answered " + ResultText(delRet));
        return;
    }
    auto gone = Fetch<oqDevSDK_DoorLock_AlarmPlanList_S>(s, from, &ok);
    if (ok && gone->usCount != before->usCount) {
        s.Fail(Dir::From, from,
               "usCount is " + std::to_string(gone->usCount) + " after the delete of " + which +
                   ", " + std::to_string(before->usCount) + " before its create");
    }
    s.Checked(Dir::To, to);
}

// Delete is the one user operation whose meaning is fixed; a lock with users
// must drop the one deleted.
void UserDelete(Session &s) {
    const int to = OQDEVSDK_DOORLOCK_TO_DEV_SET_USER;
    const int from = OQDEVSDK_DOORLOCK_FROM_DEV_USER_INFO;
    bool ok = false;
    auto before = Fetch<oqDevSDK_DoorLock_UserInfo_S>(s, from, &ok);
    if (!ok || before->usUserNum == 0 ||
        !ValidateRecord(s, from, reinterpret_cast<const uint8_t *>(before.get()))) {
        return;
    }
    const uint16_t index = before->astUser[0].usIndex;
    oqDevSDK_DoorLock_SetUserCfg_S del{};
    del.ucOptType = OQDEVSDK_DOORLOCK_USER_OPT_DELETE;
    del.usOptIndex = index;
    const int ret = s.Recv(to, &del);
    if (ret != 0) {
        s.Declined(Dir::To, to, ret);
        return;
    }
    auto after = Fetch<oqDevSDK_DoorLock_UserInfo_S>(s, from, &ok);
    if (!ok) {
        return;
    }
    const size_t n = std::min<size_t>(after->usUserNum, OQDEVSDK_DOORLOCK_MAX_USERS);
    const bool still =
        std::any_of(after->astUser, after->astUser + n,
                    [&](const oqDevSDK_DoorLock_User_S &u) { return u.usIndex == index; });
    if (still || after->usUserNum + 1 != before->usUserNum) {
        s.Fail(Dir::From, from,
               "usUserNum went from " + std::to_string(before->usUserNum) + " to " +
                   std::to_string(after->usUserNum) + " when user " + std::to_string(index) +
                   " was deleted" + (still ? ", and it is still listed" : ""));
    }
}

}  // namespace

void RunCounts(Session &s) {
    s.Step([&] { CheckSwitches(s); });
    CheckLists(s);
    s.Step([&] { SnapRoundTrip(s); });
    s.Step([&] { AlarmPlanRoundTrip(s); });
    s.Step([&] { UserDelete(s); });
}

}  // namespace qualify
