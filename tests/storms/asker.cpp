// Unlike client/requester.h, exposes its reply channel and tells failures apart.
#include "tests/storms/asker.h"

#include "client/discovery.h"
#include "client/errors.h"
#include "client/names.h"
#include "redis/uuid.h"

namespace storms {

namespace {

constexpr const char* kProvider = "OrvaneWebGUI";
constexpr const char* kObjectLife = "60"; // seconds

// These texts are this folder's own and need no escaping.
std::string payload(const Question& question, const std::string& channel) {
    return R"([")" + question.messageId + R"(",")" + question.argument + R"(",")" + channel +
           R"("])";
}

} // namespace

Asker::Asker(const client::Address& address, const client::Stop* stop)
    : store_(address), subscription_(address), stop_(stop) {}

Told Asker::ask(const Question& question, client::Deadline deadline) {
    Told told{.channel = client::replyChannel(redis::makeUuid()), .messageId = {}};
    try {
        perform(question, deadline, told);
    } catch (const client::StoreRefused&) {
        told.outcome = Outcome::refused;
    } catch (const client::StoreUnreachable&) {
        told.outcome = Outcome::cutOff;
    } catch (const client::Stopped&) {
        told.outcome = told.accepted ? Outcome::unanswered : Outcome::cutOff;
    }
    subscription_.unsubscribe(told.channel);
    return told;
}

void Asker::perform(const Question& question, client::Deadline deadline, Told& told) {
    subscription_.subscribe(told.channel);
    if (!question.fields.empty()) {
        client::Words words{"HSET", question.argument};
        for (const auto& [name, value] : question.fields) {
            words.push_back(name);
            words.push_back(value);
        }
        store_.command(words);
        store_.command({"EXPIRE", question.argument, kObjectLife});
    }
    const std::string text = payload(question, told.channel);
    if (store_.command({"PUBLISH", kProvider, text}).integer == 0) {
        told.outcome = Outcome::nobody;
        return;
    }
    told.accepted = true;
    const std::optional<std::string> uuid = subscription_.next(told.channel, deadline, stop_);
    if (!uuid) {
        told.outcome = Outcome::unanswered;
        return;
    }
    const std::map<std::string, std::string> message = store_.hash(*uuid);
    const auto id = message.find("MessageId");
    // Nothing: the store died between the announcement and the reading.
    told.messageMissing = id == message.end();
    told.outcome = told.messageMissing ? Outcome::cutOff : Outcome::answered;
    told.messageId = told.messageMissing ? "" : id->second;
}

bool Asker::readFresh(const std::string& instance) {
    try {
        store_.exists(client::freshnessKey(instance));
        return !store_.hash(instance).empty();
    } catch (const client::Error&) {
        return false;
    }
}

bool Asker::askStatus() {
    try {
        const std::string channel = client::findProvider(store_);
        return client::countListeners(store_, channel) > 0 &&
               client::listeningFor(store_, channel).has_value();
    } catch (const client::Error&) {
        return false;
    }
}

} // namespace storms
