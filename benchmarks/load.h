// The load generator: one thread that keeps the requests of several clients in flight and measures
// each from its publication until its return message has been read.
#pragma once

#include "benchmarks/latencies.h"
#include "redis/connection.h"

#include <cstdint>
#include <deque>
#include <string>
#include <vector>

namespace bench {

enum class LoadKind : std::uint8_t {
    reads,             // "00001"
    languageUpdates,   // "00002", the language changing each time
    brightnessUpdates, // "00003", the brightness changing each time, the other values as they are
};

struct LoadOptions {
    std::string socket;
    std::string channel;  // of the provider, or of the bare program
    std::string instance; // the resource's key
    unsigned int clients = 1;
    std::uint64_t requests = 0; // measured; 0: as many as the seconds allow
    double seconds = 0.0;       // 0: until all requests are answered
    std::uint64_t warmUp = 0;   // answered before measuring begins
    LoadKind kind = LoadKind::reads;
};

struct LoadResult {
    Latencies latencies;
    std::uint64_t sent = 0;     // warm-up included
    std::uint64_t answered = 0; // with "Success"
    std::uint64_t refused = 0;  // with any other message
    std::uint64_t unasked = 0;  // answers beyond the first to a request
    double seconds = 0.0;       // from the first measured request to the last answer
};

// A client is a reply channel with at most one request in flight. All requests are pipelined over
// one connection; answers come over another; return messages are fetched over the first.
class LoadGenerator {
public:
    explicit LoadGenerator(LoadOptions options);

    // Throws std::runtime_error if redis or the provider stays silent, or nobody listens.
    LoadResult run();

private:
    bool isUpdate() const { return options_.kind != LoadKind::reads; }

    struct Client {
        std::string publications[2]; // whole commands, sent in turn
        std::uint64_t sent = 0;
        Clock::time_point published;
        bool waits = false;
    };
    // What a reply on the connection for commands belongs to.
    struct Expected {
        unsigned int client;
        bool isReturnMessage;
    };

    void checkThatSomebodyListens();
    void subscribe();
    void storeRequestObjects();
    void send(unsigned int number);
    bool mayStartAnother() const;
    void waitForSomething();
    void takeAnswers();
    void takeReplies();
    void finish(unsigned int number, const redis::Reply& returnMessage);
    void collectLate();
    void handle(const redis::Reply& message);

    LoadOptions options_;
    redis::Connection commands_;
    redis::Connection answers_;
    std::vector<Client> clients_;
    std::deque<Expected> expected_;
    unsigned int fetches_ = 0; // return messages being fetched
    unsigned int waiting_ = 0; // clients with a request in flight
    bool echoed_ = false;
    Clock::time_point begin_;
    Clock::time_point end_;
    redis::Reply reply_;
    LoadResult result_;
};

} // namespace bench
