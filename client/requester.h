// Sends requests to a provider and waits for their answers: one request at a time.
#pragma once

#include "client/connection.h"
#include "client/errors.h"
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

// How much longer than the time-out for its answer a request object is kept by the store,
// should the client die before it deletes it.
inline constexpr std::chrono::seconds kRequestObjectMargin{60};

// Not for two threads at once. `store` and `stop` (may be null) are borrowed for its life.
class Requester {
public:
    Requester(StoreConnection& store, std::chrono::milliseconds timeout, const Stop* stop);

    // Publishes the request on the provider's channel and gives its answer, whatever it
    // says. However it ends, the request object is deleted, or expires shortly where the
    // provider might still write to it. Throws as StoreConnection, and NobodyThere (nobody
    // listens), NoAnswer, Stopped, StoreContents (the object exists, or the return message
    // is missing), InvalidArgument (a text is not UTF-8).
    Answer perform(const std::string& channel, const Request& request);

    std::chrono::milliseconds timeout() const { return timeout_; }

private:
    class RequestObject;

    std::string awaitAnswer(const std::string& channel, const std::string& replies,
                            RequestObject& object);
    Answer readAnswer(const std::string& uuid);

    StoreConnection& store_;
    Subscription subscription_;
    std::chrono::milliseconds timeout_;
    const Stop* stop_;
};

} // namespace client
