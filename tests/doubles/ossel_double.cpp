// The double of the object-store client: each function records its call, fails if a test asked for
// it, and otherwise does to the store in memory what the library does to redis.
#include "tests/doubles/ossel_store.h"
#include "tests/doubles/recorder.h"

#include "text.h"

#include <algorithm>
#include <cstdarg>
#include <cstring>
#include <optional>
#include <utility>

namespace doubles {

namespace {

constexpr std::size_t kMaxMessageArguments = 5;
constexpr std::size_t kArgumentSlot = 1024;

char* duplicate(const std::string& text) {
    auto* const copy = static_cast<char*>(detail::allocate(text.size() + 1));
    std::memcpy(copy, text.c_str(), text.size() + 1);
    return copy;
}

// Look-ups without a context use the connection that was opened first, or the test's own.
bool hasFirstConnection() {
    return detail::store().first != nullptr || detail::store().hasOwnContext;
}

bool isWhole(const OsselEvent& event) {
    return event.argumentCount == 0 || (event.argumentCount > 0 && event.arguments != nullptr);
}

// The result of a look-up that returns a text: null if nothing was found.
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
    return std::string("{eventType=") + std::string(boundedText(record.eventType)) +
           ", kind=" + record.kind + ", message=" + record.message +
           ", messageId=" + record.messageId + ", arguments=[" + arguments +
           "], origin=" + record.origin + '}';
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

} // namespace doubles

using doubles::Fault;
using doubles::kMaxMessageArguments;
using doubles::Shape;
using doubles::detail::arguments;
using doubles::detail::enter;
using doubles::detail::enterCall;
using doubles::detail::findField;
using doubles::detail::isAnyNull;
using doubles::detail::isList;
using doubles::detail::isSet;
using doubles::detail::Lock;
using doubles::detail::mutex;
using doubles::detail::Plain;
using doubles::detail::refused;
using doubles::detail::removeKey;
using doubles::detail::setField;
using doubles::detail::show;
using doubles::detail::store;

extern "C" {

redisContext* osselRedisConnect(void) {
    const Lock lock(mutex());
    if (enter("osselRedisConnect", "") != 0) {
        return nullptr;
    }
    auto* const context =
        static_cast<redisContext*>(doubles::detail::allocate(sizeof(redisContext)));
    context->number = ++store().connections;
    if (store().openConnections++ == 0) {
        store().first = context;
    }
    return context;
}

void osselRedisDisconnect(redisContext* context) {
    const Lock lock(mutex());
    doubles::detail::record("osselRedisDisconnect", arguments(context));
    if (context != nullptr && !doubles::detail::isOwn(context)) {
        --store().openConnections;
        if (store().first == context) {
            store().first = nullptr;
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
    copyBounded(uuid, 37, doubles::uuid(++store().uuids));
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
        isList(uuid) || isSet(uuid)) {
        return code != 0 ? code : refused();
    }
    for (const auto& [name, value] : fields) {
        setField(uuid, name, value);
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
    if (code != 0 || isAnyNull(context, key, fields) || count <= 0 || isList(key) || isSet(key)) {
        return code != 0 ? code : refused();
    }
    for (int i = 0; i < count; ++i) {
        setField(key, std::string(boundedText(fields[i].name)),
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
    removeKey(key);
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
    const std::string* const found = findField(key, field);
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
    if (const auto answer = std::exchange(store().hashAnswer, std::nullopt)) {
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
    const std::string* const found =
        code != 0 || isAnyNull(context, key, field, value) ? nullptr : findField(key, field);
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
        fault, refuses ? nullptr : findField(key, std::string(field) + ':' + std::string(value)));
}

char* olObjGetProperty(const char* objectKey, const char* property) {
    const Lock lock(mutex());
    const Fault fault = enterCall("olObjGetProperty", arguments(objectKey, property));
    const bool refuses = fault.shape == Shape::refused || !doubles::hasFirstConnection() ||
                         isAnyNull(objectKey, property);
    return doubles::textOrNull(fault, refuses ? nullptr : findField(objectKey, property));
}

} // extern "C"
