#include "redfish/model/messages.h"

#include "redfish/model/addresses.h"

#include <algorithm>
#include <array>
#include <utility>

namespace redfish::model {

namespace {

constexpr std::string_view kOk = "OK";
constexpr std::string_view kWarning = "Warning";
constexpr std::string_view kCritical = "Critical";

constexpr Argument kProperty{ArgumentKind::text, "Name of the property"};
constexpr Argument kValue{ArgumentKind::text, "Value as given"};
constexpr Argument kAddress{ArgumentKind::text, "Address of the resource"};
constexpr Argument kAction{ArgumentKind::text, "Name of the action"};
constexpr Argument kParameter{ArgumentKind::text, "Name of the query parameter"};
constexpr Argument kWait{ArgumentKind::number, "Seconds to wait"};
constexpr Argument kLimit{ArgumentKind::number, "The limit"};

constexpr std::array kPropertyOnly{kProperty};
constexpr std::array kValueAndProperty{kValue, kProperty};
constexpr std::array kAddressOnly{kAddress};
constexpr std::array kActionOnly{kAction};
constexpr std::array kParameterOnly{kParameter};
constexpr std::array kWaitOnly{kWait};
constexpr std::array kLimitOnly{kLimit};
constexpr std::array kValueAndLimit{kValue, kLimit};
constexpr std::array kLengths{Argument{ArgumentKind::number, "Fewest characters"},
                              Argument{ArgumentKind::number, "Most characters"}};
constexpr std::array kActionAndParameter{kAction,
                                         Argument{ArgumentKind::text, "Name of the parameter"}};
constexpr std::array kTypeAndName{Argument{ArgumentKind::text, "Type of the resource"},
                                  Argument{ArgumentKind::text, "Its Id"}};
constexpr std::array kTypePropertyValue{Argument{ArgumentKind::text, "Type of the resource"},
                                        kProperty, kValue};
constexpr std::array kMethodOnly{Argument{ArgumentKind::text, "The method"}};
constexpr std::array kValueAndParameter{kValue, kParameter};
constexpr std::array kValueParameterRange{kValue, kParameter,
                                          Argument{ArgumentKind::text, "What is allowed"}};
constexpr std::array kHeaderOnly{Argument{ArgumentKind::text, "Name of the header"}};
constexpr std::array kMediaTypeOnly{Argument{ArgumentKind::text, "The media type"}};
constexpr std::array kAddressAndReason{kAddress, Argument{ArgumentKind::text, "What is wrong"}};
constexpr std::array kKeyOnly{Argument{ArgumentKind::text, "Key in the object store"}};
constexpr std::array kAnswerOnly{Argument{ArgumentKind::text, "Message id of the provider"}};
constexpr std::array kOriginOnly{
    Argument{ArgumentKind::text, "Name and number of the resource, as the provider counts them"}};
constexpr std::span<const Argument> kNone{};

constexpr std::string_view kNothingToDo = "None.";
constexpr std::string_view kCorrectAndRepeat = "Correct the request and send it again.";
constexpr std::string_view kSeeSchema =
    "Check the property in the schema of the resource, correct the request and send it again.";
constexpr std::string_view kAskLater = "Send the request again later.";

// One row: message, key, status, severity, text, resolution, description, arguments.
// clang-format off
constexpr std::array kMessages{
    MessageEntry{Message::success, "Success", 200, kOk,
        "The request succeeded.", kNothingToDo,
        "Everything that the request asked for is done.", kNone},
    MessageEntry{Message::accountRemoved, "AccountRemoved", 200, kOk,
        "The account was removed.", kNothingToDo,
        "An account and its sessions are gone.", kNone},
    MessageEntry{Message::generalError, "GeneralError", 400, kCritical,
        "Several things are wrong; the extended information lists each.", "Follow the resolution of each message of the extended information.",
        "The heading of a response with more than one message.", kNone},
    MessageEntry{Message::internalError, "InternalError", 500, kCritical,
        "The service or the provider behind it failed.", "Send the request again. If it fails again, check the logs of the controller.",
        "Something failed that is not the fault of the request.", kNone},

    MessageEntry{Message::malformedJson, "MalformedJSON", 400, kCritical,
        "The body of the request is not valid JSON.", "Correct the syntax of the body and send the request again.",
        "The body could not be parsed as JSON, or nests too deeply.", kNone},
    MessageEntry{Message::unrecognizedRequestBody, "UnrecognizedRequestBody", 400, kWarning,
        "The body of the request is not a JSON object.", "Send a JSON object in the body.",
        "The body is missing, or is valid JSON but not an object.", kNone},
    MessageEntry{Message::emptyJson, "EmptyJSON", 400, kWarning,
        "The JSON object in the body is empty.", "Name at least one property in the body.",
        "An empty object requests nothing.", kNone},
    MessageEntry{Message::noOperation, "NoOperation", 400, kWarning,
        "The request names no property to change.", "Name at least one writable property.",
        "The body contains only annotations, which change nothing.", kNone},
    MessageEntry{Message::propertyUnknown, "PropertyUnknown", 400, kWarning,
        "The resource has no property %1.", kSeeSchema,
        "The body names a property that the schema does not define.", kPropertyOnly},
    MessageEntry{Message::propertyDuplicate, "PropertyDuplicate", 400, kWarning,
        "The property %1 is given more than once.", "Name each property once and send the request again.",
        "An object in the body has two members of the same name.", kPropertyOnly},
    MessageEntry{Message::propertyNotWritable, "PropertyNotWritable", 400, kWarning,
        "The property %1 is read-only.", "Remove the property and send the request again.",
        "The body sets a read-only property.", kPropertyOnly},
    MessageEntry{Message::propertyMissing, "PropertyMissing", 400, kWarning,
        "The property %1 is required but missing.", "Add the property and send the request again.",
        "A property that is required to create the resource was not given.", kPropertyOnly},
    MessageEntry{Message::propertyValueTypeError, "PropertyValueTypeError", 400, kWarning,
        "The value %1 has the wrong JSON type for the property %2.", kSeeSchema,
        "For example, a string was given for a number.", kValueAndProperty},
    MessageEntry{Message::propertyValueNotInList, "PropertyValueNotInList", 400, kWarning,
        "The value %1 is not allowed for the property %2.", "Choose one of the allowed values, which the resource lists beside the property, and send the request again.",
        "The property takes one of a fixed list of values.", kValueAndProperty},
    MessageEntry{Message::propertyValueOutOfRange, "PropertyValueOutOfRange", 400, kWarning,
        "The value %1 of the property %2 is too small or too large.", kSeeSchema,
        "The property takes numbers within a range.", kValueAndProperty},
    MessageEntry{Message::propertyValueFormatError, "PropertyValueFormatError", 400, kWarning,
        "The value %1 does not have the format of the property %2.", kCorrectAndRepeat,
        "The value has the right type but the wrong format.", kValueAndProperty},
    MessageEntry{Message::propertyValueError, "PropertyValueError", 400, kWarning,
        "The value of the property %1 is not accepted.", kCorrectAndRepeat,
        "The value is not repeated here because it may be secret, for example a password.", kPropertyOnly},
    MessageEntry{Message::stringValueTooLong, "StringValueTooLong", 400, kWarning,
        "The string %1 is longer than %2 bytes.", "Shorten the string and send the request again.",
        "Strings are limited in length.", kValueAndLimit},
    MessageEntry{Message::passwordLength, "PasswordLength", 400, kWarning,
        "A password must have %1 to %2 characters.", "Choose a password of that length.",
        "A new password is too short or too long.", kLengths},
    MessageEntry{Message::actionNotSupported, "ActionNotSupported", 400, kCritical,
        "The action %1 is not supported.", "Use one of the actions that the resource lists; if it lists this one, its provider is older than this service.",
        "The resource or its provider does not know the action.", kActionOnly},
    MessageEntry{Message::actionParameterUnknown, "ActionParameterUnknown", 400, kWarning,
        "The action %1 has no parameter %2.", "Remove the parameter and send the request again.",
        "The body names a parameter that the action does not define.", kActionAndParameter},

    MessageEntry{Message::resourceMissingAtUri, "ResourceMissingAtURI", 404, kCritical,
        "There is no resource at %1.", "Follow the links from the service root.",
        "Nothing is served at the address.", kAddressOnly},
    MessageEntry{Message::resourceNotFound, "ResourceNotFound", 404, kCritical,
        "There is no %1 with the Id %2.", "See the members of the collection.",
        "The collection has no such member, or the caller may not see it.", kTypeAndName},
    MessageEntry{Message::operationNotAllowed, "OperationNotAllowed", 405, kCritical,
        "The method %1 is not allowed here.", "Use one of the methods of the Allow header.",
        "The resource exists but does not support the method.", kMethodOnly},
    MessageEntry{Message::queryParameterUnsupported, "QueryParameterUnsupported", 501, kWarning,
        "The query parameter %1 is not supported.", "Remove the query parameter; the service root lists those that are supported.",
        "The protocol defines the query parameter, but this service does not support it.", kParameterOnly},
    MessageEntry{Message::queryParameterValueFormatError, "QueryParameterValueFormatError", 400, kWarning,
        "The value %1 does not have the format of the query parameter %2.", kCorrectAndRepeat,
        "The query could not be parsed.", kValueAndParameter},
    MessageEntry{Message::queryParameterOutOfRange, "QueryParameterOutOfRange", 400, kWarning,
        "The value %1 of the query parameter %2 is outside the range %3.", "Use a value within the range.",
        "A number in the query is too small or too large.", kValueParameterRange},
    MessageEntry{Message::preconditionFailed, "PreconditionFailed", 412, kCritical,
        "The resource does not have the ETag that If-Match requires.", "Read the resource, check what changed, and send the request with the new ETag.",
        "Somebody else changed the resource in the meantime, or a header requires another version of the protocol.", kNone},
    MessageEntry{Message::headerInvalid, "HeaderInvalid", 400, kWarning,
        "The header %1 is invalid.", kCorrectAndRepeat,
        "A header of the request could not be parsed.", kHeaderOnly},
    MessageEntry{Message::notAcceptable, "NotAcceptable", 406, kWarning,
        "The resource is not available as %1.", "Accept application/json, or the type of the resource.",
        "The Accept header excludes the only type that the resource has.", kMediaTypeOnly},
    MessageEntry{Message::unsupportedMediaType, "UnsupportedMediaType", 415, kWarning,
        "Bodies of the type %1 are not supported.", "Send JSON with the header Content-Type: application/json.",
        "The Content-Type header names a type other than JSON.", kMediaTypeOnly},
    MessageEntry{Message::payloadTooLarge, "PayloadTooLarge", 413, kCritical,
        "The body is larger than %1 bytes.", "Send a smaller body.",
        "Bodies are limited in size.", kLimitOnly},
    MessageEntry{Message::headerTooLarge, "HeaderTooLarge", 431, kCritical,
        "The header is larger than %1 bytes.", "Send fewer or shorter header fields.",
        "Headers are limited in size.", kLimitOnly},

    MessageEntry{Message::noValidSession, "NoValidSession", 401, kCritical,
        "There is no valid session.", "Sign in: create a session, or send user and password.",
        "The request has no credentials, or its token is unknown or expired.", kNone},
    MessageEntry{Message::resourceAtUriUnauthorized, "ResourceAtUriUnauthorized", 401, kCritical,
        "Access to %1 is refused: %2.", "Check user and password.",
        "The credentials of the request were not accepted.", kAddressAndReason},
    MessageEntry{Message::insufficientPrivilege, "InsufficientPrivilege", 403, kCritical,
        "The account lacks the privilege for this request.", "Use an account whose role has the privilege.",
        "The user is signed in but may not do this.", kNone},
    MessageEntry{Message::sessionLimitExceeded, "SessionLimitExceeded", 503, kCritical,
        "No more sessions: the limit of the service is reached.", "End a session, or wait until one expires.",
        "The service limits sessions, in all and for each user.", kNone},
    MessageEntry{Message::eventSubscriptionLimitExceeded, "EventSubscriptionLimitExceeded", 503, kCritical,
        "No more event streams: the limit of the service is reached.", "Close a stream first.",
        "The service limits the number of open event streams.", kNone},
    MessageEntry{Message::requestLimitExceeded, "RequestLimitExceeded", 429, kWarning,
        "Too many requests; send the next one in %1 s.", kAskLater,
        "The client sends requests faster than the service allows.", kWaitOnly},

    MessageEntry{Message::resourceAlreadyExists, "ResourceAlreadyExists", 409, kCritical,
        "A resource of the type %1 with the %2 %3 already exists.", "Choose another value.",
        "A value that must be unique is already in use.", kTypePropertyValue},
    MessageEntry{Message::createLimitReachedForResource, "CreateLimitReachedForResource", 409, kCritical,
        "The collection is full.", "Delete a member first.",
        "The collection cannot have more members.", kNone},
    MessageEntry{Message::lastAdministrator, "LastAdministrator", 409, kCritical,
        "The account is the only enabled one with the role Administrator.", "Give another account that role first.",
        "After the change nobody could manage accounts.", kNone},

    MessageEntry{Message::providerUnavailable, "ServiceTemporarilyUnavailable", 503, kCritical,
        "The provider of the resource is unavailable; retry in %1 s.", "Send the request again after that time.",
        "No provider is running, the object store is unreachable, or the service is busy.", kWaitOnly},
    MessageEntry{Message::operationTimeout, "OperationTimeout", 504, kCritical,
        "The provider did not answer in time; the request may or may not have taken effect.", "Read the resource before sending the request again.",
        "The request was sent to the provider but not answered.", kNone},
    MessageEntry{Message::resourceInUse, "ResourceInUse", 503, kWarning,
        "The resource is being changed by somebody else.", kAskLater,
        "Another client holds the resource and did not release it in time.", kNone},
    MessageEntry{Message::invalidObject, "InvalidObject", 500, kCritical,
        "The provider does not know the object %1.", kAskLater,
        "The object store names an instance that the provider has not created, for example while it restarts.", kKeyOnly},
    MessageEntry{Message::providerRefused, "ProviderRefused", 500, kCritical,
        "The provider answered %1.", "Check the log of the provider.",
        "This service has no message for the answer of the provider.", kAnswerOnly},

    // Meant: the text shows no argument although there is one; that is how the provider sends it.
    MessageEntry{Message::resourceUpdated, "Msg000", 200, kOk,
        "Resource updated", kNothingToDo,
        "A change of the resource is in effect; the event precedes the response to the change.", kOriginOnly},
};
// clang-format on

constexpr bool rowsAreInOrder() {
    for (std::size_t i = 0; i < kMessages.size(); ++i) {
        if (static_cast<std::size_t>(kMessages.at(i).message) != i) {
            return false;
        }
    }
    return true;
}
static_assert(rowsAreInOrder(), "a row is not where its enumerator says");
static_assert(kMessages.back().message == Message::resourceUpdated, "a message without a row");

// "Orvane.1.0."
std::string idPrefix() {
    const std::size_t patch = kRegistryVersion.rfind('.');
    return std::string(kRegistryPrefix) + "." + std::string(kRegistryVersion.substr(0, patch)) +
           ".";
}

Json registryEntry(const MessageEntry& entry) {
    Json json{{"Description", entry.description},
              {"Message", entry.text},
              {"Severity", entry.severity},
              {"MessageSeverity", entry.severity},
              {"NumberOfArgs", entry.arguments.size()},
              {"Resolution", entry.resolution}};
    for (const Argument& argument : entry.arguments) {
        json["ParamTypes"].push_back(argument.kind == ArgumentKind::text ? "string" : "number");
        json["ArgDescriptions"].push_back(argument.meaning);
    }
    return json;
}

} // namespace

std::span<const MessageEntry> messages() {
    return kMessages;
}

const MessageEntry& entryOf(Message message) {
    return kMessages.at(static_cast<std::size_t>(message));
}

const MessageEntry* findMessage(std::string_view nameOrId) {
    const std::string prefix = idPrefix();
    if (nameOrId.starts_with(prefix)) {
        nameOrId.remove_prefix(prefix.size());
    }
    const auto* const row =
        std::find_if(kMessages.begin(), kMessages.end(),
                     [nameOrId](const MessageEntry& each) { return each.name == nameOrId; });
    return row == kMessages.end() ? nullptr : row;
}

std::string messageId(Message message) {
    return idPrefix() + std::string(entryOf(message).name);
}

std::string textOf(Message message, std::span<const std::string> arguments) {
    const std::string_view pattern = entryOf(message).text;
    std::string text;
    for (std::size_t i = 0; i < pattern.size(); ++i) {
        // One digit suffices: no message has more than nine arguments.
        if (pattern[i] == '%' && i + 1 < pattern.size() && pattern[i + 1] >= '1' &&
            pattern[i + 1] <= '9') {
            const auto number = static_cast<std::size_t>(pattern[i + 1] - '1');
            if (number < arguments.size()) {
                text += arguments[number];
                ++i;
                continue;
            }
        }
        text += pattern[i];
    }
    return text;
}

Json messageRegistry() {
    Json registry{
        {"@odata.type", "#MessageRegistry.v1_6_3.MessageRegistry"},
        {"Id", "Orvane.1.0.0"},
        {"Name", "Messages of the WebGUI resource and its service"},
        {"Description", "The messages of this service, and of the events that its provider sends."},
        {"Language", "en"},
        {"RegistryPrefix", kRegistryPrefix},
        {"RegistryVersion", kRegistryVersion},
        {"OwningEntity", "Orvane"}};
    for (const MessageEntry& entry : kMessages) {
        registry["Messages"][std::string(entry.name)] = registryEntry(entry);
    }
    return registry;
}

} // namespace redfish::model
