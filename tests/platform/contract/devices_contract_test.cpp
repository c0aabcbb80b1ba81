// The LCD panel and the cooling unit, while both work.
#include "platform/cooling.h"
#include "platform/lcd_panel.h"
#include "tests/platform/contract/side.h"
#include "tests/support/succeeds_soon.h"

#include <algorithm>
#include <array>
#include <climits>
#include <gtest/gtest.h>

namespace contract {
namespace {

class Panel : public testing::Test {
protected:
    Devices devices;
};

TEST_F(Panel, TakesTheBrightnessLevelsOneToSeven) {
    for (int level = 1; level <= 7; ++level) {
        EXPECT_EQ(LCDBrightnessSet(level), 0) << level;
    }
    for (const int level : {0, 8, -1, INT_MIN, INT_MAX}) {
        EXPECT_NE(LCDBrightnessSet(level), 0) << level;
    }
}

TEST_F(Panel, TakesATimeOutOfZeroOrMoreSeconds) {
    for (const int seconds : {60, 120, 180, 240, 300, 32767, 0}) {
        EXPECT_TRUE(test::succeedsSoon([seconds] { return LCDBlankTimeOutSet(seconds); }))
            << seconds;
    }
    for (const int seconds : {-1, 32768, INT_MIN, INT_MAX}) {
        EXPECT_NE(LCDBlankTimeOutSet(seconds), 0) << seconds;
    }
}

TEST_F(Panel, GoesDarkAndLight) {
    EXPECT_TRUE(test::succeedsSoon([] { return LCDBlank(0); }));
    EXPECT_TRUE(test::succeedsSoon([] { return LCDBlank(1); }));
    for (const int mode : {2, -1, INT_MIN, INT_MAX}) {
        EXPECT_NE(LCDBlank(mode), 0) << mode;
    }
}

TEST_F(Panel, PreparesItsEnvironmentAsOftenAsAsked) {
    EXPECT_EQ(xset_env_init(), 0);
    EXPECT_EQ(xset_env_init(), 0);
}

class Unit : public testing::Test {
protected:
    static int scale() {
        int scale = -5;
        EXPECT_EQ(CoolGetTempScale(0, &scale, 0, nullptr), 0);
        return scale;
    }

    Devices devices;
};

TEST_F(Unit, KeepsTheScaleThatIsSet) {
    EXPECT_EQ(scale(), 1);
    for (const int wanted : {0, 1, 0}) {
        EXPECT_EQ(CoolSetTempScale(0, wanted, "operator", 0), 0);
        EXPECT_EQ(scale(), wanted);
    }
    EXPECT_EQ(CoolSetTempScale(0, 1, nullptr, 0), 0);
    EXPECT_EQ(scale(), 1);
}

TEST_F(Unit, TakesNoOtherScaleUnitOrFlag) {
    for (const int wanted : {2, -1, INT_MIN, INT_MAX}) {
        EXPECT_NE(CoolSetTempScale(0, wanted, "operator", 0), 0) << wanted;
    }
    EXPECT_NE(CoolSetTempScale(1, 0, "operator", 0), 0);
    EXPECT_NE(CoolSetTempScale(0, 0, "operator", 1), 0);
    EXPECT_EQ(scale(), 1);
}

TEST_F(Unit, DescribesItsScaleInATextThatEndsInANul) {
    std::array<char, 1024> text{};
    text.fill('#');
    int scale = -5;
    EXPECT_EQ(CoolGetTempScale(0, &scale, 0, text.data()), 0);
    EXPECT_NE(std::find(text.begin(), text.end(), '\0'), text.end());
    EXPECT_NE(text[0], '\0');
}

TEST_F(Unit, LeavesTheScaleUntouchedWhereItIsNotRead) {
    std::array<char, 1024> text{};
    for (const auto& [unit, flags] : {std::pair(1, 0), {0, 1}}) {
        int scale = -5;
        text.fill('#');
        EXPECT_NE(CoolGetTempScale(unit, &scale, flags, text.data()), 0);
        EXPECT_EQ(scale, -5);
        EXPECT_STREQ(text.data(), "");
    }
    EXPECT_NE(CoolGetTempScale(0, nullptr, 0, text.data()), 0);
}

} // namespace
} // namespace contract
