// Sends requests to a provider and waits for their answers: one request at a time.
#pragma once

#include "client/connection.h"
#include "client/errors.h"
#include "client/lease.h"
#include "client/subscription.h"

#include <utility>

namespace client {

// The return message of one request.
struct Answer {
    std::string messageId;
    std::vector<std::string> arguments;
    std::chrono::microseconds latency{}; // from publishing to having read it

    bool isSuccess() const { return messageId == "Success"; }
    // "InvalidObject (KEY)".
    std::string text() const;
};

// A request whose answer is not "Success" where only that helps the caller.
class AnsweredOtherwise : public Error {
public:
    AnsweredOtherwise(const std::string& request, Answer given)
        : Error(request + " was answered " + given.text()), answer(std::move(given)) {}
    Answer answer;
};

using Fields = std::vector<std::pair<std::string, std::string>>;

// What goes to the provider. With fields, these are stored under `argument` first: the
// request object, which must not exist yet.
struct Request {
    std::string messageId;
    std::string argument;
    Fields fields;
};

// What a request takes along, so that it costs no round trip of its own.
struct Escort {
    // Must still be held when the request is sent, and is held for its whole life from then on.
    // Null: none. Only for requests with fields.
    Lease* lease = nullptr;
    // Commands for the moment after the answer, in this order.
    std::vector<Words> after{};
    // The replies to these, error replies among them.
    std::vector<Reply> replies{};
};

// How much longer than the time-out for its answer a request object is kept by the store,
// should the client die before it deletes it.
inline constexpr std::chrono::seconds kRequestObjectMargin{60};

// Not for two threads at once. `store` and `stop` (may be null) are borrowed for its life.
class Requester {
public:
    Requester(StoreConnection& store, std::chrono::milliseconds timeout, const Stop* stop);

    // Subscribes ahead to what the next request needs. Returns at once: the store confirms it while
    // the caller does something else.
    void prepare();

    // Publishes the request on the provider's channel and gives its answer, whatever it
    // says; `escort` may be null. However it ends, the request object is deleted, or expires
    // shortly where the provider might still write to it. Throws as StoreConnection, and
    // NobodyThere (nobody listens), NoAnswer, Stopped, StoreContents (the object exists, or the
    // return message is missing), LeaseHeld (the lease was lost: nothing was sent), InvalidArgument
    // (a text is not UTF-8).
    Answer perform(const std::string& channel, const Request& request, Escort* escort = nullptr);

    std::chrono::milliseconds timeout() const { return timeout_; }

private:
    class RequestObject;

    void send(const std::string& channel, const std::string& payload, const Request& request,
              RequestObject& object, const Escort* escort);
    std::string awaitAnswer(const std::string& channel, const std::string& replies,
                            RequestObject& object);
    Answer readAnswer(const std::string& uuid, RequestObject& object, Escort* escort);

    StoreConnection& store_;
    Subscription subscription_;
    std::chrono::milliseconds timeout_;
    const Stop* stop_;
    std::string replies_; // channel for the next answer; empty: not prepared
};

} // namespace client
