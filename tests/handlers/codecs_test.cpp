#include <cstring>
#include <string>
#include <vector>

#include "handlers/codecs.h"
#include "support/fixture.h"

namespace {

class CodecsTest : public dltest::ModuleTest {
  protected:
    void SetUp() override {
        ModuleTest::SetUp();
        oqsim::set_tz("UTC");
    }
    void TearDown() override {
        oqsim::set_tz("UTC");
        ModuleTest::TearDown();
    }
};

// The text of a mask written into `size` bytes of a larger buffer; nothing may
// be written past them.
std::string MaskText(uint8_t mask, unsigned int size = norla::kDateStrLen) {
    char buf[norla::kDateStrLen];
    std::memset(buf, 'X', sizeof buf);
    norla::WeekDay_Data2Str(mask, buf, size);
    EXPECT_EQ(std::string(buf + size, sizeof buf - size), std::string(sizeof buf - size, 'X'));
    return size == 0 ? std::string() : std::string(buf);
}

TEST_F(CodecsTest, MaskToText) {
    struct Case {
        uint8_t mask;
        unsigned int size;
        const char *text;
        bool cut;
    };
    // With fewer than three bytes left after Saturday the text is cut even
    // without Sunday.
    const Case cases[] = {{0x00, 64, "", false},
                          {0x80, 64, "", false},
                          {0x03, 64, "1,7", false},
                          {0x41, 64, "6,7", false},
                          {0xFF, 64, "1,2,3,4,5,6,7", false},
                          {0x7F, 14, "1,2,3,4,5,6,7", false},
                          {0x01, 3, "7", false},
                          {0x7E, 5, "1,2,", true},
                          {0x7E, 4, "1,2", true},
                          {0x7E, 1, "", true},
                          {0x7F, 0, "", true},
                          {0x3E, 11, "1,2,3,4,5", true},
                          {0x7E, 13, "1,2,3,4,5,6", true},
                          {0x01, 2, "", true}};
    for (const Case &c : cases) {
        SCOPED_TRACE("mask " + std::to_string(c.mask) + " size " + std::to_string(c.size));
        oqsim::clear_logs();
        EXPECT_EQ(MaskText(c.mask, c.size), c.text);
        EXPECT_EQ(oqsim::logs().size(), c.cut ? 1u : 0u);
        EXPECT_EQ(HasLog(1, "String buf is not enough, Before checking last bit of weekday."),
                  c.cut);
    }
}

TEST_F(CodecsTest, TextToMask) {
    struct Case {
        const char *text;
        uint8_t before;
        uint8_t after;
        std::vector<int> invalid;
    };
    // Only the low 8 bits of a number count; only 31 characters are read.
    const Case cases[] = {{"1,2,3,4,5,6,7", 0, 0x7F, {}},
                          {"1", 0x10, 0x12, {}},
                          {"1,8,7", 0, 0x03, {8}},
                          {"0", 0, 0, {0}},
                          {"abc", 0, 0, {0}},
                          {"", 0x20, 0x20, {}},
                          {",", 0x20, 0x20, {}},
                          {",,1,,2,", 0, 0x06, {}},
                          {"263,-255", 0, 0x03, {}},
                          {"256", 0, 0, {0}},
                          {"1,1,1,1,1,1,1,1,1,1,1,1,1,1,1,1,2", 0, 0x02, {}}};
    for (const Case &c : cases) {
        SCOPED_TRACE(c.text);
        oqsim::clear_logs();
        uint8_t mask = c.before;
        norla::WeekDay_Str2Data(c.text, &mask);
        EXPECT_EQ(mask, c.after);
        EXPECT_EQ(oqsim::logs().size(), c.invalid.size());
        for (int day : c.invalid) {
            EXPECT_TRUE(
                HasLog(1, "Invalid weekday index[" + std::to_string(day) + "] after converting."));
        }
    }
    for (unsigned int m = 0; m < 0x80; ++m) {
        uint8_t back = 0;
        norla::WeekDay_Str2Data(MaskText(static_cast<uint8_t>(m)).c_str(), &back);
        EXPECT_EQ(back, m) << "round trip";
    }
}

TEST_F(CodecsTest, DateTextToTimeNormalisesInLocalTime) {
    const std::pair<const char *, int32_t> cases[] = {
        {"2021-03-07 08:05:00", 1615104300}, {"2021-3-7 8:5:0", 1615104300},
        {"2021-03-07", 1615075200},           // midnight
        {"2021-02-30 00:00:00", 1614643200},  // 2021-03-02
        {"2021-13-01 00:00:00", 1640995200},  // 2022-01-01
        {"2021-03-00 00:00:00", 1614470400},  // 2021-02-28
        {"1970-01-01 00:00:00", 0}};
    for (auto [tz, offset] : {std::pair{"UTC", 0}, {"CST-8", 8 * 3600}}) {
        oqsim::set_tz(tz);
        for (auto [text, utc] : cases) {
            EXPECT_EQ(norla::GetTimeFromDateStr(text), utc - offset) << tz << " " << text;
        }
    }
}

TEST_F(CodecsTest, UnconvertibleDatesGiveTheLargestTime) {
    // Year 0 rolls back before 1901, and nothing past 2038 fits 32-bit
    // seconds, whatever the width of the library's time values. In UTC the
    // second before the epoch is the library's own failure value. A year or
    // month at the int limit must not overflow.
    for (const char *text :
         {"", "no numbers", "2038-01-19 03:14:08", "2040-01-01", "1800-01-01",
          "1969-12-31 23:59:59", "-2147483648-1-1", "2023--2147483648-1", "-99999999999-1-1"}) {
        EXPECT_EQ(norla::GetTimeFromDateStr(text), norla::kInvalidTime) << text;
    }
}

TEST_F(CodecsTest, TimeToDateTextInLocalTime) {
    struct Case {
        const char *tz;
        int32_t seconds;
        const char *text;
    };
    const Case cases[] = {{"UTC", 0, "1970-01-01 00:00:00"},
                          {"CST-8", 0, "1970-01-01 08:00:00"},
                          {"UTC", 1615104300, "2021-03-07 08:05:00"},
                          {"CST-8", 1615104300, "2021-03-07 16:05:00"},
                          {"UTC", 2147483647, "2038-01-19 03:14:07"}};
    char buf[norla::kDateStrLen];
    for (const Case &c : cases) {
        oqsim::set_tz(c.tz);
        EXPECT_EQ(norla::GetDateStrFromTime(&c.seconds, buf, sizeof buf), 0);
        EXPECT_STREQ(buf, c.text) << c.tz;
        EXPECT_EQ(norla::GetTimeFromDateStr(buf), c.seconds) << c.tz << " round trip";
    }
    norla::GetDateStrFromTime(&cases[2].seconds, buf, 11);
    EXPECT_STREQ(buf, "2021-03-07");
}

}  // namespace
