// The messages of the service: one table, from which responses and the served message registry are
// made. Any thread; everything here lives as long as the program.
#pragma once

#include "redfish/model/json.h"

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace redfish::model {

// Every message that the service sends, in the order of the table. If the standard's general
// registry has a message of the same meaning, ours has its name and arguments; the words are ours.
enum class Message : std::uint8_t {
    success,
    accountRemoved,
    generalError,
    internalError,
    // The body of a request.
    malformedJson,
    unrecognizedRequestBody,
    emptyJson,
    noOperation,
    propertyUnknown,
    propertyDuplicate,
    propertyNotWritable,
    propertyMissing,
    propertyValueTypeError,
    propertyValueNotInList,
    propertyValueOutOfRange,
    propertyValueFormatError,
    propertyValueError,
    stringValueTooLong,
    passwordLength,
    actionNotSupported,
    actionParameterUnknown,
    // Address, query and header of a request.
    resourceMissingAtUri,
    resourceNotFound,
    operationNotAllowed,
    queryParameterUnsupported,
    queryParameterValueFormatError,
    queryParameterOutOfRange,
    preconditionFailed,
    headerInvalid,
    notAcceptable,
    unsupportedMediaType,
    payloadTooLarge,
    headerTooLarge,
    // The caller, and what he asks too much of.
    noValidSession,
    resourceAtUriUnauthorized,
    insufficientPrivilege,
    sessionLimitExceeded,
    eventSubscriptionLimitExceeded,
    requestLimitExceeded,
    // Accounts.
    resourceAlreadyExists,
    createLimitReachedForResource,
    lastAdministrator,
    // The provider of the resource, and the way to it.
    providerUnavailable,
    operationTimeout,
    resourceInUse,
    invalidObject,
    providerRefused,
    // In events of the provider; the service itself never sends it.
    resourceUpdated,
};

// The first parts of every MessageId; of the version only major and minor.
inline constexpr std::string_view kRegistryPrefix = "Orvane";
inline constexpr std::string_view kRegistryVersion = "1.0.0";

// What the registry says about a value that replaces "%1".
enum class ArgumentKind : std::uint8_t { text, number };

// One argument of a message, as the registry describes it.
struct Argument {
    ArgumentKind kind;
    // "Name of the property".
    std::string_view meaning;
};

// One row of the table.
struct MessageEntry {
    Message message;
    // Its key in the registry, the last part of the MessageId.
    std::string_view name;
    // Of the HTTP response that carries it.
    int status;
    // "OK", "Warning" or "Critical".
    std::string_view severity;
    // "%1" stands for the first argument, and so on.
    std::string_view text;
    // What the client can do about it.
    std::string_view resolution;
    // When the message is sent, for readers of the registry.
    std::string_view description;
    // One for each place in the text, in their order.
    std::span<const Argument> arguments;
};

// All messages, in the order of the enumeration.
std::span<const MessageEntry> messages();

// The row of a message.
const MessageEntry& entryOf(Message message);

// The row of a key or of a whole MessageId; null if there is none.
const MessageEntry* findMessage(std::string_view nameOrId);

// The MessageId, "Orvane.1.0.Success".
std::string messageId(Message message);

// The text with its arguments; a missing argument leaves its "%1".
std::string textOf(Message message, std::span<const std::string> arguments);

// The registry as it is served, with every row of the table.
Json messageRegistry();

} // namespace redfish::model
