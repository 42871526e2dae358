// doorlock-qualify: checks a device application library against the
// callbacks' contract, as a lock maker would before a release.
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "device_library.h"
#include "findings.h"
#include "harness.h"
#include "units.h"

namespace {

const char kUsage[] =
    "usage: doorlock-qualify [OPTIONS] LIBRARY\n"
    "  Calls the device application in LIBRARY (a shared library exporting\n"
    "  oqDevSDK_DoorLock_DeviceCallbacks) as the door-lock module would, and\n"
    "  reports per type code what it gets wrong.\n"
    "  --strict       count what could not be checked as a failure\n"
    "  --report FILE  also write the report as JSON to FILE\n"
    "  --bound MS     time one call may take (default 200)\n"
    "  --hang MS      time after which a call counts as hung (default 5000)\n"
    "  --interactive  ask the tester at the lock for the events the library\n"
    "                 cannot produce itself (reads answers from standard input)\n"
    "  --unit NAME    run only that unit (repeatable): bounds, counts, stability,\n"
    "                 reserved, events, concurrency, timing\n"
    "exit status: 0 every type code conforms, 2 something could not be checked,\n"
    "             3 findings, 1 usage or the library cannot be used\n";

struct Arguments {
    qualify::Options options;
    bool strict = false;
    std::string report;
    std::string library;
    std::vector<std::string> units;
};

bool ParseMs(const char *text, qualify::milliseconds *out) {
    char *end = nullptr;
    const long value = std::strtol(text, &end, 10);
    if (end == text || *end != '\0' || value <= 0) {
        return false;
    }
    *out = qualify::milliseconds{value};
    return true;
}

bool Parse(int argc, char **argv, Arguments *args) {
    for (int i = 1; i < argc; ++i) {
        const std::string arg = argv[i];
        const bool hasValue = i + 1 < argc;
        if (arg == "--strict") {
            args->strict = true;
        } else if (arg == "--interactive") {
            args->options.interactive = true;
        } else if (arg == "--report" && hasValue) {
            args->report = argv[++i];
        } else if (arg == "--bound" && hasValue) {
            if (!ParseMs(argv[++i], &args->options.bound)) {
                return false;
            }
        } else if (arg == "--hang" && hasValue) {
            if (!ParseMs(argv[++i], &args->options.hang)) {
                return false;
            }
        } else if (arg == "--unit" && hasValue) {
            args->units.push_back(argv[++i]);
        } else if (!arg.empty() && arg[0] != '-' && args->library.empty()) {
            args->library = arg;
        } else {
            return false;
        }
    }
    return !args->library.empty();
}

}  // namespace

int main(int argc, char **argv) {
    for (int i = 1; i < argc; ++i) {
        if (std::strcmp(argv[i], "-h") == 0 || std::strcmp(argv[i], "--help") == 0) {
            std::fputs(kUsage, stdout);
            return qualify::kExitConforms;
        }
    }
    Arguments args;
    if (!Parse(argc, argv, &args)) {
        std::fputs(kUsage, stderr);
        return qualify::kExitUsage;
    }
    for (const std::string &name : args.units) {
        bool known = false;
        for (const qualify::Unit &u : qualify::AllUnits()) {
            known = known || name == u.name;
        }
        if (!known) {
            std::fprintf(stderr, "doorlock-qualify: no unit %s\n%s", name.c_str(), kUsage);
            return qualify::kExitUsage;
        }
    }
    devlib::DeviceLibrary library;
    std::string why;
    if (!devlib::Open(args.library, &library, &why)) {
        std::fprintf(stderr, "doorlock-qualify: cannot use %s: %s\n", args.library.c_str(),
                     why.c_str());
        return qualify::kExitUsage;
    }
    qualify::Findings findings;
    for (const qualify::Unit &unit : qualify::AllUnits()) {
        if (!args.units.empty() &&
            std::find(args.units.begin(), args.units.end(), unit.name) == args.units.end()) {
            continue;
        }
        std::fprintf(stderr, "doorlock-qualify: %s...\n", unit.name);
        qualify::RunUnit(unit, library, args.options, &findings);
    }
    findings.PrintText(stdout, args.library, static_cast<long>(args.options.bound.count()));
    std::fflush(stdout);
    if (!args.report.empty() &&
        !findings.WriteJson(args.report, args.library,
                            static_cast<long>(args.options.bound.count()), args.strict)) {
        std::fprintf(stderr, "doorlock-qualify: cannot write %s\n", args.report.c_str());
        return qualify::kExitUsage;
    }
    return findings.ExitStatus(args.strict);
}
