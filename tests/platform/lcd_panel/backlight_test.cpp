// LCDBrightnessSet on a temporary directory laid out like the kernel's backlight class.
#include "platform/lcd_panel/backlight.h"

#include "platform/lcd_panel.h"
#include "tests/support/temporary_folder.h"

#include <algorithm>
#include <array>
#include <climits>
#include <cstdlib>
#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>
#include <sys/stat.h>

namespace {

using test::readFile;
using test::writeFile;

class Backlight : public testing::Test {
protected:
    Backlight() {
        writeFile(maximum_, "255\n");
        writeFile(brightness_, "99\n");
        ::setenv("LCD_BACKLIGHT", folder_.path().c_str(), 1);
    }
    ~Backlight() override { ::unsetenv("LCD_BACKLIGHT"); }
    void SetUp() override { work(); }

    // What three failing calls in a row log.
    static std::string linesOfThreeFailures() {
        testing::internal::CaptureStderr();
        for (int i = 0; i < 3; ++i) {
            EXPECT_NE(LCDBrightnessSet(4), 0);
        }
        return testing::internal::GetCapturedStderr();
    }
    static auto oneLineWith(const std::string& text) {
        return testing::AllOf(
            testing::HasSubstr(text), testing::EndsWith("\n"),
            testing::ResultOf(
                [](const std::string& all) { return std::count(all.begin(), all.end(), '\n'); },
                1));
    }
    // Ends an outage, so that the next one is logged.
    void work() {
        std::filesystem::remove_all(maximum_);
        std::filesystem::remove_all(brightness_);
        writeFile(maximum_, "255\n");
        writeFile(brightness_, "99\n");
        ASSERT_EQ(LCDBrightnessSet(4), 0);
        writeFile(brightness_, "99\n");
    }

