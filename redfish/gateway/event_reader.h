// The one reader of the store's event stream, for all listeners. After an outage it continues where
// it stopped.
#pragma once

#include "client/events.h"
#include "redfish/gateway/gateway.h"
#include "redfish/http/message.h"
#include "redfish/runtime/post.h"

#include <functional>
#include <thread>
#include <vector>

namespace redfish {

// Retries twice a second while the store is unreachable.
class EventReader {
public:
    // Takes events in their order, on the loop's thread.
    //   isOld     from before the reader was started
    //   instance  key of the WebGUI instance in the store; empty: there is none yet
    using Received = std::function<void(const std::vector<client::Event>&, bool isOld,
                                        const std::string& instance)>;

    // Starts the thread. Makes the gateway forget its reading before each event is passed on: a
    // client that reads upon an event never gets the resource from before it, even if the report of
    // the changed key, which comes on another connection, is late. Borrows the gateway.
    EventReader(client::Address store, Gateway& gateway, Post post, Received received);
    // Stops the thread; events that have not been passed on are dropped.
    ~EventReader();
    EventReader(const EventReader&) = delete;
    EventReader& operator=(const EventReader&) = delete;

private:
    void run();
    void readOn(client::StoreConnection& store);
    void tell(client::StoreConnection& store, std::vector<client::Event> events, bool isOld);

    client::Address address_;
    Gateway& gateway_;
    PostGuard guard_;
    Post post_;
    Received received_;
    client::Stop stop_;
    // The reader's thread only.
    // Id of the last event that was passed on.
    std::string last_;
    std::string instance_;
    std::thread thread_;
};

} // namespace redfish
