#include <set>
#include <string>
#include <thread>
#include <vector>

#include "CMarkupSTL.h"
#include "messaging/envelope.h"
#include "support/fixture.h"

namespace {

using dltest::ModuleTest;

using EnvelopeTest = ModuleTest;

const std::string kDecl = "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n";

TEST_F(EnvelopeTest, SkeletonsStartWithTheDeclaration) {
    CMarkupSTL req;
    EXPECT_EQ(norla::DoorLock_xml_init_req(req), 0);
    EXPECT_TRUE(req.x_AddElem("Body", "x"));
    CMarkupSTL rsp;
    EXPECT_EQ(norla::DoorLock_xml_init_rsp(rsp), 0);
    EXPECT_EQ(rsp.GetTagName(), "Result");

    for (CMarkupSTL *doc : {&req, &rsp}) {
        std::string text = doc->GetDoc();
        EXPECT_EQ(text.compare(0, kDecl.size(), kDecl), 0) << text;
    }
    CMarkupSTL reread(req.GetDoc().c_str());
    ASSERT_TRUE(reread.FindElem("Request"));
    ASSERT_TRUE(reread.IntoElem());
    ASSERT_TRUE(reread.FindElem("Body"));
    EXPECT_EQ(reread.x_GetData(), "x");
    EXPECT_EQ(ResultOf(rsp.GetDoc()), 0);
}

TEST_F(EnvelopeTest, SetResultNeedsAResultElement) {
    CMarkupSTL rsp;
    norla::DoorLock_xml_init_rsp(rsp);
    rsp.x_AddElem("Extra", "1");
    EXPECT_NE(norla::DoorLock_xml_set_result(rsp, -17), 0);
    EXPECT_EQ(ResultOf(rsp.GetDoc()), -17);

    CMarkupSTL req;
    norla::DoorLock_xml_init_req(req);
    req.x_AddElem("Other", "1");
    std::string before = req.GetDoc();
    EXPECT_EQ(norla::DoorLock_xml_set_result(req, 4), 0);
    EXPECT_EQ(req.GetDoc(), before);
}

TEST_F(EnvelopeTest, GetResultReadsThePlatformCode) {
    struct Case {
        const char *doc;
        int result;
        const char *log;
    };
    const Case cases[] = {
        {"<Response><Result>0</Result><Type/></Response>", 0, nullptr},
        {"<Response><Result>abc</Result></Response>", 0, nullptr},
        {"<Response><Result>-5</Result></Response>", -5, "response result error, code 0xfffffffb"},
        {"<Response><Result>12</Result></Response>", 12, "response result error, code 0xc"},
        {"<Response><Code>0</Code></Response>", -1, "Failed to find elem:Result"},
        {"<Request><Result>0</Result></Request>", -1, "Failed to find elem:Response"},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.doc);
        oqsim::clear_logs();
        CMarkupSTL xml(c.doc);
        EXPECT_EQ(norla::DoorLock_xml_get_result(xml), c.result);
        if (c.log != nullptr) {
            EXPECT_TRUE(HasLog(1, c.log));
        } else {
            EXPECT_TRUE(oqsim::logs().empty());
            // Left on Result so that the caller finds its siblings.
            EXPECT_EQ(xml.GetTagName(), "Result");
        }
    }
}

TEST_F(EnvelopeTest, SendFillsTheKernelRecord) {
    CMarkupSTL xml;
    norla::DoorLock_xml_init_req(xml);
    xml.x_AddElem("A", "b");
    const std::string longVersion(40, 'v');
    ASSERT_EQ(norla::DoorLock_send_msg_to_platform(xml, 0x1234, longVersion.c_str(), 1, 77u), 0);

    const oqsim::Sent &s = LastSent();
    EXPECT_EQ(s.body, xml.GetDoc());
    EXPECT_EQ(s.rec.uiBodyLen, s.body.size());
    EXPECT_EQ(s.rec.ucIsResponse, 1);
    EXPECT_EQ(s.rec.uiMsgSeq, 77u);
    EXPECT_EQ(s.rec.iDomainId, 4400);
    EXPECT_EQ(s.rec.iCmdId, 0x1234);
    EXPECT_EQ(s.version, std::string(31, 'v'));
    EXPECT_EQ(s.rec.uiReserved2, 0u);
    EXPECT_TRUE(HasLog(1, "Send:0x1234"));
    EXPECT_TRUE(HasLog(4, "Content:" + s.body));
}

