#include "handlers/decimal_text.h"

#include <cstring>

namespace norla {
namespace {

// Digits of the largest uint32_t.
constexpr std::size_t kMaxDigits = 10;

}  // namespace

std::size_t DecimalText::DigitCount(uint32_t magnitude) noexcept {
    std::size_t digits = 1;
    for (uint64_t bound = kRadix; digits < kMaxDigits && magnitude >= bound; bound *= kRadix) {
        ++digits;
    }
    return digits;
}

// Writes the text of `len` characters that ends at `end`: digits from the
// right, zeros up to the sign.
void DecimalText::Compose(char *end, std::size_t len, uint32_t magnitude, bool negative) noexcept {
    char *const start = end - len;
    char *p = end;
    do {
        *--p = static_cast<char>('0' + magnitude % kRadix);
        magnitude /= kRadix;
    } while (magnitude != 0);
    while (p > start + (negative ? 1 : 0)) {
        *--p = '0';
    }
    if (negative) {
        *start = '-';
    }
}

DecimalText &DecimalText::AnyInt(int32_t value, unsigned int width) noexcept {
    const bool negative = value < 0;
    const uint32_t magnitude =
        negative ? 0u - static_cast<uint32_t>(value) : static_cast<uint32_t>(value);
    const std::size_t wanted = width < kIntTextLen ? width : kIntTextLen;
    std::size_t len = DigitCount(magnitude) + (negative ? 1 : 0);
    len = len < wanted ? wanted : len;
    if (m_len + len < m_size) {
        // The whole text and its terminator fit: straight into the buffer.
        Compose(m_buf + m_len + len, len, magnitude, negative);
        m_buf[m_len + len] = '\0';
    } else if (m_len + 1 < m_size) {
        char text[kIntTextLen];
        Compose(text + len, len, magnitude, negative);
        const std::size_t kept = m_size - 1 - m_len;
        std::memcpy(m_buf + m_len, text, kept);
        m_buf[m_len + kept] = '\0';
    }
    m_len += len;
    return *this;
}

std::size_t IntText(int32_t value, char (&text)[kIntTextLen]) noexcept {
    return DecimalText(text, kIntTextLen).Int(value).Length();
}

}  // namespace norla
