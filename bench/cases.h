// The benchmark cases: each runs the module end to end; a few also run a
// floor on the same device records and the same request.
#ifndef BENCH_CASES_H
#define BENCH_CASES_H

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace bench {

struct Case {
    std::string name;
    // Prepares the device and the caches; run before every measurement.
    std::function<void()> setup;
    std::function<void(uint32_t seq)> module;
    // Empty where the case has no floor.
    std::function<void(uint32_t seq)> floor;
    // The document the module reads ("" when it reads none).
    std::string request;
    // Device records the module holds at once for this command, in bytes.
    uint32_t records;
    // XML documents the module keeps open at once.
    int documents;
    // Part of the mixed load of the growth check.
    bool mixed;
};

const std::vector<Case> &Cases();
const Case *FindCase(const std::string &name);

// Emulator, device and module ready: hooks installed, module initialised.
void StartModule();

// The text the last run sent ("" when it sent nothing), and forgets it.
std::string TakeSent();

}  // namespace bench

#endif
