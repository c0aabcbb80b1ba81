// The WebGUI resource as a client sees it: read it, change its settings, run its actions.
#pragma once

#include "client/discovery.h"
#include "client/requester.h"
#include "client/settings.h"
#include "client/snapshot.h"

#include <functional>

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

// What became of a change of settings.
struct Update {
    std::vector<UpdateAnswer> answers;
    // The instance after it, read under the lease of the change. Nothing where it could not be
    // read or is not fresh: a read has to follow.
    std::optional<Snapshot> after;
};

// What a change must find, asked under the lease and before anything is sent. False refuses the
// change.
using Precondition = std::function<bool(const Snapshot& present)>;

// A change whose precondition did not hold. Nothing was sent.
class PreconditionFailed : public Error {
public:
    using Error::Error;
};

// Every call checks where provider and instance are; only a read of the instance that the last one
// found, still fresh, takes it as it is. Costs one round trip then, and a change of settings three
// for its first request and two for each further one: what was found last is checked, and the
// instance read, together with what has to be sent anyway. Not for two threads at once;
// `stop` (may be null) is borrowed for its life and ends the waits of every call.
// Throw as Requester::perform and the functions of client/discovery.h.
class WebGui {
public:
    explicit WebGui(const Address& address, std::chrono::milliseconds timeout = kAnswerTimeout,
                    const Stop* stop = nullptr, Scope scope = Scope::settings);

    StoreConnection& store() { return store_; }

    // Has the provider bring the instance up to date, whether or not it is fresh.
    Answer read();

    // The fields of the instance. A read request goes first when the instance is no longer
    // fresh. Throws AnsweredOtherwise too.
    std::map<std::string, std::string> fields();

    // The same with the time for which the fields stay fresh, and the actions, if asked for.
    Snapshot snapshot();

    // Changes settings: one request per message id concerned, in ascending order, up to the
    // first that is not answered "Success". Properties of the same request that are not
    // named keep their present values; these are read, and all requests are answered, under a
    // lease, so that no change of another client is lost. Values are checked first, as
    // checkSettings does. `user` is sent as "EventUserName" unless `changes` name it.
    // `precondition` is asked once, before the first request; empty: everything will do.
    // Throws InvalidArgument, LeaseHeld, PreconditionFailed, AnsweredOtherwise (to the read) too.
    Update updateSettings(const SettingValues& changes, const std::string& user,
                          bool anyValue = false, const Precondition& precondition = {});

    // Runs an action, for instance kTurnOffLcd.
    Answer runAction(const std::string& action);

    // Any request to the provider of the resource.
    Answer perform(const Request& request);

private:
    struct Work;
    const Place& place();
    void take(std::optional<Lease>& lease, Snapshot& present);
    Answer update(Work& work, const std::string& messageId, bool isLast);
    bool takeAfter(std::span<const Reply> replies, Snapshot& present);
    Snapshot look(const std::string& instance);
    Snapshot snapshotOf(const std::string& instance, const std::string* channel);

    StoreConnection store_;
    Requester requester_;
    SnapshotReader reader_;
    const Stop* stop_;
    std::optional<Place> place_; // as found last
    std::string instance_;       // that was read last; empty: none yet
};

} // namespace client
