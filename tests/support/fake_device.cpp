#include "support/fake_device.h"

#include <gtest/gtest.h>

namespace dltest {

FakeDevice &FakeDevice::Get() {
    static FakeDevice device;
    return device;
}

void FakeDevice::Reset() {
    received.clear();
    get_calls.clear();
    runtime.clear();
    recv_result.clear();
    get_result.clear();
    on_recv = nullptr;
    on_get = nullptr;
}

oqDevSDK_DoorLock_Callback_S FakeDevice::Callbacks() const {
    oqDevSDK_DoorLock_Callback_S cb{};
    cb.Recv_Msg = &FakeDevice::RecvMsg;
    cb.Get_Runtime_Info = &FakeDevice::GetRuntimeInfo;
    return cb;
}

int FakeDevice::CountReceived(int type) const {
    int n = 0;
    for (const auto &r : received) {
        n += r.type == type ? 1 : 0;
    }
    return n;
}

const Received *FakeDevice::Find(int type) const {
    for (auto it = received.rbegin(); it != received.rend(); ++it) {
        if (it->type == type) {
            return &*it;
        }
    }
    return nullptr;
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
        size_t n = it->second.size() < msg->uiLen ? it->second.size() : msg->uiLen;
        std::memcpy(msg->pData, it->second.data(), n);
    }
    return 0;
}

}  // namespace dltest
