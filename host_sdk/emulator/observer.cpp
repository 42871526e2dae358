#include <cstdio>
#include <mutex>
#include <utility>

#include "oqdev_sim.h"
#include "sim_internal.h"

namespace oqsim {
namespace {

// Recursive so that an observer may itself call emulator functions that emit.
std::recursive_mutex g_observerLock;
std::function<void(const std::string &)> g_observer;

}  // namespace

std::string json_quote(const std::string &text) {
    std::string out;
    out.reserve(text.size() + 2);
    out += '"';
    for (char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        if (c == '"' || c == '\\') {
            out += '\\';
            out += c;
        } else if (c == '\n') {
            out += "\\n";
        } else if (c == '\t') {
            out += "\\t";
        } else if (byte < 0x20) {
            char esc[8];
            std::snprintf(esc, sizeof esc, "\\u%04x", static_cast<unsigned>(byte));
            out += esc;
        } else {
            out += c;
        }
    }
    out += '"';
    return out;
}

void set_observer(std::function<void(const std::string &json)> fn) {
    std::lock_guard<std::recursive_mutex> lock(g_observerLock);
    g_observer = std::move(fn);
}

void reset() {
    detail::live_reset();
    detail::kernel_reset();
    detail::status_reset();
    detail::timer_reset();
    detail::log_reset();
    detail::clock_reset();
    detail::observer_reset();
    detail::xml_reset();
}

namespace detail {

bool observing() noexcept {
    std::lock_guard<std::recursive_mutex> lock(g_observerLock);
    return static_cast<bool>(g_observer);
}

void emit(const std::string &json) noexcept {
    std::lock_guard<std::recursive_mutex> lock(g_observerLock);
    if (!g_observer) {
        return;
    }
    try {
        g_observer(json);
    } catch (...) {
        // An observer failure must not reach the module that caused the event.
    }
}

void observer_reset() noexcept {
    std::lock_guard<std::recursive_mutex> lock(g_observerLock);
    g_observer = nullptr;
}

void JsonObject::key(const char *name) {
    if (m_text.size() > 1) {
        m_text += ',';
    }
    m_text += json_quote(name);
    m_text += ':';
}

JsonObject &JsonObject::num(const char *name, long long value) {
    key(name);
    m_text += std::to_string(value);
    return *this;
}

JsonObject &JsonObject::str(const char *name, const std::string &value) {
    key(name);
    m_text += json_quote(value);
    return *this;
}

}  // namespace detail
}  // namespace oqsim
