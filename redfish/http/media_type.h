// The media types that the service sends, and what a request says about media types. Any thread.
#pragma once

#include <string_view>

namespace redfish {

inline constexpr std::string_view kJsonType = "application/json; charset=utf-8";
inline constexpr std::string_view kJsonSchemaType = "application/schema+json; charset=utf-8";
inline constexpr std::string_view kXmlType = "application/xml; charset=utf-8";
inline constexpr std::string_view kEventStreamType = "text/event-stream; charset=utf-8";

// The type of a file by its extension, ".html" with the dot; "application/octet-stream" for an
// extension that is not in the table. A literal.
std::string_view typeOfExtension(std::string_view extension);

// Whether a Content-Type names JSON, with or without parameters.
bool isJson(std::string_view contentType);

// Whether an Accept header allows a type: it names the type, its kind ("text/*") or "*/*", or is
// empty. Quality values are ignored: there is only ever one form to choose.
bool accepts(std::string_view accept, std::string_view contentType);

} // namespace redfish
