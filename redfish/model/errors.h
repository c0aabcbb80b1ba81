// What is wrong with a request, and how an answer says so.
#pragma once

#include "client/requester.h"
#include "redfish/model/messages.h"

#include <string>
#include <string_view>
#include <vector>

namespace redfish::model {

// One thing that is wrong, or, with the message of a success, that is done.
struct Problem {
    Message message = Message::internalError;
    std::vector<std::string> arguments;
    // The property concerned as a JSON pointer into the body, "#/Theme"; empty: none.
    std::string property;
};
using Problems = std::vector<Problem>;

// A value, and what is wrong with it. With problems the value means nothing.
template <class Value>
struct Checked {
    Value value;
    Problems problems;

    bool isGood() const { return problems.empty(); }
};

// Seconds after which a client may ask again, in the header Retry-After and in the texts.
inline constexpr int kRetryAfterSeconds = 5;

// One element of "@Message.ExtendedInfo".
Json extendedInfo(const Problem& problem);

// The body of an answer: "error" with "code", "message" and "@Message.ExtendedInfo", one element
// for each problem, at least one. With several the code is that of "GeneralError".
Json errorBody(const Problems& problems);

// The body of an answer to what has succeeded: "@Message.ExtendedInfo" alone.
Json successBody(Message message);

// The HTTP status of the answer with these problems, at least one: their own where they agree,
// otherwise 400.
int statusOf(const Problems& problems);

// What an answer of the provider that is not "Success" means to the client.
Problem problemOf(const client::Answer& answer);

// The same of an exception of the client library.
Problem problemOf(const client::Error& error);

// A value as a message repeats it: JSON, cut to what is worth reading, always valid UTF-8.
std::string shown(const Json& value);

} // namespace redfish::model