    test::TemporaryFolder folder_;
    std::string maximum_ = folder_.file("max_brightness");
    std::string brightness_ = folder_.file("brightness");
};

TEST_F(Backlight, SpreadsTheSevenLevelsOverTheMaximum) {
    struct Row {
        const char* maximum;
        std::array<const char*, 7> values;
    };
    const Row rows[] = {
        {"255", {"36", "73", "109", "146", "182", "219", "255"}},
        {"100", {"14", "29", "43", "57", "71", "86", "100"}},
        {"7", {"1", "2", "3", "4", "5", "6", "7"}},
        {"6", {"1", "2", "3", "3", "4", "5", "6"}},
        {"3", {"1", "1", "1", "2", "2", "3", "3"}},
        {"1", {"1", "1", "1", "1", "1", "1", "1"}},
        {"2147483647",
         {"306783378", "613566756", "920350134", "1227133513", "1533916891", "1840700269",
          "2147483647"}},
    };
    for (const Row& row : rows) {
        writeFile(maximum_, std::string(row.maximum) + "\n");
        for (int level = 1; level <= 7; ++level) {
            EXPECT_EQ(LCDBrightnessSet(level), 0) << row.maximum << ", level " << level;
            EXPECT_EQ(readFile(brightness_),
                      std::string(row.values[static_cast<std::size_t>(level - 1)]) + "\n")
                << row.maximum << ", level " << level;
        }
    }
}

TEST_F(Backlight, IsNeverDarkAndNeverFallsFromOneLevelToTheNext) {
    for (int maximum = 1; maximum <= 2000; ++maximum) {
        int before = 1;
        for (int level = 1; level <= 7; ++level) {
            const int value = lcdpanel::brightnessOf(level, maximum);
            ASSERT_GE(value, before) << maximum << ", level " << level;
            before = value;
        }
        ASSERT_EQ(before, maximum);
    }
}

TEST_F(Backlight, LeavesNothingOfALongerOldValue) {
    writeFile(brightness_, "123456789\n");
    EXPECT_EQ(LCDBrightnessSet(7), 0);
    EXPECT_EQ(readFile(brightness_), "255\n");
}

TEST_F(Backlight, TakesAMaximumWithoutAnEndOfLine) {
    writeFile(maximum_, "14");
    EXPECT_EQ(LCDBrightnessSet(3), 0);
    EXPECT_EQ(readFile(brightness_), "6\n");
}

TEST_F(Backlight, RefusesOtherLevelsWithoutAnyEffect) {
    testing::internal::CaptureStderr();
    for (const int level : {0, 8, 9, -1, INT_MIN, INT_MAX}) {
        EXPECT_NE(LCDBrightnessSet(level), 0) << level;
        EXPECT_EQ(readFile(brightness_), "99\n") << level;
    }
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

TEST_F(Backlight, RefusesAnOddMaximumAndSaysSoOnce) {
    const char* const texts[] = {"",
                                 "\n",
                                 "bright\n",
                                 "0\n",
                                 "-255\n",
                                 "1.5\n",
                                 "0x10\n",
                                 "255 255\n",
                                 " 255\n",
                                 "2147483648\n",
                                 "+7\n",
                                 "255\n\n",
                                 "99999999999999999999\n"};
    for (const char* text : texts) {
        SCOPED_TRACE(text);
        writeFile(maximum_, text);
        EXPECT_THAT(linesOfThreeFailures(), oneLineWith(maximum_));
        EXPECT_EQ(readFile(brightness_), "99\n");
        work();
    }
}

TEST_F(Backlight, TellsEachOutageOnce) {
    std::filesystem::remove(maximum_);
    EXPECT_THAT(linesOfThreeFailures(), oneLineWith(maximum_ + ": No such file"));
    EXPECT_EQ(linesOfThreeFailures(), "");
    work();
    std::filesystem::remove(maximum_);
    EXPECT_THAT(linesOfThreeFailures(), oneLineWith(maximum_ + ": No such file"));
}

TEST_F(Backlight, DoesNotCreateAMissingBrightness) {
    std::filesystem::remove(brightness_);
    EXPECT_THAT(linesOfThreeFailures(), oneLineWith(brightness_ + ": No such file"));
    EXPECT_FALSE(std::filesystem::exists(brightness_));
}

TEST_F(Backlight, FailsOnAnUnwritableBrightness) {
    std::filesystem::remove(brightness_);
    std::filesystem::create_directory(brightness_);
    EXPECT_THAT(linesOfThreeFailures(), oneLineWith(brightness_ + ": Is a directory"));
}

TEST_F(Backlight, FailsOnAnUnreadableMaximum) {
    std::filesystem::remove(maximum_);
    std::filesystem::create_directory(maximum_);
    EXPECT_THAT(linesOfThreeFailures(), oneLineWith(maximum_ + ": Is a directory"));
}

TEST_F(Backlight, FailsWhenTheDeviceTakesNoValue) {
    std::filesystem::remove(brightness_);
    std::filesystem::create_symlink("/dev/full", brightness_);
    EXPECT_THAT(linesOfThreeFailures(), oneLineWith(brightness_ + ": No space left on device"));
}

TEST_F(Backlight, IsNotHeldByAPipeThatNobodyReads) {
    std::filesystem::remove(brightness_);
    ASSERT_EQ(::mkfifo(brightness_.c_str(), 0600), 0);
    EXPECT_THAT(linesOfThreeFailures(), oneLineWith(brightness_));
}

TEST_F(Backlight, FailsWhereTheNamedDirectoryIsMissing) {
    ::setenv("LCD_BACKLIGHT", folder_.file("absent").c_str(), 1);
    EXPECT_THAT(linesOfThreeFailures(), oneLineWith(folder_.file("absent/max_brightness")));
}

TEST_F(Backlight, IsTheNamedOneBeforeAnyOfTheClass) {
    std::filesystem::create_directory(folder_.path() / "a");
    EXPECT_EQ(lcdpanel::backlightFolder(folder_.path()), folder_.path());
}

TEST_F(Backlight, IsTheFirstDirectoryOfTheClassByDefault) {
    for (const char* unset : {"", static_cast<const char*>(nullptr)}) {
        const test::TemporaryFolder backlightClass;
        unset == nullptr ? ::unsetenv("LCD_BACKLIGHT") : ::setenv("LCD_BACKLIGHT", unset, 1);
        EXPECT_TRUE(lcdpanel::backlightFolder(backlightClass.path()).empty());
        EXPECT_TRUE(lcdpanel::backlightFolder(backlightClass.file("absent")).empty());

        writeFile(backlightClass.file("a_file"), "");
        for (const char* name : {"panel1", "panel0", "panel2"}) {
            std::filesystem::create_directory(backlightClass.path() / name);
        }
        EXPECT_EQ(lcdpanel::backlightFolder(backlightClass.path()),
                  backlightClass.path() / "panel0");

        // As in sysfs, where the entries are links.
        std::filesystem::create_directory_symlink(folder_.path(),
                                                  backlightClass.path() / "acpi_video0");
        EXPECT_EQ(lcdpanel::backlightFolder(backlightClass.path()),
                  backlightClass.path() / "acpi_video0");
    }
}

} // namespace
