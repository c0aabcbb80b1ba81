// Finds the socket addresses of a host within a deadline, which getaddrinfo alone cannot promise.
#pragma once

#include <chrono>
#include <string>
#include <sys/socket.h>
#include <vector>

namespace redis {

using Clock = std::chrono::steady_clock;
using Deadline = Clock::time_point;

struct SocketAddress {
    sockaddr_storage storage{};
    socklen_t length = 0;
};

struct LookUpResult {
    std::vector<SocketAddress> addresses; // in the resolver's order of preference
    std::string problem;                  // why there are none; empty when there are some
};

// A numeric address is converted on the spot. A name goes to the resolver in a thread of its own;
// one that outlives the deadline ends by itself later, and further calls for the same host wait
// for it instead of starting another. Any thread.
LookUpResult lookUp(const std::string& host, int port, Deadline deadline);

} // namespace redis
