// "$filter" of an event stream: which events a client wants.
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
    std::string originResource; // address; empty: none
    std::string eventType;
    std::string resourceType;
};

class EventFilter {
public:
    class Node;

    // Comparisons such as "MessageId eq 'Orvane.1.0.Msg000'" of MessageId, RegistryPrefix,
    // OriginResource, EventType, ResourceType and EventFormatType (always 'Event') with "eq" or
    // "ne", joined by "and", "or", "not" and parentheses; quotes may be left out round a word.
    // An empty text takes everything. Nothing for what cannot be read.
    static std::optional<EventFilter> parse(std::string_view text);

    bool takes(const EventTraits& traits) const;

private:
    std::shared_ptr<const Node> root_; // null: everything
};

} // namespace redfish
