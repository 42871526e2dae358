// Request handlers of the platform commands, one source per command family.
// Each follows the handler contract of messaging/round_trip.h.
#ifndef NORLA_HANDLERS_HANDLERS_H
#define NORLA_HANDLERS_HANDLERS_H

#include "CMarkupSTL.h"
#include "messaging/xml_writer.h"

namespace norla {

// Switch and key-value settings (18699, 18829).
int ReqHnd_SetSwitchEnable(CMarkupSTL &request, DoorLock_XmlWriter &response);
int ReqHnd_SetKeyValue(CMarkupSTL &request, DoorLock_XmlWriter &response);

// Users (18857, 20160).
int ReqHnd_SetUserInfo(CMarkupSTL &request, DoorLock_XmlWriter &response);
int ReqHnd_QueryUserInfo(CMarkupSTL &request, DoorLock_XmlWriter &response);

// Snap passwords (18859, 18861).
int ReqHnd_SetSnapPwd(CMarkupSTL &request, DoorLock_XmlWriter &response);
int ReqHnd_QuerySnapPwdInfo(CMarkupSTL &request, DoorLock_XmlWriter &response);

// Not-back alarm plans (18855, 18853).
int ReqHnd_SetNotBackAlarmPlan(CMarkupSTL &request, DoorLock_XmlWriter &response);
int ReqHnd_QueryNotBackAlarmPlans(CMarkupSTL &request, DoorLock_XmlWriter &response);

// User verification and device plans (18849, 18731).
int ReqHnd_TriggerUserVerify(CMarkupSTL &request, DoorLock_XmlWriter &response);
int ReqHnd_SetDevPlan(CMarkupSTL &request, DoorLock_XmlWriter &response);

// System configuration: the timer job and the platform's answer (10376).
int DoorLock_SystemConfig();
int RspHnd_SetSystemConfig(const char *data, int len);

}  // namespace norla

#endif
