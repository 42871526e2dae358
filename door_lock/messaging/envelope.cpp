#include "messaging/envelope.h"

#include <pthread.h>

#include <cstring>
#include <string>

#include "frame/memory.h"
#include "messaging/number_text.h"
#include "oqdev_kernel.h"
#include "oqdev_log.h"
#include "vocabulary.h"

namespace norla {
namespace {

struct DoorLock_BusPlt_CtrlObj_S {
    uint32_t uiSeq;
};
DoorLock_BusPlt_CtrlObj_S g_stBusPlt_CtrlObj = {0};
pthread_mutex_t g_hLock_BusPlat = PTHREAD_MUTEX_INITIALIZER;

// A private, zero-terminated copy of the document text: the kernel may keep
// the pointer only during the send.
HeapPtr<char> DupDocText(const std::string &text) noexcept {
    HeapPtr<char> copy(static_cast<char *>(DoorLock_Malloc(text.size() + 1)));
    if (copy != nullptr) {
        std::memcpy(copy.get(), text.c_str(), text.size() + 1);
    }
    return copy;
}

}  // namespace

uint32_t DoorLock_GetNextSeq() noexcept {
    pthread_mutex_lock(&g_hLock_BusPlat);
    uint32_t seq = g_stBusPlt_CtrlObj.uiSeq;
    g_stBusPlt_CtrlObj.uiSeq = seq + 1u;  // wraps to 0 after the last number
    pthread_mutex_unlock(&g_hLock_BusPlat);
    return seq;
}

void DoorLock_ResetSeq(uint32_t start) noexcept {
    pthread_mutex_lock(&g_hLock_BusPlat);
    g_stBusPlt_CtrlObj.uiSeq = start;
    pthread_mutex_unlock(&g_hLock_BusPlat);
}

DoorLock_XmlWriter &DoorLock_xml_init_req(DoorLock_XmlWriter &xml) {
    return xml.Start(kXmlDeclaration).Elem("Request").Into();
}

DoorLock_XmlWriter &DoorLock_xml_init_rsp(DoorLock_XmlWriter &xml) {
    return xml.Start(kXmlDeclaration).Elem("Response").Into().Elem("Result", "0");
}

DoorLock_XmlWriter &DoorLock_xml_init_report(DoorLock_XmlWriter &xml) {
    return DoorLock_xml_add_dev_serial(DoorLock_xml_init_req(xml)).Elem("Authorization");
}

DoorLock_XmlWriter &DoorLock_xml_add_dev_serial(DoorLock_XmlWriter &xml) {
    const char *serial = oqdev_sdk_kernel_getdevinfo_bykey(kDevSerialKey);
    return xml.Elem("DevSerial", serial != nullptr ? serial : "");
}

int DoorLock_xml_set_result(CMarkupSTL &xml, int code) {
    if (!xml.FindElem("Result", true)) {
        return 0;
    }
    DoorLock_XmlWriter result(xml);
    return result.Data(code).Ok() ? 1 : 0;
}

int DoorLock_xml_get_result(CMarkupSTL &xml) {
    if (!xml.FindElem("Response", true)) {
        oqdev_debug(kLogError, "Failed to find elem:Response\n");
        return -1;
    }
    xml.IntoElem();
    if (!xml.FindElem("Result")) {
        oqdev_debug(kLogError, "Failed to find elem:Result\n");
        return -1;
    }
    // Text that is not a number reads as 0, i.e. success.
    const int32_t result = NumText_ToLong(xml.x_GetData().c_str());
    if (result != 0) {
        oqdev_debug(kLogError, "response result error, code %#x\n",
                    static_cast<unsigned int>(result));
    }
    return result;
}

int DoorLock_send_msg_to_platform(DoorLock_XmlWriter &xml, int cmdId, const char *version,
                                  unsigned char isResponse, unsigned int seq) {
    const std::string text = xml.Ok() ? xml.Doc().GetDoc() : std::string();
    if (text.empty()) {
        oqdev_debug(kLogError, "Failed to build msg to platform, by cmdid[%#x].\n",
                    static_cast<unsigned int>(cmdId));
        return -1;
    }
    HeapPtr<char> body = DupDocText(text);
    if (body == nullptr) {
        DoorLock_LogMallocFailed(static_cast<unsigned int>(text.size() + 1));
        return -1;
    }

    oqdev_kernel_send_s rec;
    std::memset(&rec, 0, sizeof rec);
    rec.ucIsResponse = isResponse;
    rec.uiMsgSeq = seq;
    rec.pBody = body.get();
    rec.uiBodyLen = static_cast<uint32_t>(text.size());
    rec.iDomainId = kDoorLockDomainId;
    rec.iCmdId = cmdId;
    std::strncpy(rec.szVersion, version != nullptr ? version : "", sizeof rec.szVersion - 1);

    oqdev_debug(kLogError, "Send:%#x\n", static_cast<unsigned int>(cmdId));
    oqdev_debug(kLogDump, "Content:%s\n", body.get());
    int ret = oqdev_sdk_kernel_send(&rec);
    if (ret != 0) {
        oqdev_debug(kLogError,
                    "Failed to send msg to platform, by cmdid[%#x] in door_lock domain ret %#x.\n",
                    static_cast<unsigned int>(cmdId), static_cast<unsigned int>(ret));
        return -1;
    }
    return 0;
}

int DoorLock_send_report(DoorLock_XmlWriter &xml, int cmdId) {
    if (!xml.Ok()) {
        oqdev_debug(kLogError, "Failed to build report of DoorLock.\n");
        return -1;
    }
    return DoorLock_send_msg_to_platform(xml, cmdId, kDoorLockVersion, 0, DoorLock_GetNextSeq());
}

}  // namespace norla
