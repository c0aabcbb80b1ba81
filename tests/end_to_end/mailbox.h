// The requester's side of the request channel: sends requests and collects the answers. It uses
// plain hiredis and shares no code with client/, so that the two check each other.
#pragma once

#include <chrono>
#include <functional>
#include <iosfwd>
#include <map>
#include <memory>
#include <string>
#include <vector>

struct redisContext;
struct redisReply;

namespace test {

// One answer as the store has it.
struct Answer {
    std::string messageId; // empty: there was no answer
    std::vector<std::string> arguments;

    bool operator==(const Answer&) const = default;
};

// For failed comparisons.
void PrintTo(const Answer& answer, std::ostream* out);

// Subscribes to its reply channels in the constructor. One thread at a time.
class Mailbox {
public:
    explicit Mailbox(const std::string& redisSocket);
    Mailbox(const Mailbox&) = delete;
    Mailbox& operator=(const Mailbox&) = delete;

    // Returns an unused reply channel.
    std::string newReplyChannel();

    // Publishes [msgId, reqArg, replyChannel] and returns the number of receivers.
    long long send(const std::string& msgId, const std::string& reqArg,
                   const std::string& replyChannel);

    // Collects answers until the condition holds; false if it does not within `limit`.
    bool collectUntil(const std::function<bool()>& condition,
                      std::chrono::milliseconds limit = std::chrono::seconds(30));

    // Collects everything that the store has published so far.
    void collectAll();

    // UUIDs of return messages by reply channel, in order of arrival.
    const std::map<std::string, std::vector<std::string>>& received() const { return received_; }
    std::size_t count() const { return count_; }

    // Reads the return message of that UUID.
    Answer answer(const std::string& uuid);

private:
    struct Disconnect {
        void operator()(redisContext* context) const;
    };
    struct FreeReply {
        void operator()(redisReply* reply) const;
    };
    using Connection = std::unique_ptr<redisContext, Disconnect>;
    using Reply = std::unique_ptr<redisReply, FreeReply>;

    static Connection connect(const std::string& redisSocket);
    static Reply command(redisContext& connection, const std::vector<std::string>& words);
    bool receiveFor(std::chrono::milliseconds limit);
    void take(const redisReply& message);

    Connection commands_;
    Connection subscription_;
    int lastChannel_ = 0;
    std::map<std::string, std::vector<std::string>> received_;
    std::size_t count_ = 0;
    bool echoed_ = false;
};

} // namespace test
