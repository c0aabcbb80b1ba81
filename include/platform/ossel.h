// libossel.so: the client of the redis-backed object store.
//
// For every function that does not say otherwise:
//   context  an open connection, borrowed, used by one thread at a time; null fails
//   texts    NUL-terminated, borrowed
//   result   0 success, non-zero failure, which is logged to standard error in one line
//   throws   never
//   threads  any, each with its own connection
//
// A null pointer is a failure. So is a key that holds another kind than the call works on: a hash,
// a list or a set. Slots and fields of records may be filled without a NUL.
#pragma once

#include "records.h"

#include <cstddef>

struct redisContext;

// One Redfish event. Texts are NUL-terminated. `arguments` points to `argumentCount` borrowed texts
// in slots of 1024 bytes.
struct OsselEvent {
    char reserved0[256];
    char eventType[256];
    char reserved1[256];
    char kind[256];
    char message[256];
    char messageId[256];
    int argumentCount;
    const char* arguments;
    char origin[37];
    char reserved2[37];
};
static_assert(sizeof(OsselEvent) == (sizeof(void*) == 4 ? 1620 : 1632));
static_assert(offsetof(OsselEvent, eventType) == 256);
static_assert(offsetof(OsselEvent, kind) == 768);
static_assert(offsetof(OsselEvent, message) == 1024);
static_assert(offsetof(OsselEvent, messageId) == 1280);
static_assert(offsetof(OsselEvent, argumentCount) == 1536);
static_assert(offsetof(OsselEvent, arguments) == (sizeof(void*) == 4 ? 1540 : 1544));
static_assert(offsetof(OsselEvent, origin) == (sizeof(void*) == 4 ? 1544 : 1552));
static_assert(offsetof(OsselEvent, reserved2) == (sizeof(void*) == 4 ? 1581 : 1589));

#pragma GCC visibility push(default)
extern "C" {

// Opens a connection to the store; null on failure. The caller disconnects it.
redisContext* osselRedisConnect(void);

// Closes and frees a connection. Ignores null.
void osselRedisDisconnect(redisContext* context);

// Writes a fresh UUID: 36 characters and a NUL.
int osselGenerateUUID(redisContext* context, char* uuid);

// Stores a return message in the hash `uuid`. The arguments follow as const char*, at most five,
// ended by a null pointer.
int osselCreateReturnMessage(redisContext* context, const char* uuid, const char* messageId, ...);

// Publishes a message. Succeeds even without subscribers.
int osselPublishToChannel(redisContext* context, const char* channel, const char* message);

// Sets `count` fields of the hash, at least one, and leaves its others alone.
int osselCreateHashTable(redisContext* context, const char* key, const FieldValuePair* fields,
                         int count);

// Deletes the key, whatever its type. Succeeds for an absent or empty key.
int osselDeleteHash(redisContext* context, const char* key);

// Reads one field; writes at most 255 characters and a NUL, and nothing behind it. Fails for a
// missing key or field.
int osselGetHashField(redisContext* context, const char* key, const char* field, char* value);

// Reads a whole hash into a `malloc`ed array that the caller frees; null and 0 if it does not exist
// or cannot be read. Cuts texts to 1023 characters.
FieldValuePair* osselHashGetAll(redisContext* context, const char* key, unsigned int* count);

// Unlike the others, returns non-zero if the stored field equals `value`, and 0 if it differs, is
// missing or cannot be read.
int osselIsFieldMatched(redisContext* context, const char* key, const char* field,
                        const char* value);

// Marks the instance as fresh for `ttl` seconds; 0 or less removes the mark, and succeeds too.
int osselHashAppendTTLObject(redisContext* context, const char* key, int ttl);

// Drops the cached ETag of the instance, if any.
int osselClearETagCache(redisContext* context, const char* key);

// Appends a value to a list unless the list holds it already, which is success.
int osselListRightPush(redisContext* context, const char* key, const char* value);

// Removes `count` occurrences of the value from a list. Fails if there are none.
int osselLREM(redisContext* context, const char* key, int count, const char* value);

// Adds a member to a set, if absent. `flag` has no effect.
int osselSADD(redisContext* context, const char* key, const char* member, int flag);

// Removes a member from a set. Fails if it is absent.
int osselRemoveInstanceFromSet(redisContext* context, const char* key, const char* member);

// Reads the members of a set or a list into a `malloc`ed array that the caller frees. An absent one
// has 0 members, for which *members is null. Cuts texts to 1023 characters.
int osselSMembers(redisContext* context, const char* key, InstanceSlot** members,
                  unsigned int* count);

// Creates a set of `count` members, at least one. Replaces whatever the key held.
int osselCreateSetTable(redisContext* context, const char* key, const InstanceSlot* members,
                        unsigned int count);

// Adds the members of the set to the work tree of the collection (mode 0) or removes them (mode 1).
// Succeeds if nothing changes. Consumes the set. `flag` has no effect.
int osselRenewCollection(redisContext* context, int mode, const char* collectionKey,
                         const char* setKey, unsigned char flag);

// Appends `count` events to the stream of the source.
int osselCreateEventObject(redisContext* context, const char* source, int kind,
                           const OsselEvent* events, int count);

// Returns the id of the schema type whose `field` holds `value` in the registry `key`, `malloc`ed
// and freed by the caller; null on failure. Uses the connection that the process opened first.
char* olGetSchemaTypeIdByField(const char* key, const char* field, const char* value);

// Returns one property of an object, in the same way.
char* olObjGetProperty(const char* objectKey, const char* property);

} // extern "C"
#pragma GCC visibility pop
