// The address of the store, as OSSEL_REDIS and command lines give it.
#pragma once

#include <stdexcept>
#include <string>
#include <string_view>

namespace redis {

inline constexpr const char* kAddressVariable = "OSSEL_REDIS";
inline constexpr const char* kDefaultAddress = "unix:/run/redis/redis-server.sock";

struct Address {
    std::string path; // of a unix socket; empty: TCP
    std::string host;
    int port = 0;

    // The form that parseAddress reads.
    std::string text() const;
};

// what() names the fault, but not the text that has it.
class InvalidAddress : public std::invalid_argument {
public:
    using std::invalid_argument::invalid_argument;
};

// Reads unix:PATH or tcp:HOST:PORT, an IPv6 address in brackets: tcp:[::1]:6379. The path must
// fit into a socket address. Throws InvalidAddress.
Address parseAddress(std::string_view text);

// The value of OSSEL_REDIS; kDefaultAddress where that is unset or empty. Not parsed. Reads the
// environment: no other thread may change it meanwhile.
std::string configuredAddress();

} // namespace redis
