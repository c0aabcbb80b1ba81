// Our own schemas as the service serves them: the files of redfish/model/schemas, compiled in.
// They live as long as the program.
#pragma once

#include <string>
#include <string_view>

namespace redfish::model {

// CSDL (XML) and JSON Schema of the WebGUI resource.
extern const std::string_view kWebGuiCsdl;
extern const std::string_view kWebGuiJsonSchema;
// The same of the manager's "Oem" member.
extern const std::string_view kManagerCsdl;
extern const std::string_view kManagerJsonSchema;

// The metadata document (XML): names the schema of every type that the service uses. Those of the
// standard have their public addresses, ours the addresses of this service.
std::string metadata();

} // namespace redfish::model
