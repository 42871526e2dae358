// XML skeletons of the messages, sequence numbers and the one way out to the
// platform. Documents are built through DoorLock_XmlWriter, and only a whole
// one is sent.
#ifndef NORLA_MESSAGING_ENVELOPE_H
#define NORLA_MESSAGING_ENVELOPE_H

#include <cstdint>

#include "CMarkupSTL.h"
#include "messaging/xml_writer.h"

namespace norla {

constexpr const char *kXmlDeclaration = "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n";

uint32_t DoorLock_GetNextSeq() noexcept;
// The next number handed out becomes `start` (tests start near the end to see
// the numbers wrap).
void DoorLock_ResetSeq(uint32_t start = 0) noexcept;

// Request: declaration, root Request, position inside it.
DoorLock_XmlWriter &DoorLock_xml_init_req(DoorLock_XmlWriter &xml);
// Response: declaration, root Response, position inside it on Result "0".
DoorLock_XmlWriter &DoorLock_xml_init_rsp(DoorLock_XmlWriter &xml);
// Opens a request that the module starts: the request skeleton, then
// DevSerial and an empty Authorization, in this order.
DoorLock_XmlWriter &DoorLock_xml_init_report(DoorLock_XmlWriter &xml);
// Adds DevSerial, the device's sub-serial (empty when the host has none).
DoorLock_XmlWriter &DoorLock_xml_add_dev_serial(DoorLock_XmlWriter &xml);

// Non-zero when the code was written into Result; 0 when there is no Result
// or the text could not be set.
int DoorLock_xml_set_result(CMarkupSTL &xml, int code);
// Reads a document just set: 0 for a successful platform response (position
// left on Result), the platform's code for a failed one, -1 for a malformed
// one.
int DoorLock_xml_get_result(CMarkupSTL &xml);

// 0 sent; -1 when the document is not whole (it is never sent) or the kernel
// refused it.
int DoorLock_send_msg_to_platform(DoorLock_XmlWriter &xml, int cmdId, const char *version,
                                  unsigned char isResponse, unsigned int seq);
// Sends a request the module started: kDoorLockVersion, flag 0, a fresh
// sequence number. A report that is not whole is logged and dropped.
int DoorLock_send_report(DoorLock_XmlWriter &xml, int cmdId);

}  // namespace norla

#endif
