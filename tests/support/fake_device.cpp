#include "support/fake_device.h"

#include <algorithm>

namespace dltest {

int FakeDevice::CountReceived(int type) const {
    return static_cast<int>(std::count_if(received.begin(), received.end(),
                                          [type](const Received &r) { return r.type == type; }));
}

const Received *FakeDevice::Find(int type) const {
    auto it = std::find_if(received.rbegin(), received.rend(),
                           [type](const Received &r) { return r.type == type; });
    return it == received.rend() ? nullptr : &*it;
}

int FakeDevice::RecvMsg(oqDevSDK_DoorLock_Msg_S *msg) {
    FakeDevice &dev = Get();
    const auto *p = static_cast<const uint8_t *>(msg->pData);
    dev.received.push_back({msg->iType, msg->uiLen, std::vector<uint8_t>(p, p + msg->uiLen)});
    if (dev.on_recv) {
        return dev.on_recv(msg);
    }
    auto it = dev.recv_result.find(msg->iType);
    return it == dev.recv_result.end() ? 0 : it->second;
}

int FakeDevice::GetRuntimeInfo(oqDevSDK_DoorLock_Msg_S *msg) {
    FakeDevice &dev = Get();
    dev.get_calls[msg->iType]++;
    if (dev.on_get) {
        return dev.on_get(msg);
    }
    auto res = dev.get_result.find(msg->iType);
    if (res != dev.get_result.end() && res->second != 0) {
        return res->second;
    }
    auto it = dev.runtime.find(msg->iType);
    if (it != dev.runtime.end()) {
        std::memcpy(msg->pData, it->second.data(), std::min<size_t>(it->second.size(), msg->uiLen));
    }
    return 0;
}

}  // namespace dltest
