// The WebGUI resource as a client sees it: read it, change its settings, run its actions.
#pragma once

#include "client/requester.h"
#include "client/settings.h"

#include <functional>
#include <map>

namespace client {

// How long an answer may take by default: an update writes a database in paced steps, and
// may need several seconds.
inline constexpr std::chrono::milliseconds kAnswerTimeout{10'000};

// The answer to one of the requests that a change of settings needs.
struct UpdateAnswer {
    std::string messageId; // of the request
    std::vector<std::string> names;
    Answer answer;
};

// The instance as it stood at one moment.
struct Snapshot {
    std::string instance; // its key
    std::map<std::string, std::string> fields;
    std::chrono::milliseconds freshFor{}; // from that moment on it may be served as it stands
};

// What a change must find, looked at under the lease and before anything is sent: gets the
// present fields. False refuses the change.
using Precondition = std::function<bool(const std::map<std::string, std::string>&)>;

// A change whose precondition did not hold. Nothing was sent.
class PreconditionFailed : public Error {
public:
    using Error::Error;
};

// Provider and instance are looked up anew by every call; only a read of the instance that the
// last one found, still fresh, takes it as it is: one round trip. Not for two threads at once;
// `stop` (may be null) is borrowed for its life and ends the waits of every call.
// Throw as Requester::perform and the functions of client/discovery.h.
class WebGui {
public:
    explicit WebGui(const Address& address, std::chrono::milliseconds timeout = kAnswerTimeout,
                    const Stop* stop = nullptr);

    StoreConnection& store() { return store_; }

    // Has the provider bring the instance up to date, whether or not it is fresh.
    Answer read();

    // The fields of the instance. A read request goes first when the instance is no longer
    // fresh. Throws AnsweredOtherwise too.
    std::map<std::string, std::string> fields();

    // The same with the time for which the fields stay fresh.
    Snapshot snapshot();

    // Changes settings: one request per message id concerned, in ascending order, up to the
    // first that is not answered "Success". Properties of the same request that are not
    // named keep their present values; these are read, and the request is answered, under a
    // lease, so that no change of another client is lost. Values are checked first, as
    // checkSettings does. `user` is sent as "EventUserName" unless `changes` name it.
    // `precondition` is asked once, before the first request; empty: everything will do.
    // Throws InvalidArgument, LeaseHeld, PreconditionFailed, AnsweredOtherwise (to the read) too.
    std::vector<UpdateAnswer> updateSettings(const SettingValues& changes, const std::string& user,
                                             bool anyValue = false, Precondition precondition = {});

    // Runs an action, for instance kTurnOffLcd.
    Answer runAction(const std::string& action);

    // Any request to the provider of the resource.
    Answer perform(const Request& request);

private:
    UpdateAnswer update(const std::string& messageId, const SettingValues& changes,
                        const std::string& user, const Precondition& precondition);
    std::map<std::string, std::string> fieldsOf(const std::string& instance);
    Snapshot snapshotOf(const std::string& instance);
    // True: the instance is there and fresh.
    bool look(const std::string& instance, Snapshot& snapshot);

    StoreConnection store_;
    Requester requester_;
    const Stop* stop_;
    std::string instance_; // that was read last; empty: none yet
};

} // namespace client
