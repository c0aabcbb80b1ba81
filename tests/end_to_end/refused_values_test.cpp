// Values that the daemon refuses, and properties that a request omits. No such request fails; the
// tests fix what it writes and what it does not.
#include "tests/end_to_end/devices.h"

namespace {

using test::kWebGui;

class RefusedValues : public test::EndToEndWithDevices {
protected:
    bool hasPrinted(const std::string& line) const {
        return output().find(line + "\n") != std::string::npos;
    }
};

TEST_F(RefusedValues, ABrightnessOutOfRangeReachesTheInstanceAlone) {
    for (const std::string level : {"9", "0", "8", "-1"}) {
        EXPECT_EQ(
            ask("00003", displayRequest({{"ScreenBrightness", level}, {"HiLoPeriod", level}})),
            (test::Answer{"Success", {}}));
        EXPECT_TRUE(
            hasPrinted("[setScreenBrightness]: Incorrect screen brightness(" + level + ")."));
        EXPECT_EQ(field(kWebGui, "ScreenBrightness"), level);
        EXPECT_EQ(setting("Brightness"), "5");
        EXPECT_EQ(backlight(), std::to_string(5 * kStepsPerLevel));
        EXPECT_EQ(setting("HiLoPeriod"), level) << "the other values are taken";
    }
}

TEST_F(RefusedValues, AnUnknownThemeReachesTheInstanceAlone) {
    EXPECT_EQ(ask("00003", displayRequest({{"Theme", "Dark"}})), (test::Answer{"Success", {}}));
    EXPECT_TRUE(hasPrinted("[setTheme]: Invalided Theme value (Dark) "));
    EXPECT_EQ(field(kWebGui, "Theme"), "Dark");
    EXPECT_EQ(storedTheme(), "dark");
}

TEST_F(RefusedValues, AnUnknownBacklightChoiceIsStoredButNotApplied) {
    EXPECT_EQ(ask("00003", displayRequest({{"BacklightOff", "Off After 1 Minute"}})).messageId,
              "Success");
    EXPECT_EQ(ask("00003", displayRequest({{"BacklightOff", "never"}})),
              (test::Answer{"Success", {}}));
    EXPECT_TRUE(hasPrinted("[setBacklightOff]: Failed to call setLCDBacklightOff()."));
    EXPECT_EQ(field(kWebGui, "BacklightOff"), "never");
    EXPECT_EQ(setting("BacklightOff"), "never");
    EXPECT_EQ(blankTimeOut(), "60");
}

TEST_F(RefusedValues, AScaleInLowerCaseIsStoredAndCountsAsMetric) {
    EXPECT_EQ(ask("00003", displayRequest({{"MeasurementSystem", "Imperial"}})).messageId,
              "Success");
    ASSERT_EQ(temperatureScale(), "0");
    EXPECT_EQ(ask("00003", displayRequest({{"MeasurementSystem", "imperial"}})).messageId,
              "Success");
    EXPECT_EQ(temperatureScale(), "1");
    EXPECT_EQ(setting("Measurement"), "imperial");
}

TEST_F(RefusedValues, ATextThatIsNotABooleanCountsAsFalseAndStaysInTheInstance) {
    EXPECT_EQ(ask("00003", displayRequest({{"RoomAverage", "TRUEst"}})).messageId, "Success");
    EXPECT_EQ(setting("RoomAverage"), "true");
    EXPECT_EQ(ask("00003", displayRequest({{"RoomAverage", "1"}})).messageId, "Success");
    EXPECT_EQ(setting("RoomAverage"), "false");
    EXPECT_EQ(field(kWebGui, "RoomAverage"), "1");
}

TEST_F(RefusedValues, PropertiesThatARequestOmitsBecomeEmpty) {
    EXPECT_EQ(ask("00003", requestObject({{"ScreenBrightness", "6"}})),
              (test::Answer{"Success", {}}));
    for (const char* column : {"BacklightOff", "Screensaver", "Timer", "Measurement", "DateFormat",
                               "TimeFormat", "HiLoPeriod"}) {
        EXPECT_EQ(setting(column), "") << column;
    }
    for (const char* property :
         {"BacklightOff", "ActiveAlarmScreensaver", "InactivityTimer", "MeasurementSystem",
          "DateFormat", "TimeFormat", "HiLoPeriod", "RoomAverage", "Theme", "EventUserName"}) {
        EXPECT_EQ(field(kWebGui, property), "") << property;
    }
    EXPECT_EQ(setting("RoomAverage"), "false");
    EXPECT_EQ(setting("Brightness"), "6");
    EXPECT_EQ(storedTheme(), "dark");
    EXPECT_TRUE(hasPrinted("[setTheme]: Invalided Theme value () "));
    EXPECT_TRUE(hasPrinted("[setBacklightOff]: Failed to call setLCDBacklightOff()."));
}

TEST_F(RefusedValues, AMissingBrightnessIsZeroAndRefused) {
    EXPECT_EQ(ask("00003", requestObject({{"BacklightOff", "Never"}})).messageId, "Success");
    EXPECT_TRUE(hasPrinted("[setScreenBrightness]: Incorrect screen brightness(0)."));
    EXPECT_EQ(setting("Brightness"), "5");
    EXPECT_EQ(field(kWebGui, "ScreenBrightness"), "");
}

TEST_F(RefusedValues, WhileAnAlertIsShownABacklightChoiceIsStoredButNotApplied) {
    sql("UPDATE webgui_tbl SET HasAlert = 'YES'");
    EXPECT_EQ(ask("00003", displayRequest({{"BacklightOff", "Off After 5 Minutes"}})).messageId,
              "Success");
    EXPECT_EQ(setting("BacklightOff"), "Off After 5 Minutes");
    EXPECT_EQ(blankTimeOut(), "0");
    EXPECT_EQ(setting("HasAlert"), "YES");
}

// If the row cannot be written, the request fails: the devices keep the new values, the instance
// keeps the old ones, and there is no event.
TEST_F(RefusedValues, ADatabaseThatTakesNoRowFailsTheRequestAfterTheDevicesHaveActed) {
    sql("CREATE TRIGGER refuse BEFORE UPDATE ON webgui_tbl BEGIN SELECT RAISE(ABORT, 'no'); END");
    EXPECT_EQ(ask("00003", displayRequest({{"ScreenBrightness", "2"}, {"Theme", "light"}})),
              (test::Answer{"InternalError", {}}));
    EXPECT_TRUE(hasPrinted("[updateData]: Failed to call update_database_table_with_condition()."));
    EXPECT_TRUE(
        hasPrinted("[OrvaneWebGUI_Agent_UPDATE_00003]: Failed to call WebGUIAgent.updateData()."));
    EXPECT_TRUE(hasPrinted("[update]: Failed to call fnAgentUpdate()."));
    EXPECT_EQ(backlight(), std::to_string(2 * kStepsPerLevel));
    EXPECT_EQ(storedTheme(), "light");
    EXPECT_EQ(setting("Brightness"), "5");
    EXPECT_EQ(field(kWebGui, "ScreenBrightness"), "5");
    EXPECT_EQ(field(kWebGui, "Theme"), "dark");
    EXPECT_EQ(eventCount(), 0);
}

} // namespace
