// doorlock_bench: Google Benchmark cases of the module (and of the floors
// there are), plus the modes the scripts use:
//   --list                     case names
//   --floors                   names of the cases with a floor
//   --verify                   module and floor send the same text
//   --heap                     peak heap of each command against its budget (CSV)
//   --growth N                 N mixed requests; fails when the heap grew
//   --xml-least                fewest XML-class calls each case's documents need (CSV)
//   --instr CASE module|floor N  N runs inside bench_measured_runs (callgrind)
#include <benchmark/benchmark.h>
#include <pugixml.hpp>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <string>

#include "CMarkupSTL.h"
#include "alloc_count.h"
#include "cases.h"
#include "oqdev_sim.h"

// Under callgrind, only the measured runs are instrumented, so that the call
// counts leave out the warm-up runs as the costs do.
#if __has_include(<valgrind/callgrind.h>)
#include <valgrind/callgrind.h>
#define BENCH_INSTRUMENT(on)                 \
    do {                                     \
        if (on) {                            \
            CALLGRIND_START_INSTRUMENTATION; \
        } else {                             \
            CALLGRIND_STOP_INSTRUMENTATION;  \
        }                                    \
    } while (0)
#else
#define BENCH_INSTRUMENT(on) static_cast<void>(on)
#endif

namespace {

constexpr int kWarmUpRuns = 2;
constexpr std::size_t kDiffContext = 60;
constexpr int kRepetitions = 5;
const char kDeclaration[] = "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n";

uint32_t g_seq = 1;

// Empty elements print as "<A />" from the XML library's own printer and as
// "<A/>" from the host's class; the documents are otherwise byte for byte the
// same.
std::string Normalised(std::string text) {
    for (std::size_t at = text.find(" />"); at != std::string::npos; at = text.find(" />", at)) {
        text.erase(at, 1);
    }
    return text;
}

bool VerifyCase(const bench::Case &c) {
    c.setup();
    c.module(g_seq);
    const std::string module = Normalised(bench::TakeSent());
    c.setup();
    c.floor(g_seq);
    const std::string floor = Normalised(bench::TakeSent());
    ++g_seq;
    if (module == floor) {
        return true;
    }
    std::size_t at = 0;
    while (at < module.size() && at < floor.size() && module[at] == floor[at]) {
        ++at;
    }
    const std::size_t from = at > kDiffContext ? at - kDiffContext : 0;
    std::fprintf(stderr, "%s: module and floor differ at %zu\n  module: %s\n  floor:  %s\n",
                 c.name.c_str(), at, module.substr(from, 2 * kDiffContext).c_str(),
                 floor.substr(from, 2 * kDiffContext).c_str());
    return false;
}

bool Verify() {
    bool ok = true;
    for (const bench::Case &c : bench::Cases()) {
        ok = (!c.floor || VerifyCase(c)) && ok;
    }
    return ok;
}

bool HasElements(const pugi::xml_node &node) {
    return node.find_child([](const pugi::xml_node &n) { return n.type() == pugi::node_element; });
}

pugi::xml_node LastElement(const pugi::xml_node &node) {
    pugi::xml_node last = node.last_child();
    while (last && last.type() != pugi::node_element) {
        last = last.previous_sibling();
    }
    return last;
}

// Elements below `node` and what it takes to visit them: one call per element
// found or added and per attribute read or set, two per element whose
// children are visited (into it and out again), and, in a document that is
// read, one per element text.
long LeastBelow(const pugi::xml_node &node, bool built) {
    long calls = 0;
    for (const pugi::xml_node &child : node.children()) {
        if (child.type() != pugi::node_element) {
            continue;
        }
        ++calls;
        for (auto attr = child.first_attribute(); attr; attr = attr.next_attribute()) {
            ++calls;
        }
        if (HasElements(child)) {
            calls += 2 + LeastBelow(child, built);
        } else if (!built && *child.child_value() != '\0') {
            ++calls;
        }
    }
    return calls;
}

// The fewest calls of the host's XML class a document needs: read whole
// (set, then every part), or built (set with the declaration, every part
// added with its text, printed). Nothing follows the last element of each
// level on the way down from the root, so those need not be left.
long Least(const std::string &text, bool built) {
    pugi::xml_document doc;
    if (text.empty() || !doc.load_buffer(text.data(), text.size())) {
        return 0;
    }
    // Created and destroyed, set, and printed when built.
    long calls = (built ? 4 : 3) + LeastBelow(doc, built);
    for (pugi::xml_node last = LastElement(doc); last && HasElements(last);
         last = LastElement(last)) {
        --calls;
    }
    return calls;
}

int XmlLeast() {
    std::printf("case,least\n");
    for (const bench::Case &c : bench::Cases()) {
        c.setup();
        c.module(g_seq++);
        const std::string sent = bench::TakeSent();
        const long least = Least(c.request, false) + Least(sent, true);
        std::printf("%s,%ld\n", c.name.c_str(), least);
    }
    return 0;
}

// What one open document of the host's XML class holds besides the XML
// library's pages: its own object and the declaration line.
int64_t DocumentOverhead() {
    const int64_t live = bench::LiveBytes();
    const int64_t xml = bench::XmlLiveBytes();
    CMarkupSTL doc;
    doc.SetDoc(kDeclaration);
    return (bench::LiveBytes() - live) - (bench::XmlLiveBytes() - xml);
}

// Peak heap of one run, against the largest records the command holds, twice
// its text and the XML it needs: the library's pages and the documents.
int Heap() {
    const int64_t perDocument = DocumentOverhead();
    std::printf("case,peak,records,text,xml,budget,within\n");
    for (const bench::Case &c : bench::Cases()) {
        c.setup();
        c.module(g_seq++);
        bench::TakeSent();
        bench::ResetPeak();
        const int64_t base = bench::LiveBytes();
        const int64_t xmlBase = bench::XmlLiveBytes();
        c.module(g_seq++);
        const int64_t peak = bench::PeakBytes() - base;
        const int64_t xml = bench::XmlPeakBytes() - xmlBase + c.documents * perDocument;
        const auto text = static_cast<int64_t>(bench::TakeSent().size());
        // A text is held with its terminator.
        const int64_t budget = c.records + 2 * (text + 1) + xml;
        std::printf("%s,%lld,%u,%lld,%lld,%lld,%s\n", c.name.c_str(), static_cast<long long>(peak),
                    c.records, static_cast<long long>(text), static_cast<long long>(xml),
                    static_cast<long long>(budget), peak <= budget ? "yes" : "no");
    }
    return 0;
}

int Growth(long requests) {
    std::vector<const bench::Case *> mixed;
    for (const bench::Case &c : bench::Cases()) {
        if (c.mixed) {
            mixed.push_back(&c);
        }
    }
    // Measured from the steady state: the first rounds settle the caches of
    // the host and the C library.
    for (int round = 0; round < kWarmUpRuns; ++round) {
        for (const bench::Case *c : mixed) {
            c->setup();
            c->module(g_seq++);
            oqsim::clear_sent();
        }
    }
    const int64_t before = bench::LiveBytes();
    for (long i = 0; i < requests; ++i) {
        const bench::Case &c = *mixed[static_cast<std::size_t>(i) % mixed.size()];
        c.setup();
        c.module(g_seq++);
        oqsim::clear_sent();
    }
    const int64_t growth = bench::LiveBytes() - before;
    std::printf("growth,%ld,%lld\n", requests, static_cast<long long>(growth));
    return growth == 0 ? 0 : 1;
}

}  // namespace

