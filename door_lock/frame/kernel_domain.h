// The door_lock extension domain in the host kernel: loading, redirections,
// events and the routing of platform messages.
#ifndef NORLA_FRAME_KERNEL_DOMAIN_H
#define NORLA_FRAME_KERNEL_DOMAIN_H

#include "messaging/round_trip.h"
#include "oqdev_kernel.h"

namespace norla {

// The platform's answers to requests the module started: no response is due.
using DoorLock_RspHandler = int (*)(const char *data, int len);

// One row of the routing table: a request served by the round trip and
// answered under iRspCmd, or an answer handed to pfnRsp.
struct DoorLock_Route_S {
    int iReqCmd;
    int iRspCmd;
    DoorLock_ReqHandler pfnReq;
    DoorLock_RspHandler pfnRsp = nullptr;
};

// The row of a command id; null when the module does not serve it.
const DoorLock_Route_S *DoorLock_FindRoute(int cmd) noexcept;

int DoorLock_extern_init() noexcept;
void DoorLock_extern_Fint() noexcept;
void DoorLock_SetRegisterStatus(int status) noexcept;
int DoorLock_GetRegisterStatus() noexcept;

int DoorLock_extend_start_cb(void *arg) noexcept;
int DoorLock_extend_stop_cb(void *arg) noexcept;
int DoorLock_extend_event_cb(oqdev_kernel_event_s *event, void *arg) noexcept;
int DoorLock_extend_data_route_cb(oqdev_kernel_submsg_s *submsg, void *arg) noexcept;

}  // namespace norla

#endif
