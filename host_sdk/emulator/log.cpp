#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <mutex>

#include "oqdev_log.h"
#include "oqdev_sim.h"
#include "sim_internal.h"

namespace oqsim {
namespace {

const char kEchoLevelVariable[] = "OQDEV_LOG_LEVEL";

int EchoLevelFromEnvironment() {
    const char *text = std::getenv(kEchoLevelVariable);
    return text != nullptr ? std::atoi(text) : 0;
}

std::mutex g_lock;
std::vector<LogLine> g_logs;
int g_echoLevel = EchoLevelFromEnvironment();

// printf-style formatting into a text of any length.
__attribute__((format(printf, 1, 0))) std::string Format(const char *fmt, va_list args) {
    char small[256];
    va_list copy;
    va_copy(copy, args);
    int len = std::vsnprintf(small, sizeof small, fmt, copy);
    va_end(copy);
    if (len < 0) {
        return std::string();
    }
    if (static_cast<size_t>(len) < sizeof small) {
        return std::string(small, static_cast<size_t>(len));
    }
    std::string text(static_cast<size_t>(len) + 1, '\0');
    std::vsnprintf(&text[0], text.size(), fmt, args);
    text.resize(static_cast<size_t>(len));
    return text;
}

}  // namespace

const std::vector<LogLine> &logs() {
    return g_logs;
}

void clear_logs() {
    std::lock_guard<std::mutex> lock(g_lock);
    g_logs.clear();
}

bool has_log(int level, const std::string &text) {
    std::lock_guard<std::mutex> lock(g_lock);
    for (const auto &line : g_logs) {
        if (line.level == level && line.text == text) {
            return true;
        }
    }
    return false;
}

int count_log(const std::string &text) {
    std::lock_guard<std::mutex> lock(g_lock);
    int n = 0;
    for (const auto &line : g_logs) {
        n += line.text == text ? 1 : 0;
    }
    return n;
}

void set_echo_level(int level) {
    std::lock_guard<std::mutex> lock(g_lock);
    g_echoLevel = level;
}

namespace detail {

void log_reset() noexcept {
    std::lock_guard<std::mutex> lock(g_lock);
    g_logs.clear();
}

}  // namespace detail
}  // namespace oqsim

extern "C" void oqdev_debug(int iLevel, const char *pszFmt, ...) {
    if (pszFmt == nullptr) {
        return;
    }
    std::string text;
    bool formatted = false;
    va_list args;
    va_start(args, pszFmt);
    try {
        text = oqsim::Format(pszFmt, args);
        formatted = true;
    } catch (...) {
        // Out of memory: the line is lost.
    }
    va_end(args);
    if (!formatted) {
        return;
    }
    try {
        {
            std::lock_guard<std::mutex> lock(oqsim::g_lock);
            oqsim::g_logs.push_back({iLevel, text});
            if (iLevel <= oqsim::g_echoLevel) {
                std::fprintf(stderr, "[%d] %s", iLevel, text.c_str());
            }
        }
        oqsim::detail::emit_event([&](oqsim::detail::JsonObject &o) {
            o.str("ev", "log").num("level", iLevel).str("text", text);
        });
    } catch (...) {
        // Logging never fails the caller.
    }
}
