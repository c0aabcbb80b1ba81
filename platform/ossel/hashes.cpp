// The hashes of the object store - instances, request objects, schema objects - and the two
// keys beside an instance: its freshness mark and its cached ETag.
#include "platform/ossel.h"

#include "platform/ossel/boundary.h"
#include "platform/ossel/exchange.h"
#include "text.h"

#include <array>
#include <charconv>
#include <string>
#include <string_view>
#include <vector>

namespace ossel {

namespace {

constexpr std::string_view kFreshnessPrefix = "TTL:";
constexpr std::string_view kETagPrefix = "ETag:";

// Every caller's buffer holds this many characters and a NUL.
constexpr std::size_t kMaxFieldText = 255;

std::string prefixed(std::string_view prefix, std::string_view key) {
    std::string text;
    text.reserve(prefix.size() + key.size());
    return text.append(prefix).append(key);
}

bool setFields(redisContext& context, const char* key, std::span<const FieldValuePair> fields) {
    LongCommand command(2 + 2 * fields.size());
    command.add("HSET");
    command.add(key);
    for (const FieldValuePair& field : fields) {
        command.add(boundedText(field.name));
        command.add(boundedText(field.value));
    }
    return bool(ask(context, command, {Reply::Kind::integer}, Repeat::harmless));
}

bool removeKey(redisContext& context, std::string_view key) {
    ShortCommand del{"DEL", key};
    return bool(ask(context, del, {Reply::Kind::integer}, Repeat::harmless));
}

// The reply with the field's text; empty when there is no such field.
Reply readField(redisContext& context, const char* key, const char* field) {
    ShortCommand hget{"HGET", key, field};
    Reply reply = ask(context, hget, {Reply::Kind::text, Reply::Kind::nil}, Repeat::harmless);
    return reply.kind == Reply::Kind::text ? std::move(reply) : Reply();
}

bool markFresh(redisContext& context, std::string_view key, int ttl) {
    const std::string mark = prefixed(kFreshnessPrefix, key);
    if (ttl <= 0) {
        return removeKey(context, mark);
    }
    std::array<char, 16> digits{};
    const char* const end = std::to_chars(digits.begin(), digits.end(), ttl).ptr;
    const std::string_view seconds(digits.data(), static_cast<std::size_t>(end - digits.data()));
    ShortCommand set{"SET", mark, "1", "EX", seconds};
    return bool(ask(context, set, {Reply::Kind::status}, Repeat::harmless));
}

FieldValuePair* readAllFields(redisContext& context, const char* key, unsigned int& count) {
    ShortCommand hgetall{"HGETALL", key};
    const Reply reply = ask(context, hgetall, {Reply::Kind::list}, Repeat::harmless);
    const std::vector<Reply>& texts = reply.elements;
    if (texts.size() < 2 || texts.size() % 2 != 0) {
        return nullptr;
    }
    const std::size_t pairs = texts.size() / 2;
    MallocPtr<FieldValuePair> fields(
        static_cast<FieldValuePair*>(std::malloc(pairs * sizeof(FieldValuePair))));
    if (fields == nullptr) {
        return nullptr;
    }
    for (std::size_t i = 0; i < pairs; ++i) {
        FieldValuePair& field = fields.get()[i];
        copyBounded(field.name, texts[2 * i].text);
        copyBounded(field.value, texts[2 * i + 1].text);
    }
    count = static_cast<unsigned int>(pairs);
    return fields.release();
}

} // namespace

} // namespace ossel

using namespace ossel;

int osselCreateHashTable(redisContext* context, const char* key, const FieldValuePair* fields,
                         int count) {
    return resultCode([=] {
        return !anyNull(context, key, fields) && count > 0 &&
               setFields(*context, key, {fields, static_cast<std::size_t>(count)});
    });
}

int osselDeleteHash(redisContext* context, const char* key) {
    return resultCode(
        [=] { return !anyNull(context, key) && (*key == '\0' || removeKey(*context, key)); });
}

int osselGetHashField(redisContext* context, const char* key, const char* field, char* value) {
    return resultCode([=] {
        if (anyNull(context, key, field, value)) {
            return false;
        }
        const Reply reply = readField(*context, key, field);
        if (!reply) {
            return false;
        }
        // Writes nothing behind the NUL: the callers' buffers differ in size.
        const std::string_view text = std::string_view(reply.text).substr(0, kMaxFieldText);
        copyBounded(value, text.size() + 1, text);
        return true;
    });
}

FieldValuePair* osselHashGetAll(redisContext* context, const char* key, unsigned int* count) {
    return atBoundary<FieldValuePair*>(nullptr, [=]() -> FieldValuePair* {
        if (count != nullptr) {
            *count = 0;
        }
        return anyNull(context, key, count) ? nullptr : readAllFields(*context, key, *count);
    });
}

int osselIsFieldMatched(redisContext* context, const char* key, const char* field,
                        const char* value) {
    return atBoundary(0, [=] {
        if (anyNull(context, key, field, value)) {
            return 0;
        }
        const Reply reply = readField(*context, key, field);
        return reply && reply.text == value ? 1 : 0;
    });
}

int osselHashAppendTTLObject(redisContext* context, const char* key, int ttl) {
    return resultCode([=] { return !anyNull(context, key) && markFresh(*context, key, ttl); });
}

int osselClearETagCache(redisContext* context, const char* key) {
    return resultCode(
        [=] { return !anyNull(context, key) && removeKey(*context, prefixed(kETagPrefix, key)); });
}
