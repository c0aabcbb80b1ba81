#include "client/requester.h"

#include "client/names.h"
#include "redis/uuid.h"

#include <nlohmann/json.hpp>

namespace client {

namespace {

// An action's provider writes into the request object just before it answers. A stopped client
// therefore waits this much longer, more than any action takes.
constexpr std::chrono::milliseconds kActionGrace{4000};
// After a time-out the object stays this long, emptied, so that what the provider may still write
// into it expires with it.
constexpr std::chrono::milliseconds kAbandonedLife{5000};

constexpr int kMaxArguments = 5;

// Stores the request object and publishes the request. One step, so that no client can die between
// writing the object and limiting its life, and none sends anything under a lease that it has lost.
//   KEYS  the object; the lease, where there is one
//   ARGV  the lease's token and its life in milliseconds, channel, payload, the object's life in
//         milliseconds, its names and values
// Returns the number of listeners, or one of the results below. Stores no object when nothing
// listens.
constexpr const char* kSendScript =
    "if KEYS[2] then "
    "if redis.call('GET', KEYS[2]) ~= ARGV[1] then return -2 end "
    "redis.call('PEXPIRE', KEYS[2], ARGV[2]) end "
    "if redis.call('EXISTS', KEYS[1]) == 1 then return -1 end "
    "redis.call('HSET', KEYS[1], unpack(ARGV, 6)) "
    "redis.call('PEXPIRE', KEYS[1], ARGV[5]) "
    "local heard = redis.pcall('PUBLISH', ARGV[3], ARGV[4]) "
    "if heard == 0 or type(heard) == 'table' then redis.call('DEL', KEYS[1]) end return heard";
constexpr long long kObjectExists = -1;
constexpr long long kLeaseLost = -2;

constexpr const char* kAbandonScript = "if redis.call('DEL', KEYS[1]) == 0 then return 0 end "
                                       "redis.call('HSET', KEYS[1], 'Abandoned', 'true') "
                                       "redis.call('PEXPIRE', KEYS[1], ARGV[1]) return 1";

std::string inSeconds(std::chrono::milliseconds time) {
    std::string text = std::to_string(static_cast<double>(time.count()) / 1000.0);
    text.erase(text.find_last_not_of('0') + 1);
    return (text.ends_with('.') ? text.substr(0, text.size() - 1) : text) + " s";
}

std::string payloadOf(const Request& request, const std::string& replies) {
    try {
        return nlohmann::json{request.messageId, request.argument, replies}.dump();
    } catch (const nlohmann::json::exception&) {
        throw InvalidArgument("message id and request argument must be UTF-8 text");
    }
}

} // namespace

std::string Answer::text() const {
    std::string result = messageId;
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        result += (i == 0 ? " (" : ", ") + arguments[i];
    }
    return arguments.empty() ? result : result + ")";
}

// The request object in the store, deleted at the latest with this guard.
class Requester::RequestObject {
public:
    RequestObject(StoreConnection& store, const Request& request)
        : store_(store), isAction_(!request.fields.empty() && request.messageId == kActionRequest) {
    }
    ~RequestObject() {
        if (!key_.empty()) {
            tryCommand(removal());
        }
    }
    RequestObject(const RequestObject&) = delete;
    RequestObject& operator=(const RequestObject&) = delete;

    bool isAction() const { return isAction_; }

    // It is in the store now.
    void keep(const std::string& key) { key_ = key; }
    void dismiss() { key_.clear(); }

    bool isThere() const { return !key_.empty(); }
    Words removal() const { return {"DEL", key_}; }

    void abandon() noexcept {
        tryCommand({"EVAL", kAbandonScript, "1", key_, std::to_string(kAbandonedLife.count())});
        key_.clear();
    }

private:
    // If that fails, the object expires by itself.
    void tryCommand(const Words& words) noexcept {
        try {
            store_.command(words);
        } catch (const std::exception&) {
            key_.clear();
        }
    }

    StoreConnection& store_;
    std::string key_; // empty: nothing to delete
    bool isAction_;
};

namespace {

// Unsubscribes however the wait ends.
class Subscribed {
public:
    Subscribed(Subscription& subscription, std::string channel)
        : subscription_(subscription), channel_(std::move(channel)) {
        subscription_.subscribe(channel_);
    }
    ~Subscribed() { subscription_.unsubscribe(channel_); }
    Subscribed(const Subscribed&) = delete;
    Subscribed& operator=(const Subscribed&) = delete;

private:
    Subscription& subscription_;
    std::string channel_;
};

} // namespace

Requester::Requester(StoreConnection& store, std::chrono::milliseconds timeout, const Stop* stop)
    : store_(store), subscription_(store.address()), timeout_(timeout), stop_(stop) {}

