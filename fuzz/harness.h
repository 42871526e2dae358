// Shared parts of the fuzz harnesses: a clean module and emulator per input,
// heap accounting and the checks every message sent must pass.
#ifndef FUZZ_HARNESS_H
#define FUZZ_HARNESS_H

#include <cstddef>
#include <cstdint>
#include <string>

#include "oqDevSDK_door_lock.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size);

namespace fuzz {

// Reads the input front to back; past the end every read gives zero.
class Input {
  public:
    Input(const uint8_t *data, size_t size) : m_data(data), m_size(size) {}
    uint8_t Byte() { return m_pos < m_size ? m_data[m_pos++] : 0; }
    const uint8_t *Rest() const { return m_data + m_pos; }
    size_t RestSize() const { return m_size - m_pos; }
    std::string RestText() const {
        return std::string(reinterpret_cast<const char *>(Rest()), RestSize());
    }

  private:
    const uint8_t *m_data;
    size_t m_size;
    size_t m_pos = 0;
};

// Tears the module down, resets the emulator, counts the module's heap blocks
// from here on and starts the module with these callbacks, its status caches
// in the start state; aborts when Init fails.
void StartModule(const oqDevSDK_DoorLock_Callback_S &callbacks);
// Tears the module down and aborts when it still holds heap blocks.
void StopModule();

// Aborts unless every message sent re-parses, each response carries a result
// its command may answer, and exactly one response was sent, under `rspCmd`
// and `seq` (none when rspCmd is 0).
void CheckSent(int rspCmd, uint32_t seq);

// Reports the broken rule and aborts, so that the fuzzer keeps the input.
[[noreturn]] void Fail(const char *what, const std::string &detail);

}  // namespace fuzz

#endif
