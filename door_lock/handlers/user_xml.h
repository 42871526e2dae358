// The user codec: the set-user request read into its record, and the user
// table written as XML, shared by the user handlers and the user info report.
#ifndef NORLA_HANDLERS_USER_XML_H
#define NORLA_HANDLERS_USER_XML_H

#include "CMarkupSTL.h"
#include "messaging/xml_writer.h"
#include "oqDevSDK_door_lock.h"

namespace norla {

// Fills the zero-filled record from the body of a set-user request (the
// request positioned inside its root). 0 or -1; every failure is logged.
int ParseSetUserInfo(CMarkupSTL &request, oqDevSDK_DoorLock_SetUserCfg_S *cfg);

// Appends one UserInfo element per valid user at the document's current
// position. Counts beyond the record's arrays are clamped. False (logged with
// the user that did not fit) when the document ran out of memory: the writer
// then holds the failure and the list is never sent.
bool FillUserInfo(DoorLock_XmlWriter &xml, const oqDevSDK_DoorLock_UserInfo_S &info);

}  // namespace norla

#endif
