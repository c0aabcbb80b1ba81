#include "redfish/model/query.h"

#include <algorithm>
#include <array>
#include <charconv>

namespace redfish::model {

namespace {

constexpr std::string_view kLevels = "$levels=";

// Query parameters of the standard without "$" that this service does not support.
constexpr std::array<std::string_view, 2> kUnsupported{"only", "excerpt"};

bool isPathLetter(char letter) {
    return (letter >= 'a' && letter <= 'z') || (letter >= 'A' && letter <= 'Z') ||
           (letter >= '0' && letter <= '9') ||
           std::string_view("_-.#@/").find(letter) != std::string_view::npos;
}

Problem badFormat(const std::string& name, const std::string& value) {
    return {Message::queryParameterValueFormatError, {shown(value), name}, {}};
}

void readSelect(const std::string& name, const std::string& value, Checked<Query>& result) {
    std::string_view rest = value;
    while (true) {
        const std::size_t comma = rest.find(',');
        const std::string_view path = rest.substr(0, comma);
        if (path.empty() || path.front() == '/' || path.back() == '/' ||
            !std::all_of(path.begin(), path.end(), isPathLetter)) {
            result.problems.push_back(badFormat(name, value));
            return;
        }
        result.value.selected.emplace_back(path);
        if (comma == std::string_view::npos) {
            return;
        }
        rest.remove_prefix(comma + 1);
    }
}

Expansion expansionOf(char letter) {
    switch (letter) {
    case '.':
        return Expansion::noLinks;
    case '~':
        return Expansion::links;
    case '*':
        return Expansion::all;
    default:
        return Expansion::none;
    }
}

void readExpand(const std::string& name, const std::string& value, Checked<Query>& result) {
    std::string_view rest = value;
    result.value.expansion = rest.empty() ? Expansion::none : expansionOf(rest.front());
    if (result.value.expansion == Expansion::none) {
        result.problems.push_back(badFormat(name, value));
        return;
    }
    rest.remove_prefix(1);
    if (rest.empty()) {
        return;
    }
    if (rest.size() < 2 || rest.front() != '(' || rest.back() != ')' ||
        !rest.substr(1).starts_with(kLevels)) {
        result.problems.push_back(badFormat(name, value));
        return;
    }
    const std::string_view digits =
        rest.substr(1 + kLevels.size(), rest.size() - 2 - kLevels.size());
    unsigned int levels = 0;
    const auto [end, failure] =
        std::from_chars(digits.data(), digits.data() + digits.size(), levels);
    if (failure == std::errc::invalid_argument || end != digits.data() + digits.size()) {
        result.problems.push_back(badFormat(name, value));
    } else if (failure != std::errc() || levels != 1) {
        result.problems.push_back(
            {Message::queryParameterOutOfRange, {std::string(digits), "$levels", "1"}, {}});
    }
}

// Whether a value is nothing but a link.
bool isLink(const Json& value) {
    return value.is_object() && value.size() == 1 && value.contains("@odata.id") &&
           value["@odata.id"].is_string();
}

class Expander {
public:
    Expander(Expansion expansion, const Lookup& lookup) : expansion_(expansion), lookup_(lookup) {}

    // Expands the links inside of a value that is not a link itself.
    void expand(Json& value, bool isInLinks) const {
        if (value.is_array()) {
            for (Json& element : value) {
                visit(element, isInLinks);
            }
        } else if (value.is_object()) {
            for (auto member = value.begin(); member != value.end(); ++member) {
                visit(member.value(), isInLinks || member.key() == "Links");
            }
        }
    }

private:
    void visit(Json& value, bool isInLinks) const {
        if (!isLink(value)) {
            expand(value, isInLinks);
            return;
        }
        const Expansion needed = isInLinks ? Expansion::links : Expansion::noLinks;
        if (expansion_ != Expansion::all && expansion_ != needed) {
            return;
        }
        if (std::optional<Json> found = lookup_(value["@odata.id"].get<std::string>())) {
            value = *std::move(found);
        }
    }

    Expansion expansion_;
    const Lookup& lookup_;
};

// Whether a member identifies the document, so that no selection removes it.
bool staysAnyway(std::string_view name) {
    return name.starts_with("@") || name == "Members@odata.count";
}

Json cut(const Json& object, const std::vector<std::string_view>& paths) {
    Json result = Json::object();
    for (const auto& [name, value] : object.items()) {
        const std::string_view base = std::string_view(name).substr(0, name.find('@'));
        bool isWhole = staysAnyway(name);
        std::vector<std::string_view> inner;
        for (const std::string_view path : paths) {
            if (path == name || (path == base && base.size() < name.size())) {
                isWhole = true;
            } else if (path.size() > name.size() && path.starts_with(name) &&
                       path[name.size()] == '/') {
                inner.push_back(path.substr(name.size() + 1));
            }
        }
        if (isWhole) {
            result[name] = value;
        } else if (!inner.empty() && value.is_object()) {
            result[name] = cut(value, inner);
        }
    }
    return result;
}

Json select(const Json& document, const std::vector<std::string>& selected) {
    const std::vector<std::string_view> paths(selected.begin(), selected.end());
    const auto members = document.find("Members");
    const bool isExpanded = members != document.end() && members->is_array() && !members->empty() &&
                            !isLink(members->front());
    if (!isExpanded) {
        return cut(document, paths);
    }
    Json result = document;
    for (Json& member : result["Members"]) {
        member = cut(member, paths);
    }
    return result;
}

} // namespace

Checked<Query> checkQuery(const std::vector<std::pair<std::string, std::string>>& parameters) {
    Checked<Query> result;
    std::vector<std::string_view> seen;
    for (const auto& [name, value] : parameters) {
        const bool isOurs = name == "$select" || name == "$expand";
        if (isOurs && std::find(seen.begin(), seen.end(), name) != seen.end()) {
            result.problems.push_back(badFormat(name, value));
            continue;
        }
        seen.push_back(name);
        if (name == "$select") {
            readSelect(name, value, result);
        } else if (name == "$expand") {
            readExpand(name, value, result);
        } else if (name.starts_with("$") || std::find(kUnsupported.begin(), kUnsupported.end(),
                                                      name) != kUnsupported.end()) {
            result.problems.push_back({Message::queryParameterUnsupported, {name}, {}});
        }
    }
    return result;
}

Json applyQuery(Json document, const Query& query, const Lookup& lookup) {
    if (query.expansion != Expansion::none) {
        Expander(query.expansion, lookup).expand(document, false);
    }
    return query.selected.empty() ? document : select(document, query.selected);
}

} // namespace redfish::model
