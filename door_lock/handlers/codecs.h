// Weekday masks and local date-time texts, shared by every schedule.
#ifndef NORLA_HANDLERS_CODECS_H
#define NORLA_HANDLERS_CODECS_H

#include <cstdint>

namespace norla {

// Every caller of GetDateStrFromTime passes a buffer of this size.
constexpr unsigned int kDateStrLen = 64;
// Returned by GetTimeFromDateStr for a date it cannot convert.
constexpr int32_t kInvalidTime = 2147483647;

void WeekDay_Data2Str(uint8_t mask, char *buf, unsigned int size) noexcept;
void WeekDay_Str2Data(const char *text, uint8_t *mask) noexcept;
int32_t GetTimeFromDateStr(const char *text) noexcept;
int GetDateStrFromTime(const int32_t *time, char *buf, unsigned int size) noexcept;

}  // namespace norla

#endif
