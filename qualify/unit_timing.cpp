// Every call within the bound: the module calls from the kernel's and the
// status-report threads, and a slow lock holds up every platform request and
// every report behind it.
#include "checks.h"
#include "units.h"

namespace qualify {
namespace {

constexpr int kRounds = 3;

}  // namespace

void RunTiming(Session &s) {
    const auto bound = std::chrono::duration_cast<std::chrono::microseconds>(s.options().bound);
    auto check = [&](Dir dir, int type, milliseconds extra) {
        const auto took = s.LastTook();
        if (took > bound + extra) {
            s.Fail(dir, type,
                   "took " + std::to_string(took.count() / 1000) + " ms; a call may take " +
                       std::to_string((bound + extra).count() / 1000) + " ms");
        }
    };
    for (const Record &r : AllRecords()) {
        s.Step([&] {
            for (int round = 0; round < kRounds; ++round) {
                if (r.dir == Dir::To) {
                    std::vector<uint8_t> rec = SampleRecord(s, r.type);
                    s.Recv(r.type, rec.data(), r.len, ExtraTime(r.type));
                    check(r.dir, r.type, ExtraTime(r.type));
                } else {
                    std::vector<uint8_t> rec(r.len, 0);
                    s.Get(r.type, rec.data(), r.len);
                    check(r.dir, r.type, milliseconds{0});
                }
            }
            s.Checked(r.dir, r.type);
        });
    }
}

}  // namespace qualify
