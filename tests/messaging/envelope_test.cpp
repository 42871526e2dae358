#include <cstdint>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "CMarkupSTL.h"
#include "messaging/envelope.h"
#include "support/fixture.h"
#include "vocabulary.h"

namespace {

using EnvelopeTest = dltest::ModuleTest;

// set_result finds Result from the first element on, and is a no-op (0) on a
// document without one.
TEST_F(EnvelopeTest, SkeletonsAndSetResult) {
    CMarkupSTL req;
    CMarkupSTL rsp;
    ASSERT_EQ(norla::DoorLock_xml_init_req(req) + norla::DoorLock_xml_init_rsp(rsp), 0);
    EXPECT_EQ(rsp.GetTagName(), "Result");
    req.x_AddElem("Body", "x");
    rsp.x_AddElem("Extra", "1");
    EXPECT_EQ(norla::DoorLock_xml_set_result(req, 4), 0);
    EXPECT_EQ(norla::DoorLock_xml_set_result(rsp, -17), 1);
    const std::string decl = "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n";
    EXPECT_EQ(req.GetDoc(), decl + "<Request><Body>x</Body></Request>");
    EXPECT_EQ(rsp.GetDoc(), decl + "<Response><Result>-17</Result><Extra>1</Extra></Response>");
}

TEST_F(EnvelopeTest, GetResultReadsThePlatformCode) {
    const struct {
        const char *doc;
        int result;
        const char *log;
    } cases[] = {
        {"<Response><Result>0</Result><Type/></Response>", 0, nullptr},
        {"<Response><Result>abc</Result></Response>", 0, nullptr},
        {"<Response><Result>-5</Result></Response>", -5, "response result error, code 0xfffffffb"},
        {"<Response><Result>12</Result></Response>", 12, "response result error, code 0xc"},
        {"<Response><Result>4294967296</Result></Response>", INT32_MAX,
         "response result error, code 0x7fffffff"},
        {"<Response><Result>-4294967296</Result></Response>", INT32_MIN,
         "response result error, code 0x80000000"},
        {"<Response><Code>0</Code></Response>", -1, "Failed to find elem:Result"},
        {"<Request><Result>0</Result></Request>", -1, "Failed to find elem:Response"},
    };
    for (const auto &c : cases) {
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

TEST_F(EnvelopeTest, SendFillsTheKernelRecordOrGivesMinusOne) {
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
    EXPECT_EQ(s.rec.iDomainId, norla::kDoorLockDomainId);
    EXPECT_EQ(s.rec.iCmdId, 0x1234);
    EXPECT_EQ(s.version, std::string(31, 'v'));
    EXPECT_TRUE(HasLog(1, "Send:0x1234"));
    EXPECT_TRUE(HasLog(4, "Content:" + s.body));

    oqsim::kernel_fail_send(0x21, 1);
    EXPECT_EQ(norla::DoorLock_send_msg_to_platform(xml, 0x2887, "v1.0.0", 0, 1u), -1);
    EXPECT_TRUE(HasLog(
        1, "Failed to send msg to platform, by cmdid[0x2887] in door_lock domain ret 0x21."));
    const size_t sends = oqsim::sent().size();
    const size_t copy = xml.GetDoc().size() + 1;
    dltest::FailAllocations(copy);
    EXPECT_EQ(norla::DoorLock_send_msg_to_platform(xml, 0x2887, "v1.0.0", 0, 2u), -1);
    EXPECT_EQ(oqsim::sent().size(), sends);
    EXPECT_TRUE(HasLog(1, "Failed to malloc mem, size=" + std::to_string(copy) + "."));
}

TEST_F(EnvelopeTest, SequenceNumbersAreUniqueAcrossThreads) {
    constexpr size_t kPerThread = 20000;
    std::vector<uint32_t> taken[4];
    std::vector<std::thread> threads;
    for (auto &list : taken) {
        threads.emplace_back([&list] {
            while (list.size() < kPerThread) {
                list.push_back(norla::DoorLock_GetNextSeq());
            }
        });
    }
    std::set<uint32_t> all;
    for (size_t t = 0; t < threads.size(); ++t) {
        threads[t].join();
        all.insert(taken[t].begin(), taken[t].end());
    }
    EXPECT_EQ(all.size(), 4 * kPerThread);
    norla::DoorLock_ResetSeq();
    EXPECT_EQ(norla::DoorLock_GetNextSeq() + norla::DoorLock_GetNextSeq(), 1u);
}

}  // namespace
