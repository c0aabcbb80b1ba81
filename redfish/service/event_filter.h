// "$filter" of an event stream: which events a client wants. Immutable, so any thread.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace redfish {

// What a filter can ask about an event.
struct EventTraits {
    std::string messageId;
    std::string registryPrefix;
    // Address; empty: none.
    std::string originResource;
    std::string eventType;
    std::string resourceType;
};

// A parsed filter. Copies share the expression.
class EventFilter {
public:
    class Node;

    // Parses comparisons such as "MessageId eq 'Orvane.1.0.Msg000'", joined by "and", "or", "not"
    // and parentheses. The names are MessageId, RegistryPrefix, OriginResource, EventType,
    // ResourceType and EventFormatType (always 'Event'), the operators "eq" and "ne". A single
    // word needs no quotes; within quotes a quote is doubled. An empty text takes every event.
    // Nothing for a text that cannot be parsed, is longer than 1024 bytes or nests too deeply.
    static std::optional<EventFilter> parse(std::string_view text);

    // Whether the filter lets an event through.
    bool takes(const EventTraits& traits) const;

private:
    // Null: every event.
    std::shared_ptr<const Node> root_;
};

} // namespace redfish
