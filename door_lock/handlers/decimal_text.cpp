#include "handlers/decimal_text.h"

#include <charconv>
#include <cstring>

namespace norla {

DecimalText::DecimalText(char *buf, std::size_t size) noexcept : m_buf(buf), m_size(size) {
    if (m_size > 0) {
        m_buf[0] = '\0';
    }
}

void DecimalText::Put(const char *text, std::size_t len) noexcept {
    if (m_len + 1 < m_size) {
        const std::size_t room = m_size - 1 - m_len;
        const std::size_t kept = len < room ? len : room;
        std::memcpy(m_buf + m_len, text, kept);
        m_buf[m_len + kept] = '\0';
    }
    m_len += len;
}

DecimalText &DecimalText::Int(int32_t value, unsigned int width) noexcept {
    // Sign, zeros, digits: at most kIntTextLen zeros and eleven characters.
    char text[2 * kIntTextLen];
    char *digits = text + kIntTextLen;
    char *end = std::to_chars(digits, text + sizeof text, value).ptr;
    const std::size_t len = static_cast<std::size_t>(end - digits);
    const std::size_t wanted = width < kIntTextLen ? width : kIntTextLen;
    if (len < wanted) {
        const std::size_t zeros = wanted - len;
        const bool negative = value < 0;
        // The sign moves in front of the zeros.
        digits[0] = negative ? '0' : digits[0];
        digits -= zeros;
        std::memset(digits, '0', zeros);
        digits[0] = negative ? '-' : '0';
    }
    Put(digits, static_cast<std::size_t>(end - digits));
    return *this;
}

DecimalText &DecimalText::Char(char c) noexcept {
    Put(&c, 1);
    return *this;
}

std::size_t IntText(int32_t value, char (&text)[kIntTextLen]) noexcept {
    char *end = std::to_chars(text, text + kIntTextLen - 1, value).ptr;
    *end = '\0';
    return static_cast<std::size_t>(end - text);
}

}  // namespace norla
