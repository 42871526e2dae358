// Makes cJSON's allocations fail from the n-th one on, for the reports that
// build JSON texts.
#ifndef TESTS_STATUS_JSON_FAULTS_H
#define TESTS_STATUS_JSON_FAULTS_H

#include <cjson/cJSON.h>

#include <cstddef>
#include <cstdlib>

namespace dltest {

class JsonAllocFaults {
  public:
    // Allocations 1 to failFrom-1 succeed, every later one fails.
    explicit JsonAllocFaults(int failFrom) {
        FailFrom() = failFrom;
        Count() = 0;
        cJSON_Hooks hooks{&Alloc, &std::free};
        cJSON_InitHooks(&hooks);
    }
    ~JsonAllocFaults() { cJSON_InitHooks(nullptr); }
    JsonAllocFaults(const JsonAllocFaults &) = delete;
    JsonAllocFaults &operator=(const JsonAllocFaults &) = delete;

  private:
    static int &FailFrom() {
        static int n = 0;
        return n;
    }
    static int &Count() {
        static int n = 0;
        return n;
    }
    static void *Alloc(std::size_t size) {
        return ++Count() >= FailFrom() ? nullptr : std::malloc(size);
    }
};

}  // namespace dltest

#endif
