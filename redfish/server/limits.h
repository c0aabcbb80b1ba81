// How much one address, and all together, may ask of the server. Thread of the loop only.
#pragma once

#include <chrono>
#include <cstddef>
#include <memory>
#include <string>
#include <unordered_map>

namespace redfish {

// Every bound of the server, with the defaults that docs/redfish.md lists.
struct Limits {
    // Of one request.
    std::size_t headerBytes = 8192;
    std::size_t bodyBytes = 65'536;
    std::size_t connections = 1024;
    std::size_t connectionsPerAddress = 64;
    // Average of one address; 0: no limit.
    double requestsPerSecond = 100;
    // Requests that one address may send at once before the average counts.
    double burst = 300;
    // For the TLS handshake.
    std::chrono::milliseconds handshake{5000};
    // From the first byte of a request to its last.
    std::chrono::milliseconds request{10'000};
    // For the client to take one piece of a response.
    std::chrono::milliseconds response{20'000};
    // Between two requests.
    std::chrono::milliseconds idle{60'000};
    // For requests under way when the server stops.
    std::chrono::milliseconds farewell{5000};
    // Between two comments that keep an event stream alive.
    std::chrono::milliseconds keepAlive{15'000};
};

// A rate limiter: each request takes a token, tokens come back at an even rate.
class TokenBucket {
public:
    using Clock = std::chrono::steady_clock;

    // Starts full.
    //   rate      tokens a second
    //   capacity  most tokens at once
    TokenBucket(double rate, double capacity, Clock::time_point now)
        : rate_(rate), capacity_(capacity), tokens_(capacity), last_(now) {}

    // Takes a token; false if there is none.
    bool take(Clock::time_point now);
    // Whether nothing has been taken for long enough that forgetting the bucket changes nothing.
    bool isFull(Clock::time_point now) const;

private:
    // Tokens after those that have come back since the last request.
    double tokensAt(Clock::time_point now) const;

    double rate_;
    double capacity_;
    double tokens_;
    Clock::time_point last_;
};

// Counts connections and requests by address. An IPv6 address counts by its first 64 bits, which
// are what one machine is given.
class AddressTable {
public:
    // Borrows the limits.
    explicit AddressTable(const Limits& limits) : limits_(limits) {}

    // One connection. It counts until its end; must not outlive the table.
    class Visitor {
    public:
        // Made by enter() alone.
        Visitor(AddressTable& table, const std::string& key);
        ~Visitor();
        Visitor(const Visitor&) = delete;
        Visitor& operator=(const Visitor&) = delete;

        // Counts a request; false if the address sends too many.
        bool mayAsk(TokenBucket::Clock::time_point now);

    private:
        AddressTable& table_;
        std::string key_;
    };

    // Counts a connection from a numeric address. Null: too many, in all or of this address.
    std::unique_ptr<Visitor> enter(const std::string& address, TokenBucket::Clock::time_point now);

    // Forgets addresses that have no connection and a full bucket.
    void forgetQuietOnes(TokenBucket::Clock::time_point now);

    // Connections at present.
    std::size_t connections() const { return connections_; }
    // Addresses that are remembered.
    std::size_t addresses() const { return addresses_.size(); }

private:
    // One entry for each address that has a connection or has not been quiet for long enough.
    struct Address {
        std::size_t connections = 0;
        TokenBucket bucket;
    };

    const Limits& limits_;
    std::size_t connections_ = 0;
    std::unordered_map<std::string, Address> addresses_;
};

} // namespace redfish
