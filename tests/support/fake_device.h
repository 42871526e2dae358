// A scriptable device application for the unit tests: keeps every record the
// module hands it and serves runtime records per type code.
#ifndef TESTS_SUPPORT_FAKE_DEVICE_H
#define TESTS_SUPPORT_FAKE_DEVICE_H

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <functional>
#include <map>
#include <vector>

#include "oqDevSDK_door_lock.h"

namespace dltest {

struct Received {
    int type;
    uint32_t len;
    std::vector<uint8_t> bytes;
};

class FakeDevice {
  public:
    static FakeDevice &Get() {
        static FakeDevice device;
        return device;
    }
    void Reset() { *this = FakeDevice(); }
    oqDevSDK_DoorLock_Callback_S Callbacks() const { return {&RecvMsg, &GetRuntimeInfo}; }

    std::vector<Received> received;  // records handed to Recv_Msg, in order
    std::map<int, int> get_calls;    // Get_Runtime_Info calls per type code
    // Runtime record per type code, copied into the module's buffer (at most
    // the buffer's length) by Get_Runtime_Info.
    std::map<int, std::vector<uint8_t>> runtime;
    // Result per type code of each direction; 0 when absent.
    std::map<int, int> recv_result;
    std::map<int, int> get_result;
    // Optional replacements of the default behaviour; the result is returned.
    std::function<int(oqDevSDK_DoorLock_Msg_S *)> on_recv;
    std::function<int(oqDevSDK_DoorLock_Msg_S *)> on_get;

    template <typename T>
    void SetRuntime(int type, const T &rec) {
        auto *p = reinterpret_cast<const uint8_t *>(&rec);
        runtime[type].assign(p, p + sizeof(T));
    }
    // The last record of that type handed to Recv_Msg (as far as it goes); zeros when none.
    template <typename T>
    T LastReceived(int type) const {
        T rec{};
        if (const Received *found = Find(type)) {
            std::memcpy(&rec, found->bytes.data(), std::min(found->bytes.size(), sizeof rec));
        }
        return rec;
    }
    int CountReceived(int type) const;
    const Received *Find(int type) const;

  private:
    static int RecvMsg(oqDevSDK_DoorLock_Msg_S *msg);
    static int GetRuntimeInfo(oqDevSDK_DoorLock_Msg_S *msg);
};

}  // namespace dltest

#endif
