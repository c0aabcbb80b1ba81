// A provider of the WebGUI resource for tests of its clients: registers in a store, takes requests
// on its channel, and answers as the test configures it.
#pragma once

#include "tests/support/redis_server.h"

#include <atomic>
#include <chrono>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace test {

// A request as received, with the fields of its request object at that moment.
struct ReceivedRequest {
    std::string messageId;
    std::string argument;
    std::string replyChannel;
    std::map<std::string, std::string> object;
    long long objectLife = -2; // PTTL
};

// How one request is answered.
struct Behaviour {
    std::string messageId = "Success";
    std::vector<std::string> arguments{};
    int times = 1;                      // answers; 0: silence, and nothing done
    std::chrono::milliseconds delay{0}; // before doing anything
    std::chrono::milliseconds work{0};  // between reading the object and writing
    bool hasReturnMessage = true;       // false: an answer that leads nowhere
    bool diesUnanswered = false;        // takes no further requests
    bool marksFresh = true;             // false: an update takes the mark away
};

class StandInProvider {
public:
    static constexpr const char* kInstance = "80000000-0000-0000-0000-008000000000";
    static constexpr const char* kChannel = "OrvaneWebGUI";

    // Writes the schema, registers, and stores the instance with defaults. Listens when the
    // constructor returns.
    explicit StandInProvider(RedisServer& server);
    ~StandInProvider();
    StandInProvider(const StandInProvider&) = delete;
    StandInProvider& operator=(const StandInProvider&) = delete;

    // For requests from now on: by message id, or for all that are not named.
    void behave(const std::string& messageId, Behaviour behaviour);
    void behave(Behaviour behaviour);

    std::vector<ReceivedRequest> received() const;
    std::size_t receivedCount() const { return received().size(); }

    void stopListening();

private:
    struct Disconnect {
        void operator()(redisContext* context) const;
    };
    using Connection = std::unique_ptr<redisContext, Disconnect>;

    std::string command(const std::vector<std::string>& words);
    void publishInstance();
    void listen();
    void handle(const std::string& payload);
    void work(const ReceivedRequest& request, bool marksFresh);
    void answer(const ReceivedRequest& request, const Behaviour& behaviour);
    Behaviour behaviourFor(const std::string& messageId) const;

    Connection subscription_;
    Connection commands_;
    mutable std::mutex mutex_; // guards the two below
    std::map<std::string, Behaviour> behaviours_;
    std::vector<ReceivedRequest> received_;
    std::atomic<bool> dead_{false};
    std::atomic<int> answered_{0};
    std::thread thread_;
};

} // namespace test
