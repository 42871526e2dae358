#include "frame/kernel_domain.h"

#include <charconv>
#include <cstring>

#include "frame/host_guard.h"
#include "frame/module.h"
#include "frame/text_field.h"
#include "handlers/handlers.h"
#include "messaging/round_trip.h"
#include "oqdev_log.h"
#include "vocabulary.h"

namespace norla {
namespace {

// The platform's answers to requests the module started: no response is due.
using DoorLock_RspHandler = int (*)(const char *data, int len);

// A request served by the round trip and answered under iRspCmd, or an answer
// handed to pfnRsp.
struct DoorLock_Route_S {
    int iReqCmd;
    int iRspCmd;
    DoorLock_ReqHandler pfnReq;
    DoorLock_RspHandler pfnRsp = nullptr;
};

// A request answered under the id one more than its own.
constexpr DoorLock_Route_S Answered(int reqCmd, DoorLock_ReqHandler handler) noexcept {
    return DoorLock_Route_S{reqCmd, ResponseOf(reqCmd), handler};
}

// Rows are kept in command-id order, one per line. A command without a row is
// ignored like any unknown id.
constexpr DoorLock_Route_S kRoutes[] = {
    {kCmdSystemConfigRsp, 0, nullptr, &RspHnd_SetSystemConfig},
    Answered(kCmdSetSwitch, &ReqHnd_SetSwitchEnable),
    Answered(kCmdSetDevPlan, &ReqHnd_SetDevPlan),
    Answered(kCmdSetKeyValue, &ReqHnd_SetKeyValue),
    Answered(kCmdTriggerUserVerify, &ReqHnd_TriggerUserVerify),
    Answered(kCmdQueryAlarmPlans, &ReqHnd_QueryNotBackAlarmPlans),
    Answered(kCmdSetAlarmPlan, &ReqHnd_SetNotBackAlarmPlan),
    Answered(kCmdSetUserInfo, &ReqHnd_SetUserInfo),
    Answered(kCmdSetSnapPwd, &ReqHnd_SetSnapPwd),
    Answered(kCmdQuerySnapPwds, &ReqHnd_QuerySnapPwdInfo),
    Answered(kCmdQueryUserInfo, &ReqHnd_QueryUserInfo),
};

// What a refused switch redirection logs, by switch slot; several slots share
// one message on purpose.
constexpr const char *kSwitchRedirectFailMsgs[OQDEVSDK_DOORLOCK_SWITCH_NUM] = {
    "DoorLock failed to register type: switch is door open notify.",
    "DoorLock failed to register type: switch is door open notify.",
    "DoorLock failed to register type: switch is door open notify.",
    "DoorLock failed to register type: switch is anti door lock mode.",
    "DoorLock failed to register type: switch is door open video.",
    "DoorLock failed to register type: switch is face recognition unlock.",
    "DoorLock failed to register type: switch is indoor open notify.",
    "DoorLock failed to register type: switch is indoor open notify.",
};

// The redirection of one type of a generic command; false when refused.
bool Redirect(oqdev_redirect_reg_s &reg, int cmd, const char *type) noexcept {
    reg.iCmdId = cmd;
    CopyText(reg.szType, type);
    return oqDevSDK_Common_Module_RedirectReg(&reg) == 0;
}

// Every switch type, every key and the auto face unlock plan, in that order.
void RegisterRedirects() noexcept {
    oqdev_redirect_reg_s reg;
    std::memset(&reg, 0, sizeof reg);
    reg.iDomainId = kDoorLockDomainId;
    char type[kIntTextLen];
    for (int slot = 0; slot < OQDEVSDK_DOORLOCK_SWITCH_NUM; ++slot) {
        *std::to_chars(type, type + sizeof type - 1, kSwitchPlatformTypes[slot]).ptr = '\0';
        if (!Redirect(reg, kCmdSetSwitch, type)) {
            oqdev_debug(kLogError, "%s\n", kSwitchRedirectFailMsgs[slot]);
        }
    }
    for (const char *key : kSettingKeys) {
        if (!Redirect(reg, kCmdSetKeyValue, key)) {
            oqdev_debug(kLogError, "DoorLock failed to register type: key is %s.\n", key);
        }
    }
    *std::to_chars(type, type + sizeof type - 1, kAutoFacePlanType).ptr = '\0';
    if (!Redirect(reg, kCmdSetDevPlan, type)) {
        oqdev_debug(kLogError, "DoorLock register dev plan error\n");
    }
}

const DoorLock_Route_S *FindRoute(int cmd) noexcept {
    for (const DoorLock_Route_S &row : kRoutes) {
        if (row.iReqCmd == cmd) {
            return &row;
        }
    }
    return nullptr;
}

int Dispatch(const DoorLock_Route_S &route, const oqdev_kernel_submsg_s &msg) {
    if (route.pfnReq != nullptr) {
        return DoorLock_PltReq_DoRsp_Handle(msg.pBody, msg.iBodyLen, route.iRspCmd,
                                            kDoorLockVersion, msg.uiMsgSeq, route.pfnReq);
    }
    return route.pfnRsp(msg.pBody, msg.iBodyLen);
}

}  // namespace

int DoorLock_extern_init() noexcept {
    oqdev_kernel_extend_s ext;
    std::memset(&ext, 0, sizeof ext);
    ext.usDomainId = static_cast<uint16_t>(kDoorLockDomainId);
    ext.pfnStart = &DoorLock_extend_start_cb;
    ext.pfnStop = &DoorLock_extend_stop_cb;
    ext.pfnDataRoute = &DoorLock_extend_data_route_cb;
    ext.pfnEvent = &DoorLock_extend_event_cb;
    CopyText(ext.szDomainName, kDoorLockDomainName);
    CopyText(ext.szDomainVersion, kDoorLockVersion);

    int ret = oqdev_sdk_kernel_extend_load(&ext);
    if (ret != 0) {
        oqdev_debug(kLogError, "microkernel load DoorLock doamin error:%#x\n",
                    static_cast<unsigned int>(ret));
        return ret;
    }
    // A refused redirection only costs that command type; the domain still works.
    RegisterRedirects();
    oqdev_debug(kLogInfo, "DoorLock domain registered.\n");
    return 0;
}

// The kernel offers no unload: the domain and its redirections stay until the
// process ends.
void DoorLock_extern_Fint() noexcept {
    oqdev_debug(kLogInfo, "DoorLock domain deregistered.\n");
}

void DoorLock_SetRegisterStatus(int status) noexcept {
    g_stInnerCtrl.iRegisterStatus.store(status, std::memory_order_relaxed);
}

int DoorLock_GetRegisterStatus() noexcept {
    return g_stInnerCtrl.iRegisterStatus.load(std::memory_order_relaxed);
}

int DoorLock_extend_start_cb(void * /*arg*/) noexcept {
    oqdev_debug(kLogInfo, "DoorLock_extend_start_cb\n");
    return 0;
}

int DoorLock_extend_stop_cb(void * /*arg*/) noexcept {
    oqdev_debug(kLogInfo, "DoorLock_extend_stop_cb\n");
    return 0;
}

int DoorLock_extend_event_cb(oqdev_kernel_event_s *event, void * /*arg*/) noexcept {
    if (event == nullptr) {
        oqdev_debug(kLogError, "NULL input param!\n");
        return -1;
    }
    oqdev_debug(kLogInfo, "DoorLock_extend_event type %d\n", event->iEventType);
    if (event->iEventType == kEventRegistered || event->iEventType == kEventReregistered) {
        DoorLock_SetRegisterStatus(kRegistered);
    } else if (event->iEventType == kEventUnregistered) {
        DoorLock_SetRegisterStatus(kNotRegistered);
    }
    return 0;
}

int DoorLock_extend_data_route_cb(oqdev_kernel_submsg_s *submsg, void * /*arg*/) noexcept {
    if (submsg == nullptr) {
        oqdev_debug(kLogError, "NULL input param!\n");
        return -1;
    }
    oqdev_debug(kLogError, "Recv:%#x\n", static_cast<unsigned int>(submsg->iCmdId));
    oqdev_debug(kLogDump, "Content:%s\n", submsg->pBody != nullptr ? submsg->pBody : "");
    if (oqdev_get_sleep_status() != 0) {
        oqdev_debug(kLogWarn, "alarm: device sleep!\n");
        return 0;
    }
    const DoorLock_Route_S *route = FindRoute(submsg->iCmdId);
    if (route == nullptr) {
        return 0;
    }
    int ret = -1;
    // A request answers for itself; an answer's handler that threw failed.
    if (!DoorLock_Guard("data route", [&] { ret = Dispatch(*route, *submsg); })) {
        ret = -1;
    }
    if (ret != 0) {
        oqdev_debug(kLogError, "Result is %d, by Cmdid[%#x].\n", ret,
                    static_cast<unsigned int>(submsg->iCmdId));
    }
    return ret;
}

}  // namespace norla
