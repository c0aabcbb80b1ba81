// The load generator: one thread that keeps a number of clients' requests in flight and measures
// each from publishing it to having read its return message.
#pragma once

#include "benchmarks/latencies.h"
#include "benchmarks/redis_socket.h"

#include <cstdint>
#include <deque>
#include <string>
#include <vector>

namespace bench {

struct LoadOptions {
    std::string socket;
    std::string channel;  // of the provider, or of the bare program
    std::string instance; // the resource's key
    unsigned int clients = 1;
    std::uint64_t requests = 0; // measured; 0: as many as the seconds allow
    double seconds = 0.0;       // 0: until all requests are answered
    std::uint64_t warmUp = 0;   // answered before measuring begins
    bool updates = false;       // "00002", the language changing each time; else "00001"
};

struct LoadResult {
    Latencies latencies;
    std::uint64_t sent = 0;     // warm-up included
    std::uint64_t answered = 0; // by a return message that says "Success"
    std::uint64_t refused = 0;  // by one that says anything else
    std::uint64_t unasked = 0;  // answers beyond the first to a request
    double seconds = 0.0;       // from the first measured request to the last answer
};

// A client is a reply channel with at most one request on its way. Requests of all clients go
// over one connection, pipelined; answers come over another; a return message is fetched over the
// first one again.
class LoadGenerator {
public:
    explicit LoadGenerator(LoadOptions options);

    // Throws std::runtime_error when redis, or the provider, stays silent, or nobody listens.
    LoadResult run();

private:
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
    void finish(unsigned int number, const Reply& returnMessage);
    void collectLate();
    void handle(const Reply& message);

    LoadOptions options_;
    RedisSocket commands_;
    RedisSocket answers_;
    std::vector<Client> clients_;
    std::deque<Expected> expected_;
    unsigned int fetches_ = 0; // return messages on their way
    unsigned int waiting_ = 0; // clients whose request is on its way
    bool echoed_ = false;
    Clock::time_point begin_;
    Clock::time_point end_;
    Reply reply_;
    LoadResult result_;
};

} // namespace bench
