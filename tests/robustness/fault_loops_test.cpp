// Every operation of the table, with each thing that can go wrong in turn:
// each allocation (the module's, cJSON's or the XML class's), each device call
// with several codes, each send to the kernel, each call of the XML class
// (failing or throwing), the device's serial missing, and each part of each
// request taken away. The answer
// must be one the contract lists, nothing may be held afterwards and the next
// clean call must be answered as before.
#include <pugixml.hpp>

#include <algorithm>
#include <cstdio>
#include <iterator>
#include <sstream>
#include <string>

#include "robustness/operations.h"

namespace robust {
namespace {

// No operation comes near these; reaching one means the loop cannot end.
constexpr long kMaxAllocations = 400;
constexpr long kMaxXmlCalls = 2000;
constexpr size_t kLogShown = 2000;
// 0x1004 and the users-full refusal carry 4 in their low 12 bits; the named
// refusals are the ones some commands pass on under codes of their own.
constexpr int kCodes[] = {1,
                          -1,
                          0x1004,
                          OQDEVSDK_DOORLOCK_DEV_ERR_SNAP_PWD_FULL,
                          OQDEVSDK_DOORLOCK_DEV_ERR_SNAP_PWD_UNKNOWN,
                          OQDEVSDK_DOORLOCK_DEV_ERR_SNAP_PWD_LIMIT,
                          OQDEVSDK_DOORLOCK_DEV_ERR_USERS_FULL,
                          OQDEVSDK_DOORLOCK_DEV_ERR_USER_UNKNOWN};

bool Listed(const std::vector<int> &results, int result) {
    return std::find(results.begin(), results.end(), result) != results.end();
}

bool Logged(const std::string &lineWithNewline) {
    return oqsim::count_log(lineWithNewline) > 0;
}

std::string LogText() {
    std::string text;
    for (const oqsim::LogLine &line : oqsim::logs()) {
        text += std::to_string(line.level) + " " + line.text;
    }
    return text;
}

std::string Describe(const DevCall &call) {
    return std::string(call.bToDevice ? "Recv_Msg" : "Get_Runtime_Info") + " type " +
           std::to_string(call.iType) + " len " + std::to_string(call.uiLen);
}

// Every device call of `out` is one the clean run made, byte for byte: a
// fault never lets a half-built record reach the device.
::testing::AssertionResult CallsAmong(const Outcome &out, const Outcome &clean) {
    for (const DevCall &call : out.calls) {
        // A fetch buffer is the device's to fill; only its type and size count.
        auto same = [&call](const DevCall &known) {
            return call.bToDevice == known.bToDevice && call.iType == known.iType &&
                   call.uiLen == known.uiLen && (!call.bToDevice || call.bytes == known.bytes);
        };
        if (std::none_of(clean.calls.begin(), clean.calls.end(), same)) {
            return ::testing::AssertionFailure()
                   << Describe(call) << " carried a record the clean run never sent";
        }
    }
    return ::testing::AssertionSuccess();
}

// What a run that met an allocation failure may answer; after a failed XML
// call a command may also answer 4, as when memory runs out.
void CheckAnswer(const Operation &op, const Outcome &clean, const Outcome &out,
                 bool xmlFault = false) {
    SCOPED_TRACE("log:\n" + LogText().substr(0, kLogShown));
    bool explained = false;  // the contract itself keeps the result after a logged failure
    for (const OomRule &rule : op.oomRules) {
        explained = explained || Logged(rule.pszLog);
        if (Logged(rule.pszLog) && out.iResult != kNothingSent) {
            EXPECT_EQ(op.eKind == kStatus ? out.iChanged : out.iResult, rule.iResult)
                << "after " << rule.pszLog;
        }
    }
    EXPECT_TRUE(out.bHeaderOk) << "response under the wrong id or sequence number";
    if (op.eKind == kCommand && out.iResult == kNothingSent) {
        char line[64];
        std::snprintf(line, sizeof line, "Result is -1, by Cmdid[%#x].\n",
                      static_cast<unsigned int>(op.iId));
        EXPECT_TRUE(Logged(line)) << "no response and no word of it";
        return;
    }
    if (op.eKind == kStatus) {
        EXPECT_TRUE(out.iChanged == 0 || out.iChanged == 1) << "change check " << out.iChanged;
        if (out.iResult == kNotReported) {
            return;
        }
    }
    // Memory that runs out while a request is parsed makes it unreadable.
    EXPECT_TRUE(Listed(op.results, out.iResult) ||
                (op.eKind == kCommand && out.iResult == norla::kResultBadRequest) ||
                (op.eKind == kCommand && xmlFault && out.iResult == norla::kResultRefused))
        << "result " << out.iResult;
    if (op.eKind == kStatus && out.iResult == 0 && out.sent.empty()) {
        // Only the face unlock report gives up quietly on its JSON.
        EXPECT_TRUE(Logged("Failed to create json object.\n") ||
                    Logged("Failed to gen string from cjson object.\n"))
            << "report answered 0 and sent nothing";
        return;
    }
    // A message built while memory ran out goes out whole or not at all,
    // and success is never claimed for a body that lost parts on the way.
    if (op.eKind != kCommand && op.eKind != kStatus) {
        EXPECT_TRUE(out.sent.empty() || out.sent == clean.sent) << "sent with parts missing";
    } else if (out.iResult == 0 && (op.eKind == kStatus || !explained)) {
        EXPECT_EQ(out.sent.back(), clean.sent.back()) << "sent with parts missing";
    }
}

class AllocFaultLoop : public FaultLoop {};

// The N-th allocation fails, N = 1, 2, ... until a run meets no failure; once
// with that one failure, once with every later allocation failing too.
TEST_P(AllocFaultLoop, EveryFailedAllocationIsAnsweredAsTheContractSays) {
    Prepare();
    const Outcome clean = Run();
    const Outcome cleanAgain = Run(true);
    ASSERT_TRUE(Listed(GetParam().results, clean.iResult))
        << "clean run answered " << clean.iResult;
    for (const bool sticky : {false, true}) {
        long n = 1;
        for (; n <= kMaxAllocations; ++n) {
            SCOPED_TRACE(std::string(sticky ? "every allocation from #" : "only allocation #") +
                         std::to_string(n) + " fails");
            Prepare();
            dltest::ArmAllocationFault(n, sticky);
            const Outcome out = Run();
            if (dltest::InjectedAllocationFailures() == 0) {
                break;
            }
            CheckAnswer(GetParam(), clean, out);
            EXPECT_TRUE(CallsAmong(out, clean));
            ExpectRecovered(cleanAgain);
        }
        EXPECT_LE(n, kMaxAllocations) << "the operation never ran out of allocations";
    }
}

class DeviceFaultLoop : public FaultLoop {};

TEST_P(DeviceFaultLoop, EveryFailedDeviceCallIsAnsweredAsTheContractSays) {
    const Operation &op = GetParam();
    Prepare();
    const Outcome clean = Run();
    const Outcome cleanAgain = Run(true);
    if (op.pfnDev == nullptr && op.dev.iResult == kNoDeviceCalls) {
        EXPECT_TRUE(clean.calls.empty()) << "an operation without rules called the device";
        return;
    }
    ASSERT_FALSE(clean.calls.empty()) << "the operation never reached the device";
    for (size_t i = 0; i < clean.calls.size(); ++i) {
        for (const int code : kCodes) {
            SCOPED_TRACE("call " + std::to_string(i) + " (" + Describe(clean.calls[i]) +
                         ") fails with " + std::to_string(code));
            Prepare();
            FailDeviceCall(static_cast<int>(i), code);
            const Outcome out = Run();
            FailDeviceCall(-1, 0);

            const DevExpect expect =
                op.pfnDev != nullptr ? op.pfnDev(clean.calls[i], code) : op.dev;
            if (op.eKind == kStatus) {
                EXPECT_EQ(out.iChanged, expect.iResult);
                EXPECT_TRUE(out.iResult == kNotReported || out.iResult == 0)
                    << "report " << out.iResult;
            } else {
                EXPECT_EQ(out.iResult, expect.iResult);
                EXPECT_TRUE(out.bHeaderOk);
            }
            for (const std::string &line : expect.logs) {
                EXPECT_TRUE(Logged(line)) << "missing log line: " << line;
            }
            EXPECT_TRUE(CallsAmong(out, clean));
            ExpectRecovered(cleanAgain);
        }
    }
}

// The kernel refuses the i-th message the operation sends: the failure is
// logged, a command's route and a status report answer -1, and nothing else
// changes.
TEST_P(DeviceFaultLoop, EveryRefusedSendIsLoggedAndAnsweredAsFailed) {
    const Operation &op = GetParam();
    Prepare();
    const Outcome clean = Run();
    const Outcome cleanAgain = Run(true);
    for (size_t i = 0; i < clean.sent.size(); ++i) {
        for (const int code : {-1, 0x5001}) {
            SCOPED_TRACE("send " + std::to_string(i) + " refused with " + std::to_string(code));
            Prepare();
            oqsim::kernel_fail_send(code, 1, static_cast<int>(i));
            const Outcome out = Run();
            oqsim::kernel_fail_send(0);
            EXPECT_EQ(out.sent, clean.sent) << "the same messages, one of them refused";
            char line[128];
            std::snprintf(line, sizeof line,
                          "Failed to send msg to platform, by cmdid[%#x] in door_lock domain ret "
                          "%#x.\n",
                          static_cast<unsigned int>(oqsim::sent().at(i).rec.iCmdId),
                          static_cast<unsigned int>(code));
            EXPECT_TRUE(Logged(line)) << line;
            if (op.eKind == kCommand) {
                EXPECT_EQ(out.iRoute, -1);
            } else if (op.eKind == kStatus) {
                EXPECT_EQ(out.iResult, -1);
            }
            EXPECT_EQ(out.calls.size(), clean.calls.size());
            ExpectRecovered(cleanAgain);
        }
    }
}

// Without the device's serial (a host may have none) every document carries
// an empty DevSerial and is otherwise what it was.
TEST_P(DeviceFaultLoop, MissingSerialLeavesAnEmptyDevSerial) {
    Prepare();
    Outcome clean = Run();
    Prepare();
    oqsim::set_devinfo_absent(norla::kDevSerialKey);
    const Outcome out = Run();
    for (std::string &body : clean.sent) {
        const std::string serial = "<DevSerial>SIMLOCK0001</DevSerial>";
        for (size_t at = body.find(serial); at != std::string::npos; at = body.find(serial)) {
            body.replace(at, serial.size(), "<DevSerial/>");
        }
    }
    EXPECT_EQ(out.sent, clean.sent);
    EXPECT_EQ(out.iResult, clean.iResult);
}

// What an operation answers when the host's XML class threw half way: as when
// memory runs out, and nothing cut short goes out.
void CheckThrown(const Operation &op, const Outcome &clean, const Outcome &out) {
    SCOPED_TRACE("log:\n" + LogText().substr(0, kLogShown));
    const auto &lines = oqsim::logs();
    EXPECT_TRUE(std::any_of(lines.begin(), lines.end(), [](const oqsim::LogLine &line) {
        return line.level == 1 && line.text.rfind("Exception in ", 0) == 0;
    })) << "no word of the exception";
    switch (op.eKind) {
        case kCommand:
            EXPECT_EQ(out.iResult, norla::kResultRefused);
            EXPECT_TRUE(out.bHeaderOk);
            break;
        case kAnswer:
            EXPECT_EQ(out.iRoute, -1);
            break;
        case kStatus:
            EXPECT_TRUE(out.iResult == -1 || out.iResult == kNotReported) << out.iResult;
            EXPECT_TRUE(out.sent.empty());
            break;
        case kInit:
        case kJob:
            EXPECT_TRUE(out.sent.empty() || out.sent == clean.sent);
            break;
    }
}

class XmlFaultLoop : public FaultLoop {};

// Each call of the XML class in turn fails (an add, a set or a find answers
// false) or throws std::bad_alloc.
TEST_P(XmlFaultLoop, EveryFailedOrThrowingXmlCallIsAnsweredAsTheContractSays) {
    using oqsim::XmlFault;
    Prepare(true);
    const Outcome clean = Run();
    const Outcome cleanAgain = Run(true);
    ASSERT_TRUE(Listed(GetParam().results, clean.iResult));
    const struct {
        XmlFault kind;
        const char *name;
    } kinds[] = {{XmlFault::kAdd, "add"},
                 {XmlFault::kSet, "set"},
                 {XmlFault::kFind, "find"},
                 {XmlFault::kThrow, "throwing call"}};
    for (const auto &kind : kinds) {
        long n = 1;
        for (; n <= kMaxXmlCalls; ++n) {
            SCOPED_TRACE(std::string(kind.name) + " #" + std::to_string(n) + " fails");
            Prepare(true);
            oqsim::xml_fail_at(kind.kind, n);
            const Outcome out = Run();
            if (!out.bXmlFaultMet) {
                break;
            }
            if (kind.kind == XmlFault::kThrow) {
                CheckThrown(GetParam(), clean, out);
            } else {
                CheckAnswer(GetParam(), clean, out, true);
            }
            // An optional element that cannot be found reads as absent: the
            // lock may then get a record the clean run never sent.
            if (kind.kind != XmlFault::kFind) {
                EXPECT_TRUE(CallsAmong(out, clean));
            }
            ExpectRecovered(cleanAgain);
        }
        EXPECT_LE(n, kMaxXmlCalls) << "the operation never ran out of XML calls";
    }
}

// Applies the `index`-th removal below `parent` in document order: an element
// removed, each of its attributes removed or left empty, a text emptied.
bool RemovePart(pugi::xml_node parent, size_t &index, std::string &what) {
    auto pick = [&index, &what](const std::string &description) {
        what = description;
        return index-- == 0;
    };
    for (pugi::xml_node part : parent.children()) {
        const bool text = part.type() == pugi::node_pcdata;
        if (pick(text ? std::string("empty text of ") + parent.name()
                      : std::string("no element ") + part.name())) {
            return parent.remove_child(part);
        }
        for (pugi::xml_attribute attr : part.attributes()) {
            const std::string name = std::string(part.name()) + "@" + attr.name();
            if (pick("no attribute " + name)) {
                return part.remove_attribute(attr);
            }
            if (pick("empty attribute " + name)) {
                return attr.set_value("");
            }
        }
        if (RemovePart(part, index, what)) {
            return true;
        }
    }
    return false;
}

// The request with its `index`-th part removed; false past the last. The
// document is gone on return: the XML class's allocations are counted.
bool Variant(const char *body, size_t index, std::string &text, std::string &what) {
    pugi::xml_document doc;
    doc.load_string(body);
    if (!RemovePart(doc.document_element(), index, what)) {
        return false;
    }
    std::ostringstream out;
    doc.save(out, "", pugi::format_raw | pugi::format_no_declaration);
    text = out.str();
    return true;
}

class RequestPartsLoop : public FaultLoop {};

TEST_P(RequestPartsLoop, AnyMissingPartIsAnsweredAsTheContractSays) {
    const Operation &op = GetParam();
    Prepare();
    Run();
    const Outcome cleanAgain = Run();
    std::string text;
    std::string what;
    for (size_t i = 0; Variant(op.pszBody, i, text, what); ++i) {
        SCOPED_TRACE(what + ": " + text);
        Prepare();
        const Outcome out = Run(false, text.c_str());
        EXPECT_TRUE(out.bHeaderOk);
        EXPECT_TRUE(Listed(op.results, out.iResult) || out.iResult == norla::kResultBadRequest)
            << "result " << out.iResult;
        ExpectRecovered(cleanAgain);
    }
}

std::vector<Operation> TakingRequests() {
    std::vector<Operation> ops;
    std::copy_if(Operations().begin(), Operations().end(), std::back_inserter(ops),
                 [](const Operation &op) { return op.pszBody != nullptr; });
    return ops;
}

INSTANTIATE_TEST_SUITE_P(Operations, AllocFaultLoop, ::testing::ValuesIn(Operations()), OpName);
INSTANTIATE_TEST_SUITE_P(Operations, DeviceFaultLoop, ::testing::ValuesIn(Operations()), OpName);
INSTANTIATE_TEST_SUITE_P(Operations, XmlFaultLoop, ::testing::ValuesIn(Operations()), OpName);
INSTANTIATE_TEST_SUITE_P(Operations, RequestPartsLoop, ::testing::ValuesIn(TakingRequests()),
                         OpName);

}  // namespace
}  // namespace robust
