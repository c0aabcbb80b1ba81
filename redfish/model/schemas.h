// The schemas that are this product's own, as files that are served. The texts are those of
// redfish/model/schemas; all live as long as the program.
#pragma once

#include <string>
#include <string_view>

namespace redfish::model {

// CSDL (XML) and JSON Schema of the WebGUI resource.
extern const std::string_view kWebGuiCsdl;
extern const std::string_view kWebGuiJsonSchema;
// The same of what the manager's "Oem" holds.
extern const std::string_view kManagerCsdl;
extern const std::string_view kManagerJsonSchema;

// The metadata document (XML): the schema of every type that the service uses, those of the
// standard by their public addresses.
std::string metadata();

} // namespace redfish::model
