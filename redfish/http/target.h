// Request targets: splits and decodes path and query. Any thread.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace redfish {

struct Target {
    // Percent-decoded, begins with "/".
    std::string path;
    // As sent, without the question mark.
    std::string query;
};

// Splits the target of a request line. Nothing for a target that is not an absolute path, has a
// bad escape or an escaped NUL, or a segment "." or "..": such a path cannot leave a folder.
std::optional<Target> parseTarget(std::string_view target);

// Replaces "%41" by its byte; "+" stays as it is. Nothing for a bad escape or an escaped NUL.
std::optional<std::string> percentDecode(std::string_view text);

// Decoded names and values in the order of the query, duplicates included; a name without "=" has
// an empty value. Nothing for a bad escape.
std::optional<std::vector<std::pair<std::string, std::string>>> parseQuery(std::string_view query);

// The segments between the slashes; empty ones only inside, never at the ends. Borrows from
// `path`.
std::vector<std::string_view> segmentsOf(std::string_view path);

// The path without the one slash at its end, which means nothing to this service; "/" stays.
// Borrows from `path`.
std::string_view withoutTrailingSlash(std::string_view path);

} // namespace redfish
