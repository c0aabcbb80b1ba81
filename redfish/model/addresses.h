// Where each resource of the service lies. Constants only; what lies there is told by the
// other headers of this folder.
#pragma once

#include <string>
#include <string_view>

namespace redfish::model {

inline constexpr std::string_view kVersions = "/redfish";
inline constexpr std::string_view kServiceRoot = "/redfish/v1/";
inline constexpr std::string_view kOdata = "/redfish/v1/odata";
inline constexpr std::string_view kMetadata = "/redfish/v1/$metadata";

inline constexpr std::string_view kSessionService = "/redfish/v1/SessionService";
inline constexpr std::string_view kSessions = "/redfish/v1/SessionService/Sessions";
inline constexpr std::string_view kAccountService = "/redfish/v1/AccountService";
inline constexpr std::string_view kAccounts = "/redfish/v1/AccountService/Accounts";
inline constexpr std::string_view kRoles = "/redfish/v1/AccountService/Roles";

inline constexpr std::string_view kManagers = "/redfish/v1/Managers";
inline constexpr std::string_view kManager = "/redfish/v1/Managers/Controller";
inline constexpr std::string_view kWebGui = "/redfish/v1/Managers/Controller/Oem/Orvane/WebGUI";
inline constexpr std::string_view kTurnOffLcdTarget =
    "/redfish/v1/Managers/Controller/Oem/Orvane/WebGUI/Actions/WebGUI.TurnOffLCD";
inline constexpr std::string_view kGuiReadyTarget =
    "/redfish/v1/Managers/Controller/Oem/Orvane/WebGUI/Actions/WebGUI.GUIReady";

inline constexpr std::string_view kEventService = "/redfish/v1/EventService";
inline constexpr std::string_view kEventStream = "/redfish/v1/EventService/SSE";

inline constexpr std::string_view kRegistries = "/redfish/v1/Registries";
inline constexpr std::string_view kRegistryFile = "/redfish/v1/Registries/Orvane.1.0.0";
inline constexpr std::string_view kMessageRegistry =
    "/redfish/v1/Registries/Orvane.1.0.0/Orvane.1.0.0.json";

inline constexpr std::string_view kJsonSchemas = "/redfish/v1/JsonSchemas";
inline constexpr std::string_view kWebGuiSchemaFile = "/redfish/v1/JsonSchemas/OrvaneWebGUI.1.0.0";
inline constexpr std::string_view kWebGuiSchema =
    "/redfish/v1/JsonSchemas/OrvaneWebGUI.1.0.0/OrvaneWebGUI.1.0.0.json";
inline constexpr std::string_view kManagerSchemaFile =
    "/redfish/v1/JsonSchemas/OrvaneManager.v1_0_0";
inline constexpr std::string_view kManagerSchema =
    "/redfish/v1/JsonSchemas/OrvaneManager.v1_0_0/OrvaneManager.v1_0_0.json";

// CSDL, as `$metadata` refers to it.
inline constexpr std::string_view kWebGuiCsdlFile = "/redfish/v1/Schemas/OrvaneWebGUI_v1.xml";
inline constexpr std::string_view kManagerCsdlFile = "/redfish/v1/Schemas/OrvaneManager_v1.xml";

// The address of a member of a collection.
inline std::string memberOf(std::string_view collection, std::string_view id) {
    return std::string(collection) + "/" + std::string(id);
}

} // namespace redfish::model
