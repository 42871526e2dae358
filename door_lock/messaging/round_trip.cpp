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

int SendResponse(CMarkupSTL &response, int rspCmd, const char *version, unsigned int seq) {
    if (rspCmd == kNoResponse) {
        oqdev_debug(kLogInfo, "DoorLock_PltReq_DoRsp_Handle no rsp, while rsp cmd = %#x\n",
                    static_cast<unsigned int>(rspCmd));
        return 0;
    }
    return DoorLock_send_msg_to_platform(response, rspCmd, version, kIsResponse, seq);
}

// The skeleton is in place: root Response, position on its Result. Checked
// before the request reaches its handler (and the device), so that a document
// a failed allocation left half built never goes out; the document class
// removes no element, so what the handler adds cannot break the skeleton.
// Leaving the root fails when it was never entered.
bool ResponseReady(CMarkupSTL &response) {
    return response.OutOfElem() && response.FindElem("Response", true) && response.IntoElem() &&
           response.FindElem("Result", true);
}

int FailBuild(int rspCmd) {
    oqdev_debug(kLogError, "Failed to build rsp of DoorLock, while rsp cmd = %#x\n",
                static_cast<unsigned int>(rspCmd));
    return -1;
}

// A root named Response is served like a request on purpose.
bool EnterRoot(CMarkupSTL &request) {
    if (!request.FindElem("Request", true) && !request.FindElem("Response", true)) {
        return false;
    }
    return request.IntoElem();
}

// Lets a handler read the sequence number from the request itself.
void AddUserDefine(CMarkupSTL &request, unsigned int seq) {
    char szSeq[kSeqTextLen];
    *std::to_chars(szSeq, szSeq + sizeof szSeq - 1, seq).ptr = '\0';
    if (request.x_AddElem("UserDefine")) {
        request.x_SetAttrib("MsgSeq", szSeq);
    }
}

// The request served: parsed, handed to its handler and answered.
int Serve(const char *data, int rspCmd, const char *version, unsigned int seq,
          DoorLock_ReqHandler handler) {
    CMarkupSTL request;
    CMarkupSTL response;
    DoorLock_xml_init_rsp(response);
    if (!ResponseReady(response)) {
        return FailBuild(rspCmd);
    }

    if (!request.SetDoc(data)) {
        oqdev_debug(kLogError, "Failed to parse XML of DoorLock, while rsp cmd = %#x\n",
                    static_cast<unsigned int>(rspCmd));
        DoorLock_xml_set_result(response, kResultBadRequest);
        return SendResponse(response, rspCmd, version, seq);
    }
    if (!EnterRoot(request)) {
        oqdev_debug(kLogError, "Can not find Request in XML of DoorLock, while rsp cmd = %#x\n",
                    static_cast<unsigned int>(rspCmd));
        DoorLock_xml_set_result(response, kResultBadRequest);
        return SendResponse(response, rspCmd, version, seq);
    }
    AddUserDefine(request, seq);
    // What counts is what the handler wrote into the response.
    if (handler != nullptr) {
        (void)handler(request, response);
    }
    return SendResponse(response, rspCmd, version, seq);
}

// What a request gets when the host's code threw half way: as when memory
// runs out, 4 in a fresh response, or nothing when not even that can be built.
int AnswerFailed(int rspCmd, const char *version, unsigned int seq) {
    CMarkupSTL response;
    DoorLock_xml_init_rsp(response);
    if (!ResponseReady(response) || DoorLock_xml_set_result(response, kResultRefused) == 0) {
        return FailBuild(rspCmd);
    }
    return SendResponse(response, rspCmd, version, seq);
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
