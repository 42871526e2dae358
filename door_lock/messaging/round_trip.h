// The generic platform request/response round trip.
#ifndef NORLA_MESSAGING_ROUND_TRIP_H
#define NORLA_MESSAGING_ROUND_TRIP_H

#include "CMarkupSTL.h"

namespace norla {

// A request handler: reads the request (positioned inside its root, on the
// added UserDefine element), writes its result code and answer elements into
// the response (positioned inside Response, on Result) and returns the code.
using DoorLock_ReqHandler = int (*)(CMarkupSTL &request, CMarkupSTL &response);

// 0 when the response was sent or none was due, -1 when the kernel refused it.
int DoorLock_PltReq_DoRsp_Handle(const char *data, int len, int rspCmd, const char *version,
                                 unsigned int seq, DoorLock_ReqHandler handler) noexcept;

}  // namespace norla

#endif
