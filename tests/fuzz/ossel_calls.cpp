// The calls of the object-store client and what each promises, whatever the server answers.
#include "tests/fuzz/ossel_calls.h"

#include "platform/ossel.h"
#include "tests/fuzz/fuzz.h"
#include "text.h"

#include <array>
#include <cstring>

namespace fuzz {

namespace {

constexpr const char* kNoMore = nullptr;

template <std::size_t Size>
void requireText(const char (&field)[Size], std::string_view what) {
    require(boundedText(field).size() < Size, "a text ends in a NUL", what);
}

void generateUuid(redisContext* context) {
    std::array<char, 37> uuid{};
    require(osselGenerateUUID(context, uuid.data()) == 0 && std::strlen(uuid.data()) == 36,
            "a UUID needs no server");
}

void createReturnMessage(redisContext* context) {
    osselCreateReturnMessage(context, "uuid", "InvalidObject", "one", "two", kNoMore);
}

void publish(redisContext* context) {
    osselPublishToChannel(context, "channel", "message");
}

void createHashTable(redisContext* context) {
    std::array<FieldValuePair, 2> fields{};
    copyBounded(fields[0].name, "name");
    std::memset(fields[1].value, 'v', sizeof fields[1].value); // no NUL in it
    osselCreateHashTable(context, "key", fields.data(), static_cast<int>(fields.size()));
}

void deleteHash(redisContext* context) {
    osselDeleteHash(context, "key");
}

// Reads into a heap buffer of exactly the promised size, so that the sanitizer finds an overrun.
void getHashField(redisContext* context) {
    constexpr std::size_t kSize = 256;
    std::vector<char> value(kSize, '#');
    const int code = osselGetHashField(context, "key", "field", value.data());
    const std::string_view text(value.data(), kSize);
    require(code != 0 || text.find('\0') != std::string_view::npos, "a value ends in a NUL");
    require(code == 0 || text == std::string(kSize, '#'), "a failed read leaves the value alone");
}

void hashGetAll(redisContext* context) {
    unsigned int count = 77;
    const MallocPtr<FieldValuePair[]> all(osselHashGetAll(context, "key", &count));
    require((all == nullptr) == (count == 0), "null and 0 go together");
    for (unsigned int i = 0; i < count; ++i) {
        requireText(all[i].name, "name");
        requireText(all[i].value, "value");
    }
}

void isFieldMatched(redisContext* context) {
    osselIsFieldMatched(context, "key", "field", "value");
}

void appendTtl(redisContext* context) {
    osselHashAppendTTLObject(context, "key", 1);
    osselHashAppendTTLObject(context, "key", 0);
}

void clearETag(redisContext* context) {
    osselClearETagCache(context, "key");
}

void listRightPush(redisContext* context) {
    osselListRightPush(context, "key", "value");
}

void listRemove(redisContext* context) {
    osselLREM(context, "key", 1, "value");
}

void setAdd(redisContext* context) {
    osselSADD(context, "key", "member", 0);
}

void setRemove(redisContext* context) {
    osselRemoveInstanceFromSet(context, "key", "member");
}

void setMembers(redisContext* context) {
    InstanceSlot untouched{};
    InstanceSlot* members = &untouched;
    unsigned int count = 77;
    const int code = osselSMembers(context, "key", &members, &count);
    const MallocPtr<InstanceSlot> owner(members);
    require((members == nullptr) == (count == 0), "null and 0 go together");
    require(code == 0 || count == 0, "a failed read owns nothing");
    for (unsigned int i = 0; i < count; ++i) {
        requireText(members[i], "member");
    }
}

void createSetTable(redisContext* context) {
    std::array<InstanceSlot, 2> members{};
    copyBounded(members[0], "one");
    std::memset(members[1], 'm', sizeof members[1]); // no NUL in it
    osselCreateSetTable(context, "key", members.data(), 2);
}

void renewCollection(redisContext* context) {
    osselRenewCollection(context, 0, "collection", "set", 0);
    osselRenewCollection(context, 1, "collection", "set", 1);
}

void createOneEvent(redisContext* context) {
    const InstanceSlot argument = "WebGUI00";
    OsselEvent event{};
    std::memset(event.origin, 'o', sizeof event.origin); // no NUL in it
    event.arguments = argument;
    event.argumentCount = 1;
    osselCreateEventObject(context, "source", 0, &event, 1);
}

void createTwoEvents(redisContext* context) {
    const std::array<OsselEvent, 2> events{};
    osselCreateEventObject(context, "source", 0, events.data(), 2);
}

void schemaTypeId(redisContext*) {
    const MallocPtr<char> id(olGetSchemaTypeIdByField("key", "title", "text"));
    require(id == nullptr || std::strlen(id.get()) < sizeof(int) * 1024 * 1024,
            "a text has an end");
}

void objectProperty(redisContext*) {
    const MallocPtr<char> text(olObjGetProperty("key", "property"));
    require(text == nullptr || std::strlen(text.get()) < sizeof(int) * 1024 * 1024,
            "a text has an end");
}

// The order gives the letters of the inputs, from 'a'; new calls go to the end.
constexpr OsselCall kCalls[] = {
    generateUuid,   createReturnMessage, publish,        createHashTable, deleteHash,
    getHashField,   hashGetAll,          isFieldMatched, appendTtl,       clearETag,
    listRightPush,  listRemove,          setAdd,         setRemove,       setMembers,
    createSetTable, renewCollection,     createOneEvent, createTwoEvents, schemaTypeId,
    objectProperty,
};

} // namespace

std::span<const OsselCall> osselCalls() {
    return kCalls;
}

} // namespace fuzz
