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

const std::string kDecl = "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n";

// set_result finds Result from the first element on, and is a no-op (0) on a
// document without one.
TEST_F(EnvelopeTest, SkeletonsAndSetResult) {
    CMarkupSTL req;
    CMarkupSTL rsp;
    norla::DoorLock_XmlWriter reqWriter(req);
    norla::DoorLock_XmlWriter rspWriter(rsp);
    ASSERT_TRUE(norla::DoorLock_xml_init_req(reqWriter).Elem("Body", "x").Ok());
    ASSERT_TRUE(norla::DoorLock_xml_init_rsp(rspWriter).Ok());
    EXPECT_EQ(rsp.GetTagName(), "Result");
    ASSERT_TRUE(rspWriter.Elem("Extra", 1).Ok());
    EXPECT_EQ(norla::DoorLock_xml_set_result(req, 4), 0);
    EXPECT_EQ(norla::DoorLock_xml_set_result(rsp, -17), 1);
    EXPECT_EQ(req.GetDoc(), kDecl + "<Request><Body>x</Body></Request>");
    EXPECT_EQ(rsp.GetDoc(), kDecl + "<Response><Result>-17</Result><Extra>1</Extra></Response>");
}

// DevSerial is empty when the host has no sub-serial, and comes before
// Authorization.
TEST_F(EnvelopeTest, ReportSkeletonCarriesTheSubSerial) {
    for (const char *serial : {"SUB-7", ""}) {
        SCOPED_TRACE(serial);
        oqsim::set_devinfo(norla::kDevSerialKey, serial);
        CMarkupSTL doc;
        norla::DoorLock_XmlWriter xml(doc);
        ASSERT_TRUE(norla::DoorLock_xml_init_report(xml).Ok());
        const std::string devSerial =
            *serial != '\0' ? "<DevSerial>" + std::string(serial) + "</DevSerial>" : "<DevSerial/>";
        EXPECT_EQ(doc.GetDoc(), kDecl + "<Request>" + devSerial + "<Authorization/></Request>");
    }
}

// After the first failed step the writer changes nothing, even once memory is
// back, and the document never reaches the kernel.
TEST_F(EnvelopeTest, WriterKeepsTheFirstFailureAndTheDocumentIsNotSent) {
    CMarkupSTL doc;
    norla::DoorLock_XmlWriter xml(doc);
    ASSERT_TRUE(norla::DoorLock_xml_init_req(xml).Elem("A", 1).Attr("b", "c").Ok());
    const std::string before = doc.GetDoc();
    const std::string big(100000, 'x');
    dltest::ArmAllocationFault(1, true);
    xml.Elem("Big", big.c_str());
    dltest::DisarmAllocationFault();
    EXPECT_FALSE(xml.Ok());
    xml.Elem("After").Attr("n", 2).Data("t").Into().Out();
    EXPECT_FALSE(xml.Ok());
    EXPECT_EQ(doc.GetDoc(), before);

    EXPECT_EQ(norla::DoorLock_send_msg_to_platform(xml, 0x1234, norla::kDoorLockVersion, 0, 1u),
              -1);
    EXPECT_EQ(norla::DoorLock_send_report(xml, 0x1235), -1);
    EXPECT_TRUE(oqsim::sent().empty());
    EXPECT_TRUE(HasLog(1, "Failed to build msg to platform, by cmdid[0x1234]."));
    EXPECT_TRUE(HasLog(1, "Failed to build report of DoorLock."));
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
    CMarkupSTL doc;
    norla::DoorLock_XmlWriter xml(doc);
    ASSERT_TRUE(norla::DoorLock_xml_init_req(xml).Elem("A", "b").Ok());
    const std::string longVersion(40, 'v');
    ASSERT_EQ(norla::DoorLock_send_msg_to_platform(xml, 0x1234, longVersion.c_str(), 1, 77u), 0);
    const oqsim::Sent &s = LastSent();
    EXPECT_EQ(s.body, doc.GetDoc());
    EXPECT_EQ(s.rec.uiBodyLen, s.body.size());
    EXPECT_EQ(s.rec.ucIsResponse, 1);
    EXPECT_EQ(s.rec.uiMsgSeq, 77u);
    EXPECT_EQ(s.rec.iDomainId, norla::kDoorLockDomainId);
    EXPECT_EQ(s.rec.iCmdId, 0x1234);
    EXPECT_EQ(s.version, std::string(31, 'v'));
    EXPECT_TRUE(HasLog(1, "Send:0x1234"));
    EXPECT_TRUE(HasLog(4, "Content:" + s.body));

    oqsim::kernel_fail_send(0x21, 1);
    EXPECT_EQ(norla::DoorLock_send_msg_to_platform(xml, 0x2887, norla::kDoorLockVersion, 0, 1u),
              -1);
    EXPECT_TRUE(HasLog(
        1, "Failed to send msg to platform, by cmdid[0x2887] in door_lock domain ret 0x21."));
    const size_t sends = oqsim::sent().size();
    const size_t copy = doc.GetDoc().size() + 1;
    dltest::FailAllocations(copy);
    EXPECT_EQ(norla::DoorLock_send_msg_to_platform(xml, 0x2887, norla::kDoorLockVersion, 0, 2u),
              -1);
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
}

TEST_F(EnvelopeTest, SequenceNumbersStartAtTheResetValueAndWrapToZero) {
    const struct {
        uint32_t start;
        std::vector<uint32_t> next;
    } cases[] = {
        {0, {0, 1, 2}},
        {UINT32_MAX - 1, {UINT32_MAX - 1, UINT32_MAX, 0, 1}},
    };
    for (const auto &c : cases) {
        norla::DoorLock_ResetSeq(c.start);
        std::vector<uint32_t> got;
        for (size_t i = 0; i < c.next.size(); ++i) {
            got.push_back(norla::DoorLock_GetNextSeq());
        }
        EXPECT_EQ(got, c.next) << "from " << c.start;
    }
}

}  // namespace
