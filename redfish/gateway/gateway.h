// The gateway to the daemon: reads and changes the WebGUI resource and runs its actions, over the
// object store alone. The client library blocks until it has an answer, so it runs on threads of
// the gateway's own; results are posted to the loop's thread.
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

// The resource as it is served. With problems there is no body.
struct Reading {
    // The serialised document; shared by all who read it.
    Text body;
    // Of the body.
    std::string entityTag;
    model::Problems problems;
};

// The outcome of a change. A part of it may be in effect although there are problems.
struct ChangeResult {
    bool isAnythingChanged = false;
    model::Problems problems;
    // The resource after the change; meaningful if anything was changed.
    Reading reading;
};

struct GatewayOptions {
    // Of the object store.
    client::Address store;
    // For each answer of the provider.
    std::chrono::milliseconds timeout = client::kAnswerTimeout;
};

// Thread of the loop only, callbacks included. A callback is called once, some before the call
// returns. If too many requests wait already, the problem is providerUnavailable.
class Gateway {
public:
    // Callbacks of the three requests below.
    using Read = std::function<void(const Reading&)>;
    using Changed = std::function<void(const ChangeResult&)>;
    using Done = std::function<void(const model::Problems&)>;

    // Starts the threads. An unreachable store is no error here: each request reports it.
    Gateway(GatewayOptions options, Post post);
    // Interrupts requests under way; their callbacks are never called.
    ~Gateway();
    Gateway(const Gateway&) = delete;
    Gateway& operator=(const Gateway&) = delete;

    // Reads the resource. While it is fresh and unchanged in the store, it is served from memory;
    // callers that ask during a read share it.
    void read(Read done);

    // Changes settings, at least one. A read after the callback gives the new values too.
    //   changes  checked by the caller
    //   user     who changes them, for the record of the provider
    //   ifMatch  value of the header; if not empty and no tag matches, nothing is changed and the
    //            problem is preconditionFailed
    void change(client::SettingValues changes, std::string user, std::string ifMatch, Changed done);

    // Runs an action: client::kTurnOffLcd, client::kGuiReady.
    void act(std::string action, Done done);

    // Drops the reading in memory: later callers get one that begins after this call, never one
    // that is under way. To be called before an event is passed on to clients.
    void forget();

    // Key of the instance in the store as last read; empty: not yet known.
    const std::string& instance() const { return instance_; }

    // Read requests and look-ups so far, for tests.
    unsigned long long lookups() const { return lookups_; }

private:
    struct Stored;
    struct Flight;
    class Lender;
    using Work = std::function<void(client::WebGui&)>;

    // Runs work with a connection of its own on a thread of the pool; false if the pool is full.
    bool submit(WorkerPool& pool, Work work);
    // Ends a read: keeps the reading if nothing has changed since it began, and passes it on.
    void land(const std::shared_ptr<Flight>& flight, const Stored& stored);
    // Ends a change: drops the reading in memory and passes the outcome on.
    void finish(const Changed& done, ChangeResult result);
    // The thread to which the store reports changes.
    void follow();
    void followOnce(client::StoreConnection& store);

    GatewayOptions options_;
    PostGuard guard_;
    Post post_;
    client::Stop stop_;
    std::unique_ptr<Lender> lender_;

    Reading cached_;
    client::Clock::time_point cachedUntil_;
    std::string instance_;
    // Instance whose changes the store reports; empty: none, so nothing is kept.
    std::string followed_;
    // Counts the changes of the store, so that an older reading is recognised.
    unsigned long long generation_ = 0;
    unsigned long long lookups_ = 0;
    std::shared_ptr<Flight> flight_;

    // The threads end first.
    std::unique_ptr<WorkerPool> reads_;
    std::unique_ptr<WorkerPool> changes_;
    std::thread follower_;
};

} // namespace redfish
