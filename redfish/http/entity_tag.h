// Entity tags: made of the bytes that are served, compared with what a client sends back. All
// tags of this service are strong. Any thread.
#pragma once

#include <string>
#include <string_view>

namespace redfish {

// The tag of these bytes with its quotes, 34 characters: the first half of their SHA-256, which
// tells any two documents apart.
std::string entityTag(std::string_view bytes);

// How tags are compared (RFC 9110). If-Match requires the very same bytes, so a weak tag, "W/...",
// never matches; for If-None-Match a weak tag is as good as a strong one.
enum class Comparison { strong, weak };

// Whether `header`, the value of If-Match or If-None-Match, lists the tag. "*" matches any tag,
// an empty header none.
bool isListed(std::string_view header, std::string_view entityTag, Comparison comparison);

} // namespace redfish
