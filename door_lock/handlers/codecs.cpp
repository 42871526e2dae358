#include "handlers/codecs.h"

#include <cstdio>
#include <cstring>
#include <ctime>
#include <limits>

#include "handlers/decimal_text.h"
#include "messaging/number_text.h"
#include "oqdev_log.h"
#include "vocabulary.h"

namespace norla {
namespace {

constexpr uint8_t kSundayBit = 0x01;
constexpr int kSundayNumber = 7;
constexpr int kFirstWorkday = 1;
constexpr int kLastWeekday = 6;
// Sunday is written as ",7": two characters and the terminator.
constexpr std::size_t kSundayRoom = 3;
// The weekday text is read from a fixed work buffer; longer texts are cut.
constexpr std::size_t kWeekdayWorkLen = 32;
constexpr int kTmYearBase = 1900;
// "YYYY-MM-DD hh:mm:ss", each field zero-padded.
constexpr unsigned int kYearWidth = 4;
constexpr unsigned int kFieldWidth = 2;

constexpr const char *kMsgBufBeforeSunday =
    "String buf is not enough, Before checking last bit of weekday.\n";

}  // namespace

// A day that did not fit still counts with its whole length, so the checks
// below see the buffer as full from then on.
void WeekDay_Data2Str(uint8_t mask, char *buf, unsigned int size) noexcept {
    if (buf == nullptr || size < 1) {
        oqdev_debug(kLogError, "%s", kMsgBufBeforeSunday);
        return;
    }
    DecimalText text(buf, size);
    for (int day = kFirstWorkday; day <= kLastWeekday; ++day) {
        if ((mask & (1u << day)) == 0) {
            continue;
        }
        if (text.Length() > 0) {
            text.Char(',');
        }
        text.Int(day);
        if (day != kLastWeekday && text.Cut()) {
            oqdev_debug(kLogError, "%s", kMsgBufBeforeSunday);
            return;
        }
    }
    if (text.Length() + kSundayRoom > size) {
        oqdev_debug(kLogError, "%s", kMsgBufBeforeSunday);
        return;
    }
    if ((mask & kSundayBit) == 0) {
        return;
    }
    if (text.Length() > 0) {
        text.Char(',');
    }
    text.Int(kSundayNumber);
    if (text.Cut()) {
        oqdev_debug(kLogError, "String buf is not enough, while generating weekday str.\n");
    }
}

void WeekDay_Str2Data(const char *text, uint8_t *mask) noexcept {
    if (text == nullptr || mask == nullptr) {
        return;
    }
    char work[kWeekdayWorkLen];
    std::snprintf(work, sizeof work, "%s", text);
    char *save = nullptr;
    for (char *piece = strtok_r(work, ",", &save); piece != nullptr;
         piece = strtok_r(nullptr, ",", &save)) {
        // Only the low 8 bits count: 263 is read as 7 and -255 as 1.
        auto day = static_cast<uint8_t>(NumText_ToLong(piece));
        if (day == kSundayNumber) {
            *mask = static_cast<uint8_t>(*mask | kSundayBit);
        } else if (day >= kFirstWorkday && day <= kLastWeekday) {
            *mask = static_cast<uint8_t>(*mask | (1u << day));
        } else {
            oqdev_debug(kLogError, "Invalid weekday index[%d] after converting.\n", day);
        }
    }
}

int32_t GetTimeFromDateStr(const char *text) noexcept {
    struct tm parts;
    std::memset(&parts, 0, sizeof parts);
    int32_t year = 0;
    int32_t month = 0;
    int32_t *const fields[] = {&year,          &month,        &parts.tm_mday,
                               &parts.tm_hour, &parts.tm_min, &parts.tm_sec};
    (void)NumText_Scan(text, "%d-%d-%d %d:%d:%d", fields, 6);
    // Numbers at the ends of int (huge texts saturate) cannot be shifted into
    // the struct tm fields; no such date fits 32-bit seconds.
    if (year < std::numeric_limits<int>::min() + kTmYearBase ||
        month == std::numeric_limits<int>::min()) {
        return kInvalidTime;
    }
    parts.tm_year = year - kTmYearBase;
    parts.tm_mon = month - 1;
    parts.tm_isdst = 0;
    time_t value = mktime(&parts);
    if (value == static_cast<time_t>(-1)) {
        return kInvalidTime;
    }
    // Device records hold 32-bit seconds; a wider time that does not fit is
    // as unconvertible as a failed mktime.
    if (value > std::numeric_limits<int32_t>::max() ||
        value < std::numeric_limits<int32_t>::min()) {
        return kInvalidTime;
    }
    return static_cast<int32_t>(value);
}

int GetDateStrFromTime(const int32_t *time, char *buf, unsigned int size) noexcept {
    if (buf == nullptr || size == 0) {
        return 0;
    }
    buf[0] = '\0';
    if (time == nullptr) {
        return 0;
    }
    if (size > kDateStrLen) {
        size = kDateStrLen;
    }
    time_t value = *time;
    struct tm parts;
    if (localtime_r(&value, &parts) == nullptr) {
        return 0;
    }
    DecimalText(buf, size)
        .Int(parts.tm_year + kTmYearBase, kYearWidth)
        .Char('-')
        .Int(parts.tm_mon + 1, kFieldWidth)
        .Char('-')
        .Int(parts.tm_mday, kFieldWidth)
        .Char(' ')
        .Int(parts.tm_hour, kFieldWidth)
        .Char(':')
        .Int(parts.tm_min, kFieldWidth)
        .Char(':')
        .Int(parts.tm_sec, kFieldWidth);
    return 0;
}

}  // namespace norla
