// The requester's side of the request channel, on plain hiredis: it sends requests and counts
// the answers. It shares no code with client/, so that the two check each other.
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

// One answer as it lies in the store.
struct Answer {
    std::string messageId; // empty: no answer came
    std::vector<std::string> arguments;

    bool operator==(const Answer&) const = default;
};

// How a failed comparison shows it.
void PrintTo(const Answer& answer, std::ostream* out);

// Subscribed to its reply channels when the constructor returns. Not for two threads at once.
class Mailbox {
public:
    explicit Mailbox(const std::string& redisSocket);
    Mailbox(const Mailbox&) = delete;
    Mailbox& operator=(const Mailbox&) = delete;

    // A reply channel that nobody used before.
    std::string newReplyChannel();

    // Sends [msgId, reqArg, replyChannel] and gives the number of providers that received it.
    long long send(const std::string& msgId, const std::string& reqArg,
                   const std::string& replyChannel);

    // Takes in answers until the condition holds; false when it does not within `limit`.
    bool collectUntil(const std::function<bool()>& condition,
                      std::chrono::milliseconds limit = std::chrono::seconds(30));

    // Takes in what the store has sent up to now.
    void collectAll();

    // UUIDs of return messages, by reply channel, in the order of their coming.
    const std::map<std::string, std::vector<std::string>>& received() const { return received_; }
    std::size_t count() const { return count_; }

    // The return message of that UUID.
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
