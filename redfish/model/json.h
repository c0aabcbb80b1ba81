// JSON as the service sends it.
#pragma once

#include <nlohmann/json.hpp>

#include <string>
#include <string_view>

namespace redfish::model {

using Json = nlohmann::json;

// The bytes of a document: members in the order of their names, no white space, so that equal
// documents have equal bytes. What is no UTF-8 in a text is replaced by U+FFFD.
std::string serialise(const Json& document);

// {"@odata.id": address}
Json linkTo(std::string_view address);

} // namespace redfish::model
