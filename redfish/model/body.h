// The body of a request: read as JSON, then checked member by member against rules. Every
// problem is told, not only the first.
#pragma once

#include "redfish/model/errors.h"

#include <limits>
#include <span>
#include <string>
#include <string_view>

namespace redfish::model {

// How deep a body may nest.
inline constexpr int kDeepestBody = 16;

// Reads a body that must be a JSON object without members of the same name at any depth.
Checked<Json> parseBody(std::string_view text);

// What a member of a body may be.
struct Rule {
    enum class Kind : std::uint8_t {
        text,
        boolean,
        integer,
        secret,   // a text that no message repeats
        group,    // an object of which no member is known
        readOnly, // any value, refused
    };

    std::string_view name;
    Kind kind = Kind::text;
    bool isNeeded = false; // of a body that creates
    std::int64_t least = std::numeric_limits<std::int64_t>::min();
    std::int64_t most = std::numeric_limits<std::int64_t>::max();
};

// Checks the members of a body; members that `rules` do not name are unknown, and annotations
// of OData ("@odata.type", "Members@odata.count") are passed over. A body without members is a
// problem, and so is one with annotations only, unless `mayBeEmpty`.
Problems checkMembers(const Json& body, std::span<const Rule> rules, bool mayBeEmpty = false);

// The problem with one value under a rule of the kinds text, boolean, integer or secret, if any.
Problems checkValue(const Rule& rule, const Json& value);

// "#/Name": the pointer to a member, with "~" and "/" escaped.
std::string pointerTo(std::string_view name);

} // namespace redfish::model