TEST_F(EnvelopeTest, SendFailuresGiveMinusOneAndFreeTheCopy) {
    CMarkupSTL xml;
    norla::DoorLock_xml_init_req(xml);

    oqsim::kernel_fail_send(0x21, 1);
    EXPECT_EQ(norla::DoorLock_send_msg_to_platform(xml, 0x2887, "v1.0.0", 0, 1u), -1);
    EXPECT_TRUE(HasLog(
        1, "Failed to send msg to platform, by cmdid[0x2887] in door_lock domain ret 0x21."));

    size_t sends = oqsim::sent().size();
    dltest::FailAllocations(xml.GetDoc().size() + 1);
    EXPECT_EQ(norla::DoorLock_send_msg_to_platform(xml, 0x2887, "v1.0.0", 0, 2u), -1);
    EXPECT_EQ(oqsim::sent().size(), sends);
    EXPECT_TRUE(oqsim::has_log(
        1, "Failed to malloc mem, size=" + std::to_string(xml.GetDoc().size() + 1) + ".\n"));
}

TEST_F(EnvelopeTest, ReportsCarrySerialThenAuthorization) {
    oqsim::set_devinfo("dev_subserial", "LOCK-42");
    CMarkupSTL xml;
    ASSERT_EQ(norla::DoorLock_xml_init_report(xml), 0);
    xml.x_AddElem("Status");
    ASSERT_EQ(norla::DoorLock_send_report(xml, 12382), 0);
    ASSERT_EQ(norla::DoorLock_send_report(xml, 12382), 0);

    ASSERT_EQ(oqsim::sent().size(), 2u);
    const oqsim::Sent &first = oqsim::sent()[0];
    EXPECT_EQ(first.rec.ucIsResponse, 0);
    EXPECT_EQ(first.version, "v1.0.0");
    EXPECT_EQ(oqsim::sent()[1].rec.uiMsgSeq, first.rec.uiMsgSeq + 1);

    CMarkupSTL sent(first.body.c_str());
    ASSERT_TRUE(sent.FindElem("Request") && sent.IntoElem());
    std::vector<std::string> tags;
    while (sent.FindElem(nullptr)) {
        tags.push_back(sent.GetTagName());
        if (tags.back() == "DevSerial") {
            EXPECT_EQ(sent.x_GetData(), "LOCK-42");
        } else if (tags.back() == "Authorization") {
            EXPECT_EQ(sent.x_GetData(), "");
        }
    }
    EXPECT_EQ(tags, (std::vector<std::string>{"DevSerial", "Authorization", "Status"}));
}

TEST_F(EnvelopeTest, SequenceNumbersAreUniqueAcrossThreads) {
    constexpr int kThreads = 4;
    constexpr int kPerThread = 20000;
    std::vector<std::vector<uint32_t>> taken(kThreads);
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t) {
        threads.emplace_back([&taken, t] {
            for (int i = 0; i < kPerThread; ++i) {
                taken[static_cast<size_t>(t)].push_back(norla::DoorLock_GetNextSeq());
            }
        });
    }
    for (std::thread &th : threads) {
        th.join();
    }
    std::set<uint32_t> all;
    for (const auto &list : taken) {
        all.insert(list.begin(), list.end());
    }
    EXPECT_EQ(all.size(), static_cast<size_t>(kThreads * kPerThread));

    norla::DoorLock_ResetSeq();
    EXPECT_EQ(norla::DoorLock_GetNextSeq(), 0u);
    EXPECT_EQ(norla::DoorLock_GetNextSeq(), 1u);
}

}  // namespace
