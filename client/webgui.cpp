// What the requests for the WebGUI resource carry, and in which order things happen.
// Their transport is left to client/requester.cpp, the finding to client/discovery.cpp.
#include "client/webgui.h"

#include "client/discovery.h"
#include "client/lease.h"
#include "client/names.h"
#include "client/uuid.h"

#include <algorithm>
#include <array>

namespace client {

namespace {

// A lease outlives the wait for an answer by this much, time enough for what follows it.
constexpr std::chrono::milliseconds kLeaseMargin{5000};

const std::string* findChange(const SettingValues& changes, std::string_view name) {
    const auto change = std::find_if(changes.begin(), changes.end(),
                                     [name](const auto& each) { return each.first == name; });
    return change == changes.end() ? nullptr : &change->second;
}

// What PTTL says of a missing key.
constexpr long long kMissing = -2;

std::map<std::string, std::string> fieldsIn(Reply& reply) {
    std::map<std::string, std::string> fields;
    std::vector<Reply>& texts = reply.elements;
    for (std::size_t i = 0; i + 1 < texts.size(); i += 2) {
        fields.emplace(std::move(texts[i].text), std::move(texts[i + 1].text));
    }
    return fields;
}

// Names of the changes that belong to one request.
std::vector<std::string> namesFor(std::string_view messageId, const SettingValues& changes) {
    std::vector<std::string> names;
    for (const Setting& setting : settings()) {
        if (setting.messageId == messageId && findChange(changes, setting.name) != nullptr) {
            names.emplace_back(setting.name);
        }
    }
    return names;
}

// The new value of a setting, or the present one.
std::string valueOf(const Setting& setting, const SettingValues& changes, const std::string& user,
                    const std::string& instance,
                    const std::map<std::string, std::string>& present) {
    if (const std::string* const change = findChange(changes, setting.name)) {
        return *change;
    }
    // Not the one in the instance: that is who made the change before.
    if (setting.name == kUserField) {
        return user;
    }
    const auto field = present.find(std::string(setting.name));
    if (field == present.end()) {
        throw StoreContents("the instance \"" + instance + "\" has no field \"" +
                            std::string(setting.name) +
                            "\" that could be kept; give it a value too, or restart the provider");
    }
    return field->second;
}

} // namespace

WebGui::WebGui(const Address& address, std::chrono::milliseconds timeout, const Stop* stop)
    : store_(address), requester_(store_, timeout, stop), stop_(stop) {}

Answer WebGui::perform(const Request& request) {
    return requester_.perform(findProvider(store_), request);
}

Answer WebGui::read() {
    const std::string channel = findProvider(store_);
    return requester_.perform(channel, {kReadRequest, findInstance(store_), {}});
}

// The mark comes first, so that the fields are not older than the time that it tells. One
// without an end is counted as one that ends now.
bool WebGui::look(const std::string& instance, Snapshot& snapshot) {
    const std::array<Words, 2> commands{{{"PTTL", freshnessKey(instance)}, {"HGETALL", instance}}};
    std::vector<Reply> replies = store_.lookUp(commands);
    const long long left = replies[0].integer;
    snapshot.instance = instance;
    snapshot.fields = fieldsIn(replies[1]);
    snapshot.freshFor = std::chrono::milliseconds(std::max(0LL, left));
    return left != kMissing && !snapshot.fields.empty();
}

Snapshot WebGui::snapshotOf(const std::string& instance) {
    Snapshot snapshot;
    if (look(instance, snapshot)) {
        return snapshot;
    }
    const Answer answer = perform({kReadRequest, instance, {}});
    if (!answer.isSuccess()) {
        throw AnsweredOtherwise("the read of \"" + instance + "\"", answer);
    }
    look(instance, snapshot);
    if (snapshot.fields.empty()) {
        throw StoreContents("store " + store_.address().text() + ": the instance \"" + instance +
                            "\" is missing; restart the provider");
    }
    return snapshot;
}

std::map<std::string, std::string> WebGui::fieldsOf(const std::string& instance) {
    return snapshotOf(instance).fields;
}

Snapshot WebGui::snapshot() {
    Snapshot snapshot;
    if (!instance_.empty() && look(instance_, snapshot)) {
        return snapshot;
    }
    instance_ = findInstance(store_);
    return snapshotOf(instance_);
}

std::map<std::string, std::string> WebGui::fields() {
    return snapshot().fields;
}

std::vector<UpdateAnswer> WebGui::updateSettings(const SettingValues& changes,
                                                 const std::string& user, bool anyValue,
                                                 Precondition precondition) {
    checkSettings(changes, anyValue);
    checkSettings({{kUserField, user}}, anyValue);
    std::vector<UpdateAnswer> answers;
    std::string_view done;
    for (const Setting& setting : settings()) {
        if (setting.messageId == done || namesFor(setting.messageId, changes).empty()) {
            continue;
        }
        done = setting.messageId;
        answers.push_back(update(std::string(setting.messageId), changes, user, precondition));
        precondition = nullptr; // what the first request changed is no change of another's
        if (!answers.back().answer.isSuccess()) {
            break;
        }
    }
    return answers;
}

UpdateAnswer WebGui::update(const std::string& messageId, const SettingValues& changes,
                            const std::string& user, const Precondition& precondition) {
    const std::string channel = findProvider(store_);
    const std::string instance = findInstance(store_);
    const std::chrono::milliseconds life = requester_.timeout() + kLeaseMargin;
    // A dead client's lease ends within its life, so that waiting for it is no vain hope.
    Lease lease(store_, leaseKey(instance), life, Clock::now() + life + requester_.timeout(),
                stop_);
    const std::map<std::string, std::string> present = fieldsOf(instance);
    if (precondition && !precondition(present)) {
        throw PreconditionFailed("the instance \"" + instance +
                                 "\" is not in the state that the change asks for; read it anew");
    }
    Request request{messageId, requestKey(makeUuid()), {{kTargetField, instance}}};
    for (const Setting& setting : settings()) {
        if (setting.messageId == messageId) {
            request.fields.emplace_back(setting.name,
                                        valueOf(setting, changes, user, instance, present));
        }
    }
    lease.prolong();
    return {messageId, namesFor(messageId, changes), requester_.perform(channel, request)};
}

Answer WebGui::runAction(const std::string& action) {
    return perform({kActionRequest,
                    requestKey(makeUuid()),
                    {{kTargetField, findInstance(store_)}, {kActionField, action}}});
}

} // namespace client
