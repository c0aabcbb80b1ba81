// The one reader of the event stream in the store, for all who listen. After an outage it goes on
// where it has left off.
#pragma once

#include "client/events.h"
#include "redfish/gateway/gateway.h"
#include "redfish/http/message.h"
#include "redfish/runtime/post.h"

#include <functional>
#include <thread>
#include <vector>

namespace redfish {

class EventReader {
public:
    // `isOld`: they were there before the reader was. `instance`: key of the WebGUI instance in
    // the store; empty: there is none yet. In order, on the thread of the connections.
    using Received = std::function<void(const std::vector<client::Event>&, bool isOld,
                                        const std::string& instance)>;

    // The gateway forgets what it has read before an event is passed on: who reads upon an event
    // never gets the resource from before it, even if the news of the changed key, which come on
    // another connection, are late. It outlives the reader.
    EventReader(client::Address store, Gateway& gateway, Post post, Received received);
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
    std::string last_; // id of the event told last
    std::string instance_;
    std::thread thread_;
};

} // namespace redfish
