// The double of the object-store client: a store in memory that keeps to the contract.
#include "tests/doubles/platform_doubles.h"
#include "tests/doubles/recorder.h"

#include "text.h"

#include <algorithm>
#include <cstdarg>
#include <cstdint>
#include <cstring>
#include <memory>
#include <optional>

struct redisContext {
    int number; // 0: the test's own
};

namespace doubles {

namespace {

constexpr std::size_t kMaxMessageArguments = 5;
constexpr std::size_t kArgumentSlot = 1024;

struct HashAnswer {
    FieldValuePair* records;
    unsigned int count;
};

struct Store {
    std::map<std::string, Fields> hashes;
    std::map<std::string, std::vector<std::string>> lists;
    std::map<std::string, std::vector<std::string>> sets;
    std::map<std::string, int> freshness;
    std::set<std::string> etags;
    std::vector<RecordedEvent> events;
    std::optional<HashAnswer> hashAnswer;
    int uuids = 0;
    int connections = 0;
    int openConnections = 0;
    const redisContext* first = nullptr; // opened while there was no other
    bool hasOwnContext = false;
};

Store& store() {
    static auto* const store = new Store;
    return *store;
}

redisContext g_ownContext{0};

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

bool removeMember(std::map<std::string, std::vector<std::string>>& groups, const std::string& key,
                  const std::string& member) {
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

template <typename... Pointers>
bool isAnyNull(const Pointers*... pointers) {
    return (... || (pointers == nullptr));
}

char* duplicate(const std::string& text) {
    auto* const copy = static_cast<char*>(detail::allocate(text.size() + 1));
    std::memcpy(copy, text.c_str(), text.size() + 1);
    return copy;
}

// Look-ups without a context work on the connection that was opened first, or on the test's own.
bool hasFirstConnection() {
    return store().first != nullptr || store().hasOwnContext;
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

bool isWhole(const OsselEvent& event) {
    return event.argumentCount == 0 || (event.argumentCount > 0 && event.arguments != nullptr);
}

// The answer of a look-up that gives a text: null where nothing was found.
char* textOrNull(const Fault& fault, const std::string* found) {
    if (fault.shape == Shape::emptyText) {
        return duplicate({});
    }
    if (found == nullptr) {
        detail::refused();
        return nullptr;
    }
    return duplicate(*found);
}

std::string showEvent(const RecordedEvent& event) {
    const OsselEvent& record = event.record;
    std::string arguments;
    for (const std::string& argument : event.arguments) {
        arguments += (arguments.empty() ? "" : ", ") + argument;
    }
    return std::string("{eventType=") + record.eventType + ", kind=" + record.kind +
           ", message=" + record.message + ", messageId=" + record.messageId + ", arguments=[" +
           arguments + "], origin=" + record.origin + '}';
}

RecordedEvent copyOf(const char* source, int kind, const OsselEvent& record) {
    RecordedEvent event{source == nullptr ? "" : source, kind, record, {}};
    for (int i = 0; i < record.argumentCount && record.arguments != nullptr; ++i) {
        const char* const slot = record.arguments + kArgumentSlot * static_cast<std::size_t>(i);
        event.arguments.emplace_back(slot, ::strnlen(slot, kArgumentSlot));
    }
    event.record.arguments = nullptr;
    return event;
}

} // namespace

namespace detail {

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
    return context == &g_ownContext ? "ctx" : "ctx" + std::to_string(context->number);
}

} // namespace detail

std::map<std::string, Fields>& hashes() {
    return store().hashes;
}

std::map<std::string, std::vector<std::string>>& lists() {
    return store().lists;
}

std::map<std::string, std::vector<std::string>>& sets() {
    return store().sets;
}

std::map<std::string, int>& freshness() {
    return store().freshness;
}

std::set<std::string>& etags() {
    return store().etags;
}

std::vector<RecordedEvent>& events() {
    return store().events;
}

std::string field(const std::string& key, const std::string& name) {
    const std::string* const value = findField(key, name);
    return value == nullptr ? std::string() : *value;
}

std::string uuid(int number) {
    const std::string digits = std::to_string(number);
    return "uuid" + std::string(4 - std::min<std::size_t>(4, digits.size()), '0') + digits +
           "-0000-0000-0000-000000000000";
}

redisContext* context() {
    store().hasOwnContext = true;
    return &g_ownContext;
}

int openConnections() {
    return store().openConnections;
}

void answerHashGetAll(FieldValuePair* records, unsigned int count) {
    store().hashAnswer = HashAnswer{records, count};
}

void schema(const std::string& field, const std::string& text, const std::string& id) {
    setField("OsselSchemaInstances", field + ':' + text, id);
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

using doubles::Fault;
using doubles::isAnyNull;
using doubles::kMaxMessageArguments;
using doubles::Shape;
using doubles::detail::arguments;
using doubles::detail::enter;
using doubles::detail::enterCall;
using doubles::detail::Lock;
using doubles::detail::mutex;
using doubles::detail::Plain;
using doubles::detail::refused;
using doubles::detail::show;

extern "C" {

redisContext* osselRedisConnect(void) {
    const Lock lock(mutex());
    if (enter("osselRedisConnect", "") != 0) {
        return nullptr;
    }
    auto* const context =
        static_cast<redisContext*>(doubles::detail::allocate(sizeof(redisContext)));
    context->number = ++doubles::store().connections;
    if (doubles::store().openConnections++ == 0) {
        doubles::store().first = context;
    }
    return context;
}

void osselRedisDisconnect(redisContext* context) {
    const Lock lock(mutex());
    doubles::detail::record("osselRedisDisconnect", arguments(context));
    if (context != nullptr && context != &doubles::g_ownContext) {
        --doubles::store().openConnections;
        if (doubles::store().first == context) {
            doubles::store().first = nullptr;
        }
        std::free(context);
    }
}

int osselGenerateUUID(redisContext* context, char* uuid) {
    const Lock lock(mutex());
    const int code = enter("osselGenerateUUID", arguments(context));
    if (code != 0 || isAnyNull(context, uuid)) {
        return code != 0 ? code : refused();
    }
    copyBounded(uuid, 37, doubles::uuid(++doubles::store().uuids));
    return 0;
}

int osselCreateReturnMessage(redisContext* context, const char* uuid, const char* messageId, ...) {
    std::vector<std::string> texts;
    std::va_list list;
    va_start(list, messageId);
    for (const char* text = va_arg(list, const char*); text != nullptr;
         text = va_arg(list, const char*)) {
        texts.emplace_back(text);
    }
    va_end(list);
    const Lock lock(mutex());
    doubles::Fields fields{{"MessageId", messageId == nullptr ? "" : messageId}};
    std::string shown = arguments(context, uuid, messageId);
    for (const std::string& text : texts) {
        fields.emplace_back("MessageArgs." + std::to_string(fields.size() - 1), text);
        shown += ", " + show(text);
    }
    const int code = enter("osselCreateReturnMessage", shown + ", null");
    if (code != 0 || isAnyNull(context, uuid, messageId) || texts.size() > kMaxMessageArguments ||
        doubles::isList(uuid) || doubles::isSet(uuid)) {
        return code != 0 ? code : refused();
    }
    for (const auto& [name, value] : fields) {
        doubles::setField(uuid, name, value);
    }
    return 0;
}

int osselPublishToChannel(redisContext* context, const char* channel, const char* message) {
    const Lock lock(mutex());
    const int code = enter("osselPublishToChannel", arguments(context, channel, message));
    const bool refuses = code == 0 && isAnyNull(context, channel, message);
    return refuses ? refused() : code;
}

int osselCreateHashTable(redisContext* context, const char* key, const FieldValuePair* fields,
                         int count) {
    const Lock lock(mutex());
    const int code =
        enter("osselCreateHashTable", arguments(context, key, Plain{show(fields, count)}, count));
    if (code != 0 || isAnyNull(context, key, fields) || count <= 0 || doubles::isList(key) ||
        doubles::isSet(key)) {
        return code != 0 ? code : refused();
    }
    for (int i = 0; i < count; ++i) {
        doubles::setField(key, std::string(boundedText(fields[i].name)),
                          std::string(boundedText(fields[i].value)));
    }
    return 0;
}

int osselDeleteHash(redisContext* context, const char* key) {
    const Lock lock(mutex());
    const int code = enter("osselDeleteHash", arguments(context, key));
    if (code != 0 || isAnyNull(context, key)) {
        return code != 0 ? code : refused();
    }
    doubles::removeKey(key);
    return 0;
}

int osselGetHashField(redisContext* context, const char* key, const char* field, char* value) {
    const Lock lock(mutex());
    const Fault fault = enterCall("osselGetHashField", arguments(context, key, field));
    if (isAnyNull(context, key, field, value)) {
        return fault ? fault.code : refused();
    }
    if (fault.shape == Shape::emptyText) {
        value[0] = '\0';
        return 0;
    }
    if (fault) {
        std::memcpy(value, "left by a failure", sizeof "left by a failure");
        return fault.code;
    }
    const std::string* const found = doubles::findField(key, field);
    if (found == nullptr) {
        return refused();
    }
    const std::size_t length = std::min<std::size_t>(found->size(), 255);
    std::memcpy(value, found->data(), length);
    value[length] = '\0';
    return 0;
}

FieldValuePair* osselHashGetAll(redisContext* context, const char* key, unsigned int* count) {
    const Lock lock(mutex());
    const Fault fault = enterCall("osselHashGetAll", arguments(context, key));
    if (count == nullptr) {
        refused();
        return nullptr;
    }
    *count = fault.shape == Shape::nullArray ? 1 : 0;
    if (fault.shape == Shape::emptyArray) {
        return static_cast<FieldValuePair*>(doubles::detail::allocate(sizeof(FieldValuePair)));
    }
    if (fault) {
        return nullptr;
    }
    if (isAnyNull(context, key)) {
        refused();
        return nullptr;
    }
    if (const auto answer = std::exchange(doubles::store().hashAnswer, std::nullopt)) {
        *count = answer->count;
        return answer->records;
    }
    const auto hash = doubles::hashes().find(key);
    if (hash == doubles::hashes().end() || hash->second.empty()) {
        refused();
        return nullptr;
    }
    const doubles::Fields& fields = hash->second;
    auto* const records = static_cast<FieldValuePair*>(
        doubles::detail::allocate(fields.size() * sizeof(FieldValuePair)));
    for (const auto& [name, value] : fields) {
        copyBounded(records[*count].name, name);
        copyBounded(records[(*count)++].value, value);
    }
    return records;
}

int osselIsFieldMatched(redisContext* context, const char* key, const char* field,
                        const char* value) {
    const Lock lock(mutex());
    const int code = enter("osselIsFieldMatched", arguments(context, key, field, value));
    const std::string* const found = code != 0 || isAnyNull(context, key, field, value)
                                         ? nullptr
                                         : doubles::findField(key, field);
    if (found == nullptr || *found != value) {
        refused();
        return 0;
    }
    return 1;
}

int osselHashAppendTTLObject(redisContext* context, const char* key, int ttl) {
    const Lock lock(mutex());
    const int code = enter("osselHashAppendTTLObject", arguments(context, key, ttl));
    if (code != 0 || isAnyNull(context, key)) {
        return code != 0 ? code : refused();
    }
    doubles::freshness().erase(key);
    if (ttl > 0) {
        doubles::freshness()[key] = ttl;
    }
    return 0;
}

int osselClearETagCache(redisContext* context, const char* key) {
    const Lock lock(mutex());
    const int code = enter("osselClearETagCache", arguments(context, key));
    if (code != 0 || isAnyNull(context, key)) {
        return code != 0 ? code : refused();
    }
    doubles::etags().erase(key);
    return 0;
}

int osselListRightPush(redisContext* context, const char* key, const char* value) {
    const Lock lock(mutex());
    const int code = enter("osselListRightPush", arguments(context, key, value));
    if (code != 0 || isAnyNull(context, key, value) || doubles::isSet(key) ||
        doubles::isHash(key)) {
        return code != 0 ? code : refused();
    }
    doubles::addMember(doubles::lists()[key], value);
    return 0;
}

int osselLREM(redisContext* context, const char* key, int count, const char* value) {
    const Lock lock(mutex());
    const int code = enter("osselLREM", arguments(context, key, count, value));
    if (code != 0 || isAnyNull(context, key, value)) {
        return code != 0 ? code : refused();
    }
    return doubles::removeMember(doubles::lists(), key, value) ? 0 : refused();
}

int osselSADD(redisContext* context, const char* key, const char* member, int flag) {
    const Lock lock(mutex());
    const int code = enter("osselSADD", arguments(context, key, member, flag));
    if (code != 0 || isAnyNull(context, key, member) || doubles::isList(key) ||
        doubles::isHash(key)) {
        return code != 0 ? code : refused();
    }
    doubles::addMember(doubles::sets()[key], member);
    return 0;
}

int osselRemoveInstanceFromSet(redisContext* context, const char* key, const char* member) {
    const Lock lock(mutex());
    const int code = enter("osselRemoveInstanceFromSet", arguments(context, key, member));
    if (code != 0 || isAnyNull(context, key, member)) {
        return code != 0 ? code : refused();
    }
    return doubles::removeMember(doubles::sets(), key, member) ? 0 : refused();
}

int osselSMembers(redisContext* context, const char* key, InstanceSlot** members,
                  unsigned int* count) {
    const Lock lock(mutex());
    const Fault fault = enterCall("osselSMembers", arguments(context, key));
    if (fault.shape == Shape::refused || isAnyNull(members, count)) {
        return fault ? fault.code : refused();
    }
    *members = nullptr;
    *count = 0;
    if (isAnyNull(context, key) || doubles::isHash(key)) {
        return refused();
    }
    const auto& groups = doubles::isList(key) ? doubles::lists() : doubles::sets();
    const auto group = groups.find(key);
    if (fault.shape == Shape::emptyArray) {
        *members = static_cast<InstanceSlot*>(doubles::detail::allocate(sizeof(InstanceSlot)));
    }
    if (fault || group == groups.end()) {
        return 0;
    }
    *members = static_cast<InstanceSlot*>(
        doubles::detail::allocate(group->second.size() * sizeof(InstanceSlot)));
    for (const std::string& member : group->second) {
        copyBounded((*members)[(*count)++], member);
    }
    return 0;
}

int osselCreateSetTable(redisContext* context, const char* key, const InstanceSlot* members,
                        unsigned int count) {
    const Lock lock(mutex());
    const int code =
        enter("osselCreateSetTable", arguments(context, key, Plain{show(members, count)}, count));
    if (code != 0 || isAnyNull(context, key, members) || count == 0) {
        return code != 0 ? code : refused();
    }
    doubles::removeKey(key);
    for (unsigned int i = 0; i < count; ++i) {
        doubles::addMember(doubles::sets()[key], std::string(boundedText(members[i])));
    }
    return 0;
}

int osselRenewCollection(redisContext* context, int mode, const char* collectionKey,
                         const char* setKey, unsigned char flag) {
    const Lock lock(mutex());
    const int code =
        enter("osselRenewCollection", arguments(context, mode, collectionKey, setKey, int{flag}));
    if (code != 0 || isAnyNull(context, collectionKey, setKey) || (mode != 0 && mode != 1)) {
        return code != 0 ? code : refused();
    }
    const std::string workTree = std::string("WorkTree:") + collectionKey;
    const bool isWrongKind = doubles::isList(setKey) || doubles::isHash(setKey) ||
                             doubles::isList(workTree) || doubles::isHash(workTree);
    const auto set = doubles::sets().find(setKey);
    const std::vector<std::string> members =
        set == doubles::sets().end() ? std::vector<std::string>() : set->second;
    doubles::removeKey(setKey); // consumed even where the rest fails
    if (isWrongKind) {
        return refused();
    }
    for (const std::string& member : members) {
        if (mode == 0) {
            doubles::addMember(doubles::sets()[workTree], member);
        } else {
            doubles::removeMember(doubles::sets(), workTree, member);
        }
    }
    return 0;
}

int osselCreateEventObject(redisContext* context, const char* source, int kind,
                           const OsselEvent* events, int count) {
    const Lock lock(mutex());
    std::vector<doubles::RecordedEvent> copies;
    std::string shown;
    for (int i = 0; i < count && events != nullptr; ++i) {
        copies.push_back(doubles::copyOf(source, kind, events[i]));
        shown += (i == 0 ? "" : ", ") + doubles::showEvent(copies.back());
    }
    const int code = enter("osselCreateEventObject",
                           arguments(context, source, kind, Plain{'[' + shown + ']'}, count));
    if (code != 0 || isAnyNull(context, source, events) || count <= 0 ||
        !std::all_of(events, events + count, doubles::isWhole)) {
        return code != 0 ? code : refused();
    }
    for (doubles::RecordedEvent& event : copies) {
        doubles::events().push_back(std::move(event));
    }
    return 0;
}

char* olGetSchemaTypeIdByField(const char* key, const char* field, const char* value) {
    const Lock lock(mutex());
    const Fault fault = enterCall("olGetSchemaTypeIdByField", arguments(key, field, value));
    const bool refuses = fault.shape == Shape::refused || !doubles::hasFirstConnection() ||
                         isAnyNull(key, field, value);
    return doubles::textOrNull(
        fault,
        refuses ? nullptr : doubles::findField(key, std::string(field) + ':' + std::string(value)));
}

char* olObjGetProperty(const char* objectKey, const char* property) {
    const Lock lock(mutex());
    const Fault fault = enterCall("olObjGetProperty", arguments(objectKey, property));
    const bool refuses = fault.shape == Shape::refused || !doubles::hasFirstConnection() ||
                         isAnyNull(objectKey, property);
    return doubles::textOrNull(fault, refuses ? nullptr : doubles::findField(objectKey, property));
}

} // extern "C"
