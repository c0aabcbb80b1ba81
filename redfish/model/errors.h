// What is wrong with a request, and the body that says so. Any thread.
#pragma once

#include "client/requester.h"
#include "redfish/model/messages.h"

#include <string>
#include <string_view>
#include <vector>

namespace redfish::model {

// One thing that is wrong; with the message of a success, one that is done.
struct Problem {
    Message message = Message::internalError;
    // As many as the message has; one too few leaves its "%1" in the text.
    std::vector<std::string> arguments;
    // The property concerned as a JSON pointer into the body, "#/Theme"; empty: none.
    std::string property;
};
using Problems = std::vector<Problem>;

// A value and the problems found in it. With problems the value is meaningless.
template <class Value>
struct Checked {
    Value value;
    Problems problems;

    // Whether the value may be used.
    bool isGood() const { return problems.empty(); }
};

// Seconds after which a client may retry, in the Retry-After header and in messages.
inline constexpr int kRetryAfterSeconds = 5;

// One element of "@Message.ExtendedInfo", with text, severity and resolution.
Json extendedInfo(const Problem& problem);

// The body of an error: "error" with "code", "message" and one "@Message.ExtendedInfo" element for
// each problem, at least one. With several problems the code is "GeneralError".
Json errorBody(const Problems& problems);

// The body of a success that has no resource to show: "@Message.ExtendedInfo" alone.
Json successBody(Message message);

// The HTTP status for these problems, at least one: theirs if they agree, otherwise 400.
int statusOf(const Problems& problems);

// Translates an answer of the provider that is not "Success".
Problem problemOf(const client::Answer& answer);

// Translates an exception of the client library.
Problem problemOf(const client::Error& error);

// A value as messages repeat it: JSON, cut after 64 bytes, always valid UTF-8.
std::string shown(const Json& value);

} // namespace redfish::model
