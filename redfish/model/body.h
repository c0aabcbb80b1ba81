// The body of a request: parsed as JSON, then checked member by member against rules. Every problem
// is reported, not only the first. Any thread; nothing throws.
#pragma once

#include "redfish/model/errors.h"

#include <limits>
#include <span>
#include <string>
#include <string_view>

namespace redfish::model {

// How deep a body may nest.
inline constexpr int kMaxBodyDepth = 16;

// Parses a body, which must be a JSON object; two members of the same name in one object, at any
// depth, are a problem.
Checked<Json> parseBody(std::string_view text);

// What a member of a body may be.
struct Rule {
    enum class Kind : std::uint8_t {
        text,
        boolean,
        integer,
        secret,   // a text that no message repeats
        group,    // an object without known members
        readOnly, // any value is a problem
    };

    std::string_view name;
    Kind kind = Kind::text;
    // Required in a body that creates something.
    bool isNeeded = false;
    // Of an integer, both included.
    std::int64_t least = std::numeric_limits<std::int64_t>::min();
    std::int64_t most = std::numeric_limits<std::int64_t>::max();
};

// Checks the members of a body. A member without a rule is unknown; annotations of OData
// ("@odata.type", "Members@odata.count") are ignored.
//   mayBeEmpty  otherwise a body without members but annotations is a problem
Problems checkMembers(const Json& body, std::span<const Rule> rules, bool mayBeEmpty = false);

// The problem with one value, if any.
//   rule  of the kind text, boolean, integer or secret
Problems checkValue(const Rule& rule, const Json& value);

// The JSON pointer to a member of the body, "#/Name", with "~" and "/" escaped.
std::string pointerTo(std::string_view name);

} // namespace redfish::model
