// Registration of the status items with the host's status-report module.
#ifndef NORLA_STATUS_REGISTRY_H
#define NORLA_STATUS_REGISTRY_H

namespace norla {

int DoorLock_Func_Init() noexcept;
void DoorLock_Func_Fint() noexcept;

}  // namespace norla

#endif
