// Plays a scenario: one command a line against the module, the emulated host
// SDK and the simulated lock.
#ifndef DOORLOCK_SIM_PLAYER_H
#define DOORLOCK_SIM_PLAYER_H

#include <cstdint>
#include <cstdio>
#include <istream>
#include <string>
#include <vector>

#include "oqDevSDK_door_lock.h"
#include "oqDevSDK_door_lock_device.h"

namespace dlsim {

class Lock;
class Transcript;

// The module's entry points as the simulator resolved them.
struct ModuleApi {
    int (*init)(oqDevSDK_DoorLock_InitInfo_S *);
    void (*fini)();
    int (*send2srv)(oqDevSDK_DoorLock_SrvMsg_S *);
};

// The wall clock the module sees when a run starts, so that output never
// depends on the machine's clock.
constexpr int64_t kStartClock = 1700000000;

// Exit status of a run stopped by a bad line.
constexpr int kExitBadLine = 2;

class Args;

class Player {
  public:
    Player(const ModuleApi &api, Lock &lock, Transcript &out);
    ~Player();
    Player(const Player &) = delete;
    Player &operator=(const Player &) = delete;

    // The module talks to a device library instead of the simulated lock: the
    // unlock, door and battery lines go to its event entry point (null when
    // it exports none: those lines then fail), bolt and signal lines fail.
    void UseDeviceLibrary(oqDevSDK_DoorLock_DeviceEvent_F event);

    // Runs every line of `in`; returns 0, or kExitBadLine after writing
    // "NAME:LINE: reason" to `err`. `dir` is where @PATH bodies are found.
    int Play(std::istream &in, const std::string &name, const std::string &dir, FILE *err);
    // Runs one line; false with the reason when the line is bad.
    bool Execute(const std::string &line, const std::string &dir, std::string *why);

  private:
    using Handler = bool (Player::*)(Args &);
    struct Command {
        const char *name;
        Handler run;
    };
    static const Command kCommands[];

    bool Init(Args &a);
    bool Fini(Args &a);
    bool Send2Srv(Args &a);
    bool Event(Args &a);
    bool Sleep(Args &a);
    bool DevInfo(Args &a);
    bool Request(Args &a);
    bool Poll(Args &a);
    bool Reset(Args &a);
    bool Tick(Args &a);
    bool Clock(Args &a);
    bool Advance(Args &a);
    bool Tz(Args &a);
    bool Kernel(Args &a);
    bool Timer(Args &a);
    bool Device(Args &a);
    bool DeviceFail(Args &a, bool recv);
    bool DeviceOk(Args &a, bool recv);
    bool DevicePatch(Args &a, bool poke);
    bool Unlock(Args &a);
    bool Door(Args &a);
    bool Bolt(Args &a);
    bool Signal(Args &a);
    bool Battery(Args &a);
    bool Note(Args &a);

    bool Fail(const std::string &why);
    bool RaiseEvent(const char *what, int32_t event, int32_t index, int32_t value,
                    const std::string &user);
    bool SimulatedLockOnly(const char *what);

    ModuleApi m_api;
    Lock &m_lock;
    Transcript &m_out;
    int64_t m_now = kStartClock;
    oqDevSDK_DoorLock_DeviceEvent_F m_event;
    bool m_deviceLibrary = false;
    std::string m_dir;
    std::string m_why;
};

// Integer text in decimal or 0x-hex, with an optional sign, within limits.
bool ParseInt(const std::string &text, long long min, long long max, long long *value);
// Pairs of hex digits, at least one byte.
bool ParseHex(const std::string &text, std::vector<uint8_t> *bytes);

}  // namespace dlsim

#endif
