// The module's operations as the fault loops run them: one table, each row an
// operation that reaches the device (a platform command, the answer to the
// system-configuration request, its timer job, a status item's change check
// and report, Init), with what it may answer when something fails.
#ifndef TESTS_ROBUSTNESS_OPERATIONS_H
#define TESTS_ROBUSTNESS_OPERATIONS_H

#include <gtest/gtest.h>

#include <cstdint>
#include <ostream>
#include <string>
#include <vector>

#include "support/fixture.h"
#include "vocabulary.h"

namespace robust {

enum Kind {
    kInit,     // result: Init's return
    kCommand,  // platform request; result: the response's Result
    kAnswer,   // platform answer that gets no response; result: the route's return
    kJob,      // system-configuration timer tick; result 0
    kStatus,   // change check, then the report when changed; result: the report's
};

constexpr int kNothingSent = -100000;  // a command that sent no response
constexpr int kNotReported = -100001;  // a status item whose change check found nothing
constexpr int kNoDeviceCalls = -100002;

// One call into the device application, as the module made it.
struct DevCall {
    bool bToDevice;  // Recv_Msg; otherwise Get_Runtime_Info
    int iType;
    uint32_t uiLen;
    std::vector<uint8_t> bytes;  // the record handed over, or the buffer as passed in
};

struct Outcome {
    int iResult = 0;
    int iRoute = 0;                 // commands and answers: what the data route returned
    int iChanged = 0;               // status items only
    std::vector<std::string> sent;  // bodies sent to the kernel, in order
    std::vector<DevCall> calls;
    bool bHeaderOk = true;  // responses carry the response id and the request's number
    bool bXmlFaultMet = false;  // an armed XML-class fault struck during the operation
};

// Results below are the change check's for status items.
struct DevExpect {  // what a failed device call must give
    int iResult;
    std::vector<std::string> logs;  // newline included
};
struct OomRule {  // a log line that explains an allocation failure, and its result
    const char *pszLog;
    int iResult;
};

struct Operation {
    const char *pszName;
    Kind eKind;
    int iId;                   // command or status id
    std::vector<int> results;  // results allowed whatever fails
    DevExpect dev;             // any failed device call; iResult kNoDeviceCalls when none is made
    std::vector<OomRule> oomRules = {};
    const char *pszBody = nullptr;
    DevExpect (*pfnDev)(const DevCall &failed, int code) = nullptr;  // replaces `dev`
};

const std::vector<Operation> &Operations();
inline void PrintTo(const Operation &op, std::ostream *os) {
    *os << op.pszName;
}
std::string OpName(const ::testing::TestParamInfo<Operation> &param);

class FaultLoop : public dltest::ModuleTest, public ::testing::WithParamInterface<Operation> {
  protected:
    // Fresh emulator, device and module, with the device's records in place,
    // the status caches reset and the device registered with the platform
    // (except for Init, which the operation itself performs). With
    // `fewRecords` every list holds two entries: enough to reach each place
    // in a builder, few enough to fail each of its XML calls in turn.
    void Prepare(bool fewRecords = false);
    // Runs the operation once, with `body` instead of its own when given. With
    // `alwaysReport` a status item reports even when its check found nothing.
    Outcome Run(bool alwaysReport = false, const char *body = nullptr);
    // Nothing held afterwards and the next clean run answers as `clean` did.
    void ExpectRecovered(const Outcome &clean);
};

// Makes the `index`-th (0-based) device call from now on fail with `code`;
// -1 fails none.
void FailDeviceCall(int index, int code);

}  // namespace robust

#endif
