#include "harness.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <iterator>

#include "CMarkupSTL.h"
#include "frame/memory.h"
#include "frame/module.h"
#include "messaging/envelope.h"
#include "oqdev_sim.h"
#include "vocabulary.h"

namespace fuzz {
namespace {

using namespace norla;

constexpr int kMaxCodesPerCommand = 6;

// Every result a response may carry besides 0 (which also pads the rows), by
// response command id. 3 is in every row: an unparsable request is answered
// with it whatever the command.
struct Answer {
    int rspCmd;
    int codes[kMaxCodesPerCommand];
};
constexpr Answer kAnswers[] = {
    {ResponseOf(kCmdSetSwitch), {kResultBadRequest, kResultUnknownType, kResultRefused}},
    {ResponseOf(kCmdSetKeyValue), {kResultBadRequest, kResultUnknownType, kResultRefused}},
    {ResponseOf(kCmdSetUserInfo),
     {kResultBadRequest, kResultRefused, kResultUsersFull, kResultUserUnknown}},
    {ResponseOf(kCmdQueryUserInfo), {kResultBadRequest, kResultRefused}},
    {ResponseOf(kCmdSetSnapPwd),
     {kResultBadRequest, kResultRefused, kResultSnapFull, kResultSnapUnknown, kResultSnapLimit}},
    {ResponseOf(kCmdQuerySnapPwds), {kResultBadRequest, kResultRefused}},
    {ResponseOf(kCmdSetAlarmPlan), {kResultBadRequest, kResultRefused}},
    {ResponseOf(kCmdQueryAlarmPlans), {kResultBadRequest, kResultRefused}},
    {ResponseOf(kCmdTriggerUserVerify),
     {kResultBadRequest, kResultRefused, kResultVerifyFailed, kResultVerifyOther}},
    {ResponseOf(kCmdSetDevPlan), {kResultBadRequest, kResultRefused, kResultPlanRefused}},
};

long g_liveBlocks = 0;

void *CountingAlloc(size_t size) {
    void *p = std::malloc(size);
    g_liveBlocks += p != nullptr ? 1 : 0;
    return p;
}

void CountingFree(void *p) {
    g_liveBlocks -= p != nullptr ? 1 : 0;
    std::free(p);
}

}  // namespace

void Fail(const char *what, const std::string &detail) {
    std::fprintf(stderr, "fuzz check failed: %s\n%s\n", what, detail.c_str());
    std::abort();
}

void StartModule(const oqDevSDK_DoorLock_Callback_S &callbacks) {
    norla::DoorLock_Module_Fini();
    oqsim::reset();
    norla::DoorLock_ResetSeq();
    g_liveBlocks = 0;
    norla::DoorLock_SetAllocHooks({&CountingAlloc, &CountingFree});
    oqDevSDK_DoorLock_InitInfo_S info{};
    info.stCallback = callbacks;
    if (oqDevSDK_DoorLock_Init(&info) != OQDEVSDK_DOORLOCK_OK) {
        Fail("Init failed", "");
    }
    oqsim::reset_all_items();
}

void StopModule() {
    // The status caches may hold heap blocks of their own until reset.
    oqsim::reset_all_items();
    norla::DoorLock_Module_Fini();
    norla::DoorLock_SetAllocHooks({nullptr, nullptr});
    if (g_liveBlocks != 0) {
        Fail("the module leaked heap blocks", std::to_string(g_liveBlocks));
    }
}

void CheckSent(int rspCmd, uint32_t seq) {
    int responses = 0;
    for (const oqsim::Sent &sent : oqsim::sent()) {
        CMarkupSTL doc;
        if (!doc.SetDoc(sent.body.c_str())) {
            Fail("a message sent does not parse as XML", sent.body);
        }
        if (sent.rec.iDomainId != kDoorLockDomainId || sent.version != kDoorLockVersion) {
            Fail("a message sent under a foreign domain or version", sent.version);
        }
        if (sent.rec.ucIsResponse == 0) {
            if (!doc.FindElem("Request")) {
                Fail("message started by the module without Request", sent.body);
            }
            continue;
        }
        ++responses;
        if (sent.rec.iCmdId != rspCmd || sent.rec.uiMsgSeq != seq) {
            Fail("a response under another command or sequence number", sent.body);
        }
        const Answer *row = std::find_if(std::begin(kAnswers), std::end(kAnswers),
                                         [rspCmd](const Answer &a) { return a.rspCmd == rspCmd; });
        if (!doc.FindElem("Response") || !doc.IntoElem() || !doc.FindElem("Result")) {
            Fail("response without Response/Result", sent.body);
        }
        // The Result text must be a plain decimal number its command lists.
        const std::string text = doc.x_GetData();
        const long code = std::strtol(text.c_str(), nullptr, 10);
        if (row == std::end(kAnswers) || std::to_string(code) != text ||
            (code != 0 && std::find(std::begin(row->codes), std::end(row->codes), code) ==
                              std::end(row->codes))) {
            Fail("response with a result its command does not list", sent.body);
        }
    }
    if (responses != (rspCmd != 0 ? 1 : 0)) {
        Fail("a request not answered exactly once", std::to_string(responses));
    }
}

}  // namespace fuzz
