#include "messaging/round_trip.h"

#include <charconv>

#include "frame/host_guard.h"
#include "messaging/envelope.h"
#include "oqdev_log.h"
#include "vocabulary.h"

namespace norla {
namespace {

constexpr std::size_t kSeqTextLen = 16;
constexpr unsigned char kIsResponse = 1;
constexpr int kNoResponse = 0;

int FailBuild(int rspCmd) {
    oqdev_debug(kLogError, "Failed to build rsp of DoorLock, while rsp cmd = %#x\n",
                static_cast<unsigned int>(rspCmd));
    return -1;
}

// Writes the result and sends the response; a response that is not whole is
// replaced by a bare one with Result 4, as when memory runs out.
int Answer(CMarkupSTL &response, DoorLock_XmlWriter &writer, int result, int rspCmd,
           const char *version, unsigned int seq) {
    if (rspCmd == kNoResponse) {
        oqdev_debug(kLogInfo, "DoorLock_PltReq_DoRsp_Handle no rsp, while rsp cmd = %#x\n",
                    static_cast<unsigned int>(rspCmd));
        return 0;
    }
    if (writer.Ok() && DoorLock_xml_set_result(response, result) != 0) {
        return DoorLock_send_msg_to_platform(writer, rspCmd, version, kIsResponse, seq);
    }
    CMarkupSTL bare;
    DoorLock_XmlWriter bareWriter(bare);
    if (!DoorLock_xml_init_rsp(bareWriter).Ok() ||
        DoorLock_xml_set_result(bare, kResultRefused) == 0) {
        return FailBuild(rspCmd);
    }
    return DoorLock_send_msg_to_platform(bareWriter, rspCmd, version, kIsResponse, seq);
}

// A root named Response is served like a request on purpose.
bool EnterRoot(CMarkupSTL &request) {
    if (!request.FindElem("Request", true) && !request.FindElem("Response", true)) {
        return false;
    }
    return request.IntoElem();
}

// Lets a handler read the sequence number from the request itself. A request
// that cannot take it is served all the same: it is only read from.
void AddUserDefine(CMarkupSTL &request, unsigned int seq) {
    char szSeq[kSeqTextLen];
    *std::to_chars(szSeq, szSeq + sizeof szSeq - 1, seq).ptr = '\0';
    DoorLock_XmlWriter writer(request);
    writer.Elem("UserDefine").Attr("MsgSeq", szSeq);
}

// The request served: parsed, handed to its handler and answered. The
// response's skeleton is built first: without it the request goes no further
// (and never reaches the device).
int Serve(const char *data, int rspCmd, const char *version, unsigned int seq,
          DoorLock_ReqHandler handler) {
    CMarkupSTL request;
    CMarkupSTL response;
    DoorLock_XmlWriter writer(response);
    if (!DoorLock_xml_init_rsp(writer).Ok()) {
        return FailBuild(rspCmd);
    }
    int result = kResultBadRequest;
    if (!request.SetDoc(data)) {
        oqdev_debug(kLogError, "Failed to parse XML of DoorLock, while rsp cmd = %#x\n",
                    static_cast<unsigned int>(rspCmd));
    } else if (!EnterRoot(request)) {
        oqdev_debug(kLogError, "Can not find Request in XML of DoorLock, while rsp cmd = %#x\n",
                    static_cast<unsigned int>(rspCmd));
    } else {
        AddUserDefine(request, seq);
        result = handler != nullptr ? handler(request, writer) : kResultOk;
    }
    return Answer(response, writer, result, rspCmd, version, seq);
}

// What a request gets when the host's code threw half way: as when memory
// runs out, 4 in a fresh response, or nothing when not even that can be built.
int AnswerFailed(int rspCmd, const char *version, unsigned int seq) {
    CMarkupSTL response;
    DoorLock_XmlWriter writer(response);
    if (!DoorLock_xml_init_rsp(writer).Ok()) {
        return FailBuild(rspCmd);
    }
    return Answer(response, writer, kResultRefused, rspCmd, version, seq);
}

}  // namespace

int DoorLock_PltReq_DoRsp_Handle(const char *data, int /*len*/, int rspCmd, const char *version,
                                 unsigned int seq, DoorLock_ReqHandler handler) noexcept {
    int ret = -1;
    if (DoorLock_Guard("request", [&] { ret = Serve(data, rspCmd, version, seq, handler); })) {
        return ret;
    }
    // A document the exception cut short is never sent; the send is the last
    // thing Serve does with one.
    if (!DoorLock_Guard("request", [&] { ret = AnswerFailed(rspCmd, version, seq); })) {
        ret = -1;
    }
    return ret;
}

}  // namespace norla
