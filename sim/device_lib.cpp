#include "device_lib.h"

#include <atomic>
#include <vector>

#include "transcript.h"

namespace dlsim {
namespace {

// Init is a plain function pointer in ModuleApi, so what it needs lives here.
struct Installed {
    int (*init)(oqDevSDK_DoorLock_InitInfo_S *);
    oqDevSDK_DoorLock_Callback_S device;
    std::atomic<Transcript *> transcript;
};
Installed g_installed{nullptr, {nullptr, nullptr}, {nullptr}};

int RecvMsgShown(oqDevSDK_DoorLock_Msg_S *msg) {
    Transcript *out = g_installed.transcript.load();
    if (out == nullptr || msg == nullptr || msg->pData == nullptr) {
        return g_installed.device.Recv_Msg(msg);
    }
    const auto *bytes = static_cast<const uint8_t *>(msg->pData);
    const std::vector<uint8_t> handed(bytes, bytes + msg->uiLen);
    const int ret = g_installed.device.Recv_Msg(msg);
    out->RecvMsg(msg->iType, handed.data(), bytes, msg->uiLen, ret);
    return ret;
}

int GetRuntimeInfoShown(oqDevSDK_DoorLock_Msg_S *msg) {
    const int ret = g_installed.device.Get_Runtime_Info(msg);
    Transcript *out = g_installed.transcript.load();
    if (out != nullptr && msg != nullptr && msg->pData != nullptr) {
        out->GetInfo(msg->iType, static_cast<const uint8_t *>(msg->pData), msg->uiLen, ret);
    }
    return ret;
}

int InitWithDevice(oqDevSDK_DoorLock_InitInfo_S *info) {
    if (info != nullptr) {
        info->stCallback.Recv_Msg = &RecvMsgShown;
        info->stCallback.Get_Runtime_Info = &GetRuntimeInfoShown;
    }
    return g_installed.init(info);
}

}  // namespace

ModuleApi WithDevice(const ModuleApi &api, const oqDevSDK_DoorLock_Callback_S &device,
                     Transcript *transcript) {
    g_installed.init = api.init;
    g_installed.device = device;
    g_installed.transcript.store(transcript);
    ModuleApi wrapped = api;
    wrapped.init = &InitWithDevice;
    return wrapped;
}

}  // namespace dlsim
