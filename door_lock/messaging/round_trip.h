// The generic platform request/response round trip.
#ifndef NORLA_MESSAGING_ROUND_TRIP_H
#define NORLA_MESSAGING_ROUND_TRIP_H

#include "CMarkupSTL.h"
#include "messaging/xml_writer.h"

namespace norla {

// The contract of every request handler:
// - `request` is the parsed request, positioned inside its root; the round
//   trip has appended a UserDefine element carrying the sequence number
//   (attribute MsgSeq), so the body is found from the root's first child.
// - `response` writes into the response skeleton, positioned on its Result;
//   the handler adds its answer elements after Result, never Result itself.
// - The handler returns the Result code and the round trip writes it. A
//   response the writer could not build whole is never sent: the platform
//   gets a bare response with Result 4 instead.
// - Every failure is logged by the handler where it is found.
using DoorLock_ReqHandler = int (*)(CMarkupSTL &request, DoorLock_XmlWriter &response);

// 0 when the response was sent or none was due, -1 when nothing could be
// sent (the kernel refused it, or not even a bare response could be built).
int DoorLock_PltReq_DoRsp_Handle(const char *data, int len, int rspCmd, const char *version,
                                 unsigned int seq, DoorLock_ReqHandler handler) noexcept;

}  // namespace norla

#endif
