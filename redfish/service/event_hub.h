// Hands the events of the provider to all who listen. Keeps the newest, so that a client that
// was cut off misses none. Thread of the connections only.
#pragma once

#include "client/events.h"
#include "redfish/http/message.h"
#include "redfish/service/event_filter.h"

#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace redfish {

// The id of an entry of the event stream, in its order.
struct EventId {
    std::uint64_t milliseconds = 0;
    std::uint64_t number = 0;

    static std::optional<EventId> parse(const std::string& text);
    // NOLINTNEXTLINE(modernize-use-nullptr): it takes the comparison with 0 for a pointer
    friend auto operator<=>(const EventId&, const EventId&) = default;
};

struct EventHubLimits {
    std::size_t streams = 512;
    std::size_t queued = 256;      // events that a slow client may be behind
    std::size_t remembered = 1000; // for clients that come back
};

class EventHub {
public:
    // Who listens.
    struct Listener {
        std::string user;
        std::string sessionId; // empty: by name and password
        EventFilter filter;
    };
    // Whether a listener may go on, asked before each event.
    using MayStay = std::function<bool(const Listener&)>;

    EventHub(EventHubLimits limits, MayStay mayStay);

    // A new stream: first what came after `since`, as far as it is remembered, where that is
    // given; then what comes. Null: there are too many.
    std::shared_ptr<Feed> open(Listener listener, const std::optional<EventId>& since);

    // `instance`: key of the WebGUI instance in the store.
    void publish(const std::vector<client::Event>& events, bool isOld, const std::string& instance);

    std::size_t streams();

private:
    class Stream;
    struct Entry {
        EventId id;
        EventTraits traits;
        Text frame;
    };

    static Entry makeEntry(const client::Event& event, const std::string& instance);
    void dropGone();

    EventHubLimits limits_;
    MayStay mayStay_;
    std::deque<Entry> remembered_;
    std::vector<std::weak_ptr<Stream>> streams_;
};

} // namespace redfish
