// Texts to values and back: include/text.h.
#include "text.h"

#include <gtest/gtest.h>
#include <limits>
#include <string>

namespace {

TEST(CopyBounded, FillsTheRestOfTheFieldWithZeros) {
    char field[6] = {'x', 'x', 'x', 'x', 'x', 'x'};
    copyBounded(field, "ab");
    EXPECT_EQ(std::string(field, sizeof field), std::string("ab\0\0\0\0", 6));
}

TEST(CopyBounded, CutsToOneCharacterLessThanTheFieldHolds) {
    char field[4] = {};
    copyBounded(field, "abc");
    EXPECT_STREQ(field, "abc");
    copyBounded(field, "abcd");
    EXPECT_STREQ(field, "abc");
}

TEST(BoundedText, EndsAtTheEndOfAFieldWithoutAZero) {
    const char full[3] = {'a', 'b', 'c'};
    EXPECT_EQ(boundedText(full), "abc");
    const char partly[3] = {'a', '\0', 'c'};
    EXPECT_EQ(boundedText(partly), "a");
}

TEST(BooleanText, IsWrittenInLowerCase) {
    EXPECT_STREQ(booleanText(true), "true");
    EXPECT_STREQ(booleanText(false), "false");
}

TEST(TrueText, IsAnyTextWhoseFirstFourLettersAreTrueInAnyCase) {
    for (const char* text : {"true", "TRUE", "True", "tRuE", "trueish", "TRUE "}) {
        EXPECT_TRUE(isTrueText(text)) << text;
    }
    for (const char* text : {"", "t", "tru", " true", "yes", "1", "false", "on"}) {
        EXPECT_FALSE(isTrueText(text)) << text;
    }
}

TEST(ParseDecimal, ReadsOnlyTheLeadingNumber) {
    struct Case {
        const char* text;
        std::int32_t number;
    };
    const Case cases[] = {
        {"5", 5},    {" 7", 7},   {"-3", -3}, {"+4", 4},  {"6 of 7", 6},
        {"0x10", 0}, {"010", 10}, {"", 0},    {"abc", 0}, {"3.9", 3},
    };
    for (const Case& each : cases) {
        EXPECT_EQ(parseDecimal(each.text), each.number) << each.text;
    }
}

// A board whose `long` has 32 bits must read the same.
TEST(ParseDecimal, ClampsNumbersThatDoNotFitIn32Bits) {
    using Limits = std::numeric_limits<std::int32_t>;
    EXPECT_EQ(parseDecimal("2147483647"), Limits::max());
    EXPECT_EQ(parseDecimal("2147483648"), Limits::max());
    EXPECT_EQ(parseDecimal("4294967297"), Limits::max());
    EXPECT_EQ(parseDecimal("99999999999999999999999"), Limits::max());
    EXPECT_EQ(parseDecimal("-2147483649"), Limits::min());
    EXPECT_EQ(parseDecimal("-99999999999999999999999"), Limits::min());
}

} // namespace
