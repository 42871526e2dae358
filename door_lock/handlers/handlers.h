// Request handlers of the platform commands, one source per command family.
#ifndef NORLA_HANDLERS_HANDLERS_H
#define NORLA_HANDLERS_HANDLERS_H

#include "CMarkupSTL.h"

namespace norla {

// Switch and key-value settings (18699, 18829).
int ReqHnd_SetSwitchEnable(CMarkupSTL &request, CMarkupSTL &response) noexcept;
int ReqHnd_SetKeyValue(CMarkupSTL &request, CMarkupSTL &response) noexcept;

// Users (18857, 20160).
int ReqHnd_SetUserInfo(CMarkupSTL &request, CMarkupSTL &response) noexcept;
int ReqHnd_QueryUserInfo(CMarkupSTL &request, CMarkupSTL &response) noexcept;

// Snap passwords (18859, 18861).
int ReqHnd_SetSnapPwd(CMarkupSTL &request, CMarkupSTL &response) noexcept;
int ReqHnd_QuerySnapPwdInfo(CMarkupSTL &request, CMarkupSTL &response) noexcept;

// Not-back alarm plans (18855, 18853).
int ReqHnd_SetNotBackAlarmPlan(CMarkupSTL &request, CMarkupSTL &response) noexcept;
int ReqHnd_QueryNotBackAlarmPlans(CMarkupSTL &request, CMarkupSTL &response) noexcept;

// User verification and device plans (18849, 18731).
int ReqHnd_TriggerUserVerify(CMarkupSTL &request, CMarkupSTL &response) noexcept;
int ReqHnd_SetDevPlan(CMarkupSTL &request, CMarkupSTL &response) noexcept;

// System configuration: the timer job and the platform's answer (10376).
int DoorLock_SystemConfig() noexcept;
int RspHnd_SetSystemConfig(const char *data, int len) noexcept;

}  // namespace norla

#endif
