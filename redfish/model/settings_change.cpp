#include "redfish/model/settings_change.h"

#include "client/names.h"

#include <algorithm>
#include <array>
#include <charconv>

namespace redfish::model {

namespace {

constexpr std::array<std::string_view, 4> kReadOnlyProperties{"Actions", "Description", "Id",
                                                              "Name"};

std::int64_t numberIn(std::string_view text) {
    std::int64_t number = 0;
    std::from_chars(text.data(), text.data() + text.size(), number);
    return number;
}

Rule ruleFor(const client::Setting& setting) {
    switch (setting.kind) {
    case client::Kind::boolean:
        return {setting.name, Rule::Kind::boolean};
    case client::Kind::integer:
        // The allowed values ascend without gaps.
        return {setting.name, Rule::Kind::integer, false, numberIn(setting.allowed.front()),
                numberIn(setting.allowed.back())};
    default:
        return {setting.name, Rule::Kind::text};
    }
}

std::vector<Rule> rules() {
    std::vector<Rule> all{{"Oem", Rule::Kind::group}};
    for (const std::string_view name : kReadOnlyProperties) {
        all.push_back({name, Rule::Kind::readOnly});
    }
    for (const client::Setting* const setting : writableSettings()) {
        all.push_back(ruleFor(*setting));
    }
    return all;
}

// The value as the provider takes it.
std::string textOfValue(const Json& value) {
    return value.is_string() ? value.get<std::string>() : value.dump();
}

// The problem with a value of the right type, if any.
Problems checkAgainst(const client::Setting& setting, const Json& value) {
    const std::string name(setting.name);
    switch (client::faultOf(setting, textOfValue(value))) {
    case client::Fault::tooLong:
        return {{Message::stringValueTooLong,
                 {shown(value), std::to_string(client::kMaxValueBytes)},
                 pointerTo(name)}};
    case client::Fault::holdsNul:
        return {{Message::propertyValueFormatError, {shown(value), name}, pointerTo(name)}};
    case client::Fault::notAllowed:
        return {{Message::propertyValueNotInList, {shown(value), name}, pointerTo(name)}};
    default:
        return {};
    }
}

} // namespace

std::vector<const client::Setting*> writableSettings() {
    std::vector<const client::Setting*> writable;
    for (const client::Setting& setting : client::settings()) {
        if (setting.name != client::kUserField) {
            writable.push_back(&setting);
        }
    }
    return writable;
}

Checked<client::SettingValues> checkSettingsPatch(std::string_view body) {
    static const std::vector<Rule> kRules = rules();
    const Checked<Json> parsed = parseBody(body);
    if (!parsed.isGood()) {
        return {{}, parsed.problems};
    }
    Checked<client::SettingValues> result{{}, checkMembers(parsed.value, kRules)};
    for (const client::Setting* const setting : writableSettings()) {
        const auto member = parsed.value.find(setting->name);
        if (member == parsed.value.end() || !checkValue(ruleFor(*setting), *member).empty()) {
            continue;
        }
        const Problems problems = checkAgainst(*setting, *member);
        result.problems.insert(result.problems.end(), problems.begin(), problems.end());
        result.value.emplace_back(setting->name, textOfValue(*member));
    }
    // The body may hold nothing but an empty "Oem".
    if (result.isGood() && result.value.empty()) {
        result.problems.push_back({Message::noOperation, {}, {}});
    }
    return result;
}

Problems checkActionBody(std::string_view action, std::string_view body) {
    if (body.empty()) {
        return {};
    }
    const Checked<Json> parsed = parseBody(body);
    Problems problems = parsed.problems;
    if (parsed.isGood()) {
        problems = checkMembers(parsed.value, {}, true);
    }
    for (Problem& problem : problems) {
        if (problem.message == Message::propertyUnknown) {
            problem.message = Message::actionParameterUnknown;
            problem.arguments.insert(problem.arguments.begin(), std::string(action));
        }
    }
    return problems;
}

} // namespace redfish::model
