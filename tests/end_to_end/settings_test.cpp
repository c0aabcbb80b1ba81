// Each setting on its way from the request to the settings database, the instance, the event stream
// and the device.
#include "tests/end_to_end/devices.h"

#include <algorithm>
#include <ostream>

namespace {

using test::kWebGui;

struct Setting {
    const char* property;
    const char* column; // of webgui_tbl
    const char* before; // in a new database
    const char* after;
};

// For the test's name.
void PrintTo(const Setting& setting, std::ostream* out) {
    *out << setting.before << " -> " << setting.after;
}

// The properties of "00003" that are columns of the settings row.
constexpr Setting kSettings[] = {
    {"ScreenBrightness", "Brightness", "5", "3"},
    {"BacklightOff", "BacklightOff", "Never", "Off After 2 Minutes"},
    {"ActiveAlarmScreensaver", "Screensaver", "Enabled", "Disabled"},
    {"InactivityTimer", "Timer", "10 Minutes", "5 Minutes"},
    {"MeasurementSystem", "Measurement", "Metric", "Imperial"},
    {"DateFormat", "DateFormat", "YYYY-MM-DD", "DD/MM/YYYY"},
    {"TimeFormat", "TimeFormat", "24 Hours", "12 Hours"},
    {"RoomAverage", "RoomAverage", "false", "true"},
    {"HiLoPeriod", "HiLoPeriod", "24 Hours", "1 Hour"},
};

class Settings : public test::EndToEndWithDevices {
protected:
    // Stores a request object with all properties of "00003": the present values and this change.
    std::string change(const std::string& name, const std::string& value) {
        test::Fields fields;
        for (const Setting& setting : kSettings) {
            fields.emplace_back(setting.property, field(kWebGui, setting.property));
        }
        fields.emplace_back("Theme", field(kWebGui, "Theme"));
        fields.emplace_back("EventUserName", "operator");
        std::find_if(fields.begin(), fields.end(), [&](const auto& each) {
            return each.first == name;
        })->second = value;
        return requestObject(fields);
    }

