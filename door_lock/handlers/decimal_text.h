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
    DecimalText(char *buf, std::size_t size) noexcept : m_buf(buf), m_size(size) {
        if (m_size > 0) {
            m_buf[0] = '\0';
        }
    }

    // The value with at least `width` characters, zeros between the sign and
    // the digits ("%0*d"); widths above kIntTextLen count as kIntTextLen.
    DecimalText &Int(int32_t value, unsigned int width = 0) noexcept {
        // Clock, date and weekday fields: one or two digits, written in place.
        if (value >= 0 && value < kTwoDigitLimit && width <= kTwoDigits && m_len + 2 < m_size) {
            const auto v = static_cast<unsigned int>(value);
            char *out = m_buf + m_len;
            if (v >= kRadix || width == kTwoDigits) {
                *out++ = static_cast<char>('0' + v / kRadix);
            }
            *out++ = static_cast<char>('0' + v % kRadix);
            *out = '\0';
            m_len = static_cast<std::size_t>(out - m_buf);
            return *this;
        }
        return AnyInt(value, width);
    }
    DecimalText &Char(char c) noexcept {
        if (m_len + 1 < m_size) {
            m_buf[m_len] = c;
            m_buf[m_len + 1] = '\0';
        }
        ++m_len;
        return *this;
    }

    std::size_t Length() const noexcept { return m_len; }
    // True when the buffer could not take the whole text and its terminator.
    bool Cut() const noexcept { return m_len >= m_size; }

  private:
    static constexpr unsigned int kRadix = 10;
    static constexpr unsigned int kTwoDigits = 2;
    static constexpr int32_t kTwoDigitLimit = 100;

    DecimalText &AnyInt(int32_t value, unsigned int width) noexcept;
    static std::size_t DigitCount(uint32_t magnitude) noexcept;
    static void Compose(char *end, std::size_t len, uint32_t magnitude, bool negative) noexcept;

    char *m_buf;
    std::size_t m_size;
    std::size_t m_len = 0;
};

// Writes the value as "%d" into text, terminated, and answers its length.
std::size_t IntText(int32_t value, char (&text)[kIntTextLen]) noexcept;

}  // namespace norla

#endif
