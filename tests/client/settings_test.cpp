#include "client/settings.h"

#include "client/errors.h"

#include <gmock/gmock.h>

namespace {

using client::checkSettings;
using client::settings;
using testing::ElementsAre;

std::vector<std::string_view> namesFor(std::string_view messageId) {
    std::vector<std::string_view> names;
    for (const client::Setting& each : settings()) {
        if (each.messageId == messageId) {
            names.push_back(each.name);
        }
    }
    return names;
}

TEST(Settings, AreThoseOfTheThreeUpdateRequestsInTheirOrder) {
    EXPECT_THAT(namesFor("00002"), ElementsAre("Language"));
    EXPECT_THAT(namesFor("00003"),
                ElementsAre("ScreenBrightness", "BacklightOff", "ActiveAlarmScreensaver",
                            "InactivityTimer", "MeasurementSystem", "DateFormat", "TimeFormat",
                            "RoomAverage", "HiLoPeriod", "Theme", "EventUserName"));
    EXPECT_THAT(namesFor("00004"), ElementsAre("InitialBoot"));
    EXPECT_EQ(settings().size(), 13U);
}

TEST(Settings, AreFoundByTheirExactNames) {
    ASSERT_NE(client::findSetting("Theme"), nullptr);
    EXPECT_EQ(client::findSetting("Theme")->name, "Theme");
    EXPECT_EQ(client::findSetting("theme"), nullptr);
    EXPECT_EQ(client::findSetting(""), nullptr);
}

TEST(CheckSettings, TakesEveryAllowedValue) {
    for (const client::Setting& each : settings()) {
        for (const std::string_view value : each.allowed) {
            EXPECT_NO_THROW(checkSettings({{std::string(each.name), std::string(value)}}, false));
        }
        if (each.allowed.empty()) {
            EXPECT_NO_THROW(checkSettings({{std::string(each.name), ""}}, false));
            EXPECT_NO_THROW(
                checkSettings({{std::string(each.name), std::string(255, 'x')}}, false));
            EXPECT_THROW(checkSettings({{std::string(each.name), std::string(256, 'x')}}, false),
                         client::InvalidArgument);
            EXPECT_THROW(checkSettings({{std::string(each.name), std::string(1, '\0')}}, false),
                         client::InvalidArgument);
        } else {
            EXPECT_THROW(checkSettings({{std::string(each.name), "other"}}, false),
                         client::InvalidArgument);
            EXPECT_NO_THROW(checkSettings({{std::string(each.name), "other"}}, true));
        }
    }
}

TEST(CheckSettings, RefusesUnknownAndRepeatedNamesEvenIfAnyValueIsTaken) {
    EXPECT_THROW(checkSettings({{"Unknown", "x"}}, true), client::InvalidArgument);
    EXPECT_THROW(checkSettings({{"Theme", "dark"}, {"Theme", "dark"}}, true),
                 client::InvalidArgument);
}

} // namespace
