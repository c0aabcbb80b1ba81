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
constexpr std::array<std::string_view, 2> kMeasurementMeanings{
    "Degrees Fahrenheit, inches and pounds.", "Degrees Celsius, metres and kilograms."};
constexpr std::array<std::string_view, 2> kThemeMeanings{"Light text on dark ground.",
                                                         "Dark text on light ground."};
constexpr std::array<std::string_view, 2> kBoolean{"true", "false"};
constexpr std::span<const std::string_view> kAnyText{};

// An update carries all rows of its message id.
// clang-format off
//      name                      id       kind           allowed values; description and meanings
constexpr std::array kSettings{
    Setting{"Language",               "00002", Kind::text,    kAnyText,
            "The language of the panel's texts, for instance English."},
    Setting{"ScreenBrightness",       "00003", Kind::integer, kBrightness,
            "Brightness of the panel's backlight, from darkest to brightest."},
    Setting{"BacklightOff",           "00003", Kind::text,    kBacklightOff,
            "How long the panel stays untouched before its backlight goes off."},
    Setting{"ActiveAlarmScreensaver", "00003", Kind::text,    kAnyText,
            "The panel's screensaver while an alarm is active, for instance Enabled."},
    Setting{"InactivityTimer",        "00003", Kind::text,    kAnyText,
            "How long the panel stays untouched before it returns to its start page, for instance 5 Minutes."},
    Setting{"MeasurementSystem",      "00003", Kind::text,    kMeasurement,
            "Units of the readings on the panel and the cooling unit.", kMeasurementMeanings},
    Setting{"DateFormat",             "00003", Kind::text,    kAnyText,
            "How the panel shows dates, for instance YYYY-MM-DD."},
    Setting{"TimeFormat",             "00003", Kind::text,    kAnyText,
            "How the panel shows the time of day, for instance 24 Hour."},
    Setting{"RoomAverage",            "00003", Kind::boolean, kBoolean,
            "Whether the panel shows the room's average instead of single sensors."},
    Setting{"HiLoPeriod",             "00003", Kind::text,    kAnyText,
            "Period of the highest and lowest reading on the panel, for instance 24 Hours."},
    Setting{"Theme",                  "00003", Kind::text,    kTheme,
            "The colours of the panel's pages.", kThemeMeanings},
    Setting{"EventUserName",          "00003", Kind::text,    kAnyText,
            "Who makes the change; told to the cooling unit."},
    Setting{"InitialBoot",            "00004", Kind::boolean, kBoolean,
            "Whether the panel's first set-up is still due."},
};
// clang-format on

static_assert(std::all_of(kSettings.begin(), kSettings.end(),
                          [](const Setting& each) {
                              return each.meanings.empty() ||
                                     each.meanings.size() == each.allowed.size();
                          }),
              "a value without a meaning");

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
    const std::string name(setting.name);
    switch (faultOf(setting, value)) {
    case Fault::none:
        return;
    case Fault::tooLong:
        throw InvalidArgument(name + ": the value has " + std::to_string(value.size()) +
                              " bytes; at most " + std::to_string(kMaxValueBytes) + " are kept");
    case Fault::holdsNul:
        throw InvalidArgument(name + ": the value holds a NUL byte");
    case Fault::notAllowed:
        throw InvalidArgument(name + ": \"" + value + "\" is not allowed; allowed are " +
                              listOf(setting.allowed));
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

Fault faultOf(const Setting& setting, std::string_view value) {
    if (value.size() > kMaxValueBytes) {
        return Fault::tooLong;
    }
    if (value.find('\0') != std::string_view::npos) {
        return Fault::holdsNul;
    }
    const auto allowed = setting.allowed;
    return allowed.empty() || std::find(allowed.begin(), allowed.end(), value) != allowed.end()
               ? Fault::none
               : Fault::notAllowed;
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
