// One requester on the library client/: sends a request, waits for its answer, and reports exactly
// how far it got when the store died half-way.
#pragma once

#include "client/connection.h"
#include "client/subscription.h"

#include <string>
#include <utility>
#include <vector>

namespace storms {

// How a request ended for its requester.
enum class Outcome {
    answered,  // its return message was read
    nobody,    // the store reported 0 receivers
    cutOff,    // its own connection was refused, lost or silent
    refused,   // the store replied with an error
    unanswered // its connections worked, and no answer came
};

struct Question {
    std::string messageId;
    std::string argument; // with fields: the key of the request object
    std::vector<std::pair<std::string, std::string>> fields;
};

struct Told {
    std::string channel;   // its own reply channel
    bool accepted = false; // the store reported a receiver
    Outcome outcome = Outcome::cutOff;
    std::string messageId;       // of the answer; empty if none was read
    bool messageMissing = false; // announced, but not in the store
};

// One thread at a time. `stop` must outlive it.
class Asker {
public:
    Asker(const client::Address& address, const client::Stop* stop);

    // Never throws because of the store. Returns at most a few seconds after the deadline, since
    // each command may take client::kStoreTimeout.
    Told ask(const Question& question, client::Deadline deadline);

    // What a reader does without a provider: checks whether the instance is fresh, and reads it.
    // Returns false if the store did not answer.
    bool readFresh(const std::string& instance);

    // Asks who serves the resource, and since when. Returns false as above.
    bool askStatus();

private:
    void perform(const Question& question, client::Deadline deadline, Told& told);

    client::StoreConnection store_;
    client::Subscription subscription_;
    const client::Stop* stop_;
};

} // namespace storms
