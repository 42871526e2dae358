// XML skeletons of the messages, sequence numbers and the one way out to the
// platform.
#ifndef NORLA_MESSAGING_ENVELOPE_H
#define NORLA_MESSAGING_ENVELOPE_H

#include <cstdint>

#include "CMarkupSTL.h"

namespace norla {

constexpr const char *kXmlDeclaration = "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n";

uint32_t DoorLock_GetNextSeq() noexcept;
void DoorLock_ResetSeq() noexcept;

// Request: declaration, root Request, position inside it. Returns 0.
int DoorLock_xml_init_req(CMarkupSTL &xml);
// Response: declaration, root Response, position inside it on Result "0".
int DoorLock_xml_init_rsp(CMarkupSTL &xml);
// Non-zero when the code was written into Result; 0 when there is no Result.
int DoorLock_xml_set_result(CMarkupSTL &xml, int code);
// Reads a document just set: 0 for a successful platform response (position
// left on Result), the platform's code for a failed one, -1 for a malformed
// one.
int DoorLock_xml_get_result(CMarkupSTL &xml);

// 0 sent, -1 refused by the kernel (or the document could not be printed).
int DoorLock_send_msg_to_platform(CMarkupSTL &xml, int cmdId, const char *version,
                                  unsigned char isResponse, unsigned int seq);

// Opens a request that the module starts: the request skeleton, then
// DevSerial (the device's sub-serial) and an empty Authorization, in this
// order. Returns 0, -1 when the document could not be built.
int DoorLock_xml_init_report(CMarkupSTL &xml);
// Sends a request the module started: version "v1.0.0", flag 0, a fresh
// sequence number.
int DoorLock_send_report(CMarkupSTL &xml, int cmdId);

}  // namespace norla

#endif
