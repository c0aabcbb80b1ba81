// Time-out, blanking and environment on a real X server.
#include "platform/lcd_panel.h"
#include "tests/platform/lcd_panel/x_server.h"
#include "tests/support/succeeds_soon.h"
#include "tests/support/wait_until.h"

#include <climits>
#include <cstdlib>
#include <gtest/gtest.h>
#include <string>

namespace {

class ScreenSaver : public testing::Test {
protected:
    ScreenSaver() { ::setenv("DISPLAY", server_.display().c_str(), 1); }
    ~ScreenSaver() override { ::unsetenv("DISPLAY"); }

    test::XServer server_;
};

TEST_F(ScreenSaver, TakesTheTimeOutAndKeepsTheOtherParameters) {
    server_.xset("s 77 88 s noblank s noexpose");
    ASSERT_EQ(server_.screenSaver(), "timeout 77 cycle 88 blanking no exposures no");
    EXPECT_TRUE(test::succeedsSoon([] { return LCDBlankTimeOutSet(120); }));
    EXPECT_EQ(server_.screenSaver(), "timeout 120 cycle 88 blanking no exposures no");
}

TEST_F(ScreenSaver, TakesEveryTimeOutFromNeverToTheProtocolsLongest) {
    for (const int seconds : {60, 120, 180, 240, 300, 1, 32767, 0}) {
        EXPECT_TRUE(test::succeedsSoon([seconds] { return LCDBlankTimeOutSet(seconds); }))
            << seconds;
        EXPECT_EQ(server_.screenSaver(),
                  "timeout " + std::to_string(seconds) + " cycle 600 blanking yes exposures yes");
    }
}

TEST_F(ScreenSaver, RefusesOtherTimeOutsWithoutAnyEffect) {
    server_.xset("s 77 88");
    testing::internal::CaptureStderr();
    for (const int seconds : {-1, -60, 32768, 65536 + 60, INT_MIN, INT_MAX}) {
        EXPECT_NE(LCDBlankTimeOutSet(seconds), 0) << seconds;
        EXPECT_EQ(server_.screenSaver(), "timeout 77 cycle 88 blanking yes exposures yes");
    }
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

TEST_F(ScreenSaver, DarkensAndLightsThePanel) {
    ASSERT_FALSE(server_.isDark());
    EXPECT_TRUE(test::succeedsSoon([] { return LCDBlank(0); }));
    EXPECT_TRUE(server_.isDark());
    EXPECT_TRUE(test::succeedsSoon([] { return LCDBlank(0); }));
    EXPECT_TRUE(server_.isDark());
    EXPECT_TRUE(test::succeedsSoon([] { return LCDBlank(1); }));
    EXPECT_FALSE(server_.isDark());
}

TEST_F(ScreenSaver, DarkensAlsoWhenTheTimeOutIsNever) {
    ASSERT_TRUE(test::succeedsSoon([] { return LCDBlankTimeOutSet(0); }));
    EXPECT_TRUE(test::succeedsSoon([] { return LCDBlank(0); }));
    EXPECT_TRUE(server_.isDark());
}

TEST_F(ScreenSaver, DarkensByItselfWhenTheTimeOutIsOver) {
    ASSERT_TRUE(test::succeedsSoon([] { return LCDBlankTimeOutSet(1); }));
    EXPECT_TRUE(test::waitUntil([this] { return server_.isDark(); }));
}

TEST_F(ScreenSaver, RefusesOtherModesWithoutAnyEffect) {
    for (const int mode : {2, -1, INT_MIN, INT_MAX}) {
        EXPECT_NE(LCDBlank(mode), 0) << mode;
        EXPECT_FALSE(server_.isDark()) << mode;
    }
    ASSERT_TRUE(test::succeedsSoon([] { return LCDBlank(0); }));
    for (const int mode : {2, -1, INT_MIN, INT_MAX}) {
        EXPECT_NE(LCDBlank(mode), 0) << mode;
        EXPECT_TRUE(server_.isDark()) << mode;
    }
}

// On a busy machine one of the calls may take more than its 250 ms.
TEST_F(ScreenSaver, LeavesNoConnectionBehind) {
    for (int i = 0; i < 300; ++i) { // more than the 256 clients that the server takes
        ASSERT_TRUE(test::succeedsSoon([i] { return LCDBlankTimeOutSet(i); })) << i;
    }
}

TEST(DisplayEnvironment, IsSetToTheFirstDisplayWhereItIsUnsetOrEmpty) {
    ::unsetenv("DISPLAY");
    EXPECT_EQ(xset_env_init(), 0);
    EXPECT_STREQ(std::getenv("DISPLAY"), ":0");
    ::setenv("DISPLAY", "", 1);
    EXPECT_EQ(xset_env_init(), 0);
    EXPECT_STREQ(std::getenv("DISPLAY"), ":0");
    ::unsetenv("DISPLAY");
}

TEST(DisplayEnvironment, StaysAsItIsWhereItIsSet) {
    ::setenv("DISPLAY", ":7", 1);
    EXPECT_EQ(xset_env_init(), 0);
    EXPECT_STREQ(std::getenv("DISPLAY"), ":7");
    ::unsetenv("DISPLAY");
}

} // namespace