// Callgrind collects inside this function only (--toggle-collect).
extern "C" void bench_measured_runs(const std::function<void(uint32_t)> &run, int reps);
extern "C" __attribute__((noinline)) void bench_measured_runs(
    const std::function<void(uint32_t)> &run, int reps) {
    for (int i = 0; i < reps; ++i) {
        run(g_seq++);
        oqsim::clear_sent();
    }
}

namespace {

int Instr(const char *name, const char *side, int reps) {
    const bench::Case *c = bench::FindCase(name);
    if (c == nullptr || reps <= 0) {
        std::fprintf(stderr, "unknown case %s\n", name);
        return 2;
    }
    const bool module = std::strcmp(side, "module") == 0;
    const auto &run = module ? c->module : c->floor;
    if (!run) {
        std::fprintf(stderr, "%s has no %s\n", name, side);
        return 2;
    }
    c->setup();
    for (int i = 0; i < kWarmUpRuns; ++i) {
        run(g_seq++);
        oqsim::clear_sent();
    }
    BENCH_INSTRUMENT(true);
    bench_measured_runs(run, reps);
    BENCH_INSTRUMENT(false);
    return 0;
}

void Register() {
    for (const bench::Case &c : bench::Cases()) {
        for (const char *side : {"module", "floor"}) {
            const bool module = std::strcmp(side, "module") == 0;
            if (!module && !c.floor) {
                continue;
            }
            benchmark::RegisterBenchmark((c.name + "/" + side).c_str(),
                                         [&c, module](benchmark::State &state) {
                                             c.setup();
                                             const auto &run = module ? c.module : c.floor;
                                             for (auto _ : state) {
                                                 run(g_seq++);
                                                 oqsim::clear_sent();
                                             }
                                         })
                ->Unit(benchmark::kMicrosecond)
                ->Repetitions(kRepetitions)
                ->ReportAggregatesOnly(true);
        }
    }
}

}  // namespace

int main(int argc, char **argv) {
    bench::StartModule();
    const std::string mode = argc > 1 ? argv[1] : "";
    if (mode == "--list") {
        for (const bench::Case &c : bench::Cases()) {
            std::printf("%s\n", c.name.c_str());
        }
        return 0;
    }
    if (mode == "--floors") {
        for (const bench::Case &c : bench::Cases()) {
            if (c.floor) {
                std::printf("%s\n", c.name.c_str());
            }
        }
        return 0;
    }
    if (mode == "--xml-least") {
        return XmlLeast();
    }
    if (mode == "--verify") {
        return Verify() ? 0 : 1;
    }
    if (mode == "--heap") {
        return Heap();
    }
    if (mode == "--growth" && argc > 2) {
        return Growth(std::atol(argv[2]));
    }
    if (mode == "--instr" && argc > 4) {
        return Instr(argv[2], argv[3], std::atoi(argv[4]));
    }
    if (!Verify()) {
        return 1;
    }
    Register();
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
