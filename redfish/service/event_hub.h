// Passes the provider's events on to all open event streams, and remembers the newest so that a
// client that was cut off can resume. Thread of the loop only.
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

// The id of an event: the id of its entry in the store's event stream, in the order of time.
struct EventId {
    std::uint64_t milliseconds = 0;
    std::uint64_t number = 0;

    // Reads "1700000000123-0"; the number may be missing. Nothing for any other text.
    static std::optional<EventId> parse(const std::string& text);
    // NOLINTNEXTLINE(modernize-use-nullptr): it takes the comparison with 0 for a pointer
    friend auto operator<=>(const EventId&, const EventId&) = default;
};

struct EventHubLimits {
    // Open at once.
    std::size_t streams = 512;
    // Events that a slow client may be behind before its stream ends.
    std::size_t queued = 256;
    // Events kept for clients that resume.
    std::size_t remembered = 1000;
};

// A stream belongs to its connection; the hub only refers to it.
class EventHub {
public:
    // Whose stream it is, and what he wants.
    struct Listener {
        std::string user;
        // Empty: identified by name and password.
        std::string sessionId;
        EventFilter filter;
    };
    // Whether a listener may still listen; asked before each event.
    using MayStay = std::function<bool(const Listener&)>;

    EventHub(EventHubLimits limits, MayStay mayStay);

    // Opens a stream, which begins with a comment; it ends when its last owner drops it. Null: too
    // many are open.
    //   since  if given, the remembered events after this id come first
    std::shared_ptr<Feed> open(Listener listener, const std::optional<EventId>& since);

    // Takes events in their order. A listener that may no longer stay, or is too slow, is cut off.
    //   isOld     from before the start: remembered, but sent to nobody
    //   instance  key of the WebGUI instance in the store, to recognise its events
    void publish(const std::vector<client::Event>& events, bool isOld, const std::string& instance);

    // Streams that are open.
    std::size_t streams();

private:
    class Stream;
    // An event, ready to be sent to any number of streams.
    struct Entry {
        EventId id;
        EventTraits traits;
        Text frame;
    };

    // Makes the frame once; only an event of our instance gets an origin.
    static Entry makeEntry(const client::Event& event, const std::string& instance);
    // Forgets streams whose connection has ended.
    void dropGone();

    EventHubLimits limits_;
    MayStay mayStay_;
    // Oldest first, at most EventHubLimits::remembered.
    std::deque<Entry> remembered_;
    std::vector<std::weak_ptr<Stream>> streams_;
};

} // namespace redfish
