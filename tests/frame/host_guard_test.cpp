#include <new>
#include <stdexcept>
#include <string>

#include "frame/host_guard.h"
#include "support/fixture.h"

namespace {

using HostGuardTest = dltest::ModuleTest;

// Whatever the host's code throws stops at the guard with one error line.
TEST_F(HostGuardTest, ExceptionsEndAsALoggedFailure) {
    const struct {
        const char *name;
        void (*body)();
        bool completes;
        const char *log;
    } cases[] = {
        {"returns", [] {}, true, nullptr},
        {"bad_alloc", [] { throw std::bad_alloc(); }, false, "Exception in test: std::bad_alloc"},
        {"runtime_error", [] { throw std::runtime_error("gone"); }, false, "Exception in test: gone"},
        {"int", [] { throw 7; }, false, "Exception in test: unknown"},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.name);
        oqsim::clear_logs();
        EXPECT_EQ(norla::DoorLock_Guard("test", c.body), c.completes);
        if (c.log == nullptr) {
            EXPECT_TRUE(oqsim::logs().empty());
        } else {
            EXPECT_TRUE(HasLog(1, c.log));
            EXPECT_EQ(oqsim::logs().size(), 1u);
        }
    }
}

}  // namespace