// One name per request, so that late or repeated answers reach nobody.
void Requester::prepare() {
    if (replies_.empty()) {
        replies_ = replyChannel(redis::makeUuid());
        subscription_.announce(replies_);
    }
}

Answer Requester::perform(const std::string& channel, const Request& request, Escort* escort) {
    if (stop_ != nullptr && stop_->isRequested()) {
        throw Stopped("stopped before the request was sent");
    }
    prepare();
    const std::string payload = payloadOf(request, replies_);
    const std::string replies = std::exchange(replies_, {});
    const Subscribed subscribed(subscription_, replies);
    RequestObject object(store_, request);
    const Clock::time_point published = Clock::now();
    send(channel, payload, request, object, escort);
    const std::string uuid = awaitAnswer(channel, replies, object);
    Answer answer = readAnswer(uuid, object, escort);
    answer.latency =
        std::chrono::duration_cast<std::chrono::microseconds>(Clock::now() - published);
    return answer;
}

void Requester::send(const std::string& channel, const std::string& payload, const Request& request,
                     RequestObject& object, const Escort* escort) {
    Words words{"PUBLISH", channel, payload};
    Lease* const lease = escort == nullptr ? nullptr : escort->lease;
    if (!request.fields.empty()) {
        words = {"EVAL", kSendScript, lease == nullptr ? "1" : "2", request.argument};
        if (lease != nullptr) {
            words.push_back(lease->key());
        }
        words.push_back(lease == nullptr ? "" : lease->token());
        words.push_back(std::to_string(lease == nullptr ? 0 : lease->life().count()));
        words.push_back(channel);
        words.push_back(payload);
        words.push_back(std::to_string((timeout_ + kRequestObjectMargin).count()));
        for (const auto& [name, value] : request.fields) {
            words.push_back(name);
            words.push_back(value);
        }
    }
    const long long listeners = store_.command(words).integer;
    if (listeners == kObjectExists) {
        throw StoreContents("store " + store_.address().text() + ": the key \"" + request.argument +
                            "\" exists already; choose another one for the request object");
    }
    if (lease != nullptr && listeners == kLeaseLost) {
        lease->throwLost();
    }
    if (listeners == 0) {
        throw NobodyThere("store " + store_.address().text() + ": nobody listens on channel \"" +
                          channel + "\"; start the provider");
    }
    if (!request.fields.empty()) {
        object.keep(request.argument);
    }
}

std::string Requester::awaitAnswer(const std::string& channel, const std::string& replies,
                                   RequestObject& object) {
    std::optional<std::string> uuid;
    try {
        uuid = subscription_.next(replies, Clock::now() + timeout_, stop_);
    } catch (const Stopped&) {
        if (object.isAction()) {
            subscription_.next(replies, Clock::now() + std::min(timeout_, kActionGrace), nullptr);
        }
        throw;
    }
    if (!uuid) {
        if (object.isAction()) {
            object.abandon();
        }
        throw NoAnswer("no answer on channel \"" + channel + "\" of store " +
                       store_.address().text() + " within " + inSeconds(timeout_) +
                       "; look into the provider's log, or allow more time");
    }
    return *uuid;
}

Answer Requester::readAnswer(const std::string& uuid, RequestObject& object, Escort* escort) {
    std::vector<Words> commands{{"HGETALL", uuid}};
    if (object.isThere()) {
        commands.push_back(object.removal());
    }
    const std::size_t own = commands.size();
    if (escort != nullptr) {
        commands.insert(commands.end(), escort->after.begin(), escort->after.end());
    }
    std::vector<Reply> replies = store_.exchange(commands);
    object.dismiss();
    store_.check(commands.front(), replies.front());
    const std::map<std::string, std::string> fields = hashIn(replies.front());
    if (escort != nullptr) {
        escort->replies.assign(
            std::make_move_iterator(replies.begin() + static_cast<std::ptrdiff_t>(own)),
            std::make_move_iterator(replies.end()));
    }
    const auto id = fields.find("MessageId");
    if (id == fields.end()) {
        throw StoreContents(
            "store " + store_.address().text() + ": the return message \"" + uuid +
            "\" is missing or has no field \"MessageId\"; look into the provider's log");
    }
    Answer answer{.messageId = id->second, .arguments = {}};
    for (int i = 0; i < kMaxArguments; ++i) {
        const auto argument = fields.find("MessageArgs." + std::to_string(i));
        if (argument == fields.end()) {
            break;
        }
        answer.arguments.push_back(argument->second);
    }
    return answer;
}

} // namespace client
