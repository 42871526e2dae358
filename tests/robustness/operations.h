// The module's operations as the fault loops run them: one table, each row
// an operation that reaches the device (a platform command, the answer to the
// system-configuration request, its timer job, a status item's change check
// and report, Init), with what the contract lets it answer.
#ifndef TESTS_ROBUSTNESS_OPERATIONS_H
#define TESTS_ROBUSTNESS_OPERATIONS_H

#include <gtest/gtest.h>

#include <cstdint>
#include <ostream>
#include <string>
#include <vector>

namespace robust {

enum class Kind {
    kInit,     // oqDevSDK_DoorLock_Init; result is its return value
    kCommand,  // platform request; result is the response's Result
    kAnswer,   // platform answer without response; result is the route's return
    kJob,      // system-configuration timer tick; result 0
    kStatus,   // change check, then report when changed; result is the report's
};

// Result of an operation that sent nothing where a response was due.
constexpr int kNothingSent = -100000;
// Result of a response sent without a readable Result.
constexpr int kMalformed = -100002;
// Report result of a status item whose change check found nothing.
constexpr int kNotReported = -100001;

// One call into the device application, as the module made it.
struct DevCall {
    bool bToDevice;  // Recv_Msg; otherwise Get_Runtime_Info
    int iType;
    uint32_t uiLen;
    std::vector<uint8_t> bytes;  // the record handed over, or the buffer as passed in

    bool operator==(const DevCall &other) const {
        return bToDevice == other.bToDevice && iType == other.iType && uiLen == other.uiLen &&
               bytes == other.bytes;
    }
};

struct Outcome {
    int iResult = 0;
    int iChanged = 0;               // status items only
    std::vector<std::string> sent;  // bodies sent to the kernel, in order
    std::vector<DevCall> calls;
    bool bHeaderOk = true;  // responses carry the response id and the request's number
};

// What the contract says about one failed device call.
struct DevExpect {
    int iResult;                    // the command's result, or the change check's for status items
    std::vector<std::string> logs;  // lines logged, newline included
};
using DevRule = DevExpect (*)(const DevCall &failed, int code);

// A log line that explains an allocation failure, and the result it implies.
struct OomRule {
    const char *pszLog;  // newline included
    int iResult;         // result, or the change check's for status items
};

struct Operation {
    const char *pszName;
    Kind eKind;
    int iId;  // command or status id
    const char *pszBody;
    std::vector<int> results;  // results the contract lists for any fault
    std::vector<OomRule> oomRules;
    DevRule pfnDevRule;
};

const std::vector<Operation> &Operations();

inline void PrintTo(const Operation &op, std::ostream *os) {
    *os << op.pszName;
}

// Fresh emulator, device and module, with the device's records in place, the
// status caches reset and the device registered with the platform (except for
// Init, which the operation itself performs).
void Prepare(const Operation &op);
// Runs the operation once. With `alwaysReport` a status item's report runs
// even when its change check found nothing.
Outcome RunOp(const Operation &op, bool alwaysReport = false);

// Makes the `index`-th (0-based) device call from now on fail with `code`;
// -1 fails none.
void FailDeviceCall(int index, int code);

bool Logged(const std::string &lineWithNewline);
std::string LogText();

// Checks shared by the loops.
// No heap block, cJSON item or XML document is held between calls.
::testing::AssertionResult NothingHeld();
// Every device call of `out` is one the clean run made, byte for byte: a
// fault never lets a half-built record reach the device.
::testing::AssertionResult CallsAmong(const Outcome &out, const Outcome &clean);
// The same result and the same messages as `expected`.
::testing::AssertionResult SameAnswer(const Outcome &out, const Outcome &expected);
std::string Describe(const DevCall &call);

}  // namespace robust

#endif
