// Sends requests to a provider and waits for their answers: one request at a time.
#pragma once

#include "client/connection.h"
#include "client/errors.h"
#include "client/lease.h"
#include "client/subscription.h"

#include <utility>

namespace client {

// The return message of a request.
struct Answer {
    std::string messageId;
    std::vector<std::string> arguments;
    std::chrono::microseconds latency{}; // from publishing to having read it

    bool isSuccess() const { return messageId == "Success"; }
    // "InvalidObject (KEY)".
    std::string text() const;
};

// The answer to a request is not "Success", without which the caller cannot go on.
class AnsweredOtherwise : public Error {
public:
    AnsweredOtherwise(const std::string& request, Answer given)
        : Error(request + " was answered " + given.text()), answer(std::move(given)) {}
    Answer answer;
};

using Fields = std::vector<std::pair<std::string, std::string>>;

// What goes to the provider. Fields, if any, are first stored under `argument` as the request
// object, which must not exist yet.
struct Request {
    std::string messageId;
    std::string argument;
    Fields fields;
};

// Commands that travel with a request, so that they cost no round trip of their own.
struct Escort {
    // Checked when the request is sent, and prolonged to its full life then; null: none. Only for
    // requests with fields.
    Lease* lease = nullptr;
    // Executed after the answer, in this order.
    std::vector<Words> after{};
    // Their replies, error replies among them; filled by perform.
    std::vector<Reply> replies{};
};

// How long the store keeps a request object beyond the time-out for its answer, should the client
// die before deleting it.
inline constexpr std::chrono::seconds kRequestObjectMargin{60};

// One thread at a time. `store` and `stop` (may be null) must outlive it. The answers come on a
// connection of its own.
class Requester {
public:
    Requester(StoreConnection& store, std::chrono::milliseconds timeout, const Stop* stop);

    // Subscribes to the next request's reply channel ahead of time and returns at once: the store
    // confirms it while the caller does something else. Optional.
    void prepare();

    // Publishes the request on the provider's channel and returns its answer, whatever that says.
    //   escort   may be null
    //   cleanup  the request object is deleted in any case, or expires soon if the provider might
    //            still write to it
    //   throws   as StoreConnection; NobodyThere (nothing listens), NoAnswer, Stopped,
    //            StoreContents (the object exists, or the return message is missing), LeaseHeld
    //            (the lease was lost: nothing was sent), InvalidArgument (a text is not UTF-8)
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
