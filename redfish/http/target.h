// The target of a request: path and query, and what a query asks for.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace redfish {

struct Target {
    std::string path;  // percent-decoded, begins with "/"
    std::string query; // as sent, without the question mark
};

// Nothing for what is no path of ours: relative, with a bad or NUL escape, or with a segment
// that is "." or "..".
std::optional<Target> parseTarget(std::string_view target);

// Percent-decoded; "+" stays as it is. Nothing for a bad or NUL escape.
std::optional<std::string> percentDecode(std::string_view text);

// Names and values of a query in the order given, decoded. Nothing for a bad escape.
std::optional<std::vector<std::pair<std::string, std::string>>> parseQuery(std::string_view query);

// Segments of a path between its slashes, without empty ones at its ends.
std::vector<std::string_view> segmentsOf(std::string_view path);

} // namespace redfish
