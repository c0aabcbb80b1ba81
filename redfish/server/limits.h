// How much one address, and all together, may ask of the server. Thread of the connections
// only.
#pragma once

#include <chrono>
#include <cstddef>
#include <memory>
#include <string>
#include <unordered_map>

namespace redfish {

struct Limits {
    std::size_t headerBytes = 8192;
    std::size_t bodyBytes = 65'536;
    std::size_t connections = 1024;
    std::size_t connectionsPerAddress = 64;
    double requestsPerSecond = 100; // of one address, on the average; 0: without limit
    double burst = 300;             // more than these at once are refused
    std::chrono::milliseconds handshake{5000};
    std::chrono::milliseconds request{10'000};   // from its first byte to its last
    std::chrono::milliseconds response{20'000};  // for the other side to take a piece of it
    std::chrono::milliseconds idle{60'000};      // between two requests
    std::chrono::milliseconds farewell{5000};    // for what is under way when the server stops
    std::chrono::milliseconds keepAlive{15'000}; // between two comments of an event stream
};

// A bucket of tokens: one is taken by each request, they come back at an even rate.
class TokenBucket {
public:
    using Clock = std::chrono::steady_clock;

    TokenBucket(double rate, double capacity, Clock::time_point now)
        : rate_(rate), capacity_(capacity), tokens_(capacity), last_(now) {}

    bool take(Clock::time_point now);
    bool isFull(Clock::time_point now) const;

private:
    double tokensAt(Clock::time_point now) const;

    double rate_;
    double capacity_;
    double tokens_;
    Clock::time_point last_;
};

class AddressTable {
public:
    explicit AddressTable(const Limits& limits) : limits_(limits) {}

    // What is shared by the connections of one address. An IPv6 address counts by its first
    // 64 bits, which is what one machine is given.
    class Visitor {
    public:
        Visitor(AddressTable& table, const std::string& key);
        ~Visitor();
        Visitor(const Visitor&) = delete;
        Visitor& operator=(const Visitor&) = delete;

        // False when this address asks too often.
        bool mayAsk(TokenBucket::Clock::time_point now);

    private:
        AddressTable& table_;
        std::string key_;
    };

    // Null when there are too many connections, in all or of this address.
    std::unique_ptr<Visitor> enter(const std::string& address, TokenBucket::Clock::time_point now);

    // Forgets addresses without a connection that have not asked for a while.
    void forgetQuietOnes(TokenBucket::Clock::time_point now);

    std::size_t connections() const { return connections_; }
    std::size_t addresses() const { return addresses_.size(); }

private:
    struct Address {
        std::size_t connections = 0;
        TokenBucket bucket;
    };

    const Limits& limits_;
    std::size_t connections_ = 0;
    std::unordered_map<std::string, Address> addresses_;
};

} // namespace redfish
