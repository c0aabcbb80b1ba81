#include "client/connection.h"

#include "client/errors.h"

#include <array>
#include <utility>

namespace client {

namespace {

struct Advice {
    std::string_view begin; // of the server's error text
    const char* text;
};

constexpr std::array kAdvice{
    Advice{.begin = "WRONGTYPE",
           .text = "; the key holds another kind of data: repair or delete it"},
    Advice{.begin = "NOAUTH",
           .text = "; name a file with user and password in OSSEL_REDIS_CREDENTIALS"},
    Advice{.begin = "LOADING", .text = "; the server is starting: try again in a moment"},
    Advice{.begin = "OOM",
           .text = "; the server has reached its memory limit: free some or raise it"},
    Advice{.begin = "READONLY", .text = "; this server is a replica: name the primary"},
    Advice{.begin = "MISCONF", .text = "; the server cannot save: look into its log"},
};

std::string adviceFor(const std::string& error) {
    for (const Advice& advice : kAdvice) {
        if (error.starts_with(advice.begin)) {
            return advice.text;
        }
    }
    return {};
}

// The key that a command is about: mostly the word after its name.
const std::string& keyOf(const Words& words) {
    if (words.front() == "EVAL") {
        return words.at(3); // after the script and the number of keys
    }
    return words.front() == "XREAD" ? words.at(words.size() - 2) : words.at(1);
}

} // namespace

void throwRefused(const Address& address, const Words& words, const std::string& error) {
    std::string what = "store " + address.text() + ": " + words.front();
    if (words.size() > 1) {
        what += " \"" + keyOf(words) + "\"";
    }
    throw StoreRefused(what + " failed: " + error + adviceFor(error));
}

std::map<std::string, std::string> hashIn(const Reply& reply) {
    std::map<std::string, std::string> fields;
    const std::vector<Reply>& texts = reply.elements;
    for (std::size_t i = 0; i + 1 < texts.size(); i += 2) {
        fields.emplace(texts[i].text, texts[i + 1].text);
    }
    return fields;
}

StoreConnection::StoreConnection(Address address) : address_(std::move(address)) {}

Wire& StoreConnection::wire() {
    if (wire_ && wire_->isStale()) {
        wire_.reset();
    }
    if (!wire_) {
        wire_ = std::make_unique<Wire>(address_, kStoreTimeout);
    }
    return *wire_;
}

std::optional<Reply> StoreConnection::blockingCommand(const Words& words, Deadline deadline,
                                                      const Stop* stop) {
    std::optional<Reply> reply;
    try {
        Wire& open = wire();
        open.send(words, Clock::now() + kStoreTimeout);
        reply = open.receive(deadline, stop);
    } catch (const Error&) {
        wire_.reset();
        throw;
    }
    if (!reply) {
        // A late reply must not be taken for the next command's.
        wire_.reset();
    } else if (reply->isError()) {
        throwRefused(address_, words, reply->text);
    }
    return reply;
}

std::optional<std::vector<Reply>> StoreConnection::roundTrip(std::span<const Words> commands) {
    std::vector<Reply> replies;
    replies.reserve(commands.size());
    const Deadline deadline = Clock::now() + kStoreTimeout;
    try {
        wire_->send(commands, deadline);
        std::optional<Reply> reply;
        while (replies.size() < commands.size() && (reply = wire_->receive(deadline))) {
            replies.push_back(std::move(*reply));
        }
    } catch (...) {
        wire_.reset(); // replies may still be due on it
        throw;
    }
    if (replies.size() < commands.size()) {
        wire_.reset();
        return std::nullopt;
    }
    return replies;
}

std::vector<Reply> StoreConnection::received(std::span<const Words> commands,
                                             std::optional<std::vector<Reply>> replies) const {
    if (!replies) {
        throw StoreUnreachable("store " + address_.text() + ": no reply to " +
                               commands.front().front() + " within " +
                               std::to_string(kStoreTimeout.count() / 1000) +
                               " s; is the server overloaded or stopped?");
    }
    return std::move(*replies);
}

void StoreConnection::check(const Words& command, const Reply& reply) const {
    if (reply.isError()) {
        throwRefused(address_, command, reply.text);
    }
}

std::vector<Reply> StoreConnection::exchange(std::span<const Words> commands) {
    wire();
    return received(commands, roundTrip(commands));
}

Reply StoreConnection::command(const Words& words) {
    Reply reply = std::move(exchange(std::span(&words, 1)).front());
    check(words, reply);
    return reply;
}

// Does not check the connection first: asking twice does no harm.
std::vector<Reply> StoreConnection::lookUp(std::span<const Words> commands) {
    std::optional<std::vector<Reply>> replies;
    bool isDone = false;
    if (wire_) {
        try {
            replies = roundTrip(commands);
            isDone = !wire_ || !wire_->isOutOfStep();
        } catch (const StoreUnreachable&) {
            isDone = false; // lost while nobody used it
        }
    }
    if (!isDone) {
        wire_.reset();
        wire();
        replies = roundTrip(commands);
    }
    std::vector<Reply> all = received(commands, std::move(replies));
    for (std::size_t i = 0; i < commands.size(); ++i) {
        check(commands[i], all[i]);
    }
    return all;
}

std::optional<std::string> StoreConnection::hashField(const std::string& key,
                                                      const std::string& field) {
    Reply reply = command({"HGET", key, field});
    if (reply.isNil()) {
        return std::nullopt;
    }
    return std::move(reply.text);
}

std::map<std::string, std::string> StoreConnection::hash(const std::string& key) {
    return hashIn(command({"HGETALL", key}));
}

bool StoreConnection::exists(const std::string& key) {
    return command({"EXISTS", key}).integer != 0;
}

} // namespace client
