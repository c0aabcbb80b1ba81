// What the requests for the WebGUI resource carry, and in which order things happen.
#include "client/webgui.h"

#include "client/names.h"
#include "redis/uuid.h"

#include <algorithm>

namespace client {

namespace {

// A lease outlives the wait for an answer by this much, time enough for what follows it.
constexpr std::chrono::milliseconds kLeaseMargin{5000};

const std::string* findChange(const SettingValues& changes, std::string_view name) {
    const auto change = std::find_if(changes.begin(), changes.end(),
                                     [name](const auto& each) { return each.first == name; });
    return change == changes.end() ? nullptr : &change->second;
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

// The message ids that the changes need, ascending.
std::vector<std::string> requestsFor(const SettingValues& changes) {
    std::vector<std::string> ids;
    for (const Setting& setting : settings()) {
        if ((ids.empty() || ids.back() != setting.messageId) &&
            !namesFor(setting.messageId, changes).empty()) {
            ids.emplace_back(setting.messageId);
        }
    }
    return ids;
}

} // namespace

// One change of settings on its way.
struct WebGui::Work {
    const SettingValues& changes;
    const std::string& user;
    Lease& lease;
    Snapshot present;
    bool isRead = true; // `present` is what the last request has left
};

WebGui::WebGui(const Address& address, std::chrono::milliseconds timeout, const Stop* stop,
               Scope scope)
    : store_(address), requester_(store_, timeout, stop), reader_(scope), stop_(stop) {}

const Place& WebGui::place() {
    if (!place_ || !isStill(*place_, store_.exchange(lookAgain(*place_)))) {
        place_ = findPlace(store_);
    }
    return *place_;
}

Answer WebGui::perform(const Request& request) {
    return requester_.perform(findProvider(store_), request);
}

Answer WebGui::read() {
    const Place& found = place();
    return requester_.perform(found.channel, {kReadRequest, found.instance, {}});
}

Snapshot WebGui::look(const std::string& instance) {
    return reader_.take(store_, instance, store_.lookUp(reader_.commands(instance)));
}

// `channel`: of the provider; null: not known.
Snapshot WebGui::snapshotOf(const std::string& instance, const std::string* channel) {
    const Request request{kReadRequest, instance, {}};
    const Answer answer =
        channel == nullptr ? perform(request) : requester_.perform(*channel, request);
    if (!answer.isSuccess()) {
        throw AnsweredOtherwise("the read of \"" + instance + "\"", answer);
    }
    Snapshot snapshot = look(instance);
    if (snapshot.fields.empty()) {
        throw StoreContents("store " + store_.address().text() + ": the instance \"" + instance +
                            "\" is missing; restart the provider");
    }
    return snapshot;
}

Snapshot WebGui::snapshot() {
    if (!instance_.empty()) {
        Snapshot snapshot = look(instance_);
        if (snapshot.isFresh) {
            return snapshot;
        }
    }
    instance_ = findInstance(store_);
    Snapshot snapshot = look(instance_);
    return snapshot.isFresh ? snapshot : snapshotOf(instance_, nullptr);
}

HashFields WebGui::fields() {
    return snapshot().fields;
}

// Takes the lease of the instance, and reads it in the same round trip. Where something has moved
// since it was found last, that is found anew.
void WebGui::take(std::optional<Lease>& lease, Snapshot& present) {
    const std::chrono::milliseconds life = requester_.timeout() + kLeaseMargin;
    // A dead client's lease ends within its life: nobody waits in vain.
    const Deadline deadline = Clock::now() + life + requester_.timeout();
    for (bool isKnown = place_.has_value();; isKnown = false) {
        if (!isKnown) {
            place_ = findPlace(store_);
        }
        std::vector<Words> reads = lookAgain(*place_);
        const std::size_t own = reads.size();
        for (Words& each : reader_.commands(place_->instance)) {
            reads.push_back(std::move(each));
        }
        lease.emplace(store_, leaseKey(place_->instance), life, deadline, stop_, reads);
        const std::span<const Reply> replies = lease->replies();
        if (isKnown && !isStill(*place_, replies.first(own))) {
            lease.reset();
            continue;
        }
        for (std::size_t i = own; i < reads.size(); ++i) {
            store_.check(reads[i], replies[i]);
        }
        present = reader_.take(store_, place_->instance, replies.subspan(own));
        if (!present.isFresh) {
            present = snapshotOf(place_->instance, &place_->channel);
        }
        return;
    }
}

Update WebGui::updateSettings(const SettingValues& changes, const std::string& user, bool anyValue,
                              const Precondition& precondition) {
    checkSettings(changes, anyValue);
    checkSettings({{kUserField, user}}, anyValue);
    const std::vector<std::string> ids = requestsFor(changes);
    if (ids.empty()) {
        return {};
    }
    requester_.prepare();
    std::optional<Lease> lease;
    Snapshot present;
    take(lease, present);
    if (precondition && !precondition(present)) {
        throw PreconditionFailed("the instance \"" + present.instance +
                                 "\" is not in the state that the change asks for; read it anew");
    }
    Work work{.changes = changes, .user = user, .lease = *lease, .present = std::move(present)};
    Update done;
    for (const std::string& id : ids) {
        done.answers.push_back(
            {id, namesFor(id, changes), update(work, id, /*isLast=*/id == ids.back())});
        if (!done.answers.back().answer.isSuccess()) {
            break;
        }
    }
    if (work.isRead) {
        done.after = std::move(work.present);
    }
    return done;
}

// The instance is read together with the answer, and the lease given up with the last one.
Answer WebGui::update(Work& work, const std::string& messageId, bool isLast) {
    const std::string& instance = place_->instance;
    if (!work.isRead) {
        work.present = snapshotOf(instance, &place_->channel);
    }
    Request request{messageId, requestKey(redis::makeUuid()), {{kTargetField, instance}}};
    for (const Setting& setting : settings()) {
        if (setting.messageId == messageId) {
            request.fields.emplace_back(setting.name, valueOf(setting, work.changes, work.user,
                                                              instance, work.present.fields));
        }
    }
    Escort escort{.lease = &work.lease, .after = reader_.commands(instance)};
    const std::size_t own = escort.after.size();
    if (isLast) {
        escort.after.push_back(work.lease.release());
    }
    Answer answer = requester_.perform(place_->channel, request, &escort);
    if (isLast && !escort.replies.back().isError()) {
        work.lease.dismiss();
    }
    const std::span<const Reply> replies = std::span(escort.replies).first(own);
    work.isRead = takeAfter(replies, work.present);
    return answer;
}

// False: it has to be read once more. What the request has done is done in any case.
bool WebGui::takeAfter(std::span<const Reply> replies, Snapshot& present) {
    const bool hasFailed = std::any_of(replies.begin(), replies.end(),
                                       [](const Reply& each) { return each.isError(); });
    try {
        if (!hasFailed) {
            present = reader_.take(store_, present.instance, replies);
        }
        return !hasFailed && present.isFresh;
    } catch (const Error&) {
        return false;
    }
}

Answer WebGui::runAction(const std::string& action) {
    const Place& found = place();
    return requester_.perform(found.channel,
                              {kActionRequest,
                               requestKey(redis::makeUuid()),
                               {{kTargetField, found.instance}, {kActionField, action}}});
}

} // namespace client
