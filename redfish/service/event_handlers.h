// The handler of the event stream. Thread of the loop only.
#pragma once

#include "redfish/service/call.h"
#include "redfish/service/event_hub.h"

namespace redfish {

class EventHandlers {
public:
    // Borrows the hub, which feeds the streams.
    explicit EventHandlers(EventHub& events) : events_(events) {}
    EventHandlers(const EventHandlers&) = delete;
    EventHandlers& operator=(const EventHandlers&) = delete;

    // GET of the stream; HEAD opens none. The routes borrow this object.
    Routes routes();

private:
    // 200 with a feed; 400 for a bad $filter or Last-Event-ID, 501 for another parameter of the
    // protocol, 503 if too many streams are open.
    void openStream(const Call& call, const Respond& respond);

    EventHub& events_;
};

} // namespace redfish
