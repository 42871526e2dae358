#include "records.h"

#include <cstdlib>

namespace qualify {

const std::vector<Record> &AllRecords() {
    static const std::vector<Record> kAll = {
        {Dir::To, OQDEVSDK_DOORLOCK_TO_DEV_SWITCH, OQDEVSDK_DOORLOCK_TO_DEV_SWITCH_LEN, "switch",
         true},
        {Dir::To, OQDEVSDK_DOORLOCK_TO_DEV_FINGER_STORE, OQDEVSDK_DOORLOCK_TO_DEV_FINGER_STORE_LEN,
         "fingerprint store", true},
        {Dir::To, OQDEVSDK_DOORLOCK_TO_DEV_BELL_TONE, OQDEVSDK_DOORLOCK_TO_DEV_BELL_TONE_LEN,
         "bell tone", true},
        {Dir::To, OQDEVSDK_DOORLOCK_TO_DEV_PROMPT_TONE, OQDEVSDK_DOORLOCK_TO_DEV_PROMPT_TONE_LEN,
         "prompt tone", true},
        {Dir::To, OQDEVSDK_DOORLOCK_TO_DEV_SET_USER, OQDEVSDK_DOORLOCK_TO_DEV_SET_USER_LEN,
         "set user", true},
        {Dir::To, OQDEVSDK_DOORLOCK_TO_DEV_SET_ALARM_PLAN,
         OQDEVSDK_DOORLOCK_TO_DEV_SET_ALARM_PLAN_LEN, "set not-back alarm plan", true},
        {Dir::To, OQDEVSDK_DOORLOCK_TO_DEV_SET_SNAP_PWD, OQDEVSDK_DOORLOCK_TO_DEV_SET_SNAP_PWD_LEN,
         "set snap password", true},
        {Dir::To, OQDEVSDK_DOORLOCK_TO_DEV_DL_POWER, OQDEVSDK_DOORLOCK_TO_DEV_DL_POWER_LEN,
         "low-battery threshold", true},
        {Dir::To, OQDEVSDK_DOORLOCK_TO_DEV_USER_VERIFY, OQDEVSDK_DOORLOCK_TO_DEV_USER_VERIFY_LEN,
         "user verification", true},
        {Dir::To, OQDEVSDK_DOORLOCK_TO_DEV_FACE_UNLOCK, OQDEVSDK_DOORLOCK_TO_DEV_FACE_UNLOCK_LEN,
         "face unlock", false},
        {Dir::To, OQDEVSDK_DOORLOCK_TO_DEV_AUTO_FACE_PLAN,
         OQDEVSDK_DOORLOCK_TO_DEV_AUTO_FACE_PLAN_LEN, "auto face unlock plan", true},
        {Dir::From, OQDEVSDK_DOORLOCK_FROM_DEV_SWITCH, OQDEVSDK_DOORLOCK_FROM_DEV_SWITCH_LEN,
         "switch", false},
        {Dir::From, OQDEVSDK_DOORLOCK_FROM_DEV_FINGER_STORE,
         OQDEVSDK_DOORLOCK_FROM_DEV_FINGER_STORE_LEN, "fingerprint store", true},
        {Dir::From, OQDEVSDK_DOORLOCK_FROM_DEV_BELL_TONE, OQDEVSDK_DOORLOCK_FROM_DEV_BELL_TONE_LEN,
         "bell tone", true},
        {Dir::From, OQDEVSDK_DOORLOCK_FROM_DEV_PROMPT_TONE,
         OQDEVSDK_DOORLOCK_FROM_DEV_PROMPT_TONE_LEN, "prompt tone", true},
        {Dir::From, OQDEVSDK_DOORLOCK_FROM_DEV_LOCK_STATUS,
         OQDEVSDK_DOORLOCK_FROM_DEV_LOCK_STATUS_LEN, "lock status", true},
        {Dir::From, OQDEVSDK_DOORLOCK_FROM_DEV_UNLOCK_EVTS,
         OQDEVSDK_DOORLOCK_FROM_DEV_UNLOCK_EVTS_LEN, "unlock events", true},
        {Dir::From, OQDEVSDK_DOORLOCK_FROM_DEV_USER_INFO, OQDEVSDK_DOORLOCK_FROM_DEV_USER_INFO_LEN,
         "user table", true},
        {Dir::From, OQDEVSDK_DOORLOCK_FROM_DEV_ALARM_PLANS,
         OQDEVSDK_DOORLOCK_FROM_DEV_ALARM_PLANS_LEN, "not-back alarm plans", true},
        {Dir::From, OQDEVSDK_DOORLOCK_FROM_DEV_SNAP_PWDS, OQDEVSDK_DOORLOCK_FROM_DEV_SNAP_PWDS_LEN,
         "snap passwords", true},
        {Dir::From, OQDEVSDK_DOORLOCK_FROM_DEV_POWER_STATUS,
         OQDEVSDK_DOORLOCK_FROM_DEV_POWER_STATUS_LEN, "power status", true},
        {Dir::From, OQDEVSDK_DOORLOCK_FROM_DEV_FACE_UNLOCK,
         OQDEVSDK_DOORLOCK_FROM_DEV_FACE_UNLOCK_LEN, "face unlock", false},
        {Dir::From, OQDEVSDK_DOORLOCK_FROM_DEV_AUTO_FACE_PLAN,
         OQDEVSDK_DOORLOCK_FROM_DEV_AUTO_FACE_PLAN_LEN, "auto face unlock plan", true},
    };
    return kAll;
}

const Record &RecordOf(Dir dir, int type) {
    for (const Record &r : AllRecords()) {
        if (r.dir == dir && r.type == type) {
            return r;
        }
    }
    std::abort();  // the units ask only for type codes of the table
}

const char *DirName(Dir dir) {
    return dir == Dir::To ? "to device" : "from device";
}

std::string Describe(Dir dir, int type) {
    return std::string(DirName(dir)) + " " + std::to_string(type) + " (" +
           RecordOf(dir, type).name + ")";
}

}  // namespace qualify
