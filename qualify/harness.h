// Runs one unit of the qualification in a forked child, so that whatever
// the device code does (crash, hang, scribble) ends as a finding for the type
// code it was called with, and the run goes on with the next unit.
//
// Records are handed to the device in guarded buffers: the record ends where
// an inaccessible page begins, so a write past it faults at once, and the
// bytes before it are checked after the call.
#ifndef DOORLOCK_QUALIFY_HARNESS_H
#define DOORLOCK_QUALIFY_HARNESS_H

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <functional>
#include <set>
#include <string>
#include <utility>

#include "device_library.h"
#include "findings.h"
#include "records.h"

namespace qualify {

using std::chrono::milliseconds;

struct Options {
    milliseconds bound{OQDEVSDK_DOORLOCK_CALL_BUDGET_MS};  // one call
    milliseconds hang{5000};   // a call still running after this is taken as hung
    bool interactive = false;  // ask the tester for what the library cannot produce
};

// A record the device writes into or reads from, placed so that its last
// byte is followed by an inaccessible page.
class GuardedBuffer {
  public:
    explicit GuardedBuffer(uint32_t len);
    ~GuardedBuffer();
    GuardedBuffer(const GuardedBuffer &) = delete;
    GuardedBuffer &operator=(const GuardedBuffer &) = delete;

    uint8_t *data() const { return m_record; }
    uint32_t size() const { return m_len; }
    // False when the device wrote into the bytes just before the record.
    bool FrontIntact() const;
    // Sets a trap on the page holding byte `offset`: a device access there
    // blocks in the fault handler until Release(). kFirstTouch blocks the
    // first access; kSecondPass lets the first pass over the page go (a
    // lock that clears the whole record before it fills it) and blocks when
    // the device comes back to it after having gone past it. One trap per
    // process at a time.
    enum class TrapMode { kFirstTouch, kSecondPass };
    void Trap(uint32_t offset, TrapMode mode);
    void Release();

  private:
    uint8_t *m_map = nullptr;
    size_t m_mapLen = 0;
    uint8_t *m_record = nullptr;
    uint32_t m_len;
    bool m_trapped = false;
};

// Thrown by a call whose type code crashed or hung in an earlier attempt of
// the unit; Session::Step catches it.
struct Excluded {};

// The unit's side: calls into the device and what it found.
class Session {
  public:
    Session(const std::string &unit, const oqDevSDK_DoorLock_Callback_S &device,
            oqDevSDK_DoorLock_DeviceEvent_F eventEntry, const Options &opts,
            const std::set<std::pair<Dir, int>> &excluded, int channel);

    // Each copies the record into a guarded buffer, calls, and copies it
    // back; it notes a write before the record.
    int Get(int type, void *rec, uint32_t len);
    int Recv(int type, void *rec, uint32_t len, milliseconds extra = milliseconds{0});
    template <typename T>
    int Get(int type, T *rec) {
        return Get(type, rec, static_cast<uint32_t>(sizeof *rec));
    }
    template <typename T>
    int Recv(int type, T *rec, milliseconds extra = milliseconds{0}) {
        return Recv(type, rec, static_cast<uint32_t>(sizeof *rec), extra);
    }
    // Calls with the record in place (for buffers the unit traps itself).
    // Safe from several threads at once, `slot` 1..7 telling them apart.
    int CallInPlace(Dir dir, int type, GuardedBuffer &buffer, int slot,
                    milliseconds extra = milliseconds{0});
    // How long the last call of this thread took.
    std::chrono::microseconds LastTook() const;

    // Runs one step; a call of an excluded type code ends just that step.
    void Step(const std::function<void()> &step);

    void Fail(Dir dir, int type, const std::string &text);
    void Checked(Dir dir, int type);
    void Declined(Dir dir, int type, int ret);
    void NotChecked(const std::string &why);

    const Options &options() const { return m_options; }
    oqDevSDK_DoorLock_DeviceEvent_F event() const { return m_event; }
    const oqDevSDK_DoorLock_Callback_S &device() const { return m_device; }

  private:
    int Call(Dir dir, int type, uint8_t *data, uint32_t len, int slot, milliseconds extra);
    void Send(char kind, Dir dir, int type, const std::string &text);

    std::string m_unit;
    oqDevSDK_DoorLock_Callback_S m_device;
    oqDevSDK_DoorLock_DeviceEvent_F m_event;
    Options m_options;
    std::set<std::pair<Dir, int>> m_excluded;
    int m_channel;
};

// True once a device access hit the trapped pages of a buffer.
bool TrapSprung();

struct Unit {
    const char *name;
    void (*run)(Session &);
};

// Runs `unit` in forked children until one finishes, each retry leaving out
// the type codes that crashed or hung before. The library must have been
// opened (not started): each child starts it afresh.
void RunUnit(const Unit &unit, const devlib::DeviceLibrary &library, const Options &options,
             Findings *findings);

std::string ResultText(int ret);

}  // namespace qualify

#endif
