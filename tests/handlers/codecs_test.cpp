#include <cstring>
#include <string>

#include "handlers/codecs.h"
#include "support/fixture.h"

namespace {

using CodecsTest = dltest::ModuleTest;

// The text of a mask written into `size` bytes of a larger buffer; nothing may
// be written past them.
std::string MaskText(uint8_t mask, unsigned int size = norla::kDateStrLen) {
    char buf[norla::kDateStrLen];
    std::memset(buf, 'X', sizeof buf);
    norla::WeekDay_Data2Str(mask, buf, size);
    EXPECT_EQ(std::string(buf + size, sizeof buf - size), std::string(sizeof buf - size, 'X'));
    return size == 0 ? std::string() : std::string(buf);
}

TEST_F(CodecsTest, WeekdayMasksAndTexts) {
    // mask, buffer size, text, cut short; with fewer than three bytes left
    // after Saturday the text is cut even without Sunday.
    const struct {
        uint8_t mask;
        unsigned int size;
        const char *text;
        bool cut;
    } toText[] = {
        {0x80, 64, "", false},
        {0x03, 64, "1,7", false},
        {0xFF, 64, "1,2,3,4,5,6,7", false},
        {0x7F, 14, "1,2,3,4,5,6,7", false},
        {0x01, 3, "7", false},
        {0x7E, 5, "1,2,", true},
        {0x7E, 4, "1,2", true},
        {0x7F, 0, "", true},
        {0x3E, 11, "1,2,3,4,5", true},
        {0x01, 2, "", true},
    };
    for (const auto &[mask, size, text, cut] : toText) {
        SCOPED_TRACE(std::to_string(mask) + " in " + std::to_string(size));
        oqsim::clear_logs();
        EXPECT_EQ(MaskText(mask, size), text);
        EXPECT_EQ(oqsim::logs().size(), cut ? 1u : 0u);
        EXPECT_EQ(HasLog(1, "String buf is not enough, Before checking last bit of weekday."), cut);
    }
    // text, mask before, mask after, day logged as invalid (-1: none). Only
    // the low 8 bits of a number count; only 31 characters are read.
    const struct {
        const char *text;
        uint8_t before;
        uint8_t after;
        int invalid;
    } toMask[] = {
        {"1", 0x10, 0x12, -1},    {"1,8,7", 0, 0x03, 8},
        {"abc", 0, 0, 0},         {",", 0x20, 0x20, -1},
        {",,1,,2,", 0, 0x06, -1}, {"263,-255", 0, 0x03, -1},
        {"256", 0, 0, 0},         {"1,1,1,1,1,1,1,1,1,1,1,1,1,1,1,1,2", 0, 0x02, -1},
    };
    for (const auto &[text, before, after, invalid] : toMask) {
        oqsim::clear_logs();
        uint8_t mask = before;
        norla::WeekDay_Str2Data(text, &mask);
        EXPECT_EQ(mask, after) << text;
        EXPECT_EQ(oqsim::logs().size(), invalid < 0 ? 0u : 1u) << text;
        EXPECT_TRUE(invalid < 0 || HasLog(1, "Invalid weekday index[" + std::to_string(invalid) +
                                                 "] after converting."));
    }
    for (unsigned int m = 0; m < 0x80; ++m) {
        uint8_t back = 0;
        norla::WeekDay_Str2Data(MaskText(static_cast<uint8_t>(m)).c_str(), &back);
        EXPECT_EQ(back, m) << "round trip";
    }
}

TEST_F(CodecsTest, DateTextsAndTimesInLocalTime) {
    // Canonical texts convert both ways.
    const struct {
        const char *tz;
        int32_t seconds;
        const char *text;
    } both[] = {
        {"UTC", 0, "1970-01-01 00:00:00"},
        {"CST-8", 0, "1970-01-01 08:00:00"},
        {"CST-8", 1615104300, "2021-03-07 16:05:00"},
        {"UTC", 2147483647, "2038-01-19 03:14:07"},
    };
    char buf[norla::kDateStrLen];
    for (const auto &[tz, seconds, text] : both) {
        oqsim::set_tz(tz);
        EXPECT_EQ(norla::GetDateStrFromTime(&seconds, buf, sizeof buf), 0);
        EXPECT_STREQ(buf, text) << tz;
        EXPECT_EQ(norla::GetTimeFromDateStr(text), seconds) << tz << " " << text;
    }
    const int32_t march7 = 1615104300;
    norla::GetDateStrFromTime(&march7, buf, 11);
    EXPECT_STREQ(buf, "2021-03-07");
    // Other texts are normalised.
    const std::pair<const char *, int32_t> normalised[] = {
        {"2021-3-7 8:5:0", 1615104300},      {"2021-03-07", 1615075200},  // midnight
        {"2021-02-30 00:00:00", 1614643200},                              // 2021-03-02
        {"2021-13-01 00:00:00", 1640995200},                              // 2022-01-01
        {"2021-03-00 00:00:00", 1614470400},                              // 2021-02-28
    };
    // Year 0 rolls back before 1901, and nothing past 2038 fits 32-bit
    // seconds, whatever the width of the library's time values. In UTC the
    // second before the epoch is the library's own failure value. A year or
    // month at the int limit must not overflow.
    oqsim::set_tz("UTC");
    for (const char *text :
         {"", "no numbers", "2038-01-19 03:14:08", "2040-01-01", "1800-01-01",
          "1969-12-31 23:59:59", "-2147483648-1-1", "2023--2147483648-1", "-99999999999-1-1"}) {
        EXPECT_EQ(norla::GetTimeFromDateStr(text), norla::kInvalidTime) << text;
    }
    for (auto [tz, offset] : {std::pair{"UTC", 0}, {"CST-8", 8 * 3600}}) {
        oqsim::set_tz(tz);
        for (auto [text, utc] : normalised) {
            EXPECT_EQ(norla::GetTimeFromDateStr(text), utc - offset) << tz << " " << text;
        }
    }
    oqsim::set_tz("UTC");
}

// Callers hand in fixed buffers, but a null pointer or an oversized length
// must neither crash nor write past the text.
TEST_F(CodecsTest, NullArgumentsAndOversizedBuffers) {
    norla::WeekDay_Data2Str(0x7F, nullptr, norla::kDateStrLen);
    EXPECT_TRUE(HasLog(1, "String buf is not enough, Before checking last bit of weekday."));
    char days[norla::kDateStrLen];
    norla::WeekDay_Data2Str(0x7F, days, ~0u);
    EXPECT_STREQ(days, "1,2,3,4,5,6,7");
    uint8_t mask = 0x10;
    norla::WeekDay_Str2Data(nullptr, &mask);
    norla::WeekDay_Str2Data("1", nullptr);
    EXPECT_EQ(mask, 0x10);

    char buf[2 * norla::kDateStrLen];
    std::memset(buf, 'X', sizeof buf);
    const int32_t epoch = 0;
    EXPECT_EQ(norla::GetDateStrFromTime(nullptr, buf, sizeof buf), 0);
    EXPECT_STREQ(buf, "");
    EXPECT_EQ(norla::GetDateStrFromTime(&epoch, nullptr, sizeof buf), 0);
    EXPECT_EQ(norla::GetDateStrFromTime(&epoch, buf, 0), 0);
    EXPECT_EQ(norla::GetDateStrFromTime(&epoch, buf, sizeof buf), 0);
    EXPECT_STREQ(buf, "1970-01-01 00:00:00");
}

}  // namespace
