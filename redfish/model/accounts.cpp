#include "redfish/model/accounts.h"

#include "redfish/model/services.h"

#include <algorithm>
#include <array>

namespace redfish::model {

namespace {

using Kind = Rule::Kind;

constexpr std::int64_t kMinTimeoutSeconds = 30;
constexpr std::int64_t kMaxTimeoutSeconds = 86400;

constexpr std::array kSessionRules{
    Rule{"UserName", Kind::text, true},  Rule{"Password", Kind::secret, true},
    Rule{"Context", Kind::readOnly},     Rule{"Id", Kind::readOnly},
    Rule{"Name", Kind::readOnly},        Rule{"Description", Kind::readOnly},
    Rule{"CreatedTime", Kind::readOnly}, Rule{"ClientOriginIPAddress", Kind::readOnly},
    Rule{"SessionType", Kind::readOnly}, Rule{"Oem", Kind::group},
};

constexpr std::array kNewAccountRules{
    Rule{"UserName", Kind::text, true},
    Rule{"Password", Kind::secret, true},
    Rule{"RoleId", Kind::text, true},
    Rule{"Enabled", Kind::boolean},
    Rule{"Id", Kind::readOnly},
    Rule{"Name", Kind::readOnly},
    Rule{"Description", Kind::readOnly},
    Rule{"Locked", Kind::readOnly},
    Rule{"AccountTypes", Kind::readOnly},
    Rule{"Links", Kind::readOnly},
    Rule{"Oem", Kind::group},
};

constexpr std::array kAccountRules{
    Rule{"Password", Kind::secret},
    Rule{"RoleId", Kind::text},
    Rule{"Enabled", Kind::boolean},
    Rule{"Locked", Kind::boolean},
    Rule{"UserName", Kind::readOnly},
    Rule{"Id", Kind::readOnly},
    Rule{"Name", Kind::readOnly},
    Rule{"Description", Kind::readOnly},
    Rule{"AccountTypes", Kind::readOnly},
    Rule{"Links", Kind::readOnly},
    Rule{"Oem", Kind::group},
};

constexpr std::array kSessionServiceRules{
    Rule{"SessionTimeout", Kind::integer, false, kMinTimeoutSeconds, kMaxTimeoutSeconds},
    Rule{"Id", Kind::readOnly},
    Rule{"Name", Kind::readOnly},
    Rule{"Description", Kind::readOnly},
    Rule{"ServiceEnabled", Kind::readOnly},
    Rule{"Sessions", Kind::readOnly},
    Rule{"Status", Kind::readOnly},
    Rule{"Oem", Kind::group},
};

// Parses a body and checks its members.
Checked<Json> parse(std::string_view text, std::span<const Rule> rules) {
    Checked<Json> parsed = parseBody(text);
    if (parsed.isGood()) {
        parsed.problems = checkMembers(parsed.value, rules);
    }
    return parsed;
}

// A string of the body; empty if missing or of another type.
std::string textIn(const Json& body, const char* name) {
    const auto member = body.find(name);
    return member != body.end() && member->is_string() ? member->get<std::string>() : std::string();
}

void checkPassword(const Json& body, const AccountRules& rules, Problems& problems) {
    if (!body.contains("Password") || !body["Password"].is_string()) {
        return;
    }
    const std::string password = body["Password"].get<std::string>();
    const auto length =
        static_cast<std::size_t>(std::count_if(password.begin(), password.end(), [](char byte) {
            return (static_cast<unsigned char>(byte) & 0xC0U) != 0x80U;
        }));
    if (length < rules.minPasswordLength || length > rules.maxPasswordLength) {
        problems.push_back(
            {Message::passwordLength,
             {std::to_string(rules.minPasswordLength), std::to_string(rules.maxPasswordLength)},
             pointerTo("Password")});
    } else if (password.find('\0') != std::string::npos) {
        problems.push_back({Message::propertyValueError, {"Password"}, pointerTo("Password")});
    }
}

void checkRole(const Json& body, Problems& problems) {
    if (body.contains("RoleId") && body["RoleId"].is_string() &&
        findRole(textIn(body, "RoleId")) == nullptr) {
        problems.push_back({Message::propertyValueNotInList,
                            {shown(body["RoleId"]), "RoleId"},
                            pointerTo("RoleId")});
    }
}

} // namespace

Checked<Credentials> checkNewSession(std::string_view body) {
    const Checked<Json> parsed = parse(body, kSessionRules);
    return {{textIn(parsed.value, "UserName"), textIn(parsed.value, "Password")}, parsed.problems};
}

Checked<NewAccount> checkNewAccount(std::string_view body, const AccountRules& rules) {
    const Checked<Json> parsed = parse(body, kNewAccountRules);
    Problems problems = parsed.problems;
    const std::string name = textIn(parsed.value, "UserName");
    if (parsed.value.contains("UserName") && parsed.value["UserName"].is_string() &&
        rules.isAccountName != nullptr && !rules.isAccountName(name)) {
        problems.push_back(
            {Message::propertyValueFormatError, {shown(name), "UserName"}, pointerTo("UserName")});
    }
    checkPassword(parsed.value, rules, problems);
    checkRole(parsed.value, problems);
    const bool isEnabled = !problems.empty() || parsed.value.value("Enabled", true);
    return {{name, textIn(parsed.value, "Password"), textIn(parsed.value, "RoleId"), isEnabled},
            problems};
}

Checked<AccountChange> checkAccountPatch(std::string_view body, const AccountRules& rules) {
    const Checked<Json> parsed = parse(body, kAccountRules);
    Checked<AccountChange> result{{}, parsed.problems};
    checkPassword(parsed.value, rules, result.problems);
    checkRole(parsed.value, result.problems);
    if (parsed.value.contains("Locked") && parsed.value["Locked"] == true) {
        result.problems.push_back(
            {Message::propertyValueNotInList, {"true", "Locked"}, pointerTo("Locked")});
    }
    if (!result.isGood()) {
        return result;
    }
    const Json& good = parsed.value;
    AccountChange& change = result.value;
    if (good.contains("Password")) {
        change.password = textIn(good, "Password");
    }
    if (good.contains("RoleId")) {
        change.roleId = textIn(good, "RoleId");
    }
    if (good.contains("Enabled")) {
        change.isEnabled = good["Enabled"].get<bool>();
    }
    change.unlocks = good.contains("Locked");
    if (!change.password && !change.roleId && !change.isEnabled && !change.unlocks) {
        result.problems.push_back({Message::noOperation, {}, {}});
    }
    return result;
}

Checked<std::chrono::seconds> checkSessionServicePatch(std::string_view body) {
    const Checked<Json> parsed = parse(body, kSessionServiceRules);
    Checked<std::chrono::seconds> result{{}, parsed.problems};
    if (result.isGood() && !parsed.value.contains("SessionTimeout")) {
        result.problems.push_back({Message::noOperation, {}, {}});
    }
    if (result.isGood()) {
        result.value = std::chrono::seconds(parsed.value["SessionTimeout"].get<std::int64_t>());
    }
    return result;
}

} // namespace redfish::model
