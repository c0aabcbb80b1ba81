// Looks up schema types and properties of schema objects, for callers without a context.
#include "platform/ossel.h"

#include "platform/ossel/boundary.h"
#include "platform/ossel/exchange.h"
#include "platform/ossel/first_connection.h"

#include <cstring>
#include <string>

namespace ossel {

namespace {

// The field of the hash as a `malloc`ed text of any length; null when there is no such field.
char* copyOfField(redisContext& context, std::string_view key, std::string_view field) {
    ShortCommand hget{"HGET", key, field};
    const Reply reply = ask(context, hget, {Reply::Kind::text, Reply::Kind::nil}, Repeat::harmless);
    return reply.kind == Reply::Kind::text ? ::strndup(reply.text.data(), reply.text.size())
                                           : nullptr;
}

char* lookUp(std::string_view key, std::string_view field) {
    char* text = nullptr;
    withFirstConnection([&](redisContext& context) { text = copyOfField(context, key, field); });
    return text;
}

} // namespace

} // namespace ossel

using namespace ossel;

char* olGetSchemaTypeIdByField(const char* key, const char* field, const char* value) {
    return atBoundary<char*>(nullptr, [=]() -> char* {
        return anyNull(key, field, value) ? nullptr : lookUp(key, std::string(field) + ':' + value);
    });
}

char* olObjGetProperty(const char* objectKey, const char* property) {
    return atBoundary<char*>(nullptr, [=]() -> char* {
        return anyNull(objectKey, property) ? nullptr : lookUp(objectKey, property);
    });
}
