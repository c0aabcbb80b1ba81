// The table of the messages. Their way into an answer is left to errors.cpp.
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
constexpr Argument kValue{ArgumentKind::text, "Value as it was given"};
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
    "Look up the property in the schema of the resource, correct the request and send it again.";
constexpr std::string_view kAskLater = "Send the request again later.";

// message, key, status, severity, text, resolution, description, arguments
// clang-format off
constexpr std::array kMessages{
    MessageEntry{Message::success, "Success", 200, kOk,
        "The request has been carried out.", kNothingToDo,
        "All that was asked for is done.", kNone},
    MessageEntry{Message::created, "Created", 201, kOk,
        "The resource has been created.", kNothingToDo,
        "A new resource exists; the Location header leads to it.", kNone},
    MessageEntry{Message::accountModified, "AccountModified", 200, kOk,
        "The account has been changed.", kNothingToDo,
        "The new values of an account are in force.", kNone},
    MessageEntry{Message::accountRemoved, "AccountRemoved", 200, kOk,
        "The account has been removed.", kNothingToDo,
        "An account and its sessions are gone.", kNone},
    MessageEntry{Message::generalError, "GeneralError", 400, kCritical,
        "Several things are wrong; each is told in the extended information.", "See the resolution of each message of the extended information.",
        "The heading of an answer that carries more than one message.", kNone},
    MessageEntry{Message::internalError, "InternalError", 500, kCritical,
        "The service or the provider behind it has failed.", "Send the request again. If it fails again, look at the logs of the controller.",
        "Something went wrong for which the request is not to blame.", kNone},

    MessageEntry{Message::malformedJson, "MalformedJSON", 400, kCritical,
        "The body of the request is not valid JSON.", "Correct the syntax of the body and send the request again.",
        "The body could not be read as JSON, or nests too deeply.", kNone},
    MessageEntry{Message::unrecognizedRequestBody, "UnrecognizedRequestBody", 400, kWarning,
        "The body of the request is no JSON object.", "Send a JSON object in the body.",
        "The body is valid JSON of another kind than an object, or is missing.", kNone},
    MessageEntry{Message::emptyJson, "EmptyJSON", 400, kWarning,
        "The JSON object in the body is empty.", "Name at least one property in the body.",
        "An empty object asks for nothing.", kNone},
    MessageEntry{Message::noOperation, "NoOperation", 400, kWarning,
        "The request names no property that could be changed.", "Name at least one property that may be written.",
        "The body holds nothing but annotations, which change nothing.", kNone},
    MessageEntry{Message::propertyUnknown, "PropertyUnknown", 400, kWarning,
        "The resource has no property %1.", kSeeSchema,
        "A property was named that the schema does not have.", kPropertyOnly},
    MessageEntry{Message::propertyDuplicate, "PropertyDuplicate", 400, kWarning,
        "The property %1 is given more than once.", "Name each property once and send the request again.",
        "One object of the body has two members of the same name.", kPropertyOnly},
    MessageEntry{Message::propertyNotWritable, "PropertyNotWritable", 400, kWarning,
        "The property %1 can only be read.", "Leave the property out and send the request again.",
        "A value was given for a read-only property.", kPropertyOnly},
    MessageEntry{Message::propertyMissing, "PropertyMissing", 400, kWarning,
        "The property %1 is needed and is missing.", "Add the property and send the request again.",
        "A property that a creation needs was not given.", kPropertyOnly},
    MessageEntry{Message::propertyValueTypeError, "PropertyValueTypeError", 400, kWarning,
        "The value %1 has the wrong JSON type for the property %2.", kSeeSchema,
        "A text was given for a number, for instance.", kValueAndProperty},
    MessageEntry{Message::propertyValueNotInList, "PropertyValueNotInList", 400, kWarning,
        "The value %1 is none of those that the property %2 may have.", "Choose one of the allowed values, which stand beside the property, and send the request again.",
        "The property takes its values from a list.", kValueAndProperty},
    MessageEntry{Message::propertyValueOutOfRange, "PropertyValueOutOfRange", 400, kWarning,
        "The value %1 of the property %2 is too small or too large.", kSeeSchema,
        "The property takes numbers of a range.", kValueAndProperty},
    MessageEntry{Message::propertyValueFormatError, "PropertyValueFormatError", 400, kWarning,
        "The value %1 has a form that the property %2 does not take.", kCorrectAndRepeat,
        "The type of the value is right, its form is not.", kValueAndProperty},
    MessageEntry{Message::propertyValueError, "PropertyValueError", 400, kWarning,
        "The value of the property %1 is refused.", kCorrectAndRepeat,
        "A value is refused that is not repeated here, for instance a password.", kPropertyOnly},
    MessageEntry{Message::stringValueTooLong, "StringValueTooLong", 400, kWarning,
        "The text %1 is longer than %2 bytes.", "Shorten the text and send the request again.",
        "Texts are kept up to a limit only.", kValueAndLimit},
    MessageEntry{Message::passwordLength, "PasswordLength", 400, kWarning,
        "A password has %1 to %2 characters.", "Choose a password of that length.",
        "A new password is too short or too long.", kLengths},
    MessageEntry{Message::actionNotSupported, "ActionNotSupported", 400, kCritical,
        "The action %1 is not supported.", "See the actions of the resource; an action of the resource that is refused comes from an older provider.",
        "Neither the resource nor its provider knows the action or the request.", kActionOnly},
    MessageEntry{Message::actionParameterUnknown, "ActionParameterUnknown", 400, kWarning,
        "The action %1 has no parameter %2.", "Leave the parameter out and send the request again.",
        "A parameter was given that the action does not have.", kActionAndParameter},

    MessageEntry{Message::resourceMissingAtUri, "ResourceMissingAtURI", 404, kCritical,
        "There is no resource at %1.", "Follow the links from the service root.",
        "Nothing lies at the address.", kAddressOnly},
    MessageEntry{Message::resourceNotFound, "ResourceNotFound", 404, kCritical,
        "There is no %1 with the Id %2.", "See the members of the collection.",
        "The collection has no such member, or has it no longer.", kTypeAndName},
    MessageEntry{Message::operationNotAllowed, "OperationNotAllowed", 405, kCritical,
        "The method %1 is not allowed here.", "Use one of the methods of the Allow header.",
        "The resource is there, but cannot be asked this.", kMethodOnly},
    MessageEntry{Message::queryParameterUnsupported, "QueryParameterUnsupported", 501, kWarning,
        "The query parameter %1 is not supported.", "Leave the query parameter out; the service root tells which there are.",
        "A query parameter of the protocol that this service does not have.", kParameterOnly},
    MessageEntry{Message::queryParameterValueFormatError, "QueryParameterValueFormatError", 400, kWarning,
        "The value %1 has a form that the query parameter %2 does not take.", kCorrectAndRepeat,
        "The query could not be understood.", kValueAndParameter},
    MessageEntry{Message::queryParameterOutOfRange, "QueryParameterOutOfRange", 400, kWarning,
        "The value %1 of the query parameter %2 is not in the range %3.", "Give a value of the range.",
        "A number in the query is too small or too large.", kValueParameterRange},
    MessageEntry{Message::queryNotSupportedOnResource, "QueryNotSupportedOnResource", 400, kWarning,
        "This resource takes no query parameters.", "Leave the query out.",
        "The resource is a file or a stream, or the method is none that reads.", kNone},
    MessageEntry{Message::preconditionFailed, "PreconditionFailed", 412, kCritical,
        "The resource is no longer what the If-Match header names.", "Read the resource, look at what has changed, and send the request with its new ETag.",
        "Somebody else has changed the resource in the meantime.", kNone},
    MessageEntry{Message::preconditionRequired, "PreconditionRequired", 428, kCritical,
        "The request needs an If-Match header.", "Read the resource and send the request with its ETag.",
        "A change without knowledge of the present state is refused.", kNone},
    MessageEntry{Message::headerInvalid, "HeaderInvalid", 400, kWarning,
        "The header %1 makes no sense.", kCorrectAndRepeat,
        "A header of the request could not be understood.", kHeaderOnly},
    MessageEntry{Message::notAcceptable, "NotAcceptable", 406, kWarning,
        "The resource cannot be sent as %1.", "Accept application/json, or what the resource is.",
        "The Accept header leaves out the only form in which the resource exists.", kMediaTypeOnly},
    MessageEntry{Message::unsupportedMediaType, "UnsupportedMediaType", 415, kWarning,
        "A body of the type %1 is not read.", "Send JSON, and say so: Content-Type: application/json.",
        "The Content-Type header names something else than JSON.", kMediaTypeOnly},
    MessageEntry{Message::payloadTooLarge, "PayloadTooLarge", 413, kCritical,
        "The body has more than %1 bytes.", "Send a smaller body.",
        "Bodies are read up to a limit only.", kLimitOnly},
    MessageEntry{Message::headerTooLarge, "HeaderTooLarge", 431, kCritical,
        "The header has more than %1 bytes.", "Send fewer or shorter header fields.",
        "Headers are read up to a limit only.", kLimitOnly},
    MessageEntry{Message::uriTooLong, "URITooLong", 414, kCritical,
        "The address has more than %1 bytes.", "Use a shorter address.",
        "Addresses are read up to a limit only.", kLimitOnly},
    MessageEntry{Message::requestTimeout, "RequestTimeout", 408, kWarning,
        "The request was not complete within %1 s.", "Send the request again, without pauses.",
        "A request that arrives too slowly is cut off.", kLimitOnly},

    MessageEntry{Message::noValidSession, "NoValidSession", 401, kCritical,
        "There is no valid session.", "Sign in: create a session, or send user and password.",
        "The request carries no credentials, or a token that is not or no longer valid.", kNone},
    MessageEntry{Message::resourceAtUriUnauthorized, "ResourceAtUriUnauthorized", 401, kCritical,
        "Access to %1 is refused: %2.", "Check user and password.",
        "The credentials that came with the request were not accepted.", kAddressAndReason},
    MessageEntry{Message::insufficientPrivilege, "InsufficientPrivilege", 403, kCritical,
        "The account has not the privilege for this.", "Use an account whose role has the privilege.",
        "The user is known, but may not do this.", kNone},
    MessageEntry{Message::passwordChangeRequired, "PasswordChangeRequired", 403, kCritical,
        "The password has to be changed first, at %1.", "Change the password of the account at that address.",
        "The account has a password that was given to it.", kAddressOnly},
    MessageEntry{Message::sessionLimitExceeded, "SessionLimitExceeded", 503, kCritical,
        "There are as many sessions as the service allows.", "End a session, or wait until one expires.",
        "No further session can be created.", kNone},
    MessageEntry{Message::eventSubscriptionLimitExceeded, "EventSubscriptionLimitExceeded", 503, kCritical,
        "There are as many event streams as the service allows.", "Close a stream first.",
        "No further event stream can be opened.", kNone},
    MessageEntry{Message::requestLimitExceeded, "RequestLimitExceeded", 429, kWarning,
        "Too many requests; send the next one in %1 s.", kAskLater,
        "One client asks more often than the service answers.", kWaitOnly},

    MessageEntry{Message::resourceAlreadyExists, "ResourceAlreadyExists", 409, kCritical,
        "There is already a resource of the type %1 whose %2 is %3.", "Choose another value.",
        "A value that must be unique is in use.", kTypePropertyValue},
    MessageEntry{Message::createLimitReachedForResource, "CreateLimitReachedForResource", 409, kCritical,
        "The collection is full.", "Delete a member first.",
        "The collection has as many members as it can have.", kNone},
    MessageEntry{Message::resourceCannotBeDeleted, "ResourceCannotBeDeleted", 405, kCritical,
        "The resource cannot be deleted.", "Leave it; it belongs to the service.",
        "The resource is no member of a collection whose members may go.", kNone},
    MessageEntry{Message::lastAdministrator, "LastAdministrator", 409, kCritical,
        "The account is the only enabled one with the role Administrator.", "Give another account that role first.",
        "The change would leave nobody who could manage accounts.", kNone},

    MessageEntry{Message::providerUnavailable, "ServiceTemporarilyUnavailable", 503, kCritical,
        "The provider of the resource cannot be reached; ask again in %1 s.", "Send the request again after that time.",
        "No provider is up, or the object store is away.", kWaitOnly},
    MessageEntry{Message::operationTimeout, "OperationTimeout", 504, kCritical,
        "The provider has not answered in time; whether it did what was asked is unknown.", "Read the resource before the request is sent again.",
        "A request went to the provider and no answer came.", kNone},
    MessageEntry{Message::resourceInUse, "ResourceInUse", 503, kWarning,
        "The resource is being changed by somebody else.", kAskLater,
        "Another client holds the resource and did not give it up in time.", kNone},
    MessageEntry{Message::invalidObject, "InvalidObject", 500, kCritical,
        "The provider does not know the object %1.", kAskLater,
        "The object store names an instance that the provider has not created, for instance while it starts anew.", kKeyOnly},
    MessageEntry{Message::providerRefused, "ProviderRefused", 500, kCritical,
        "The provider has answered %1.", "Look at the log of the provider.",
        "The provider sent an answer that this service has no message for.", kAnswerOnly},
    MessageEntry{Message::serviceShuttingDown, "ServiceShuttingDown", 503, kCritical,
        "The service is about to stop; ask again in %1 s.", kAskLater,
        "The service ends or starts anew.", kWaitOnly},

    // Meant: the text names no argument; the provider sends text and argument so.
    MessageEntry{Message::resourceUpdated, "Msg000", 200, kOk,
        "Resource updated", kNothingToDo,
        "A change of the resource is in force; the event comes before the answer to the change.", kOriginOnly},
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
static_assert(rowsAreInOrder(), "a row that is not where its enumerator says");
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
        // No message has more than nine arguments.
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
    Json registry{{"@odata.type", "#MessageRegistry.v1_6_3.MessageRegistry"},
                  {"Id", "Orvane.1.0.0"},
                  {"Name", "Messages of the WebGUI resource and its service"},
                  {"Description", "Every message that this service and its provider send."},
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
