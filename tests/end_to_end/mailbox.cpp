// See mailbox.h.
#include "tests/end_to_end/mailbox.h"

#include <hiredis/hiredis.h>
#include <nlohmann/json.hpp>
#include <ostream>
#include <poll.h>
#include <stdexcept>
#include <string_view>
#include <sys/time.h>

namespace test {

namespace {

constexpr std::string_view kReplyPrefix = "Reply:end-to-end:";
constexpr const char* kEchoChannel = "Reply:end-to-end:echo";
constexpr timeval kCommandTimeout{10, 0};

std::string textOf(const redisReply* reply) {
    return reply != nullptr && reply->str != nullptr ? std::string(reply->str, reply->len)
                                                     : std::string();
}

} // namespace

void PrintTo(const Answer& answer, std::ostream* out) {
    *out << '"' << answer.messageId << '"';
    for (const std::string& argument : answer.arguments) {
        *out << " \"" << argument << '"';
    }
}

void Mailbox::Disconnect::operator()(redisContext* context) const {
    redisFree(context);
}

void Mailbox::FreeReply::operator()(redisReply* reply) const {
    freeReplyObject(reply);
}

Mailbox::Connection Mailbox::connect(const std::string& redisSocket) {
    Connection connection(redisConnectUnixWithTimeout(redisSocket.c_str(), kCommandTimeout));
    if (!connection || connection->err != 0) {
        throw std::runtime_error("cannot connect to " + redisSocket);
    }
    redisSetTimeout(connection.get(), kCommandTimeout);
    return connection;
}

Mailbox::Reply Mailbox::command(redisContext& connection, const std::vector<std::string>& words) {
    std::vector<const char*> arguments;
    std::vector<std::size_t> lengths;
    arguments.reserve(words.size());
    lengths.reserve(words.size());
    for (const std::string& word : words) {
        arguments.push_back(word.data());
        lengths.push_back(word.size());
    }
    Reply reply(static_cast<redisReply*>(redisCommandArgv(
        &connection, static_cast<int>(words.size()), arguments.data(), lengths.data())));
    if (!reply) {
        throw std::runtime_error("no reply to " + words.front());
    }
    return reply;
}

Mailbox::Mailbox(const std::string& redisSocket)
    : commands_(connect(redisSocket)), subscription_(connect(redisSocket)) {
    command(*subscription_, {"PSUBSCRIBE", std::string(kReplyPrefix) + "*"});
}

std::string Mailbox::newReplyChannel() {
    return std::string(kReplyPrefix) + std::to_string(++lastChannel_);
}

long long Mailbox::send(const std::string& msgId, const std::string& reqArg,
                        const std::string& replyChannel) {
    const std::string payload = nlohmann::json{msgId, reqArg, replyChannel}.dump();
    return command(*commands_, {"PUBLISH", "OrvaneWebGUI", payload})->integer;
}

// ["pmessage", pattern, channel, text]
void Mailbox::take(const redisReply& message) {
    if (message.type != REDIS_REPLY_ARRAY || message.elements != 4) {
        return;
    }
    const std::string channel = textOf(message.element[2]);
    if (channel == kEchoChannel) {
        echoed_ = true;
        return;
    }
    received_[channel].push_back(textOf(message.element[3]));
    ++count_;
}

// Waits for data from the store and reads all of it; false if none arrived.
bool Mailbox::receiveFor(std::chrono::milliseconds limit) {
    pollfd descriptor{subscription_->fd, POLLIN, 0};
    if (::poll(&descriptor, 1, static_cast<int>(limit.count())) <= 0) {
        return false;
    }
    if (redisBufferRead(subscription_.get()) != REDIS_OK) {
        throw std::runtime_error("the store has closed the subscription");
    }
    for (;;) {
        void* next = nullptr;
        if (redisGetReplyFromReader(subscription_.get(), &next) != REDIS_OK) {
            throw std::runtime_error("the store sent what is no reply");
        }
        const Reply message(static_cast<redisReply*>(next));
        if (!message) {
            return true;
        }
        take(*message);
    }
}

bool Mailbox::collectUntil(const std::function<bool()>& condition,
                           std::chrono::milliseconds limit) {
    const auto end = std::chrono::steady_clock::now() + limit;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > end) {
            return false;
        }
        receiveFor(std::chrono::milliseconds(10));
    }
    return true;
}

// A subscriber receives messages in the order in which the store took them, so our own echo comes
// last.
void Mailbox::collectAll() {
    echoed_ = false;
    command(*commands_, {"PUBLISH", kEchoChannel, "echo"});
    if (!collectUntil([this] { return echoed_; })) {
        throw std::runtime_error("the store does not deliver");
    }
}

Answer Mailbox::answer(const std::string& uuid) {
    Answer answer;
    answer.messageId = textOf(command(*commands_, {"HGET", uuid, "MessageId"}).get());
    for (int i = 0; i < 5; ++i) {
        const Reply field = command(*commands_, {"HGET", uuid, "MessageArgs." + std::to_string(i)});
        if (field->type == REDIS_REPLY_NIL) {
            break;
        }
        answer.arguments.push_back(textOf(field.get()));
    }
    return answer;
}

} // namespace test
