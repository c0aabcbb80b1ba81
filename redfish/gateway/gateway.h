// The gateway to the daemon: reads the WebGUI resource, changes it, runs its actions,
// over the object store alone. The client library waits for its answers; here that happens on
// threads of the bridge's own, and what comes of it is told on the thread of the connections.
#pragma once

#include "client/stop.h"
#include "client/webgui.h"
#include "redfish/http/message.h"
#include "redfish/model/errors.h"
#include "redfish/runtime/post.h"
#include "redfish/runtime/worker_pool.h"

#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

namespace redfish {

// The resource as it is served; with problems there is none.
struct Reading {
    Text body;
    std::string entityTag;
    model::Problems problems;
};

// What became of a change. Some of it may have been made although there are problems.
struct ChangeResult {
    bool isAnythingChanged = false;
    model::Problems problems;
    Reading reading; // after it, if anything was changed
};

struct GatewayOptions {
    client::Address store;
    std::chrono::milliseconds timeout = client::kAnswerTimeout;
};

// All calls on the thread of the connections, and so are the callbacks; some come at once.
class Gateway {
public:
    using Read = std::function<void(const Reading&)>;
    using Changed = std::function<void(const ChangeResult&)>;
    using Done = std::function<void(const model::Problems&)>;

    Gateway(GatewayOptions options, Post post);
    ~Gateway(); // callbacks that are still to come never do
    Gateway(const Gateway&) = delete;
    Gateway& operator=(const Gateway&) = delete;

    // The resource as it stands. While it is fresh and unchanged in the store it is served from
    // memory; all who ask while it is being read wait for the same answer.
    void read(Read done);

    // Changes settings of which the values were checked. `ifMatch`: what the header of that name
    // asks for; empty: nothing. A read after it gives the new values too.
    void change(client::SettingValues changes, std::string user, std::string ifMatch, Changed done);

    // Runs an action: client::kTurnOffLcd, client::kGuiReady.
    void act(std::string action, Done done);

    // Drops the reading in memory: who asks from now on gets one that is begun after this call, not
    // one that is under way. To be called before an event is passed on to clients.
    void forget();

    // Key of the instance in the store, as last read; empty: not yet known.
    const std::string& instance() const { return instance_; }

    // Read requests and look-ups so far, for tests.
    unsigned long long lookups() const { return lookups_; }

private:
    struct Stored;
    struct Flight;
    class Lender;
    using Work = std::function<void(client::WebGui&)>;

    bool submit(WorkerPool& pool, Work work);
    void land(const std::shared_ptr<Flight>& flight, const Stored& stored);
    void finish(const Changed& done, ChangeResult result);
    void follow(); // the thread that is told of changes in the store
    void followOnce(client::StoreConnection& store);

    GatewayOptions options_;
    PostGuard guard_;
    Post post_;
    client::Stop stop_;
    std::unique_ptr<Lender> lender_;

    Reading cached_;
    client::Clock::time_point cachedUntil_;
    std::string instance_;
    std::string followed_; // instance whose changes are told; empty: none, nothing is kept
    unsigned long long generation_ = 0; // of what is known of the store: counts its changes
    unsigned long long lookups_ = 0;
    std::shared_ptr<Flight> flight_;

    // The threads end first.
    std::unique_ptr<WorkerPool> reads_;
    std::unique_ptr<WorkerPool> changes_;
    std::thread follower_;
};

} // namespace redfish
