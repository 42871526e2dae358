// Request handlers of the platform commands, one source per command family.
// Each follows the handler contract of messaging/round_trip.h.
#ifndef NORLA_HANDLERS_HANDLERS_H
#define NORLA_HANDLERS_HANDLERS_H

#include "CMarkupSTL.h"
#include "messaging/xml_writer.h"

namespace norla {

// Switch and key-value settings (kCmdSetSwitch, kCmdSetKeyValue).
int ReqHnd_SetSwitchEnable(CMarkupSTL &request, DoorLock_XmlWriter &response);
int ReqHnd_SetKeyValue(CMarkupSTL &request, DoorLock_XmlWriter &response);

// Users (kCmdSetUserInfo, kCmdQueryUserInfo).
int ReqHnd_SetUserInfo(CMarkupSTL &request, DoorLock_XmlWriter &response);
int ReqHnd_QueryUserInfo(CMarkupSTL &request, DoorLock_XmlWriter &response);

// Snap passwords (kCmdSetSnapPwd, kCmdQuerySnapPwds).
int ReqHnd_SetSnapPwd(CMarkupSTL &request, DoorLock_XmlWriter &response);
int ReqHnd_QuerySnapPwdInfo(CMarkupSTL &request, DoorLock_XmlWriter &response);

// Not-back alarm plans (kCmdSetAlarmPlan, kCmdQueryAlarmPlans).
int ReqHnd_SetNotBackAlarmPlan(CMarkupSTL &request, DoorLock_XmlWriter &response);
int ReqHnd_QueryNotBackAlarmPlans(CMarkupSTL &request, DoorLock_XmlWriter &response);

// User verification and device plans (kCmdTriggerUserVerify, kCmdSetDevPlan).
int ReqHnd_TriggerUserVerify(CMarkupSTL &request, DoorLock_XmlWriter &response);
int ReqHnd_SetDevPlan(CMarkupSTL &request, DoorLock_XmlWriter &response);

// System configuration: the timer job and the platform's answer
// (kCmdSystemConfigRsp).
int DoorLock_SystemConfig();
int RspHnd_SetSystemConfig(const char *data, int len);

}  // namespace norla

#endif
