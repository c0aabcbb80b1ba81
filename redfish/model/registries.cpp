// The documents that say where registry and schemas are served as files.
#include "redfish/model/addresses.h"
#include "redfish/model/document.h"
#include "redfish/model/services.h"

namespace redfish::model {

namespace {

Json locationOf(std::string_view file) {
    return Json::array({{{"Language", "en"}, {"Uri", file}}});
}

Json schemaFile(std::string_view address, std::string_view schema, std::string_view file,
                std::string_view description) {
    Json document =
        resource(address, "JsonSchemaFile.v1_1_5.JsonSchemaFile",
                 "Schema " + std::string(address.substr(address.rfind('/') + 1)), description);
    document["Schema"] = schema;
    document["Languages"] = Json::array({"en"});
    document["Location"] = locationOf(file);
    return document;
}

} // namespace

Json registryFile() {
    Json document = resource(kRegistryFile, "MessageRegistryFile.v1_1_5.MessageRegistryFile",
                             "Registry Orvane.1.0.0", "Where to get the messages of this service.");
    document["Registry"] = "Orvane.1.0";
    document["Languages"] = Json::array({"en"});
    document["Location"] = locationOf(kMessageRegistry);
    return document;
}

Json webGuiSchemaFile() {
    return schemaFile(kWebGuiSchemaFile, "#OrvaneWebGUI.1.0.0.WebGUI", kWebGuiSchema,
                      "The schema of the WebGUI resource.");
}

Json managerSchemaFile() {
    return schemaFile(kManagerSchemaFile, "#OrvaneManager.v1_0_0.Orvane", kManagerSchema,
                      "The schema of the manager's Oem member.");
}

} // namespace redfish::model
