#include "lock.h"

#include <atomic>
#include <cstdio>
#include <cstring>

#include "records.h"
#include "transcript.h"

namespace dlsim {
namespace {

std::atomic<Lock *> g_installed{nullptr};

// Everything the lock starts with, chosen to look like a lock fresh from its
// box: door closed and locked, two batteries, no users.
constexpr int32_t kDefaultChannel = 1;
constexpr int32_t kDefaultBellTone = 1;
constexpr int32_t kDefaultPromptTone = 1;
constexpr int32_t kDefaultFaceUnlockType = 1;
constexpr int32_t kDefaultFaceSensitivity = 2;
constexpr uint8_t kDefaultSignal = 80;
constexpr uint8_t kDefaultLowPercent = 20;
constexpr uint32_t kPlanFormat = 1;  // the head word of this lock's face plans
constexpr uint32_t kPasswordSeed = 20240229;
constexpr uint8_t kPowerTypeBattery = 1;
constexpr uint8_t kPowerOk = 0;
constexpr uint8_t kPowerLow = 1;

template <size_t N>
void CopyText(char (&dst)[N], const char *src) {
    std::snprintf(dst, N, "%s", src);
}

template <size_t N>
std::string BoundedText(const char (&field)[N]) {
    return std::string(field, strnlen(field, N));
}

// A record of type T at `data` when the module handed at least its size.
template <typename T>
T *As(void *data, uint32_t len) {
    return len >= sizeof(T) ? static_cast<T *>(data) : nullptr;
}

}  // namespace

struct Lock::State {
    oqDevSDK_DoorLock_SwitchCfg_S astSwitch[OQDEVSDK_DOORLOCK_SWITCH_NUM];
    int32_t iFingerStore;
    int32_t iBellTone;
    int32_t iPromptTone;
    oqDevSDK_DoorLock_LockStatus_S stStatus;
    oqDevSDK_DoorLock_UnlockEvtRecList_S stEvents;  // not yet collected
    oqDevSDK_DoorLock_UserInfo_S stUsers;           // sorted by user index
    oqDevSDK_DoorLock_AlarmPlanList_S stPlans;      // sorted by plan index
    oqDevSDK_DoorLock_SnapPwdList_S stSnapPwds;     // sorted by slot
    oqDevSDK_DoorLock_PowerStatus_S stPower;
    oqDevSDK_DoorLock_FaceUnlock_S stFaceUnlock;
    oqDevSDK_DoorLock_AutoFaceUnlockPlan_S stFacePlan;
    uint8_t ucLowPercent;
    uint32_t uiPasswordSeed;
};

Lock::Lock() : m_state(std::make_unique<State>()) {
    State &s = *m_state;
    for (int i = 0; i < OQDEVSDK_DOORLOCK_SWITCH_NUM; ++i) {
        s.astSwitch[i].iSwitchIndex = i;
        s.astSwitch[i].iChannel = kDefaultChannel;
    }
    s.iBellTone = kDefaultBellTone;
    s.iPromptTone = kDefaultPromptTone;
    s.stStatus.ucDoorState = kDoorClosed;
    s.stStatus.ucLockState = kBoltLocked;
    s.stStatus.ucSignal = kDefaultSignal;

    s.stPower.usPowerNum = OQDEVSDK_DOORLOCK_POWER_MAX;
    oqDevSDK_DoorLock_PowerInfo_S &door = s.stPower.stPower[0];
    door.ucPowerType = kPowerTypeBattery;
    door.ucRemaining = 85;
    door.ucNameType = OQDEVSDK_DOORLOCK_POWER_NAME_DOOR;
    door.usValueFirst = 5600;  // millivolts now / when full
    door.usValueSecond = 6000;
    CopyText(door.szDes, "main battery");
    oqDevSDK_DoorLock_PowerInfo_S &eye = s.stPower.stPower[1];
    eye.ucPowerType = kPowerTypeBattery;
    eye.ucRemaining = 60;
    eye.ucNameType = OQDEVSDK_DOORLOCK_POWER_NAME_CAT_EYE;
    eye.usValueFirst = 3900;
    eye.usValueSecond = 4200;
    CopyText(eye.szSubSerial, "CE0001");
    CopyText(eye.szDes, "cat eye battery");

    s.stFaceUnlock.iUnlockType = kDefaultFaceUnlockType;
    s.stFaceUnlock.iUnlockSensitivity = kDefaultFaceSensitivity;
    s.stFacePlan.uiHeadWord = kPlanFormat;
    s.stFacePlan.uiChannel = kDefaultChannel;
    s.ucLowPercent = kDefaultLowPercent;
    s.uiPasswordSeed = kPasswordSeed;
    UpdatePowerStatus();
    g_installed.store(this);
}

Lock::~Lock() {
    Lock *self = this;
    g_installed.compare_exchange_strong(self, nullptr);
}

oqDevSDK_DoorLock_Callback_S Lock::Callbacks() {
    oqDevSDK_DoorLock_Callback_S cb{};
    cb.Recv_Msg = &Lock::RecvMsgEntry;
    cb.Get_Runtime_Info = &Lock::GetRuntimeInfoEntry;
    return cb;
}

int Lock::DeviceEvent(const oqDevSDK_DoorLock_DeviceEvent_S *event) {
    Lock *lock = g_installed.load();
    return lock != nullptr && event != nullptr ? lock->OnEvent(*event) : kLockErrBadRecord;
}

void Lock::SetClock(int32_t now) {
    std::lock_guard<std::mutex> guard(m_mutex);
    m_clock = now;
}

int Lock::OnEvent(const oqDevSDK_DoorLock_DeviceEvent_S &event) {
    int32_t now = 0;
    uint8_t door = 0;
    size_t source = OQDEVSDK_DOORLOCK_POWER_MAX;
    {
        std::lock_guard<std::mutex> guard(m_mutex);
        now = m_clock;
        door = m_state->stStatus.ucDoorState;
        const oqDevSDK_DoorLock_PowerStatus_S &power = m_state->stPower;
        for (size_t i = 0; i < power.usPowerNum && i < OQDEVSDK_DOORLOCK_POWER_MAX; ++i) {
            if (static_cast<int32_t>(power.stPower[i].ucNameType) == event.iIndex) {
                source = i;
                break;
            }
        }
    }
    const bool any = event.iValue == OQDEVSDK_DOORLOCK_DEVICE_ANY;
    switch (event.iEvent) {
        case OQDEVSDK_DOORLOCK_DEVICE_EVT_UNLOCK:
            if (!any && (event.iValue < 0 || event.iValue > UINT8_MAX)) {
                return kLockErrBadRecord;
            }
            Unlock(std::string(event.szUser, strnlen(event.szUser, sizeof event.szUser)),
                   any ? static_cast<uint8_t>(UnlockHow::Finger) : static_cast<uint8_t>(event.iValue),
                   now);
            return 0;
        case OQDEVSDK_DOORLOCK_DEVICE_EVT_DOOR:
            if (!any && (event.iValue < 0 || event.iValue > UINT8_MAX)) {
                return kLockErrBadRecord;
            }
            SetDoor(any ? static_cast<uint8_t>(door == kDoorClosed ? kDoorOpen : kDoorClosed)
                        : static_cast<uint8_t>(event.iValue));
            return 0;
        case OQDEVSDK_DOORLOCK_DEVICE_EVT_BATTERY:
            if (event.iValue < 0 || event.iValue > 100 ||
                !SetBattery(source, static_cast<uint8_t>(event.iValue))) {
                return kLockErrBadRecord;
            }
            return 0;
        default:
            return kLockErrBadRecord;
    }
}

void Lock::SetTranscript(Transcript *transcript) {
    std::lock_guard<std::mutex> guard(m_mutex);
    m_transcript = transcript;
}

int Lock::RecvMsgEntry(oqDevSDK_DoorLock_Msg_S *msg) {
    Lock *lock = g_installed.load();
    return lock != nullptr ? lock->OnRecv(msg) : kLockErrBadRecord;
}

int Lock::GetRuntimeInfoEntry(oqDevSDK_DoorLock_Msg_S *msg) {
    Lock *lock = g_installed.load();
    return lock != nullptr ? lock->OnGet(msg) : kLockErrBadRecord;
}

int Lock::OnRecv(oqDevSDK_DoorLock_Msg_S *msg) {
    if (msg == nullptr || msg->pData == nullptr) {
        return kLockErrBadRecord;
    }
    const auto *bytes = static_cast<const uint8_t *>(msg->pData);
    const std::vector<uint8_t> handed(bytes, bytes + msg->uiLen);
    int ret = 0;
    Transcript *transcript = nullptr;
    {
        std::lock_guard<std::mutex> guard(m_mutex);
        transcript = m_transcript;
        int code = 0;
        if (TakeFault(m_recvFaults, msg->iType, &code)) {
            ret = code;
        } else if (m_replies.count(msg->iType) != 0) {
            Apply(msg->iType, msg->pData, msg->uiLen);
            ApplyPatches(msg->iType, msg->pData, msg->uiLen);
            ret = 0;
        } else {
            ret = Apply(msg->iType, msg->pData, msg->uiLen);
        }
    }
    if (transcript != nullptr) {
        transcript->RecvMsg(msg->iType, handed.data(), bytes, msg->uiLen, ret);
    }
    return ret;
}

int Lock::OnGet(oqDevSDK_DoorLock_Msg_S *msg) {
    if (msg == nullptr || msg->pData == nullptr) {
        return kLockErrBadRecord;
    }
    int ret = 0;
    Transcript *transcript = nullptr;
    {
        std::lock_guard<std::mutex> guard(m_mutex);
        transcript = m_transcript;
        int code = 0;
        ret = TakeFault(m_getFaults, msg->iType, &code) ? code
                                                        : Fill(msg->iType, msg->pData, msg->uiLen);
    }
    if (transcript != nullptr) {
        transcript->GetInfo(msg->iType, static_cast<const uint8_t *>(msg->pData), msg->uiLen, ret);
    }
    return ret;
}

int Lock::Apply(int type, void *data, uint32_t len) {
    State &s = *m_state;
    switch (type) {
        case OQDEVSDK_DOORLOCK_TO_DEV_SWITCH: {
            auto *rec = As<oqDevSDK_DoorLock_SwitchCfg_S>(data, len);
            return rec != nullptr ? SetSwitch(*rec) : kLockErrBadRecord;
        }
        case OQDEVSDK_DOORLOCK_TO_DEV_FINGER_STORE:
        case OQDEVSDK_DOORLOCK_TO_DEV_BELL_TONE:
        case OQDEVSDK_DOORLOCK_TO_DEV_PROMPT_TONE: {
            auto *value = As<int32_t>(data, len);
            if (value == nullptr) {
                return kLockErrBadRecord;
            }
            int32_t *target = type == OQDEVSDK_DOORLOCK_TO_DEV_FINGER_STORE ? &s.iFingerStore
                              : type == OQDEVSDK_DOORLOCK_TO_DEV_BELL_TONE  ? &s.iBellTone
                                                                            : &s.iPromptTone;
            *target = *value;
            return 0;
        }
        case OQDEVSDK_DOORLOCK_TO_DEV_SET_USER: {
            auto *rec = As<oqDevSDK_DoorLock_SetUserCfg_S>(data, len);
            return rec != nullptr ? SetUser(*rec) : kLockErrBadRecord;
        }
        case OQDEVSDK_DOORLOCK_TO_DEV_SET_ALARM_PLAN: {
            auto *rec = As<oqDevSDK_DoorLock_SetAlarmPlan_S>(data, len);
            return rec != nullptr ? SetAlarmPlan(*rec) : kLockErrBadRecord;
        }
        case OQDEVSDK_DOORLOCK_TO_DEV_SET_SNAP_PWD: {
            auto *rec = As<oqDevSDK_DoorLock_SetSnapPwd_S>(data, len);
            return rec != nullptr ? SetSnapPwd(*rec) : kLockErrBadRecord;
        }
        case OQDEVSDK_DOORLOCK_TO_DEV_DL_POWER: {
            auto *rec = As<oqDevSDK_DoorLock_DLPower_S>(data, len);
            if (rec == nullptr) {
                return kLockErrBadRecord;
            }
            SetLowPercent(rec->ucLowPercent);
            return 0;
        }
        case OQDEVSDK_DOORLOCK_TO_DEV_USER_VERIFY: {
            auto *rec = As<oqDevSDK_DoorLock_UserVerify_S>(data, len);
            if (rec == nullptr) {
                return kLockErrBadRecord;
            }
            VerifyUser(*rec);
            return 0;
        }
        case OQDEVSDK_DOORLOCK_TO_DEV_FACE_UNLOCK: {
            auto *rec = As<oqDevSDK_DoorLock_FaceUnlock_S>(data, len);
            if (rec == nullptr) {
                return kLockErrBadRecord;
            }
            s.stFaceUnlock = *rec;
            return 0;
        }
        case OQDEVSDK_DOORLOCK_TO_DEV_AUTO_FACE_PLAN: {
            auto *rec = As<oqDevSDK_DoorLock_AutoFaceUnlockPlan_S>(data, len);
            if (rec == nullptr) {
                return kLockErrBadRecord;
            }
            s.stFacePlan = *rec;
            return 0;
        }
        default:
            return kLockErrBadRecord;
    }
}

int Lock::SetSwitch(const oqDevSDK_DoorLock_SwitchCfg_S &rec) {
    if (rec.iSwitchIndex < 0 || rec.iSwitchIndex >= OQDEVSDK_DOORLOCK_SWITCH_NUM) {
        return kLockErrBadRecord;
    }
    m_state->astSwitch[rec.iSwitchIndex] = rec;
    return 0;
}

// Users are kept sorted by index; a set with an index the lock knows changes
// that user, any other adds one.
int Lock::SetUser(const oqDevSDK_DoorLock_SetUserCfg_S &rec) {
    oqDevSDK_DoorLock_UserInfo_S &t = m_state->stUsers;
    size_t pos = 0;
    while (pos < t.usUserNum && t.astUser[pos].usIndex < rec.usOptIndex) {
        ++pos;
    }
    const bool known = pos < t.usUserNum && t.astUser[pos].usIndex == rec.usOptIndex;
    if (rec.ucOptType == OQDEVSDK_DOORLOCK_USER_OPT_DELETE) {
        if (!known) {
            return kLockErrUserUnknown;
        }
        std::memmove(&t.astUser[pos], &t.astUser[pos + 1],
                     (t.usUserNum - pos - 1) * sizeof t.astUser[0]);
        --t.usUserNum;
        std::memset(&t.astUser[t.usUserNum], 0, sizeof t.astUser[0]);
        return 0;
    }
    if (!known) {
        if (t.usUserNum >= OQDEVSDK_DOORLOCK_MAX_USERS) {
            return kLockErrUsersFull;
        }
        std::memmove(&t.astUser[pos + 1], &t.astUser[pos],
                     (t.usUserNum - pos) * sizeof t.astUser[0]);
        ++t.usUserNum;
    }
    t.astUser[pos] = rec.stUser;
    t.astUser[pos].usIndex = rec.usOptIndex;
    return 0;
}

// A create takes the lowest free plan slot and writes it back into usIndex;
// a change of a plan the lock does not hold creates it in that slot.
int Lock::SetAlarmPlan(oqDevSDK_DoorLock_SetAlarmPlan_S &rec) {
    oqDevSDK_DoorLock_AlarmPlanList_S &l = m_state->stPlans;
    if (rec.ucOptType == OQDEVSDK_DOORLOCK_OPT_CREATE) {
        uint16_t slot = 0;
        for (size_t i = 0; i < l.usCount && l.astPlan[i].usIndex == slot; ++i) {
            ++slot;
        }
        rec.usIndex = slot;
    }
    if (rec.usIndex >= OQDEVSDK_DOORLOCK_MAX_ALARM_PLANS) {
        return rec.ucOptType == OQDEVSDK_DOORLOCK_OPT_CREATE ? kLockErrPlansFull
                                                             : kLockErrPlanUnknown;
    }
    size_t pos = 0;
    while (pos < l.usCount && l.astPlan[pos].usIndex < rec.usIndex) {
        ++pos;
    }
    const bool known = pos < l.usCount && l.astPlan[pos].usIndex == rec.usIndex;
    if (rec.ucOptType == OQDEVSDK_DOORLOCK_OPT_DELETE) {
        if (!known) {
            return kLockErrPlanUnknown;
        }
        std::memmove(&l.astPlan[pos], &l.astPlan[pos + 1],
                     (l.usCount - pos - 1) * sizeof l.astPlan[0]);
        --l.usCount;
        std::memset(&l.astPlan[l.usCount], 0, sizeof l.astPlan[0]);
        return 0;
    }
    if (!known) {
        std::memmove(&l.astPlan[pos + 1], &l.astPlan[pos], (l.usCount - pos) * sizeof l.astPlan[0]);
        ++l.usCount;
    }
    oqDevSDK_DoorLock_AlarmPlanInfo_S &plan = l.astPlan[pos];
    plan.usIndex = rec.usIndex;
    plan.ucEnable = rec.ucEnable;
    plan.ucWeekday = rec.ucWeekday;
    plan.usDateNum = rec.usDateNum;
    plan.usUserNum = rec.usUserNum;
    std::memcpy(plan.astDate, rec.astDate, sizeof plan.astDate);
    std::memcpy(plan.astUser, rec.astUser, sizeof plan.astUser);
    return 0;
}

// A create takes the lowest free slot, makes up a six-digit password and
// writes both back into the record.
int Lock::SetSnapPwd(oqDevSDK_DoorLock_SetSnapPwd_S &rec) {
    oqDevSDK_DoorLock_SnapPwdList_S &l = m_state->stSnapPwds;
    if (rec.ucOptType == OQDEVSDK_DOORLOCK_OPT_DELETE) {
        for (size_t i = 0; i < l.usCount; ++i) {
            if (l.astEntry[i].usIndex == rec.usIndex) {
                std::memmove(&l.astEntry[i], &l.astEntry[i + 1],
                             (l.usCount - i - 1) * sizeof l.astEntry[0]);
                --l.usCount;
                std::memset(&l.astEntry[l.usCount], 0, sizeof l.astEntry[0]);
                return 0;
            }
        }
        return kLockErrSnapUnknown;
    }
    if (l.usCount >= OQDEVSDK_DOORLOCK_MAX_SNAP_PWDS) {
        return kLockErrSnapFull;
    }
    if (rec.iLimitNum == 0 || rec.iLimitNum < -1) {
        return kLockErrSnapLimit;
    }
    uint16_t slot = 0;
    size_t pos = 0;
    while (pos < l.usCount && l.astEntry[pos].usIndex == slot) {
        ++slot;
        ++pos;
    }
    std::memmove(&l.astEntry[pos + 1], &l.astEntry[pos], (l.usCount - pos) * sizeof l.astEntry[0]);
    ++l.usCount;
    oqDevSDK_DoorLock_SnapPwdInfo_S &e = l.astEntry[pos];
    std::memset(&e, 0, sizeof e);
    e.usIndex = slot;
    CopyText(e.szName, BoundedText(rec.szName).c_str());
    e.uiBeginTime = rec.uiBeginTime;
    e.uiEndTime = rec.uiEndTime;
    e.iLimitNum = rec.iLimitNum;
    e.iAvailableCount = rec.iAvailableCount;

    m_state->uiPasswordSeed = m_state->uiPasswordSeed * 1103515245u + 12345u;
    std::snprintf(rec.szPwd, sizeof rec.szPwd, "%06u", (m_state->uiPasswordSeed >> 8) % 1000000u);
    rec.usIndex = slot;
    return 0;
}

// A user passes when the id names one of the lock's users.
void Lock::VerifyUser(oqDevSDK_DoorLock_UserVerify_S &rec) const {
    const std::string id = BoundedText(rec.szUserId);
    const oqDevSDK_DoorLock_UserInfo_S &t = m_state->stUsers;
    rec.uiVerifyResult = OQDEVSDK_DOORLOCK_VERIFY_FAILED;
    for (size_t i = 0; i < t.usUserNum; ++i) {
        if (!id.empty() && BoundedText(t.astUser[i].szName) == id) {
            rec.uiVerifyResult = OQDEVSDK_DOORLOCK_VERIFY_OK;
        }
    }
}

void Lock::SetLowPercent(uint8_t percent) {
    m_state->ucLowPercent = percent;
    UpdatePowerStatus();
}

// A battery below the platform's threshold is reported as low.
void Lock::UpdatePowerStatus() {
    oqDevSDK_DoorLock_PowerStatus_S &p = m_state->stPower;
    for (oqDevSDK_DoorLock_PowerInfo_S &source : p.stPower) {
        source.ucStatus = source.ucRemaining < m_state->ucLowPercent ? kPowerLow : kPowerOk;
    }
}

int Lock::Fill(int type, void *data, uint32_t len) {
    State &s = *m_state;
    if (type == OQDEVSDK_DOORLOCK_FROM_DEV_SWITCH) {
        auto *rec = As<oqDevSDK_DoorLock_SwitchCfg_S>(data, len);
        if (rec == nullptr || rec->iSwitchIndex < 0 ||
            rec->iSwitchIndex >= OQDEVSDK_DOORLOCK_SWITCH_NUM) {
            return kLockErrBadRecord;
        }
        *rec = s.astSwitch[rec->iSwitchIndex];
        return 0;
    }
    size_t size = 0;
    const uint8_t *source = RuntimeBytes(type, &size);
    if (source == nullptr || len < size) {
        return kLockErrBadRecord;
    }
    std::memcpy(data, source, size);
    if (type == OQDEVSDK_DOORLOCK_FROM_DEV_UNLOCK_EVTS) {
        std::memset(&s.stEvents, 0, sizeof s.stEvents);  // each event is handed out once
    }
    return 0;
}

uint8_t *Lock::RuntimeBytes(int type, size_t *size) {
    State &s = *m_state;
    struct Record {
        int type;
        void *data;
        size_t size;
    };
    const Record records[] = {
        {OQDEVSDK_DOORLOCK_FROM_DEV_SWITCH, s.astSwitch, sizeof s.astSwitch},
        {OQDEVSDK_DOORLOCK_FROM_DEV_FINGER_STORE, &s.iFingerStore, sizeof s.iFingerStore},
        {OQDEVSDK_DOORLOCK_FROM_DEV_BELL_TONE, &s.iBellTone, sizeof s.iBellTone},
        {OQDEVSDK_DOORLOCK_FROM_DEV_PROMPT_TONE, &s.iPromptTone, sizeof s.iPromptTone},
        {OQDEVSDK_DOORLOCK_FROM_DEV_LOCK_STATUS, &s.stStatus, sizeof s.stStatus},
        {OQDEVSDK_DOORLOCK_FROM_DEV_UNLOCK_EVTS, &s.stEvents, sizeof s.stEvents},
        {OQDEVSDK_DOORLOCK_FROM_DEV_USER_INFO, &s.stUsers, sizeof s.stUsers},
        {OQDEVSDK_DOORLOCK_FROM_DEV_ALARM_PLANS, &s.stPlans, sizeof s.stPlans},
        {OQDEVSDK_DOORLOCK_FROM_DEV_SNAP_PWDS, &s.stSnapPwds, sizeof s.stSnapPwds},
        {OQDEVSDK_DOORLOCK_FROM_DEV_POWER_STATUS, &s.stPower, sizeof s.stPower},
        {OQDEVSDK_DOORLOCK_FROM_DEV_FACE_UNLOCK, &s.stFaceUnlock, sizeof s.stFaceUnlock},
        {OQDEVSDK_DOORLOCK_FROM_DEV_AUTO_FACE_PLAN, &s.stFacePlan, sizeof s.stFacePlan},
    };
    for (const Record &r : records) {
        if (r.type == type) {
            *size = r.size;
            return static_cast<uint8_t *>(r.data);
        }
    }
    return nullptr;
}

void Lock::Unlock(const std::string &user, uint8_t how, int32_t when) {
    std::lock_guard<std::mutex> guard(m_mutex);
    oqDevSDK_DoorLock_UnlockEvtRecList_S &l = m_state->stEvents;
    if (l.usRecNum >= OQDEVSDK_DOORLOCK_MAX_UNLOCK_EVTS) {
        // Full: the oldest event makes room.
        std::memmove(&l.stRecord[0], &l.stRecord[1], (l.usRecNum - 1) * sizeof l.stRecord[0]);
        --l.usRecNum;
    }
    oqDevSDK_DoorLock_UnlockEvtRec_S &e = l.stRecord[l.usRecNum++];
    std::memset(&e, 0, sizeof e);
    CopyText(e.szUser, user.c_str());
    e.ucUnlockType = how;
    e.lUnlockTime = when;
    m_state->stStatus.ucLockState = kBoltUnlocked;
}

void Lock::SetDoor(uint8_t state) {
    std::lock_guard<std::mutex> guard(m_mutex);
    m_state->stStatus.ucDoorState = state;
}

void Lock::SetBolt(uint8_t state) {
    std::lock_guard<std::mutex> guard(m_mutex);
    m_state->stStatus.ucLockState = state;
}

void Lock::SetSignal(uint8_t signal) {
    std::lock_guard<std::mutex> guard(m_mutex);
    m_state->stStatus.ucSignal = signal;
}

bool Lock::SetBattery(size_t source, uint8_t percent) {
    std::lock_guard<std::mutex> guard(m_mutex);
    if (source >= m_state->stPower.usPowerNum || source >= OQDEVSDK_DOORLOCK_POWER_MAX) {
        return false;
    }
    m_state->stPower.stPower[source].ucRemaining = percent;
    UpdatePowerStatus();
    return true;
}

void Lock::FailRecv(int type, int code, int count) {
    std::lock_guard<std::mutex> guard(m_mutex);
    m_recvFaults[type] = Fault{code, count};
}

void Lock::FailGet(int type, int code, int count) {
    std::lock_guard<std::mutex> guard(m_mutex);
    m_getFaults[type] = Fault{code, count};
}

void Lock::ClearRecvFault(int type) {
    std::lock_guard<std::mutex> guard(m_mutex);
    m_recvFaults.erase(type);
}

void Lock::ClearGetFault(int type) {
    std::lock_guard<std::mutex> guard(m_mutex);
    m_getFaults.erase(type);
}

bool Lock::TakeFault(std::map<int, Fault> &faults, int type, int *code) {
    auto it = faults.find(type);
    if (it == faults.end()) {
        return false;
    }
    *code = it->second.code;
    if (it->second.left > 0 && --it->second.left == 0) {
        faults.erase(it);
    }
    return true;
}

bool Lock::Poke(int type, size_t offset, const std::vector<uint8_t> &bytes, std::string *why) {
    std::lock_guard<std::mutex> guard(m_mutex);
    size_t size = 0;
    uint8_t *record = RuntimeBytes(type, &size);
    if (record == nullptr) {
        *why = "no runtime record of type " + std::to_string(type);
        return false;
    }
    if (offset > size || bytes.size() > size - offset) {
        *why = "bytes run past the " + std::to_string(size) + "-byte record";
        return false;
    }
    std::memcpy(record + offset, bytes.data(), bytes.size());
    return true;
}

bool Lock::Reply(int type, size_t offset, const std::vector<uint8_t> &bytes, std::string *why) {
    const uint32_t size = ToDeviceLength(type);
    if (size == 0) {
        *why = "no received record of type " + std::to_string(type);
        return false;
    }
    if (offset > size || bytes.size() > size - offset) {
        *why = "bytes run past the " + std::to_string(size) + "-byte record";
        return false;
    }
    std::lock_guard<std::mutex> guard(m_mutex);
    m_replies[type].push_back(Patch{offset, bytes});
    return true;
}

void Lock::ApplyPatches(int type, void *data, uint32_t len) {
    auto *bytes = static_cast<uint8_t *>(data);
    for (const Patch &p : m_replies[type]) {
        if (p.offset <= len && p.bytes.size() <= len - p.offset) {
            std::memcpy(bytes + p.offset, p.bytes.data(), p.bytes.size());
        }
    }
    m_replies.erase(type);
}

}  // namespace dlsim
