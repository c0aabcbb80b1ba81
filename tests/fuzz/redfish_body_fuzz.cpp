// What a client sends to the Redfish service: the first byte selects how the rest is read (see the
// table below), as a body or a query. It is accepted if the provider's own table of settings
// accepts it; every refusal fits into an answer.
#include "client/settings.h"
#include "redfish/model/accounts.h"
#include "redfish/model/query.h"
#include "redfish/model/settings_change.h"
#include "redfish/model/webgui.h"
#include "tests/fuzz/fuzz.h"

#include <array>

using fuzz::require;

namespace {

using namespace redfish::model;

// An error body repeats names and values cut to this, a message four of them at most.
constexpr std::size_t kMaxArgumentBytes = 80;

void checkProblems(const Problems& problems) {
    if (problems.empty()) {
        return;
    }
    const int status = statusOf(problems);
    require(status >= 400 && status < 600, "problems have a status of their own");
    for (const Problem& problem : problems) {
        require(problem.arguments.size() == entryOf(problem.message).arguments.size(),
                "a message has its arguments", entryOf(problem.message).name);
        for (const std::string& argument : problem.arguments) {
            require(argument.size() <= kMaxArgumentBytes, "an argument is short", argument);
        }
    }
    const std::string bytes = serialise(errorBody(problems));
    require(Json::parse(bytes)["error"]["@Message.ExtendedInfo"].size() == problems.size(),
            "an error body is JSON and tells every problem", bytes);
}

void checkSettingsBody(std::string_view body) {
    const auto checked = checkSettingsPatch(body);
    checkProblems(checked.problems);
    if (!checked.isGood()) {
        return;
    }
    require(!checked.value.empty(), "a good change changes something");
    // Throws for what the provider would not take.
    client::checkSettings(checked.value, false);
    StoredWebGui stored;
    for (const auto& [name, value] : checked.value) {
        stored.resource[name] = value;
    }
    const Json shown = webGui(stored);
    const Json sent = Json::parse(body);
    for (const auto& [name, value] : checked.value) {
        require(shown.at(name) == sent.at(name), "the resource shows what was sent", name);
    }
}

void checkAccountBody(std::string_view body) {
    const AccountRules rules;
    const auto fresh = checkNewAccount(body, rules);
    checkProblems(fresh.problems);
    require(!fresh.isGood() || fresh.value.password.size() >= rules.minPasswordLength,
            "a good account has a password");
    checkProblems(checkAccountPatch(body, rules).problems);
}

void checkSessionBody(std::string_view body) {
    checkProblems(checkNewSession(body).problems);
    const auto timeout = checkSessionServicePatch(body);
    checkProblems(timeout.problems);
    require(!timeout.isGood() || timeout.value.count() >= 30, "a session may be idle for a while");
}

void checkAction(std::string_view body) {
    checkProblems(checkActionBody("WebGUI.TurnOffLCD", body));
}

// Parameters stand between "&", name and value round "=".
void checkQueryText(std::string_view text) {
    std::vector<std::pair<std::string, std::string>> parameters;
    for (const std::string_view each : fuzz::split(text, '&')) {
        const std::size_t equals = each.find('=');
        parameters.emplace_back(each.substr(0, equals), equals == std::string_view::npos
                                                            ? std::string_view()
                                                            : each.substr(equals + 1));
    }
    const auto query = checkQuery(parameters);
    for (const Problem& problem : query.problems) {
        require(problem.arguments.size() == entryOf(problem.message).arguments.size(),
                "a message has its arguments", entryOf(problem.message).name);
    }
    if (query.isGood()) {
        const Json whole = webGui({});
        const Json part = applyQuery(whole, query.value,
                                     [](const std::string&) { return std::optional<Json>(); });
        require(part.at("@odata.id") == whole.at("@odata.id"), "a part keeps its address");
        require(part.size() <= whole.size(), "a part is no more than the whole");
    }
}

struct Reading {
    std::uint8_t letter;
    void (*check)(std::string_view text);
};
constexpr std::array kReadings{
    Reading{'s', checkSettingsBody}, Reading{'a', checkAccountBody}, Reading{'l', checkSessionBody},
    Reading{'x', checkAction},       Reading{'q', checkQueryText},
};

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    for (const Reading& reading : kReadings) {
        if (size > 0 && data[0] == reading.letter) {
            reading.check(fuzz::asText(data, size).substr(1));
        }
    }
    return 0;
}
