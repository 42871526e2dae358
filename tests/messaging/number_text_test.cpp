#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "messaging/number_text.h"

namespace {

// The expectations are what the C library answers where long is 32 bits;
// on such a build the test also asks the library itself.
constexpr bool kLongIs32 = sizeof(long) == 4;

TEST(NumberText, LongAndUnsignedLongSaturateAt32Bits) {
    const struct {
        const char *text;
        int32_t asLong;
        uint32_t asULong;
        std::size_t consumed;
    } cases[] = {
        {"", 0, 0, 0},
        {"abc", 0, 0, 0},
        {"-", 0, 0, 0},
        {" +", 0, 0, 0},
        {"0", 0, 0, 1},
        {"-0", 0, 0, 2},
        {" \t\n\v\f\r42x", 42, 42, 8},
        {"+7", 7, 7, 2},
        {"0x1F", 0, 0, 1},
        {"12 34", 12, 12, 2},
        {"2147483647", INT32_MAX, 2147483647u, 10},
        {"2147483648", INT32_MAX, 2147483648u, 10},
        {"-2147483648", INT32_MIN, 2147483648u, 11},
        {"-2147483649", INT32_MIN, 2147483647u, 11},
        {"4294967295", INT32_MAX, UINT32_MAX, 10},
        {"4294967296", INT32_MAX, UINT32_MAX, 10},
        {"4294967326", INT32_MAX, UINT32_MAX, 10},
        {"-1", -1, UINT32_MAX, 2},
        {"-4294967295", INT32_MIN, 1u, 11},
        {"-4294967296", INT32_MIN, UINT32_MAX, 11},
        {"00000000000000000000000000000042", 42, 42, 32},
        {"99999999999999999999999999999999", INT32_MAX, UINT32_MAX, 32},
        {"-99999999999999999999999999999999", INT32_MIN, UINT32_MAX, 33},
        {"18446744073709551617", INT32_MAX, UINT32_MAX, 20},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(std::string("\"") + c.text + "\"");
        const char *end = nullptr;
        EXPECT_EQ(norla::NumText_ToLong(c.text, &end), c.asLong);
        EXPECT_EQ(static_cast<std::size_t>(end - c.text), c.consumed);
        EXPECT_EQ(norla::NumText_ToULong(c.text), c.asULong);
        if (kLongIs32) {
            char *libEnd = nullptr;
            EXPECT_EQ(std::strtol(c.text, &libEnd, 10), c.asLong);
            EXPECT_EQ(libEnd, end);
            EXPECT_EQ(std::strtoul(c.text, nullptr, 10), c.asULong);
            EXPECT_EQ(std::atoi(c.text), c.asLong);
        }
    }
    EXPECT_EQ(norla::NumText_ToLong(nullptr), 0);
    EXPECT_EQ(norla::NumText_ToULong(nullptr), 0u);
}

TEST(NumberText, ScanReadsLikeScanfWithIntFields) {
    constexpr int32_t kUntouched = 0x5A5A;
    const struct {
        const char *text;
        const char *format;
        std::vector<int32_t> values;  // the fields stored, in order
    } cases[] = {
        {"07:05", "%02d:%02d", {7, 5}},
        {"7:5", "%02d:%02d", {7, 5}},
        {"123:45", "%02d:%02d", {12}},
        {"-5:-7", "%02d:%02d", {-5, -7}},
        {"-:30", "%02d:%02d", {}},
        {" 9: 8", "%02d:%02d", {9, 8}},
        {"99999999999:1", "%d:%d", {INT32_MAX, 1}},
        {"2021-03-07 08:05:00", "%d-%d-%d %d:%d:%d", {2021, 3, 7, 8, 5, 0}},
        {"2021-3-7T1:2:3", "%d-%d-%d %d:%d:%d", {2021, 3, 7}},
        {"2021-3-71:2:3", "%d-%d-%d %d:%d:%d", {2021, 3, 71}},
        {"2021-3-7   \t1:2:3", "%d-%d-%d %d:%d:%d", {2021, 3, 7, 1, 2, 3}},
        {"2021 -3", "%d-%d", {2021}},
        {"2021--3", "%d-%d", {2021, -3}},
        {"-4294967296-4294967296-1", "%d-%d-%d", {INT32_MIN, INT32_MAX, 1}},
        {"", "%d", {}},
        {"12", "%0d", {12}},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(std::string("\"") + c.text + "\" with \"" + c.format + "\"");
        int32_t fields[6];
        int32_t *out[6];
        for (int i = 0; i < 6; ++i) {
            fields[i] = kUntouched;
            out[i] = &fields[i];
        }
        const int stored = norla::NumText_Scan(c.text, c.format, out, 6);
        ASSERT_EQ(stored, static_cast<int>(c.values.size()));
        EXPECT_EQ(std::vector<int32_t>(fields, fields + stored), c.values);
        EXPECT_EQ(stored < 6 ? fields[stored] : kUntouched, kUntouched);
        if (kLongIs32) {
            int lib[6] = {kUntouched, kUntouched, kUntouched, kUntouched, kUntouched, kUntouched};
// The formats come from the table; each holds only int fields.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
            const int libStored = std::sscanf(c.text, c.format, &lib[0], &lib[1], &lib[2],
                                              &lib[3], &lib[4], &lib[5]);
#pragma GCC diagnostic pop
            EXPECT_EQ(std::max(libStored, 0), stored);
            EXPECT_EQ(std::vector<int32_t>(lib, lib + stored), c.values);
        }
    }
    int32_t one = kUntouched;
    int32_t *out[] = {&one};
    EXPECT_EQ(norla::NumText_Scan("1 2", "%d %d", out, 1), 1);
    EXPECT_EQ(norla::NumText_Scan(nullptr, "%d", out, 1), 0);
    EXPECT_EQ(norla::NumText_Scan("1", nullptr, out, 1), 0);
    EXPECT_EQ(norla::NumText_Scan("1", "%x", out, 1), 0);
}

}  // namespace
