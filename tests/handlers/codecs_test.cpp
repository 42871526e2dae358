#include <cstring>
#include <ctime>
#include <string>
#include <vector>

#include "handlers/codecs.h"
#include "support/fixture.h"

namespace {

constexpr const char *kShortBeforeSunday =
    "String buf is not enough, Before checking last bit of weekday.";
constexpr int32_t kUtc8Offset = 8 * 3600;

class CodecsTest : public dltest::ModuleTest {
  protected:
    void TearDown() override {
        oqsim::set_tz("UTC");
        dltest::ModuleTest::TearDown();
    }

    std::string MaskText(uint8_t mask, unsigned int size = norla::kDateStrLen) {
        char buf[norla::kDateStrLen];
        std::memset(buf, 'X', sizeof buf);
        norla::WeekDay_Data2Str(mask, buf, size);
        for (unsigned int i = size; i < sizeof buf; ++i) {
            EXPECT_EQ(buf[i], 'X') << "wrote past the given size at " << i;
        }
        return size == 0 ? std::string() : std::string(buf);
    }

    std::string DateText(int32_t seconds, unsigned int size = norla::kDateStrLen) {
        char buf[norla::kDateStrLen] = {};
        EXPECT_EQ(norla::GetDateStrFromTime(&seconds, buf, size), 0);
        return buf;
    }
};

TEST_F(CodecsTest, MaskToTextOrdersMondayFirstAndSundayLast) {
    struct Case {
        uint8_t mask;
        const char *text;
    };
    const Case cases[] = {
        {0x00, ""},
        {0x80, ""},
        {0x01, "7"},
        {0x03, "1,7"},
        {0x41, "6,7"},
        {0x7E, "1,2,3,4,5,6"},
        {0x7F, "1,2,3,4,5,6,7"},
        {0xFF, "1,2,3,4,5,6,7"},
        {0x24, "2,5"},
    };
    for (const Case &c : cases) {
        EXPECT_EQ(MaskText(c.mask), c.text) << "mask " << int{c.mask};
    }
    EXPECT_TRUE(oqsim::logs().empty());
}

TEST_F(CodecsTest, MaskToTextInShortBuffersCutsAndLogs) {
    struct Case {
        uint8_t mask;
        unsigned int size;
        const char *text;
        bool logged;
    };
    const Case cases[] = {
        {0x7E, 5, "1,2,", true},
        {0x7E, 4, "1,2", true},
        {0x7E, 1, "", true},
        // Fewer than three bytes left after the workdays: logged even
        // without Sunday.
        {0x3E, 11, "1,2,3,4,5", true},
        {0x7E, 13, "1,2,3,4,5,6", true},
        {0x7F, 13, "1,2,3,4,5,6", true},
        {0x7F, 14, "1,2,3,4,5,6,7", false},
        {0x01, 3, "7", false},
        {0x01, 2, "", true},
    };
    for (const Case &c : cases) {
        oqsim::clear_logs();
        EXPECT_EQ(MaskText(c.mask, c.size), c.text) << "mask " << int{c.mask} << " size " << c.size;
        EXPECT_EQ(oqsim::has_log(1, std::string(kShortBeforeSunday) + "\n"), c.logged)
            << "mask " << int{c.mask} << " size " << c.size;
    }
    oqsim::clear_logs();
    MaskText(0x7F, 0);
    EXPECT_TRUE(HasLog(1, kShortBeforeSunday));
}

TEST_F(CodecsTest, TextToMaskOrsDaysAndSkipsInvalidOnes) {
    struct Case {
        const char *text;
        uint8_t before;
        uint8_t after;
        std::vector<int> invalid;
    };
    const Case cases[] = {
        {"1,2,3,4,5,6,7", 0, 0x7F, {}},
        {"6,7", 0, 0x41, {}},
        {"1", 0x10, 0x12, {}},
        {"1,8,7", 0, 0x03, {8}},
        {"0", 0, 0, {0}},
        {"abc", 0, 0, {0}},
        {"", 0x20, 0x20, {}},
        {",", 0x20, 0x20, {}},
        {",,1,,2,", 0, 0x06, {}},
        // Only the low 8 bits of a number count.
        {"263", 0, 0x01, {}},
        {"-255", 0, 0x02, {}},
        {"256", 0, 0, {0}},
        // 32 characters: the final day is past the 31 that are read.
        {"1,1,1,1,1,1,1,1,1,1,1,1,1,1,1,1,2", 0, 0x02, {}},
    };
    for (const Case &c : cases) {
        oqsim::clear_logs();
        uint8_t mask = c.before;
        norla::WeekDay_Str2Data(c.text, &mask);
        EXPECT_EQ(mask, c.after) << c.text;
        EXPECT_EQ(oqsim::logs().size(), c.invalid.size()) << c.text;
        for (int day : c.invalid) {
            EXPECT_TRUE(
                HasLog(1, "Invalid weekday index[" + std::to_string(day) + "] after converting."))
                << c.text;
        }
    }
}

TEST_F(CodecsTest, EveryMaskSurvivesTheRoundTrip) {
    for (unsigned int mask = 0; mask < 0x80; ++mask) {
        uint8_t back = 0;
        norla::WeekDay_Str2Data(MaskText(static_cast<uint8_t>(mask)).c_str(), &back);
        EXPECT_EQ(back, mask);
    }
}

TEST_F(CodecsTest, DateTextToTimeInLocalZonesWithNormalisation) {
    struct Case {
        const char *text;
        int32_t utc;
    };
    const Case cases[] = {
        {"2021-03-07 08:05:00", 1615104300},
        {"2021-3-7 8:5:0", 1615104300},
        {"2021-03-07", 1615104300 - (8 * 3600 + 5 * 60)},
        {"2021-02-30 00:00:00", 1614643200},  // 2021-03-02
        {"2021-13-01 00:00:00", 1640995200},  // 2022-01-01
        {"2021-03-00 00:00:00", 1614470400},  // 2021-02-28
        {"2000-02-29 12:00:00", 951825600},
        {"1970-01-01 00:00:00", 0},
    };
    for (const char *tz : {"UTC", "CST-8"}) {
        oqsim::set_tz(tz);
        const int32_t offset = std::strcmp(tz, "UTC") == 0 ? 0 : kUtc8Offset;
        for (const Case &c : cases) {
            EXPECT_EQ(norla::GetTimeFromDateStr(c.text), c.utc - offset) << tz << " " << c.text;
        }
    }
}

TEST_F(CodecsTest, UnconvertibleDatesGiveTheLargestTime) {
    // Year 0 rolls back before 1901 and years past 2038 do not fit 32-bit
    // seconds, whatever the width of the library's time values.
    for (const char *text : {"", "no numbers", "2040-01-01 00:00:00", "1800-01-01"}) {
        EXPECT_EQ(norla::GetTimeFromDateStr(text), norla::kInvalidTime) << text;
    }
    EXPECT_EQ(norla::GetTimeFromDateStr("2038-01-19 03:14:08"), norla::kInvalidTime);
    // The second before the epoch is the library's failure value.
    oqsim::set_tz("UTC");
    EXPECT_EQ(norla::GetTimeFromDateStr("1969-12-31 23:59:59"), norla::kInvalidTime);
    EXPECT_EQ(norla::GetTimeFromDateStr("2038-01-19 03:14:07"), 2147483647);
}

TEST_F(CodecsTest, TimeToDateTextInLocalZones) {
    struct Case {
        const char *tz;
        int32_t seconds;
        const char *text;
    };
    const Case cases[] = {
        {"UTC", 0, "1970-01-01 00:00:00"},          {"CST-8", 0, "1970-01-01 08:00:00"},
        {"UTC", 1615104300, "2021-03-07 08:05:00"}, {"CST-8", 1615104300, "2021-03-07 16:05:00"},
        {"UTC", 2147483647, "2038-01-19 03:14:07"},
    };
    for (const Case &c : cases) {
        oqsim::set_tz(c.tz);
        EXPECT_EQ(DateText(c.seconds), c.text) << c.tz << " " << c.seconds;
        EXPECT_EQ(norla::GetTimeFromDateStr(c.text), c.seconds) << c.tz << " " << c.text;
    }
    oqsim::set_tz("UTC");
    EXPECT_EQ(DateText(1615104300, 11), "2021-03-07");
}

}  // namespace
