// Emulator internals shared by its translation units.
#ifndef OQDEV_SIM_INTERNAL_H
#define OQDEV_SIM_INTERNAL_H

#include <cstdint>
#include <string>

namespace oqsim {
namespace detail {

// True while an observer is installed; lets callers skip building event texts.
bool observing() noexcept;
// Hands one event text to the observer; events are serialised so that lines
// from different threads never interleave.
void emit(const std::string &json) noexcept;

// Builds one flat JSON object, member by member.
class JsonObject {
  public:
    JsonObject &num(const char *key, long long value);
    JsonObject &str(const char *key, const std::string &value);
    std::string text() const { return m_text + "}"; }

  private:
    void key(const char *name);
    std::string m_text = "{";
};

// Emits the event that `build` fills in, when someone is observing.
template <typename Build>
void emit_event(Build build) noexcept {
    if (!observing()) {
        return;
    }
    try {
        JsonObject obj;
        build(obj);
        emit(obj.text());
    } catch (...) {
        // Out of memory while describing an event: the event is not shown.
    }
}

// Per-area returns to the start state, called by oqsim::reset().
void kernel_reset() noexcept;
void status_reset() noexcept;
void timer_reset() noexcept;
void log_reset() noexcept;
void clock_reset() noexcept;
void observer_reset() noexcept;
void live_reset() noexcept;
void xml_reset() noexcept;

}  // namespace detail
}  // namespace oqsim

#endif
