// Request handlers of the platform commands, one source per command family.
#ifndef NORLA_HANDLERS_HANDLERS_H
#define NORLA_HANDLERS_HANDLERS_H

#include "CMarkupSTL.h"

namespace norla {

// Switch and key-value settings (18699, 18829).
int ReqHnd_SetSwitchEnable(CMarkupSTL &request, CMarkupSTL &response);
int ReqHnd_SetKeyValue(CMarkupSTL &request, CMarkupSTL &response);

// Users (18857, 20160).
int ReqHnd_SetUserInfo(CMarkupSTL &request, CMarkupSTL &response);
int ReqHnd_QueryUserInfo(CMarkupSTL &request, CMarkupSTL &response);

// Snap passwords (18859, 18861).
int ReqHnd_SetSnapPwd(CMarkupSTL &request, CMarkupSTL &response);
int ReqHnd_QuerySnapPwdInfo(CMarkupSTL &request, CMarkupSTL &response);

// Not-back alarm plans (18855, 18853).
int ReqHnd_SetNotBackAlarmPlan(CMarkupSTL &request, CMarkupSTL &response);
int ReqHnd_QueryNotBackAlarmPlans(CMarkupSTL &request, CMarkupSTL &response);

// User verification and device plans (18849, 18731).
int ReqHnd_TriggerUserVerify(CMarkupSTL &request, CMarkupSTL &response);
int ReqHnd_SetDevPlan(CMarkupSTL &request, CMarkupSTL &response);

// System configuration: the timer job and the platform's answer (10376).
int DoorLock_SystemConfig();
int RspHnd_SetSystemConfig(const char *data, int len);

}  // namespace norla

#endif
