#include "harness.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <initializer_list>

#include "CMarkupSTL.h"
#include "frame/memory.h"
#include "frame/module.h"
#include "messaging/envelope.h"
#include "oqdev_sim.h"
#include "status/items.h"

namespace fuzz {
namespace {

constexpr int kDomainId = 4400;
constexpr const char *kVersion = "v1.0.0";
constexpr int kMaxCodesPerCommand = 6;

// Every result a response may carry, by response command id. 3 is in every
// row: an unparsable request is answered with it whatever the command.
struct Answer {
    int rspCmd;
    int codes[kMaxCodesPerCommand];
};
constexpr int kNoCode = 0;  // 0 is always allowed, so it also pads the rows
constexpr Answer kAnswers[] = {
    {18700, {3, 2, 4}},                          // set switch
    {18830, {3, 2, 4}},                          // set key value
    {18858, {3, 4, 1581063, 1581064}},           // set user
    {20161, {3, 4}},                             // query users
    {18860, {3, 4, 1585153, 1585154, 1585155}},  // set snap password
    {18862, {3, 4}},                             // query snap passwords
    {18856, {3, 4}},                             // set not-back alarm plan
    {18854, {3, 4}},                             // query not-back alarm plans
    {18850, {3, 4, 1572867, 1572868}},           // trigger user verification
    {18732, {3, 4, 131}},                        // set device plan
};

long g_liveBlocks = 0;

void *CountingAlloc(size_t size) {
    void *p = std::malloc(size);
    if (p != nullptr) {
        ++g_liveBlocks;
    }
    return p;
}

void CountingFree(void *p) {
    if (p != nullptr) {
        --g_liveBlocks;
    }
    std::free(p);
}

void ResetStatusCaches() {
    norla::DoorOpenRemindSwitch_Reset();
    norla::KeyVal_DoorFingerStore_Reset();
    norla::KeyVal_DoorBellTone_Reset();
    norla::KeyVal_DoorPromptTone_Reset();
    norla::KeyVal_DoorFaceUnlock_Reset();
    norla::LockStatus_Reset();
    norla::PowerStatus_Reset();
    norla::UnlockEvtRec_Reset();
    norla::UserInfo_Reset();
    norla::DoorAutoFaceUnlockPlan_Reset();
}

const Answer *FindAnswer(int rspCmd) {
    for (const Answer &row : kAnswers) {
        if (row.rspCmd == rspCmd) {
            return &row;
        }
    }
    return nullptr;
}

bool Listed(const Answer &row, long code) {
    if (code == kNoCode) {
        return true;
    }
    for (int listed : row.codes) {
        if (listed == code) {
            return true;
        }
    }
    return false;
}

// The Result text must be a plain decimal number.
bool ParseResult(const std::string &text, long &code) {
    if (text.empty()) {
        return false;
    }
    char *end = nullptr;
    errno = 0;
    code = std::strtol(text.c_str(), &end, 10);
    return errno == 0 && *end == '\0';
}

void CheckResponse(const oqsim::Sent &sent) {
    const Answer *row = FindAnswer(sent.rec.iCmdId);
    if (row == nullptr) {
        Fail("response under a command id that answers nothing", sent.body);
    }
    CMarkupSTL doc;
    doc.SetDoc(sent.body.c_str());
    if (!doc.FindElem("Response") || !doc.IntoElem() || !doc.FindElem("Result")) {
        Fail("response without Response/Result", sent.body);
    }
    long code = 0;
    if (!ParseResult(doc.x_GetData(), code) || !Listed(*row, code)) {
        Fail("response with a result its command does not list", sent.body);
    }
}

void CheckStarted(const oqsim::Sent &sent) {
    CMarkupSTL doc;
    doc.SetDoc(sent.body.c_str());
    if (!doc.FindElem("Request")) {
        Fail("message started by the module without Request", sent.body);
    }
}

}  // namespace

std::string Input::RestText() const {
    return std::string(reinterpret_cast<const char *>(Rest()), RestSize());
}

void Fail(const char *what, const std::string &detail) {
    std::fprintf(stderr, "fuzz check failed: %s\n%s\n", what, detail.c_str());
    std::abort();
}

void ResetWorld() {
    norla::DoorLock_Module_Fini();
    oqsim::reset();
    ResetStatusCaches();
    norla::DoorLock_ResetSeq();
    g_liveBlocks = 0;
    norla::DoorLock_SetAllocHooks({&CountingAlloc, &CountingFree});
}

void StartModule(const oqDevSDK_DoorLock_Callback_S &callbacks) {
    oqDevSDK_DoorLock_InitInfo_S info{};
    info.stCallback = callbacks;
    if (oqDevSDK_DoorLock_Init(&info) != OQDEVSDK_DOORLOCK_OK) {
        Fail("Init failed", "");
    }
}

void StopModule() {
    norla::DoorLock_Module_Fini();
    ResetStatusCaches();
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
        if (sent.rec.iDomainId != kDomainId || sent.version != kVersion) {
            Fail("a message sent under a foreign domain or version", sent.version);
        }
        if (sent.rec.ucIsResponse == 0) {
            CheckStarted(sent);
            continue;
        }
        ++responses;
        if (sent.rec.iCmdId != rspCmd || sent.rec.uiMsgSeq != seq) {
            Fail("a response under another command or sequence number", sent.body);
        }
        CheckResponse(sent);
    }
    if (responses != (rspCmd != 0 ? 1 : 0)) {
        Fail("a request not answered exactly once", std::to_string(responses));
    }
}

}  // namespace fuzz
