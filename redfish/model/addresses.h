// The addresses of the service, spelled once. The service root ends with a slash, nothing else
// does.
#pragma once

#include <string>
#include <string_view>

namespace redfish::model {

// The protocol: open to everyone.
inline constexpr std::string_view kVersions = "/redfish";
inline constexpr std::string_view kServiceRoot = "/redfish/v1/";
inline constexpr std::string_view kOdata = "/redfish/v1/odata";
inline constexpr std::string_view kMetadata = "/redfish/v1/$metadata";

// Sessions: kSessions/ID.
inline constexpr std::string_view kSessionService = "/redfish/v1/SessionService";
inline constexpr std::string_view kSessions = "/redfish/v1/SessionService/Sessions";
// Accounts and roles: kAccounts/NAME, kRoles/ID.
inline constexpr std::string_view kAccountService = "/redfish/v1/AccountService";
inline constexpr std::string_view kAccounts = "/redfish/v1/AccountService/Accounts";
inline constexpr std::string_view kRoles = "/redfish/v1/AccountService/Roles";

// The controller, the WebGUI resource below it, and the targets of its actions.
inline constexpr std::string_view kManagers = "/redfish/v1/Managers";
inline constexpr std::string_view kManager = "/redfish/v1/Managers/Controller";
inline constexpr std::string_view kWebGui = "/redfish/v1/Managers/Controller/Oem/Orvane/WebGUI";
// Targets take POST alone.
inline constexpr std::string_view kTurnOffLcdTarget =
    "/redfish/v1/Managers/Controller/Oem/Orvane/WebGUI/Actions/WebGUI.TurnOffLCD";
inline constexpr std::string_view kGuiReadyTarget =
    "/redfish/v1/Managers/Controller/Oem/Orvane/WebGUI/Actions/WebGUI.GUIReady";

// Events; the stream is not a document.
inline constexpr std::string_view kEventService = "/redfish/v1/EventService";
inline constexpr std::string_view kEventStream = "/redfish/v1/EventService/SSE";

// Where to get the message registry, and the registry itself.
inline constexpr std::string_view kRegistries = "/redfish/v1/Registries";
inline constexpr std::string_view kRegistryFile = "/redfish/v1/Registries/Orvane.1.0.0";
// The file.
inline constexpr std::string_view kMessageRegistry =
    "/redfish/v1/Registries/Orvane.1.0.0/Orvane.1.0.0.json";

// Where to get our own schemas, and the schemas themselves: JSON Schema, then CSDL, to which
// $metadata refers.
inline constexpr std::string_view kJsonSchemas = "/redfish/v1/JsonSchemas";
inline constexpr std::string_view kWebGuiSchemaFile = "/redfish/v1/JsonSchemas/OrvaneWebGUI.1.0.0";
inline constexpr std::string_view kWebGuiSchema =
    "/redfish/v1/JsonSchemas/OrvaneWebGUI.1.0.0/OrvaneWebGUI.1.0.0.json";
inline constexpr std::string_view kManagerSchemaFile =
    "/redfish/v1/JsonSchemas/OrvaneManager.v1_0_0";
inline constexpr std::string_view kManagerSchema =
    "/redfish/v1/JsonSchemas/OrvaneManager.v1_0_0/OrvaneManager.v1_0_0.json";

inline constexpr std::string_view kWebGuiCsdlFile = "/redfish/v1/Schemas/OrvaneWebGUI_v1.xml";
inline constexpr std::string_view kManagerCsdlFile = "/redfish/v1/Schemas/OrvaneManager_v1.xml";

// The address of a member of a collection, "COLLECTION/ID".
inline std::string memberOf(std::string_view collection, std::string_view id) {
    return std::string(collection) + "/" + std::string(id);
}

} // namespace redfish::model
