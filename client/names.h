// Keys, fields, channels and message ids, as the store and the request channel spell them.
#pragma once

#include <string>
#include <string_view>

namespace client {

// The resource type that the provider serves.
inline constexpr std::string_view kSchemaType = "#OrvaneWebGUI.1.0.0.WebGUI";

// Keys of the store, whole or to be made for an instance, a request or an event source.
inline constexpr const char* kSchemaRegistry = "OsselSchemaInstances";
inline constexpr const char* kProviderDirectory = "OvrCallbacks";
inline constexpr const char* kEventSource = "Zolan Event";

inline std::string freshnessKey(const std::string& instance) {
    return "TTL:" + instance;
}
inline std::string leaseKey(const std::string& instance) {
    return "Lease:" + instance;
}
inline std::string requestKey(const std::string& uuid) {
    return "Request:" + uuid;
}
inline std::string replyChannel(const std::string& uuid) {
    return "Reply:" + uuid;
}
inline std::string eventKey(const std::string& source) {
    return "Events:" + source;
}

// Message ids of requests.
inline constexpr const char* kActionRequest = "00000";
inline constexpr const char* kReadRequest = "00001";

// Fields of a request object.
inline constexpr const char* kTargetField = "OriginalObjID";
inline constexpr const char* kActionField = "Action";
inline constexpr const char* kUserField = "EventUserName";

// Fields of the instance's actions, each the key of one.
inline constexpr const char* kTurnOffLcdField = "#WebGUI.TurnOffLCD";
inline constexpr const char* kGuiReadyField = "#WebGUI.GUIReady";

// Actions.
inline constexpr const char* kTurnOffLcd = "WebGUI.TurnOffLCD";
inline constexpr const char* kGuiReady = "WebGUI.GUIReady";

} // namespace client
