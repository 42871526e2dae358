#include <string>

#include "CMarkupSTL.h"
#include "messaging/envelope.h"
#include "messaging/round_trip.h"
#include "support/fixture.h"

namespace {

using dltest::ModuleTest;

// What the test handler saw; the handler is a plain function pointer.
struct Seen {
    int calls = 0;
    std::string msgSeq;
    std::string firstTag;
};
Seen g_seen;

int RecordingHandler(CMarkupSTL &request, CMarkupSTL &response) noexcept {
    ++g_seen.calls;
    g_seen.msgSeq = request.x_GetAttrib("MsgSeq");
    if (request.FindElem(nullptr, true)) {
        g_seen.firstTag = request.GetTagName();
    }
    norla::DoorLock_xml_set_result(response, 4);
    response.x_AddElem("Answer", "yes");
    return 4;
}

int SilentHandler(CMarkupSTL &, CMarkupSTL &) noexcept {
    ++g_seen.calls;
    return -1;
}

class RoundTripTest : public ModuleTest {
  protected:
    void SetUp() override {
        ModuleTest::SetUp();
        g_seen = Seen{};
    }
};

TEST_F(RoundTripTest, RequestIsAnsweredByTheHandler) {
    const std::string text = "<Request><Id>3</Id></Request>";
    ASSERT_EQ(norla::DoorLock_PltReq_DoRsp_Handle(text.c_str(), static_cast<int>(text.size()),
                                                  18858, "v1.0.0", 4000000000u, &RecordingHandler),
              0);
    EXPECT_EQ(g_seen.calls, 1);
    EXPECT_EQ(g_seen.msgSeq, "4000000000");
    EXPECT_EQ(g_seen.firstTag, "Id");

    const oqsim::Sent &s = LastSent();
    EXPECT_EQ(s.rec.iCmdId, 18858);
    EXPECT_EQ(s.rec.uiMsgSeq, 4000000000u);
    EXPECT_EQ(s.rec.ucIsResponse, 1);
    EXPECT_EQ(s.version, "v1.0.0");
    EXPECT_EQ(ResultOf(s.body), 4);
    CMarkupSTL rsp(s.body.c_str());
    ASSERT_TRUE(rsp.FindElem("Response") && rsp.IntoElem() && rsp.FindElem("Result"));
    ASSERT_TRUE(rsp.FindElem("Answer"));
    EXPECT_EQ(rsp.x_GetData(), "yes");
}

TEST_F(RoundTripTest, BadDocumentsAreAnsweredWithResultThree) {
    struct Case {
        const char *text;
        const char *log;
    };
    const Case cases[] = {
        {"not xml at all", "Failed to parse XML of DoorLock, while rsp cmd = 0x490c"},
        {"<Request><Open></Request>", "Failed to parse XML of DoorLock, while rsp cmd = 0x490c"},
        {"", "Failed to parse XML of DoorLock, while rsp cmd = 0x490c"},
        {"<Other><Result>0</Result></Other>",
         "Can not find Request in XML of DoorLock, while rsp cmd = 0x490c"},
    };
    uint32_t seq = 10;
    for (const Case &c : cases) {
        SCOPED_TRACE(c.text);
        ++seq;
        EXPECT_EQ(norla::DoorLock_PltReq_DoRsp_Handle(c.text, 0, 0x490c, "v1.0.0", seq,
                                                      &RecordingHandler),
                  0);
        EXPECT_TRUE(HasLog(1, c.log));
        const oqsim::Sent &s = LastSent();
        EXPECT_EQ(s.rec.iCmdId, 0x490c);
        EXPECT_EQ(s.rec.uiMsgSeq, seq);
        EXPECT_EQ(s.rec.ucIsResponse, 1);
        EXPECT_EQ(ResultOf(s.body), 3);
    }
    EXPECT_EQ(
        norla::DoorLock_PltReq_DoRsp_Handle(nullptr, 0, 0x490c, "v1.0.0", 1, &RecordingHandler), 0);
    EXPECT_EQ(ResultOf(LastSent().body), 3);
    EXPECT_EQ(g_seen.calls, 0);
}

TEST_F(RoundTripTest, ResponseRootIsServedLikeARequest) {
    norla::DoorLock_PltReq_DoRsp_Handle("<Response><Id>1</Id></Response>", 0, 100, "v1.0.0", 2,
                                        &RecordingHandler);
    EXPECT_EQ(g_seen.calls, 1);
    EXPECT_EQ(g_seen.firstTag, "Id");
}

TEST_F(RoundTripTest, HandlerThatWritesNothingLeavesSuccess) {
    ASSERT_EQ(
        norla::DoorLock_PltReq_DoRsp_Handle("<Request/>", 0, 100, "v1.0.0", 3, &SilentHandler), 0);
    EXPECT_EQ(g_seen.calls, 1);
    EXPECT_EQ(ResultOf(LastSent().body), 0);
}

TEST_F(RoundTripTest, NoResponseIdMeansNothingIsSent) {
    for (const char *text : {"<Request/>", "garbage"}) {
        EXPECT_EQ(norla::DoorLock_PltReq_DoRsp_Handle(text, 0, 0, "v1.0.0", 3, &RecordingHandler),
                  0);
    }
    EXPECT_EQ(g_seen.calls, 1);
    EXPECT_TRUE(oqsim::sent().empty());
    EXPECT_EQ(oqsim::count_log("DoorLock_PltReq_DoRsp_Handle no rsp, while rsp cmd = 0\n"), 2);
}

// The first allocation is the response's root: without a response to carry
// the answer the request goes no further, and nothing half built is sent.
TEST_F(RoundTripTest, ResponseThatCannotBeBuiltStopsTheRequest) {
    dltest::ArmAllocationFault(1, false);
    EXPECT_EQ(norla::DoorLock_PltReq_DoRsp_Handle("<Request/>", 0, 0x490c, "v1.0.0", 3,
                                                  &RecordingHandler),
              -1);
    dltest::DisarmAllocationFault();
    EXPECT_EQ(g_seen.calls, 0);
    EXPECT_TRUE(oqsim::sent().empty());
    EXPECT_TRUE(HasLog(1, "Failed to build rsp of DoorLock, while rsp cmd = 0x490c"));
}

TEST_F(RoundTripTest, RefusedResponseGivesMinusOne) {
    oqsim::kernel_fail_send(5, 1);
    EXPECT_EQ(
        norla::DoorLock_PltReq_DoRsp_Handle("<Request/>", 0, 100, "v1.0.0", 3, &SilentHandler), -1);
}

}  // namespace
