// The contents of the store, and what tests see of them.
#include "tests/doubles/ossel_store.h"

#include "tests/doubles/recorder.h"

#include <algorithm>
#include <cstdlib>

namespace doubles {

namespace {

redisContext g_ownContext{0};

} // namespace

namespace detail {

Store& store() {
    static auto* const store = new Store;
    return *store;
}

bool isOwn(const redisContext* context) {
    return context == &g_ownContext;
}

bool isList(const std::string& key) {
    return store().lists.contains(key);
}

bool isSet(const std::string& key) {
    return store().sets.contains(key);
}

bool isHash(const std::string& key) {
    return store().hashes.contains(key);
}

void removeKey(const std::string& key) {
    store().hashes.erase(key);
    store().lists.erase(key);
    store().sets.erase(key);
}

const std::string* findField(const std::string& key, const std::string& name) {
    const auto hash = store().hashes.find(key);
    if (hash == store().hashes.end()) {
        return nullptr;
    }
    const auto found =
        std::ranges::find(hash->second, name, &std::pair<std::string, std::string>::first);
    return found == hash->second.end() ? nullptr : &found->second;
}

void setField(const std::string& key, const std::string& name, const std::string& value) {
    Fields& fields = store().hashes[key];
    const auto found = std::ranges::find(fields, name, &std::pair<std::string, std::string>::first);
    if (found == fields.end()) {
        fields.emplace_back(name, value);
    } else {
        found->second = value;
    }
}

bool removeMember(Groups& groups, const std::string& key, const std::string& member) {
    const auto group = groups.find(key);
    if (group == groups.end()) {
        return false;
    }
    const auto found = std::ranges::find(group->second, member);
    if (found == group->second.end()) {
        return false;
    }
    group->second.erase(found);
    if (group->second.empty()) {
        groups.erase(group);
    }
    return true;
}

void addMember(std::vector<std::string>& group, const std::string& member) {
    if (std::ranges::find(group, member) == group.end()) {
        group.push_back(member);
    }
}

void resetStore() {
    if (store().hashAnswer) {
        std::free(store().hashAnswer->records);
    }
    store() = Store{};
}

std::string show(const redisContext* context) {
    if (context == nullptr) {
        return "null";
    }
    return isOwn(context) ? "ctx" : "ctx" + std::to_string(context->number);
}

} // namespace detail

std::map<std::string, Fields>& hashes() {
    return detail::store().hashes;
}

std::map<std::string, std::vector<std::string>>& lists() {
    return detail::store().lists;
}

std::map<std::string, std::vector<std::string>>& sets() {
    return detail::store().sets;
}

std::map<std::string, int>& freshness() {
    return detail::store().freshness;
}

std::set<std::string>& etags() {
    return detail::store().etags;
}

std::vector<RecordedEvent>& events() {
    return detail::store().events;
}

std::string field(const std::string& key, const std::string& name) {
    const std::string* const value = detail::findField(key, name);
    return value == nullptr ? std::string() : *value;
}

std::string uuid(int number) {
    const std::string digits = std::to_string(number);
    return "uuid" + std::string(4 - std::min<std::size_t>(4, digits.size()), '0') + digits +
           "-0000-0000-0000-000000000000";
}

redisContext* context() {
    detail::store().hasOwnContext = true;
    return &g_ownContext;
}

int openConnections() {
    return detail::store().openConnections;
}

void answerHashGetAll(FieldValuePair* records, unsigned int count) {
    detail::store().hashAnswer = detail::HashAnswer{records, count};
}

void schema(const std::string& field, const std::string& text, const std::string& id) {
    detail::setField("OsselSchemaInstances", field + ':' + text, id);
}

void provision() {
    schema("title", "#OrvaneWebGUI.1.0.0.WebGUI", "schema-type");
    hashes()["schema-type"] = {{"title", "#OrvaneWebGUI.1.0.0.WebGUI"},
                               {"instanceCollection", "collection"},
                               {"definitions", "definitions"}};
    hashes()["definitions"] = {{"WebGUI", "webgui-type"}};
    hashes()["webgui-type"] = {{"Actions", "actions-type"}};
    hashes()["actions-type"] = {{"Oem", "oem-type"},
                                {"#WebGUI.TurnOffLCD", "turnofflcd-type"},
                                {"#WebGUI.GUIReady", "guiready-type"}};
}

} // namespace doubles
