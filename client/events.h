// The events that providers append to the store's event stream, read in order.
#pragma once

#include "client/connection.h"

namespace client {

struct Event {
    std::string id; // of the stream entry: milliseconds since 1970, "-", a number
    std::string eventType;
    std::string kind;
    std::string message;
    std::string messageId;
    std::vector<std::string> arguments;
    std::string origin; // key of the instance that the event is about
};

// Throws InvalidArgument unless the text is an entry's id: "MILLISECONDS" or
// "MILLISECONDS-NUMBER". "0" stands before all entries.
void checkEventId(const std::string& id);

// When an event was appended, as 2026-01-31T12:00:00.000Z; empty for an id of another form, and
// from the year 10000 on.
std::string eventTime(const std::string& id);

// The events after `since` that the store still keeps, at most `most` of them, oldest first.
// Waits for nothing. Throws as StoreConnection, and InvalidArgument.
std::vector<Event> eventsSince(StoreConnection& store, const std::string& source,
                               const std::string& since, int most);

// Not for two threads at once. `store` and `stop` (may be null) are borrowed for its life.
class EventStream {
public:
    // `since`: the id after which reading begins; empty: what is appended from now on.
    // Throws as StoreConnection, and InvalidArgument.
    EventStream(StoreConnection& store, std::string source, std::string since, const Stop* stop);

    // The next events, at least one; waits for it without end. Fields that an entry lacks
    // are empty. Throws as StoreConnection, and Stopped.
    std::vector<Event> next();

private:
    StoreConnection& store_;
    std::string key_;
    std::string last_;
    const Stop* stop_;
};

} // namespace client
