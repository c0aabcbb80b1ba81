// User and password for the store, from the file that OSSEL_REDIS_CREDENTIALS names. No text made
// here contains the password.
#pragma once

#include <string>
#include <string_view>

namespace redis {

inline constexpr const char* kCredentialsVariable = "OSSEL_REDIS_CREDENTIALS";

struct Credentials {
    std::string user; // empty: none configured
    std::string password;
    std::string problem; // not empty: why the file is unusable, with variable and path

    bool areGiven() const { return !user.empty(); }
};

// Reads the file on every call, so that a changed password takes effect with the next connection.
// The file: one line, "user password", at most 1024 bytes, not writable by its group and closed
// to others. Without the variable, or with an empty one, no credentials and no problem.
Credentials readCredentials();

// Describes the server's refusal of AUTH by the first word of its answer: the rest may repeat the
// command's arguments.
std::string describeRefusal(std::string_view answer);

} // namespace redis
