// The messages of the service: one table, from which both the answers and the message registry
// that is served are made. What an error body looks like is told by errors.h.
#pragma once

#include "redfish/model/json.h"

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace redfish::model {

// One for each message of the registry, in the registry's order. Where the standard's general
// registry has a message of the same meaning, name and arguments are those of the standard; the
// words are ours.
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
    // The address, the query and the header of a request.
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
    // Who asks.
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
    // The provider of the resource and the way to it.
    providerUnavailable,
    operationTimeout,
    resourceInUse,
    invalidObject,
    providerRefused,
    // Events that a provider sends.
    resourceUpdated,
};

inline constexpr std::string_view kRegistryPrefix = "Orvane";
inline constexpr std::string_view kRegistryVersion = "1.0.0";

// What a value may be that stands for a "%1" of a text.
enum class ArgumentKind : std::uint8_t { text, number };

struct Argument {
    ArgumentKind kind;
    std::string_view meaning;
};

struct MessageEntry {
    Message message;
    std::string_view name; // its key in the registry, the last part of the MessageId
    int status;            // of the HTTP answer that carries it
    std::string_view severity;
    std::string_view text; // with "%1" where the first argument goes, and so on
    std::string_view resolution;
    std::string_view description;
    std::span<const Argument> arguments;
};

// All messages, in the order of the enumeration.
std::span<const MessageEntry> messages();

const MessageEntry& entryOf(Message message);

// The row whose key or whose whole MessageId this is, or null.
const MessageEntry* findMessage(std::string_view nameOrId);

// "Orvane.1.0.Success".
std::string messageId(Message message);

// The text with the arguments in place; an argument too few leaves its "%1".
std::string textOf(Message message, std::span<const std::string> arguments);

// The registry as it is served.
Json messageRegistry();

} // namespace redfish::model
