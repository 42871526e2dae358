#include <array>
#include <cstdio>
#include <cstring>
#include <limits>
#include <string>

#include "handlers/decimal_text.h"
#include "support/fixture.h"

namespace {

using DecimalTextTest = dltest::ModuleTest;

constexpr int32_t kMin = std::numeric_limits<int32_t>::min();
constexpr int32_t kMax = std::numeric_limits<int32_t>::max();
// Larger than any text below, so that every cut and the uncut text are seen.
constexpr std::size_t kSizes = 26;
constexpr char kUntouched = 'X';

using Buffer = std::array<char, kSizes + 2>;

Buffer Untouched() {
    Buffer buf;
    buf.fill(kUntouched);
    return buf;
}

// The texts must be printf's bytes: every buffer size from none to more than
// enough keeps the same bytes, writes nothing past the buffer and reports the
// same full length.
TEST_F(DecimalTextTest, IntsMatchPrintfInEveryBufferSize) {
    struct Field {
        int32_t value;
        unsigned int width;
    };
    const Field fields[] = {
        {0, 0},    {7, 0},     {-7, 0},    {7, 2},   {-7, 2}, {-7, 4},        {59, 2},
        {123, 2},  {-123, 4},  {1901, 4},  {38, 4},  {0, 4},  {kMax, 0},      {kMin, 0},
        {kMin, 2}, {kMin, 12}, {kMax, 12}, {-1, 12}, {10, 1}, {kMin + 1, 11}, {99, 0},
        {0, 2},    {5, 1},     {100, 0},   {-1, 2},
    };
    for (const Field &field : fields) {
        for (std::size_t size = 0; size <= kSizes; ++size) {
            SCOPED_TRACE(std::to_string(field.value) + " width " + std::to_string(field.width) +
                         " in " + std::to_string(size));
            Buffer expected = Untouched();
            const int len = std::snprintf(expected.data(), size, "%0*d",
                                          static_cast<int>(field.width), field.value);
            Buffer actual = Untouched();
            norla::DecimalText text(actual.data(), size);
            text.Int(field.value, field.width);
            EXPECT_EQ(actual, expected);
            EXPECT_EQ(text.Length(), static_cast<std::size_t>(len));
            EXPECT_EQ(text.Cut(), static_cast<std::size_t>(len) >= size);
        }
    }
}

// Pieces after a cut add to the length but not to the text, whose terminator
// stays at the end of the buffer.
TEST_F(DecimalTextTest, TextsOfSeveralPiecesMatchPrintfInEveryBufferSize) {
    for (std::size_t size = 0; size <= kSizes; ++size) {
        SCOPED_TRACE(size);
        Buffer expected = Untouched();
        const int len = std::snprintf(expected.data(), size, "%04d-%02d-%02d %02d:%02d:%02d", 2021,
                                      3, 7, 16, 5, -1);
        Buffer actual = Untouched();
        norla::DecimalText text(actual.data(), size);
        text.Int(2021, 4).Char('-').Int(3, 2).Char('-').Int(7, 2).Char(' ').Int(16, 2);
        text.Char(':').Int(5, 2).Char(':').Int(-1, 2);
        EXPECT_EQ(actual, expected);
        EXPECT_EQ(text.Length(), static_cast<std::size_t>(len));
    }
}

TEST_F(DecimalTextTest, IntTextIsPercentD) {
    for (const int32_t value : {0, 9, -9, 65536, kMax, kMin}) {
        char text[norla::kIntTextLen];
        std::memset(text, kUntouched, sizeof text);
        const std::size_t len = norla::IntText(value, text);
        EXPECT_EQ(std::string(text), std::to_string(value));
        EXPECT_EQ(len, std::to_string(value).size());
    }
}

}  // namespace
