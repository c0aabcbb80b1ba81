#include "redfish/model/body.h"

#include <algorithm>
#include <set>
#include <vector>

namespace redfish::model {

namespace {

// Checks the depth first: the parser would build the whole tree. May miscount text that is not
// JSON, which the parser then refuses.
bool nestsTooDeeply(std::string_view text) {
    int depth = 0;
    bool isInText = false;
    for (std::size_t i = 0; i < text.size() && depth <= kMaxBodyDepth; ++i) {
        if (isInText && text[i] == '\\') {
            ++i;
        } else if (text[i] == '"') {
            isInText = !isInText;
        } else if (!isInText && (text[i] == '{' || text[i] == '[')) {
            ++depth;
        } else if (!isInText && (text[i] == '}' || text[i] == ']')) {
            --depth;
        }
    }
    return depth > kMaxBodyDepth;
}

// Follows the parser through a body and collects names that an object has twice.
class Watcher {
public:
    bool operator()(Json::parse_event_t event, const Json& parsed) {
        using Event = Json::parse_event_t;
        if (event == Event::object_start) {
            names_.emplace_back();
        } else if (event == Event::object_end) {
            names_.pop_back();
        } else if (event == Event::key) {
            const std::string name = shortened(parsed.get<std::string>());
            if (!names_.back().insert(parsed.get<std::string>()).second) {
                duplicates_.insert(name);
            }
        }
        return true;
    }

    const std::set<std::string>& duplicates() const { return duplicates_; }

    static std::string shortened(const std::string& name) {
        const std::string quoted = shown(name);
        return quoted.ends_with("...") ? quoted.substr(1) : quoted.substr(1, quoted.size() - 2);
    }

private:
    std::vector<std::set<std::string>> names_;
    std::set<std::string> duplicates_;
};

bool isOdataAnnotation(std::string_view name) {
    const std::size_t at = name.find('@');
    return at != std::string_view::npos && name.substr(at).starts_with("@odata.");
}

Problem propertyProblem(Message message, std::string_view name) {
    return {message, {Watcher::shortened(std::string(name))}, pointerTo(name)};
}

Problem valueProblem(Message message, const Rule& rule, const Json& value) {
    if (rule.kind == Rule::Kind::secret) {
        return propertyProblem(Message::propertyValueError, rule.name);
    }
    return {message, {shown(value), std::string(rule.name)}, pointerTo(rule.name)};
}

Problems checkGroup(const Rule& rule, const Json& value) {
    if (!value.is_object()) {
        return {valueProblem(Message::propertyValueTypeError, rule, value)};
    }
    Problems problems;
    for (const auto& [name, member] : value.items()) {
        if (!isOdataAnnotation(name)) {
            problems.push_back(propertyProblem(Message::propertyUnknown, name));
            problems.back().property = pointerTo(rule.name) + pointerTo(name).substr(1);
        }
    }
    return problems;
}

Problems checkInteger(const Rule& rule, const Json& value) {
    if (!value.is_number_integer()) {
        return {valueProblem(Message::propertyValueTypeError, rule, value)};
    }
    const bool isHuge = value.is_number_unsigned() &&
                        value.get<std::uint64_t>() >
                            static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max());
    if (isHuge || value.get<std::int64_t>() < rule.least || value.get<std::int64_t>() > rule.most) {
        return {valueProblem(Message::propertyValueOutOfRange, rule, value)};
    }
    return {};
}

Problems checkMember(const Rule& rule, const Json& value) {
    if (rule.kind == Rule::Kind::readOnly) {
        return {propertyProblem(Message::propertyNotWritable, rule.name)};
    }
    return rule.kind == Rule::Kind::group ? checkGroup(rule, value) : checkValue(rule, value);
}

void append(Problems& problems, Problems more) {
    std::move(more.begin(), more.end(), std::back_inserter(problems));
}

} // namespace

Checked<Json> parseBody(std::string_view text) {
    if (text.empty()) {
        return {{}, {{Message::unrecognizedRequestBody, {}, {}}}};
    }
    if (nestsTooDeeply(text)) {
        return {{}, {{Message::malformedJson, {}, {}}}};
    }
    Watcher watcher;
    // The lambda holds a reference, since the parser copies its callback.
    const Json body = Json::parse(
        text,
        [&watcher](int /*depth*/, Json::parse_event_t event, Json& parsed) {
            return watcher(event, parsed);
        },
        false);
    if (body.is_discarded()) {
        return {{}, {{Message::malformedJson, {}, {}}}};
    }
    if (!body.is_object()) {
        return {{}, {{Message::unrecognizedRequestBody, {}, {}}}};
    }
    Problems problems;
    for (const std::string& name : watcher.duplicates()) {
        problems.push_back({Message::propertyDuplicate, {name}, pointerTo(name)});
    }
    return {body, problems};
}

Problems checkValue(const Rule& rule, const Json& value) {
    switch (rule.kind) {
    case Rule::Kind::boolean:
        if (value.is_boolean()) {
            return {};
        }
        break;
    case Rule::Kind::integer:
        return checkInteger(rule, value);
    default:
        if (value.is_string()) {
            return {};
        }
        break;
    }
    return {valueProblem(Message::propertyValueTypeError, rule, value)};
}

Problems checkMembers(const Json& body, std::span<const Rule> rules, bool mayBeEmpty) {
    Problems problems;
    bool hasMembers = false;
    for (const auto& [name, value] : body.items()) {
        if (isOdataAnnotation(name)) {
            continue;
        }
        hasMembers = true;
        const auto rule =
            std::find_if(rules.begin(), rules.end(),
                         [&name = name](const Rule& each) { return each.name == name; });
        if (rule == rules.end()) {
            problems.push_back(propertyProblem(Message::propertyUnknown, name));
        } else {
            append(problems, checkMember(*rule, value));
        }
    }
    for (const Rule& rule : rules) {
        if (rule.isNeeded && !body.contains(rule.name)) {
            problems.push_back(propertyProblem(Message::propertyMissing, rule.name));
        }
    }
    if (!hasMembers && !mayBeEmpty && problems.empty()) {
        problems.push_back({body.empty() ? Message::emptyJson : Message::noOperation, {}, {}});
    }
    return problems;
}

std::string pointerTo(std::string_view name) {
    std::string pointer = "#/";
    for (const char letter : name) {
        if (letter == '~') {
            pointer += "~0";
        } else if (letter == '/') {
            pointer += "~1";
        } else {
            pointer += letter;
        }
    }
    return pointer;
}

} // namespace redfish::model
