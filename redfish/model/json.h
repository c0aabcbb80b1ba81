// JSON as the service sends it. Any thread.
#pragma once

#include <nlohmann/json.hpp>

#include <string>
#include <string_view>

namespace redfish::model {

using Json = nlohmann::json;

// The bytes of a document: members ordered by name, no white space, so that equal documents have
// equal bytes and equal entity tags. Bytes of a string that are not UTF-8 become U+FFFD.
std::string serialise(const Json& document);

// A link, {"@odata.id": address}.
Json linkTo(std::string_view address);

} // namespace redfish::model
