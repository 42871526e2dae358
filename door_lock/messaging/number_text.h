// Numbers read from text the way the lock's 32-bit target reads them, on every
// build: base 10, leading white space and one sign skipped, and a value out of
// range saturated as a 32-bit long saturates (on a 64-bit host the C library
// would keep more bits and the cast would cut them).
#ifndef NORLA_MESSAGING_NUMBER_TEXT_H
#define NORLA_MESSAGING_NUMBER_TEXT_H

#include <cstdint>

namespace norla {

// strtol and atoi: 0 when nothing converts. *end, when given, points after
// the last digit read, or at text when there is none.
int32_t NumText_ToLong(const char *text, const char **end = nullptr) noexcept;
// strtoul: UINT32_MAX beyond range; a negative number is negated modulo 2^32.
uint32_t NumText_ToULong(const char *text) noexcept;
// sscanf with only %d, %<width>d, white space (any run, none included) and
// literal characters in the format; stops at the first mismatch. Returns the
// number of values stored into out[0..count).
int NumText_Scan(const char *text, const char *format, int32_t *const *out, int count) noexcept;

}  // namespace norla

#endif
