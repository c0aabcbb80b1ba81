// The temperature scale of a unit that answers; an independent client makes and sees changes too.
#include "platform/cooling.h"

#include "tests/platform/cooling_unit_sim/cooling_unit_process.h"

#include <array>
#include <climits>
#include <cstdlib>
#include <gtest/gtest.h>
#include <string>
#include <thread>

namespace {

class TempScale : public testing::Test {
protected:
    TempScale() { ::setenv("COOLING_UNIT", unit_.address().c_str(), 1); }
    ~TempScale() override { ::unsetenv("COOLING_UNIT"); }

    test::CoolingUnitProcess unit_;
    int scale_ = -5;
    std::array<char, 1024> text_{};
};

TEST_F(TempScale, IsReadWithItsName) {
    struct Row {
        int value;
        const char* text;
    };
    const Row rows[] = {{0, "Imperial"},
                        {1, "Metric"},
                        {7, "unknown scale 7"},
                        {65535, "unknown scale 65535"},
                        {1, "Metric"}};
    for (const Row& row : rows) {
        ASSERT_EQ(unit_.writeRegister(row.value), "");
        text_.fill('x');
        EXPECT_EQ(CoolGetTempScale(0, &scale_, 0, text_.data()), 0);
        EXPECT_EQ(scale_, row.value);
        EXPECT_STREQ(text_.data(), row.text);
    }
}

TEST_F(TempScale, IsWritten) {
    for (const int scale : {0, 1, 0}) {
        EXPECT_EQ(CoolSetTempScale(0, scale, "operator", 0), 0);
        EXPECT_EQ(unit_.readRegister(), std::to_string(scale));
        EXPECT_EQ(CoolGetTempScale(0, &scale_, 0, text_.data()), 0);
        EXPECT_EQ(scale_, scale);
    }
}

TEST_F(TempScale, NeedsNeitherAUserNorATextButAPlaceForItself) {
    EXPECT_EQ(CoolSetTempScale(0, 0, nullptr, 0), 0);
    EXPECT_EQ(CoolGetTempScale(0, &scale_, 0, nullptr), 0);
    EXPECT_EQ(scale_, 0);
    text_.fill('x');
    EXPECT_NE(CoolGetTempScale(0, nullptr, 0, text_.data()), 0);
    EXPECT_STREQ(text_.data(), "");
}

TEST_F(TempScale, IsNotWrittenWithAnotherValueUnitOrFlag) {
    for (const int scale : {-1, 2, 65536, INT_MIN, INT_MAX}) {
        EXPECT_NE(CoolSetTempScale(0, scale, "operator", 0), 0) << scale;
    }
    EXPECT_NE(CoolSetTempScale(1, 0, "operator", 0), 0);
    EXPECT_NE(CoolSetTempScale(0, 0, "operator", 1), 0);
    EXPECT_EQ(unit_.readRegister(), "1");
}

TEST_F(TempScale, IsNotReadFromAnotherUnitOrWithAFlag) {
    text_.fill('x');
    EXPECT_NE(CoolGetTempScale(1, &scale_, 0, text_.data()), 0);
    EXPECT_STREQ(text_.data(), "");
    EXPECT_NE(CoolGetTempScale(0, &scale_, 1, text_.data()), 0);
    EXPECT_EQ(scale_, -5);
}

TEST_F(TempScale, IsThatOfTheUnitThatTheEnvironmentNamesNow) {
    const test::CoolingUnitProcess other;
    ASSERT_EQ(other.writeRegister(0), "");
    EXPECT_EQ(CoolGetTempScale(0, &scale_, 0, text_.data()), 0);
    EXPECT_EQ(scale_, 1);
    ::setenv("COOLING_UNIT", other.address().c_str(), 1);
    EXPECT_EQ(CoolGetTempScale(0, &scale_, 0, text_.data()), 0);
    EXPECT_EQ(scale_, 0);
}

TEST_F(TempScale, IsReadAndWrittenByTwoThreadsAtOnce) {
    constexpr int kCalls = 300;
    int failures = 0;
    std::thread writer([&] {
        for (int i = 0; i < kCalls; ++i) {
            failures += CoolSetTempScale(0, i % 2, "operator", 0);
        }
    });
    int odd = 0;
    for (int i = 0; i < kCalls; ++i) {
        int scale = -5;
        std::array<char, 1024> text{};
        odd += CoolGetTempScale(0, &scale, 0, text.data());
        // Value and name are from the same answer.
        odd += std::string(text.data()) == (scale == 0 ? "Imperial" : "Metric") ? 0 : 1;
    }
    writer.join();
    EXPECT_EQ(failures, 0);
    EXPECT_EQ(odd, 0);
    EXPECT_EQ(unit_.readRegister(), "1");
}

} // namespace
