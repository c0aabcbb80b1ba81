// The table of the settings, and the check of a change before anything is sent.
// Reading and sending are left to client/webgui.cpp.
#include "client/settings.h"

#include "client/errors.h"
#include "client/names.h"

#include <algorithm>
#include <array>
#include <set>

namespace client {

namespace {

constexpr std::array<std::string_view, 7> kBrightness{"1", "2", "3", "4", "5", "6", "7"};
constexpr std::array<std::string_view, 6> kBacklightOff{
    "Never",
    "Off After 1 Minute",
    "Off After 2 Minutes",
    "Off After 3 Minutes",
    "Off After 4 Minutes",
    "Off After 5 Minutes",
};
constexpr std::array<std::string_view, 2> kMeasurement{"Imperial", "Metric"};
constexpr std::array<std::string_view, 2> kTheme{"dark", "light"};
constexpr std::array<std::string_view, 2> kBoolean{"true", "false"};
constexpr std::span<const std::string_view> kAnyText{};

// An update carries all rows of its message id.
// clang-format off
//      name                      message id  allowed values
constexpr std::array kSettings{
    Setting{"Language",               "00002",     kAnyText},
    Setting{"ScreenBrightness",       "00003",     kBrightness},
    Setting{"BacklightOff",           "00003",     kBacklightOff},
    Setting{"ActiveAlarmScreensaver", "00003",     kAnyText},
    Setting{"InactivityTimer",        "00003",     kAnyText},
    Setting{"MeasurementSystem",      "00003",     kMeasurement},
    Setting{"DateFormat",             "00003",     kAnyText},
    Setting{"TimeFormat",             "00003",     kAnyText},
    Setting{"RoomAverage",            "00003",     kBoolean},
    Setting{"HiLoPeriod",             "00003",     kAnyText},
    Setting{"Theme",                  "00003",     kTheme},
    Setting{"EventUserName",          "00003",     kAnyText},
    Setting{"InitialBoot",            "00004",     kBoolean},
};
// clang-format on

std::string listOf(std::span<const std::string_view> texts) {
    std::string list;
    for (const std::string_view text : texts) {
        list += (list.empty() ? "\"" : ", \"") + std::string(text) + "\"";
    }
    return list;
}

std::string listOfNames() {
    std::string list;
    for (const Setting& setting : kSettings) {
        list += (list.empty() ? "" : ", ") + std::string(setting.name);
    }
    return list;
}

void checkValue(const Setting& setting, const std::string& value) {
    const std::string subject = std::string(setting.name) + ": \"" + value + "\" ";
    if (value.size() > kLongestValue) {
        throw InvalidArgument(std::string(setting.name) + ": the value has " +
                              std::to_string(value.size()) + " bytes; at most " +
                              std::to_string(kLongestValue) + " are kept");
    }
    if (value.find('\0') != std::string::npos) {
        throw InvalidArgument(std::string(setting.name) + ": the value holds a NUL byte");
    }
    const auto allowed = setting.allowed;
    if (!allowed.empty() && std::find(allowed.begin(), allowed.end(), value) == allowed.end()) {
        throw InvalidArgument(subject + "is not allowed; allowed are " + listOf(allowed));
    }
}

} // namespace

std::span<const Setting> settings() {
    return kSettings;
}

const Setting* findSetting(std::string_view name) {
    const auto* const row = std::find_if(kSettings.begin(), kSettings.end(),
                                         [name](const Setting& each) { return each.name == name; });
    return row == kSettings.end() ? nullptr : row;
}

void checkSettings(const SettingValues& values, bool anyValue) {
    std::set<std::string_view> seen;
    for (const auto& [name, value] : values) {
        const Setting* const setting = findSetting(name);
        if (setting == nullptr) {
            throw InvalidArgument("there is no setting \"" + name + "\"; there are " +
                                  listOfNames());
        }
        if (!seen.insert(name).second) {
            throw InvalidArgument(name + " is given twice; give it once");
        }
        if (!anyValue) {
            checkValue(*setting, value);
        }
    }
}

} // namespace client
