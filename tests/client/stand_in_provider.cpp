#include "tests/client/stand_in_provider.h"

#include "client/names.h"
#include "client/provisioning.h"
#include "client/settings.h"

#include <hiredis/hiredis.h>
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <sys/socket.h>

namespace test {

namespace {

using Reply = std::unique_ptr<redisReply, decltype(&freeReplyObject)>;

Reply send(redisContext* context, const std::vector<std::string>& words) {
    std::vector<const char*> texts;
    std::vector<std::size_t> lengths;
    for (const std::string& word : words) {
        texts.push_back(word.data());
        lengths.push_back(word.size());
    }
    return {static_cast<redisReply*>(redisCommandArgv(context, static_cast<int>(words.size()),
                                                      texts.data(), lengths.data())),
            freeReplyObject};
}

// Where a test depends on it; the others begin with their first allowed value, or any text.
const std::map<std::string_view, std::string> kFirstValues{
    {"InitialBoot", "true"},
    {"Language", "English"},
    {"ScreenBrightness", "5"},
    {"MeasurementSystem", "Metric"},
    {"RoomAverage", "false"},
    {"Theme", "light"},
    {"HiLoPeriod", "24 Hours"},
    {"TimeFormat", "24 Hour"},
    {"ActiveAlarmScreensaver", "Enabled"},
    {"DateFormat", "YYYY-MM-DD"},
    {"InactivityTimer", "5 Minutes"},
};

std::string firstValueOf(const client::Setting& setting) {
    const auto value = kFirstValues.find(setting.name);
    return value != kFirstValues.end() ? value->second
           : setting.allowed.empty()   ? "any text"
                                       : std::string(setting.allowed.front());
}

} // namespace

void StandInProvider::Disconnect::operator()(redisContext* context) const {
    redisFree(context);
}

StandInProvider::StandInProvider(RedisServer& server)
    : subscription_(redisConnectUnix(server.socketPath().c_str())),
      commands_(redisConnectUnix(server.socketPath().c_str())) {
    client::StoreConnection store(client::parseAddress(server.address()));
    client::provision(store);
    publishInstance();
    send(subscription_.get(), {"CLIENT", "SETNAME", kChannel});
    if (!send(subscription_.get(), {"SUBSCRIBE", kChannel})) {
        throw std::runtime_error("the stand-in provider cannot subscribe");
    }
    thread_ = std::thread([this] { listen(); });
}

StandInProvider::~StandInProvider() {
    stopListening();
    thread_.join();
}

void StandInProvider::stopListening() {
    ::shutdown(subscription_->fd, SHUT_RDWR);
}

void StandInProvider::publishInstance() {
    command({"HSET", "OvrCallbacks", "SchemaType:OrvaneWebGUI.1.0.0.WebGUI", kChannel});
    std::vector<std::string> words{"HSET", kInstance, "Name", "Zolan CMS Web GUI Settings"};
    for (const client::Setting& setting : client::settings()) {
        if (setting.name != client::kUserField) {
            words.insert(words.end(), {std::string(setting.name), firstValueOf(setting)});
        }
    }
    command(words);
    command({"RPUSH", "Collection:OrvaneWebGUI.1.0.0.WebGUI", kInstance});
}

void StandInProvider::behave(const std::string& messageId, Behaviour behaviour) {
    const std::lock_guard guard(mutex_);
    behaviours_[messageId] = std::move(behaviour);
}

void StandInProvider::behave(Behaviour behaviour) {
    behave("", std::move(behaviour));
}

Behaviour StandInProvider::behaviourFor(const std::string& messageId) const {
    const std::lock_guard guard(mutex_);
    const auto own = behaviours_.find(messageId);
    const auto any = behaviours_.find("");
    return own != behaviours_.end()   ? own->second
           : any != behaviours_.end() ? any->second
                                      : Behaviour{};
}

std::vector<ReceivedRequest> StandInProvider::received() const {
    const std::lock_guard guard(mutex_);
    return received_;
}

std::string StandInProvider::command(const std::vector<std::string>& words) {
    const Reply reply = send(commands_.get(), words);
    return reply && reply->str != nullptr ? std::string(reply->str, reply->len) : "";
}

void StandInProvider::listen() {
    void* raw = nullptr;
    while (!dead_ && redisGetReply(subscription_.get(), &raw) == REDIS_OK) {
        const Reply message(static_cast<redisReply*>(raw), freeReplyObject);
        if (message->elements == 3 && message->element[2]->str != nullptr) {
            handle({message->element[2]->str, message->element[2]->len});
        }
    }
}

void StandInProvider::handle(const std::string& payload) {
    const auto triple = nlohmann::json::parse(payload);
    ReceivedRequest request{triple.at(0), triple.at(1), triple.at(2), {}};
    const Behaviour behaviour = behaviourFor(request.messageId);
    std::this_thread::sleep_for(behaviour.delay);
    const Reply object = send(commands_.get(), {"HGETALL", request.argument});
    for (std::size_t i = 0; object && i + 1 < object->elements; i += 2) {
        request.object[object->element[i]->str] = object->element[i + 1]->str;
    }
    const Reply life = send(commands_.get(), {"PTTL", request.argument});
    request.objectLife = life ? life->integer : -2;
    {
        const std::lock_guard guard(mutex_);
        received_.push_back(request);
    }
    if (behaviour.diesUnanswered) {
        dead_ = true;
        return;
    }
    std::this_thread::sleep_for(behaviour.work);
    if (behaviour.messageId == "Success" && behaviour.times > 0) {
        work(request, behaviour.marksFresh);
    }
    answer(request, behaviour);
}

void StandInProvider::work(const ReceivedRequest& request, bool marksFresh) {
    if (request.messageId == "00001") {
        command({"SET", "TTL:" + request.argument, "1", "EX", "1"});
        return;
    }
    if (request.messageId == "00000") {
        command({"HSET", request.argument, "HasRespData", "No"});
        return;
    }
    // As the real one: a property that the object lacks becomes empty.
    std::vector<std::string> words{"HSET", kInstance};
    for (const client::Setting& setting : client::settings()) {
        if (setting.messageId == request.messageId) {
            const auto value = request.object.find(std::string(setting.name));
            words.emplace_back(setting.name);
            words.push_back(value == request.object.end() ? "" : value->second);
        }
    }
    if (words.size() == 2) {
        return;
    }
    command(words);
    const std::string mark = std::string("TTL:") + kInstance;
    command(marksFresh ? std::vector<std::string>{"SET", mark, "1", "EX", "1"}
                       : std::vector<std::string>{"DEL", mark});
    command({"XADD", "Events:Zolan Event", "*", "EventType", "ResourceUpdated", "Kind", "MESSAGE",
             "Message", "Resource updated", "MessageId", "Orvane.1.0.Msg000", "MessageArgs.0",
             "WebGUI00", "OriginOfCondition", kInstance});
}

void StandInProvider::answer(const ReceivedRequest& request, const Behaviour& behaviour) {
    for (int i = 0; i < behaviour.times; ++i) {
        const std::string uuid = "answer-" + std::to_string(++answered_);
        if (behaviour.hasReturnMessage) {
            std::vector<std::string> words{"HSET", uuid, "MessageId", behaviour.messageId};
            for (std::size_t a = 0; a < behaviour.arguments.size(); ++a) {
                words.push_back("MessageArgs." + std::to_string(a));
                words.push_back(behaviour.arguments[a]);
            }
            command(words);
            command({"EXPIRE", uuid, "60"});
        }
        command({"PUBLISH", request.replyChannel, uuid});
    }
}

} // namespace test
