// Every operation runs with its N-th allocation failing (the module's own,
// cJSON's or the XML class's), N = 1, 2, ... until a run meets no failure;
// once with that one failure, once with every later allocation failing too.
#include <cstdio>
#include <string>

#include "robustness/operations.h"
#include "support/fixture.h"

namespace robust {
namespace {

// No operation comes near this; reaching it means the loop cannot end.
constexpr long kMaxAllocations = 400;
constexpr int kResultUnparsable = 3;
constexpr size_t kLogShown = 2000;

struct Totals {
    long lSites = 0;   // (operation, N) pairs that met a failure
    long lStacks = 0;  // distinct call stacks that met one, summed per operation
};
Totals g_totals;

class TotalsReport : public ::testing::Environment {
  public:
    void TearDown() override {
        std::printf("allocation faults: %ld (operation, N) sites, %ld distinct call stacks\n",
                    g_totals.lSites, g_totals.lStacks);
    }
};
const auto *const g_report = ::testing::AddGlobalTestEnvironment(new TotalsReport);

// Where two message texts part, with a little context of each.
std::string FirstDifference(const std::string &got, const std::string &want) {
    size_t at = 0;
    while (at < got.size() && at < want.size() && got[at] == want[at]) {
        ++at;
    }
    const size_t from = at < 40 ? 0 : at - 40;
    return "at byte " + std::to_string(at) + ": got ..." + got.substr(from, 120) +
           "\n  expected ..." + want.substr(from, 120);
}

bool Listed(const std::vector<int> &results, int result) {
    for (int listed : results) {
        if (listed == result) {
            return true;
        }
    }
    return false;
}

class AllocFaultLoop : public dltest::ModuleTest, public ::testing::WithParamInterface<Operation> {
  protected:
    // What a run that met an allocation failure may answer.
    void CheckAnswer(const Operation &op, const Outcome &clean, const Outcome &out) {
        SCOPED_TRACE("log:\n" + LogText().substr(0, kLogShown));
        for (const OomRule &rule : op.oomRules) {
            if (Logged(rule.pszLog) && out.iResult != kNothingSent) {
                EXPECT_EQ(op.eKind == Kind::kStatus ? out.iChanged : out.iResult, rule.iResult)
                    << "after " << rule.pszLog;
            }
        }
        switch (op.eKind) {
            case Kind::kCommand:
                CheckResponse(op, clean, out);
                break;
            case Kind::kStatus:
                CheckReport(op, clean, out);
                break;
            default:
                EXPECT_TRUE(Listed(op.results, out.iResult)) << "result " << out.iResult;
                // A message built while memory ran out goes out whole or not at all.
                if (!out.sent.empty()) {
                    EXPECT_EQ(out.sent, clean.sent);
                }
        }
    }

    void CheckResponse(const Operation &op, const Outcome &clean, const Outcome &out) {
        EXPECT_TRUE(out.bHeaderOk) << "response under the wrong id or sequence number";
        if (out.iResult == kNothingSent) {
            char line[96];
            std::snprintf(line, sizeof line, "Result is -1, by Cmdid[%#x].\n",
                          static_cast<unsigned int>(op.iId));
            EXPECT_TRUE(Logged(line)) << "no response and no word of it";
            return;
        }
        // Memory that runs out while the request is parsed makes it unreadable.
        EXPECT_TRUE(Listed(op.results, out.iResult) || out.iResult == kResultUnparsable)
            << "result " << out.iResult << " in " << out.sent.back();
        // Success claimed with a body that lost parts on the way is a lie,
        // unless the contract itself keeps the result (a logged allocation).
        if (out.iResult == 0 && !ExplainedByRule(op)) {
            EXPECT_TRUE(out.sent.back() == clean.sent.back())
                << "success claimed, parts missing "
                << FirstDifference(out.sent.back(), clean.sent.back());
        }
    }

    void CheckReport(const Operation &op, const Outcome &clean, const Outcome &out) {
        EXPECT_TRUE(out.iChanged == 0 || out.iChanged == 1) << "change check " << out.iChanged;
        if (out.iResult == kNotReported) {
            return;
        }
        EXPECT_TRUE(Listed(op.results, out.iResult)) << "report result " << out.iResult;
        if (out.iResult != 0) {
            return;
        }
        if (out.sent.empty()) {
            // Only the face unlock report gives up quietly on its JSON.
            EXPECT_TRUE(Logged("Failed to create json object.\n") ||
                        Logged("Failed to gen string from cjson object.\n"))
                << "report answered 0 and sent nothing";
            return;
        }
        EXPECT_TRUE(out.sent.back() == clean.sent.back())
            << "report sent with parts missing "
            << FirstDifference(out.sent.back(), clean.sent.back());
    }

    static bool ExplainedByRule(const Operation &op) {
        for (const OomRule &rule : op.oomRules) {
            if (Logged(rule.pszLog)) {
                return true;
            }
        }
        return false;
    }
};

TEST_P(AllocFaultLoop, EveryFailedAllocationIsAnsweredAsTheContractSays) {
    const Operation &op = GetParam();
    Prepare(op);
    const Outcome clean = RunOp(op);
    const Outcome cleanAgain = RunOp(op, true);
    ASSERT_TRUE(Listed(op.results, clean.iResult)) << "clean run answered " << clean.iResult;
    ASSERT_TRUE(NothingHeld());

    dltest::ClearFailureStacks();
    long sites = 0;
    for (const bool sticky : {false, true}) {
        long n = 1;
        for (; n <= kMaxAllocations; ++n) {
            SCOPED_TRACE(std::string(sticky ? "every allocation from #" : "only allocation #") +
                         std::to_string(n) + " fails");
            Prepare(op);
            dltest::ArmAllocationFault(n, sticky);
            const Outcome out = RunOp(op);
            if (dltest::InjectedAllocationFailures() == 0) {
                break;
            }
            sites += sticky ? 0 : 1;
            CheckAnswer(op, clean, out);
            EXPECT_TRUE(CallsAmong(out, clean));
            EXPECT_TRUE(NothingHeld());
            EXPECT_TRUE(SameAnswer(RunOp(op, true), cleanAgain)) << "the next clean call";
        }
        EXPECT_LE(n, kMaxAllocations) << "the operation never ran out of allocations";
    }
    g_totals.lSites += sites;
    g_totals.lStacks += dltest::DistinctFailureStacks();
    RecordProperty("allocation_sites", static_cast<int>(sites));
}

INSTANTIATE_TEST_SUITE_P(Operations, AllocFaultLoop, ::testing::ValuesIn(Operations()),
                         [](const ::testing::TestParamInfo<Operation> &param) {
                             return std::string(param.param.pszName);
                         });

}  // namespace
}  // namespace robust
