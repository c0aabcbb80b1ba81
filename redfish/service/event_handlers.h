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
    void openStream(const Call& call, const Respond& respond);

    EventHub& events_;
};

} // namespace redfish
