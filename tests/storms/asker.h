// One requester on the library client/: sends a request, waits for its answer, and tells exactly
// how far it came when the store went away in the midst of it.
#pragma once

#include "client/connection.h"
#include "client/subscription.h"

#include <string>
#include <utility>
#include <vector>

namespace storms {

// How a request ended, for the one who sent it.
enum class Outcome {
    answered,  // its return message was read
    nobody,    // told by the number of receivers, 0
    cutOff,    // told by a connection of its own that was refused, lost or silent
    refused,   // told by an error reply of the store
    unanswered // its connections stood, and nothing came
};

struct Question {
    std::string messageId;
    std::string argument; // with fields: the key of the request object
    std::vector<std::pair<std::string, std::string>> fields;
};

struct Told {
    std::string channel;   // its reply channel, nobody else's
    bool accepted = false; // the store said that a provider received it
    Outcome outcome = Outcome::cutOff;
    std::string messageId;       // of the answer; empty where nothing was read
    bool messageMissing = false; // announced, but not in the store
};

// Not for two threads at once. `stop` is borrowed for its life.
class Asker {
public:
    Asker(const client::Address& address, const client::Stop* stop);

    // Never throws for what the store does. Returns at the latest some seconds after the
    // deadline, since each command may take client::kStoreTimeout.
    Told ask(const Question& question, client::Deadline deadline);

    // What a reader does that needs no provider: looks whether the instance is fresh, and reads
    // it. False where the store did not answer.
    bool readFresh(const std::string& instance);

    // Who serves the resource, and since when? False as above.
    bool askStatus();

private:
    void perform(const Question& question, client::Deadline deadline, Told& told);

    client::StoreConnection store_;
    client::Subscription subscription_;
    const client::Stop* stop_;
};

} // namespace storms
