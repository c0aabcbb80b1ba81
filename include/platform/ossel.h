// libossel.so: the client of the redis-backed object store.
//
// For every function that does not say otherwise:
//   context  an open connection, borrowed; one thread at a time. Null is a failure
//   texts    NUL-terminated, borrowed
//   result   0 success, non-zero failure
//   throws   never
//   threads  any, each with a connection of its own
// What goes wrong is said on standard error, one line each.
#pragma once

#include "records.h"

#include <cstddef>

struct redisContext;

// One Redfish event. Texts are NUL-terminated. `arguments` points to `argumentCount`
// texts in slots of 1024 bytes, borrowed.
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

// A new connection to the store, or null. The caller disconnects it.
redisContext* osselRedisConnect(void);

// Closes and frees a connection. Null is ignored.
void osselRedisDisconnect(redisContext* context);

// Writes a fresh UUID: 36 characters and a NUL.
int osselGenerateUUID(redisContext* context, char* uuid);

// Stores a return message under `uuid`. The arguments follow as const char*, closed by
// a null pointer.
int osselCreateReturnMessage(redisContext* context, const char* uuid, const char* messageId, ...);

// Publishes a message. That nobody listens is success.
int osselPublishToChannel(redisContext* context, const char* channel, const char* message);

// Sets these fields of the hash; other fields stay.
int osselCreateHashTable(redisContext* context, const char* key, const FieldValuePair* fields,
                         int count);

// Removes the key, whatever its kind. An absent or empty key is success.
int osselDeleteHash(redisContext* context, const char* key);

// Reads one field: at most 255 characters and a NUL are written. A missing key or
// field is a failure.
int osselGetHashField(redisContext* context, const char* key, const char* field, char* value);

// Reads a whole hash into a `malloc`ed array that the caller frees; null and 0 when there
// is nothing or it cannot be read.
FieldValuePair* osselHashGetAll(redisContext* context, const char* key, unsigned int* count);

// Unlike the others: non-zero when the stored field equals `value`; 0 when it differs,
// is missing or cannot be read.
int osselIsFieldMatched(redisContext* context, const char* key, const char* field,
                        const char* value);

// Marks the instance as fresh for `ttl` seconds. 0 or less takes the mark away, which is
// success too.
int osselHashAppendTTLObject(redisContext* context, const char* key, int ttl);

// Drops the cached ETag of the instance. Nothing cached is success.
int osselClearETagCache(redisContext* context, const char* key);

// Appends to a list. Fails where the key holds a set; a value that the list holds
// already is left alone, which is success.
int osselListRightPush(redisContext* context, const char* key, const char* value);

// Removes `count` occurrences of the value from a list. Fails where nothing was removed.
int osselLREM(redisContext* context, const char* key, int count, const char* value);

// Adds to a set. A present member is success. `flag` has no effect.
int osselSADD(redisContext* context, const char* key, const char* member, int flag);

// Takes a member out of a set. Fails where nothing was removed.
int osselRemoveInstanceFromSet(redisContext* context, const char* key, const char* member);

// Reads the members of a set, or of a list, into a `malloc`ed array that the caller
// frees. An empty or absent one is 0 members and success.
int osselSMembers(redisContext* context, const char* key, InstanceSlot** members,
                  unsigned int* count);

// Makes a set of `count` members.
int osselCreateSetTable(redisContext* context, const char* key, const InstanceSlot* members,
                        unsigned int count);

// Mode 0 adds the members of the set to the work tree of the collection, mode 1 takes
// them out. Nothing to change is success. The set is consumed. `flag` has no effect.
int osselRenewCollection(redisContext* context, int mode, const char* collectionKey,
                         const char* setKey, unsigned char flag);

// Appends `count` events to the stream of the source.
int osselCreateEventObject(redisContext* context, const char* source, int kind,
                           const OsselEvent* events, int count);

// The id of the schema type whose `field` holds `value` in the registry `key`: `malloc`ed,
// freed by the caller, or null. Works on the connection that the process opened first;
// null when there is none.
char* olGetSchemaTypeIdByField(const char* key, const char* field, const char* value);

// One property of an object, as olGetSchemaTypeIdByField.
char* olObjGetProperty(const char* objectKey, const char* property);

} // extern "C"
#pragma GCC visibility pop
