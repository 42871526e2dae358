// Texts of ints written straight into a caller's buffer. The builders of the
// large lists print several numbers per entry; a format parser per field
// cost more than the rest of the module's work on them. The bytes and the
// cutting are those of snprintf with "%d" and "%0Nd".
#ifndef NORLA_HANDLERS_DECIMAL_TEXT_H
#define NORLA_HANDLERS_DECIMAL_TEXT_H

#include <cstddef>
#include <cstdint>

#include "vocabulary.h"

namespace norla {

// A text built piece by piece into buf[size]. What does not fit is cut and
// the text stays terminated (when size > 0), while Length() goes on counting
// what the whole text would take, as snprintf's return value does.
class DecimalText {
  public:
    DecimalText(char *buf, std::size_t size) noexcept;

    // The value with at least `width` characters, zeros between the sign and
    // the digits ("%0*d"); widths above kIntTextLen count as kIntTextLen.
    DecimalText &Int(int32_t value, unsigned int width = 0) noexcept;
    DecimalText &Char(char c) noexcept;

    std::size_t Length() const noexcept { return m_len; }
    // True when the buffer could not take the whole text and its terminator.
    bool Cut() const noexcept { return m_len >= m_size; }

  private:
    void Put(const char *text, std::size_t len) noexcept;

    char *m_buf;
    std::size_t m_size;
    std::size_t m_len = 0;
};

// Writes the value as "%d" into text, terminated, and answers its length.
std::size_t IntText(int32_t value, char (&text)[kIntTextLen]) noexcept;

}  // namespace norla

#endif
