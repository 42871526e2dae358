// The simulated lock: a device application behind the module's two
// callbacks. It keeps every runtime record the module can ask for, applies
// what the module hands it and answers from its state.
#ifndef DOORLOCK_SIM_LOCK_H
#define DOORLOCK_SIM_LOCK_H

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "oqDevSDK_door_lock.h"
#include "oqDevSDK_door_lock_device.h"
#include "vocabulary.h"

namespace dlsim {

class Transcript;

// Answers of the lock besides 0. The module turns the ones the contract names
// into platform result codes of their own; the others are this lock's.
constexpr int kLockErrBadRecord = 0x18000;  // short record, index out of range
constexpr int kLockErrSnapFull =
    OQDEVSDK_DOORLOCK_DEV_ERR_SNAP_PWD_FULL;  // no free snap password slot
constexpr int kLockErrSnapUnknown =
    OQDEVSDK_DOORLOCK_DEV_ERR_SNAP_PWD_UNKNOWN;  // no snap password in that slot
constexpr int kLockErrSnapLimit =
    OQDEVSDK_DOORLOCK_DEV_ERR_SNAP_PWD_LIMIT;  // use limit neither -1 nor positive
constexpr int kLockErrUsersFull = OQDEVSDK_DOORLOCK_DEV_ERR_USERS_FULL;  // user table full
constexpr int kLockErrUserUnknown =
    OQDEVSDK_DOORLOCK_DEV_ERR_USER_UNKNOWN;   // no user with that index
constexpr int kLockErrPlansFull = 0x18006;    // no free alarm plan slot
constexpr int kLockErrPlanUnknown = 0x18007;  // no alarm plan with that index

// Unlock methods as this lock numbers them in its unlock events.
enum class UnlockHow : uint8_t {
    Finger = 1,
    Password = 2,
    Card = 3,
    Face = 4,
    Key = 5,
    Remote = 6
};

// Door and bolt states of the lock status record.
constexpr uint8_t kDoorClosed = 0;
constexpr uint8_t kDoorOpen = 1;
constexpr uint8_t kBoltUnlocked = 0;
constexpr uint8_t kBoltLocked = 1;

class Lock {
  public:
    Lock();
    ~Lock();
    Lock(const Lock &) = delete;
    Lock &operator=(const Lock &) = delete;

    // The table to hand to oqDevSDK_DoorLock_Init; its entries reach the lock
    // constructed last.
    static oqDevSDK_DoorLock_Callback_S Callbacks();
    // The lock's event entry point, the one a device library may export: the
    // scenario's unlock, door and battery lines go through it whichever device
    // runs. Reaches the lock constructed last.
    static int DeviceEvent(const oqDevSDK_DoorLock_DeviceEvent_S *event);
    // The time the lock stamps its own events with.
    void SetClock(int32_t now);
    void SetTranscript(Transcript *transcript);

    // The lock's own life.
    void Unlock(const std::string &user, uint8_t how, int32_t when);
    void SetDoor(uint8_t state);
    void SetBolt(uint8_t state);
    void SetSignal(uint8_t signal);
    // false when the lock has no such power source.
    bool SetBattery(size_t source, uint8_t percent);

    // Scripted faults: calls of one direction and type answer `code`, `count`
    // times (negative: until cleared), and change nothing.
    void FailRecv(int type, int code, int count);
    void FailGet(int type, int code, int count);
    void ClearRecvFault(int type);
    void ClearGetFault(int type);
    // Writes bytes into the runtime record of a from-device type code. For
    // type 0 the record is the array of all switches, 12 bytes each.
    bool Poke(int type, size_t offset, const std::vector<uint8_t> &bytes, std::string *why);
    // Bytes written into the next received record of a to-device type code
    // before the lock answers 0.
    bool Reply(int type, size_t offset, const std::vector<uint8_t> &bytes, std::string *why);

  private:
    struct State;
    struct Fault {
        int code;
        int left;
    };
    struct Patch {
        size_t offset;
        std::vector<uint8_t> bytes;
    };

    static int RecvMsgEntry(oqDevSDK_DoorLock_Msg_S *msg);
    static int GetRuntimeInfoEntry(oqDevSDK_DoorLock_Msg_S *msg);
    int OnRecv(oqDevSDK_DoorLock_Msg_S *msg);
    int OnEvent(const oqDevSDK_DoorLock_DeviceEvent_S &event);
    int OnGet(oqDevSDK_DoorLock_Msg_S *msg);

    int Apply(int type, void *data, uint32_t len);
    int Fill(int type, void *data, uint32_t len);
    int SetSwitch(const oqDevSDK_DoorLock_SwitchCfg_S &rec);
    int SetUser(const oqDevSDK_DoorLock_SetUserCfg_S &rec);
    int SetAlarmPlan(oqDevSDK_DoorLock_SetAlarmPlan_S &rec);
    int SetSnapPwd(oqDevSDK_DoorLock_SetSnapPwd_S &rec);
    void VerifyUser(oqDevSDK_DoorLock_UserVerify_S &rec) const;
    void SetLowPercent(uint8_t percent);
    void UpdatePowerStatus();
    void ApplyPatches(int type, void *data, uint32_t len);

    static bool TakeFault(std::map<int, Fault> &faults, int type, int *code);
    uint8_t *RuntimeBytes(int type, size_t *size);

    std::mutex m_mutex;  // the callbacks may come from several threads
    std::unique_ptr<State> m_state;
    std::map<int, Fault> m_recvFaults;
    std::map<int, Fault> m_getFaults;
    std::map<int, std::vector<Patch>> m_replies;
    Transcript *m_transcript = nullptr;
    int32_t m_clock = 0;
};

}  // namespace dlsim

#endif
