// The user set request and the XML form of the user table, shared by the
// user handlers and the user info report.
#ifndef NORLA_HANDLERS_USER_XML_H
#define NORLA_HANDLERS_USER_XML_H

#include "CMarkupSTL.h"
#include "oqDevSDK_door_lock.h"

namespace norla {

// Fills the zero-filled record from the body of a set-user request (the
// request positioned inside its root). 0 or -1; every failure is logged.
int ParseSetUserInfo(CMarkupSTL &request, oqDevSDK_DoorLock_SetUserCfg_S *cfg);

// Appends one UserInfo element per valid user at the document's current
// position. Counts beyond the record's arrays are clamped. False (logged)
// when the document ran out of memory and the list is incomplete.
bool FillUserInfo(CMarkupSTL &xml, const oqDevSDK_DoorLock_UserInfo_S *info);

}  // namespace norla

#endif
