// Where the store lies: the texts that OSSEL_REDIS may hold, and back to text for messages.
// Connecting is left to connection.h.
#pragma once

#include <optional>
#include <string>
#include <string_view>

struct redisContext;

namespace ossel {

constexpr const char* kAddressVariable = "OSSEL_REDIS";
constexpr const char* kDefaultAddress = "unix:/run/redis/redis-server.sock";

struct Address {
    std::string path; // of a unix socket; empty: TCP
    std::string host;
    int port = 0;
};

// Reads `unix:PATH` or `tcp:HOST:PORT`, an IPv6 address in brackets. Nothing for any
// other text.
std::optional<Address> parseAddress(std::string_view text);

// The address of a connection, in the form of OSSEL_REDIS.
std::string addressText(const redisContext& context);

} // namespace ossel
