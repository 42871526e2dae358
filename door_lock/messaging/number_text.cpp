#include "messaging/number_text.h"

#include <cctype>
#include <cstddef>
#include <limits>

namespace norla {
namespace {

// Past this magnitude every reading saturates; keeping it bounded avoids an
// overflow of the accumulator on any length of digits.
constexpr uint64_t kMagnitudeCap = uint64_t{1} << 33;
constexpr std::size_t kNoWidth = static_cast<std::size_t>(-1);

struct Digits {
    bool bNegative = false;
    bool bAny = false;
    uint64_t ulMagnitude = 0;
    const char *pEnd = nullptr;
};

bool IsSpace(char c) noexcept {
    return std::isspace(static_cast<unsigned char>(c)) != 0;
}

bool IsDigit(char c) noexcept {
    return c >= '0' && c <= '9';
}

const char *SkipSpace(const char *p) noexcept {
    while (IsSpace(*p)) {
        ++p;
    }
    return p;
}

// A sign and digits from p on, at most `width` characters of them.
Digits ReadDigits(const char *p, std::size_t width) noexcept {
    Digits d;
    d.pEnd = p;
    std::size_t used = 0;
    // Every width is at least 1: a sign always fits.
    if (*p == '+' || *p == '-') {
        d.bNegative = *p == '-';
        ++p;
        ++used;
    }
    for (; used < width && IsDigit(*p); ++p, ++used) {
        d.bAny = true;
        if (d.ulMagnitude < kMagnitudeCap) {
            d.ulMagnitude = d.ulMagnitude * 10u + static_cast<uint64_t>(*p - '0');
        }
    }
    if (d.bAny) {
        d.pEnd = p;
    }
    return d;
}

int32_t AsLong(const Digits &d) noexcept {
    constexpr uint64_t kMaxPositive = std::numeric_limits<int32_t>::max();
    if (d.bNegative) {
        return d.ulMagnitude > kMaxPositive ? std::numeric_limits<int32_t>::min()
                                            : -static_cast<int32_t>(d.ulMagnitude);
    }
    return d.ulMagnitude > kMaxPositive ? std::numeric_limits<int32_t>::max()
                                        : static_cast<int32_t>(d.ulMagnitude);
}

// "%<width>d" of the format at *f (past the '%'); kNoWidth when none.
std::size_t ReadWidth(const char *&f) noexcept {
    if (!IsDigit(*f)) {
        return kNoWidth;
    }
    std::size_t width = 0;
    for (; IsDigit(*f); ++f) {
        width = width * 10u + static_cast<std::size_t>(*f - '0');
    }
    return width == 0 ? kNoWidth : width;  // as the C library takes "%0d"
}

}  // namespace

int32_t NumText_ToLong(const char *text, const char **end) noexcept {
    if (text == nullptr) {
        return 0;
    }
    const Digits d = ReadDigits(SkipSpace(text), kNoWidth);
    if (end != nullptr) {
        *end = d.bAny ? d.pEnd : text;
    }
    return d.bAny ? AsLong(d) : 0;
}

uint32_t NumText_ToULong(const char *text) noexcept {
    if (text == nullptr) {
        return 0;
    }
    const Digits d = ReadDigits(SkipSpace(text), kNoWidth);
    if (d.ulMagnitude > std::numeric_limits<uint32_t>::max()) {
        return std::numeric_limits<uint32_t>::max();
    }
    const auto value = static_cast<uint32_t>(d.ulMagnitude);
    return d.bNegative ? 0u - value : value;
}

int NumText_Scan(const char *text, const char *format, int32_t *const *out, int count) noexcept {
    if (text == nullptr || format == nullptr) {
        return 0;
    }
    int stored = 0;
    const char *p = text;
    for (const char *f = format; *f != '\0';) {
        if (IsSpace(*f)) {
            f = SkipSpace(f);
            p = SkipSpace(p);
            continue;
        }
        if (*f != '%') {
            if (*p != *f) {
                break;
            }
            ++p;
            ++f;
            continue;
        }
        ++f;
        const std::size_t width = ReadWidth(f);
        if (*f != 'd' || stored >= count) {
            break;
        }
        ++f;
        const Digits d = ReadDigits(SkipSpace(p), width);
        if (!d.bAny) {
            break;
        }
        *out[stored++] = AsLong(d);
        p = d.pEnd;
    }
    return stored;
}

}  // namespace norla
