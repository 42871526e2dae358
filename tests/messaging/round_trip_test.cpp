#include <cstring>
#include <string>

#include "CMarkupSTL.h"
#include "messaging/envelope.h"
#include "messaging/round_trip.h"
#include "support/fixture.h"
#include "vocabulary.h"

namespace {

using RoundTripTest = dltest::ModuleTest;

// "MsgSeq FirstTag" of the request the handler saw; handlers are plain
// function pointers.
std::string g_seen;

// Answers 4 with an Echo element, or 0 and nothing else for a Quiet request.
// A Big request asks for an element the document cannot take once `g_fault`
// has armed the allocation fault (1: that allocation only, 2: every one).
int g_fault = 0;
int Handler(CMarkupSTL &request, norla::DoorLock_XmlWriter &response) {
    g_seen = request.x_GetAttrib("MsgSeq");
    if (request.FindElem(nullptr, true)) {
        g_seen += " " + request.GetTagName();
    }
    if (request.GetTagName() == "Quiet") {
        return 0;
    }
    if (request.GetTagName() == "Big") {
        dltest::ArmAllocationFault(1, g_fault == 2);
        response.Elem("Big", std::string(100000, 'b').c_str());
        if (g_fault != 2) {
            dltest::DisarmAllocationFault();
        }
    }
    response.Elem("Echo", "1");
    return 4;
}

TEST_F(RoundTripTest, EveryDocumentIsAnsweredUnlessThereIsNoResponseId) {
    constexpr int kNone = -1000;  // nothing sent
    const char *const parseError = "Failed to parse XML of DoorLock, while rsp cmd = 0x490c";
    const char *const noRsp = "DoorLock_PltReq_DoRsp_Handle no rsp, while rsp cmd = 0";
    const struct {
        const char *text;
        int rspCmd;
        const char *seen;  // what the handler saw after MsgSeq; null when not called
        int result;
        const char *log;
    } cases[] = {
        {"<Request><Id>3</Id></Request>", norla::ResponseOf(norla::kCmdSetUserInfo), " Id", 4,
         nullptr},
        {"<Response><Id>1</Id></Response>", 0x490c, " Id", 4, nullptr},
        {"<Request><Quiet/></Request>", 0x490c, " Quiet", 0, nullptr},
        {"not xml at all", 0x490c, nullptr, 3, parseError},
        {"<Request><Open></Request>", 0x490c, nullptr, 3, parseError},
        {"", 0x490c, nullptr, 3, parseError},
        {nullptr, 0x490c, nullptr, 3, nullptr},
        {"<Other><Result>0</Result></Other>", 0x490c, nullptr, 3,
         "Can not find Request in XML of DoorLock, while rsp cmd = 0x490c"},
        {"<Request/>", 0, " UserDefine", kNone, noRsp},
        {"garbage", 0, nullptr, kNone, noRsp},
    };
    uint32_t seq = 4000000000u;
    for (const auto &c : cases) {
        SCOPED_TRACE(c.text != nullptr ? c.text : "null");
        oqsim::clear_sent();
        oqsim::clear_logs();
        g_seen = "";
        const int len = c.text != nullptr ? static_cast<int>(std::strlen(c.text)) : 0;
        EXPECT_EQ(norla::DoorLock_PltReq_DoRsp_Handle(c.text, len, c.rspCmd,
                                                      norla::kDoorLockVersion, ++seq, &Handler),
                  0);
        EXPECT_EQ(g_seen, c.seen != nullptr ? std::to_string(seq) + c.seen : "");
        EXPECT_TRUE(c.log == nullptr || oqsim::count_log(std::string(c.log) + "\n") == 1);
        if (c.result == kNone) {
            EXPECT_TRUE(oqsim::sent().empty());
            continue;
        }
        const oqsim::Sent &s = LastSent();
        EXPECT_EQ(s.rec.iCmdId, c.rspCmd);
        EXPECT_EQ(s.rec.uiMsgSeq, seq);
        EXPECT_EQ(ResultOf(s.body), c.result);
        EXPECT_EQ(s.body.find("<Echo>") != std::string::npos, c.result == 4);
    }
    oqsim::kernel_fail_send(5, 1);
    EXPECT_EQ(norla::DoorLock_PltReq_DoRsp_Handle("<Request/>", 0, 100, norla::kDoorLockVersion, 3,
                                                  &Handler),
              -1);
}

// A response the handler could not build whole is replaced by a bare one
// with Result 4; when not even that can be built, nothing is sent.
TEST_F(RoundTripTest, HalfBuiltResponseIsNeverSent) {
    const std::string bare =
        "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<Response><Result>4</Result></Response>";
    g_fault = 1;
    EXPECT_EQ(norla::DoorLock_PltReq_DoRsp_Handle("<Request><Big/></Request>", 0, 0x490c,
                                                  norla::kDoorLockVersion, 3, &Handler),
              0);
    EXPECT_EQ(LastSent().body, bare);

    oqsim::clear_sent();
    g_fault = 2;
    EXPECT_EQ(norla::DoorLock_PltReq_DoRsp_Handle("<Request><Big/></Request>", 0, 0x490c,
                                                  norla::kDoorLockVersion, 4, &Handler),
              -1);
    dltest::DisarmAllocationFault();
    g_fault = 0;
    EXPECT_TRUE(oqsim::sent().empty());
    EXPECT_TRUE(HasLog(1, "Failed to build rsp of DoorLock, while rsp cmd = 0x490c"));
}

// The first allocation is the response's root: without a response to carry
// the answer the request goes no further, and nothing half built is sent.
TEST_F(RoundTripTest, ResponseThatCannotBeBuiltStopsTheRequest) {
    g_seen = "";
    dltest::ArmAllocationFault(1, false);
    EXPECT_EQ(norla::DoorLock_PltReq_DoRsp_Handle("<Request/>", 0, 0x490c, norla::kDoorLockVersion,
                                                  3, &Handler),
              -1);
    dltest::DisarmAllocationFault();
    EXPECT_EQ(g_seen, "");
    EXPECT_TRUE(oqsim::sent().empty());
    EXPECT_TRUE(HasLog(1, "Failed to build rsp of DoorLock, while rsp cmd = 0x490c"));
}

}  // namespace
