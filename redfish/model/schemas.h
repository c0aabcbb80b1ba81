// Our own schemas as the service serves them. Any thread; what is a view lives as long as the
// program.
#pragma once

#include <string>
#include <string_view>

namespace redfish::model {

// CSDL (XML) and JSON Schema of the WebGUI resource. Every setting that can be written is described
// from the table in client/settings.h.
std::string webGuiCsdl();
std::string webGuiJsonSchema();

// The files of redfish/model/schemas from which these two are made: all but the settings.
extern const std::string_view kWebGuiCsdlFrame;
extern const std::string_view kWebGuiJsonFrame;

// The same of the manager's "Oem" member, complete.
extern const std::string_view kManagerCsdl;
extern const std::string_view kManagerJsonSchema;

// The metadata document (XML): names the schema of every type that the service uses. Those of the
// standard have their public addresses, ours the addresses of this service.
std::string metadata();

} // namespace redfish::model