    void expectOneMoreEventThan(int before) {
        EXPECT_EQ(eventCount(), before + 1);
        EXPECT_EQ(lastEvent(),
                  std::string("EventType ResourceUpdated Kind MESSAGE Message Resource updated "
                              "MessageId Orvane.1.0.Msg000 MessageArgs.0 WebGUI00 "
                              "OriginOfCondition ") +
                      kWebGui);
    }
};

class OneSetting : public Settings, public ::testing::WithParamInterface<Setting> {};

TEST_P(OneSetting, ReachesDatabaseInstanceAndEventStreamAndLeavesTheOthersAlone) {
    const Setting& changed = GetParam();
    ASSERT_EQ(setting(changed.column), changed.before);
    const int events = eventCount();
    EXPECT_EQ(ask("00003", change(changed.property, changed.after)), (test::Answer{"Success", {}}));
    for (const Setting& each : kSettings) {
        const std::string expected = each.property == changed.property ? each.after : each.before;
        EXPECT_EQ(setting(each.column), expected) << each.column;
        EXPECT_EQ(field(kWebGui, each.property), expected) << each.property;
    }
    EXPECT_EQ(storedTheme(), "dark");
    expectOneMoreEventThan(events);
}

INSTANTIATE_TEST_SUITE_P(Each, OneSetting, ::testing::ValuesIn(kSettings),
                         [](const auto& test) { return test.param.property; });

TEST_F(Settings, TheThemeReachesItsTableTheInstanceAndTheEventStream) {
    ASSERT_EQ(storedTheme(), "dark");
    const int events = eventCount();
    EXPECT_EQ(ask("00003", change("Theme", "light")), (test::Answer{"Success", {}}));
    EXPECT_EQ(storedTheme(), "light");
    EXPECT_EQ(field(kWebGui, "Theme"), "light");
    expectOneMoreEventThan(events);
}

TEST_F(Settings, TheLanguageReachesDatabaseInstanceAndEventStream) {
    const int events = eventCount();
    EXPECT_EQ(ask("00002", requestObject({{"Language", "Deutsch"}})),
              (test::Answer{"Success", {}}));
    EXPECT_EQ(setting("Language"), "Deutsch");
    EXPECT_EQ(field(kWebGui, "Language"), "Deutsch");
    expectOneMoreEventThan(events);
}

TEST_F(Settings, TheInitialBootFlagIsNormalisedInTheDatabaseAndKeptAsSentInTheInstance) {
    const int events = eventCount();
    EXPECT_EQ(ask("00004", requestObject({{"InitialBoot", "False"}})),
              (test::Answer{"Success", {}}));
    EXPECT_EQ(setting("InitBoot"), "false");
    EXPECT_EQ(field(kWebGui, "InitialBoot"), "False");
    expectOneMoreEventThan(events);
}

TEST_F(Settings, TheUserNameIsWrittenToTheInstance) {
    EXPECT_EQ(ask("00003", change("Theme", "dark")).messageId, "Success");
    EXPECT_EQ(field(kWebGui, "EventUserName"), "operator");
}

TEST_F(Settings, BrightnessReachesTheBacklight) {
    EXPECT_EQ(backlight(), std::to_string(5 * kStepsPerLevel)) << "set at the start";
    for (const int level : {1, 7, 4}) {
        EXPECT_EQ(ask("00003", change("ScreenBrightness", std::to_string(level))).messageId,
                  "Success");
        EXPECT_EQ(backlight(), std::to_string(level * kStepsPerLevel));
    }
}

TEST_F(Settings, EveryBacklightChoiceSetsTheIdleTimeOfThePanel) {
    EXPECT_EQ(blankTimeOut(), "0") << "set at the start";
    const std::pair<const char*, const char*> choices[] = {
        {"Off After 1 Minute", "60"},   {"Off After 2 Minutes", "120"},
        {"Off After 3 Minutes", "180"}, {"Off After 4 Minutes", "240"},
        {"Off After 5 Minutes", "300"}, {"Never", "0"},
    };
    for (const auto& [choice, seconds] : choices) {
        EXPECT_EQ(ask("00003", change("BacklightOff", choice)).messageId, "Success");
        EXPECT_EQ(blankTimeOut(), seconds) << choice;
    }
}

TEST_F(Settings, TheMeasurementSystemSetsTheCoolingUnitsScale) {
    EXPECT_EQ(temperatureScale(), "1");
    EXPECT_EQ(ask("00003", change("MeasurementSystem", "Imperial")).messageId, "Success");
    EXPECT_EQ(temperatureScale(), "0");
    EXPECT_EQ(ask("00003", change("MeasurementSystem", "Metric")).messageId, "Success");
    EXPECT_EQ(temperatureScale(), "1");
}

TEST_F(Settings, AReadTakesTheScaleOverFromTheCoolingUnitWithoutAnEvent) {
    setTemperatureScale("0");
    EXPECT_EQ(ask("00001", kWebGui), (test::Answer{"Success", {}}));
    EXPECT_EQ(field(kWebGui, "MeasurementSystem"), "Imperial");
    EXPECT_EQ(setting("Measurement"), "Imperial");
    EXPECT_EQ(eventCount(), 0);
}

// The environment says that the unit manages itself; the file does not count then.
class SettingsOfAManagedUnit : public Settings {
protected:
    void SetUp() override {
        environment()["ManagingMode"] = "1";
        Settings::SetUp();
    }
};

TEST_F(SettingsOfAManagedUnit, NeitherReadNorUpdateTouchesTheScale) {
    setTemperatureScale("0");
    EXPECT_EQ(ask("00001", kWebGui).messageId, "Success");
    EXPECT_EQ(field(kWebGui, "MeasurementSystem"), "Metric");
    setTemperatureScale("1");
    EXPECT_EQ(ask("00003", change("MeasurementSystem", "Imperial")).messageId, "Success");
    EXPECT_EQ(field(kWebGui, "MeasurementSystem"), "Imperial");
    EXPECT_EQ(temperatureScale(), "1");
}

class SettingsOfARestartedDaemon : public Settings {};

TEST_F(SettingsOfARestartedDaemon, ActOnTheDevicesAgain) {
    EXPECT_EQ(ask("00003", change("ScreenBrightness", "2")).messageId, "Success");
    EXPECT_EQ(ask("00003", change("BacklightOff", "Off After 3 Minutes")).messageId, "Success");
    EXPECT_EQ(ask("00003", change("Theme", "light")).messageId, "Success");
    EXPECT_EQ(stopDaemon(), 0);
    loseThePanelsState();
    startDaemon();
    EXPECT_EQ(backlight(), std::to_string(2 * kStepsPerLevel));
    EXPECT_EQ(blankTimeOut(), "180");
    EXPECT_EQ(field(kWebGui, "Theme"), "light");
    EXPECT_EQ(field(kWebGui, "ScreenBrightness"), "2");
}

} // namespace
