// Every device call of every operation fails in turn, with codes the device
// application may give (whose low 12 bits are 4 among them); the result and
// the log must be the contract's.
#include <cstdio>
#include <string>

#include "robustness/operations.h"
#include "support/fixture.h"

namespace robust {
namespace {

// 0x1004 and 0x18004 carry 4 in their low 12 bits; 0x18001..0x18005 are the
// refusals some commands pass on under codes of their own.
constexpr int kCodes[] = {1, -1, 0x1004, 0x18001, 0x18002, 0x18003, 0x18004, 0x18005};

long g_sites = 0;  // (operation, device call) pairs failed

class TotalsReport : public ::testing::Environment {
  public:
    void TearDown() override {
        std::printf("device faults: %ld (operation, call) sites, %zu codes each\n", g_sites,
                    sizeof kCodes / sizeof kCodes[0]);
    }
};
const auto *const g_report = ::testing::AddGlobalTestEnvironment(new TotalsReport);

class DeviceFaultLoop : public dltest::ModuleTest,
                        public ::testing::WithParamInterface<Operation> {};

TEST_P(DeviceFaultLoop, EveryFailedDeviceCallIsAnsweredAsTheContractSays) {
    const Operation &op = GetParam();
    Prepare(op);
    const Outcome clean = RunOp(op);
    const Outcome cleanAgain = RunOp(op, true);
    if (op.pfnDevRule == nullptr) {
        EXPECT_TRUE(clean.calls.empty()) << "an operation without rules called the device";
        return;
    }
    ASSERT_FALSE(clean.calls.empty()) << "the operation never reached the device";

    for (size_t i = 0; i < clean.calls.size(); ++i) {
        for (const int code : kCodes) {
            char trace[128];
            std::snprintf(trace, sizeof trace, "call %zu (%s) fails with %#x", i,
                          Describe(clean.calls[i]).c_str(), static_cast<unsigned int>(code));
            SCOPED_TRACE(trace);
            Prepare(op);
            FailDeviceCall(static_cast<int>(i), code);
            const Outcome out = RunOp(op);
            FailDeviceCall(-1, 0);

            const DevExpect expect = op.pfnDevRule(clean.calls[i], code);
            if (op.eKind == Kind::kStatus) {
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
            EXPECT_TRUE(NothingHeld());
            EXPECT_TRUE(SameAnswer(RunOp(op, true), cleanAgain)) << "the next clean call";
        }
    }
    g_sites += static_cast<long>(clean.calls.size());
}

INSTANTIATE_TEST_SUITE_P(Operations, DeviceFaultLoop, ::testing::ValuesIn(Operations()),
                         [](const ::testing::TestParamInfo<Operation> &param) {
                             return std::string(param.param.pszName);
                         });

}  // namespace
}  // namespace robust
