// The door_lock extension domain in the host kernel: loading, redirections,
// events and the routing of platform messages.
#ifndef NORLA_FRAME_KERNEL_DOMAIN_H
#define NORLA_FRAME_KERNEL_DOMAIN_H

#include "oqdev_kernel.h"

namespace norla {

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
