// Instance operations. An instance is one hash in the object store, its key the instance's
// UUID; a collection is a list or a set of such keys.
//
// For every operation that does not say otherwise:
//   context  the calling thread's own connection; borrowed, stays open
//   result   0 done; otherwise the code of the store call that failed
//   log      one line per failed store call, under the operation's name
//   threads  any; nothing is shared but the store itself
#pragma once

#include "handler_entries.h"
#include "platform/ossel.h"
#include "records.h"

#include <string>

// Writes a new instance and makes it a member of a collection.
//   fields, count   borrowed
//   ttl             seconds for which it counts as fresh; 0 or less: no time-to-live at all
//   collectionKey   list (tried first) or set; empty: member of nothing
// On failure after the hash was written the hash is deleted again. A list push that fails
// is not logged: the set is the normal second try.
int createInstance(redisContext* context, std::string uuid, const FieldValuePair* fields, int count,
                   int ttl, std::string collectionKey);

// Overwrites these fields of an instance, marks it fresh for `ttl` seconds (whatever ttl is)
// and drops its cached ETag. A failed mark is logged and does not fail the update.
int updateInstance(redisContext* context, std::string uuid, const FieldValuePair* fields, int count,
                   int ttl);

// Deletes an instance and takes it out of a collection, list tried first, then set.
//   result   0 all done; 1 the UUID is empty (no store call) or a step failed: the others
//            were made all the same
int deleteInstance(redisContext* context, std::string uuid, std::string collectionKey);

// Deletes a whole collection, whoever its members are.
int deleteInstanceCollection(redisContext* context, std::string collectionKey);

// Adds instances to a collection's work tree (mode 0) or takes them out (mode 1), in one step
// by way of a temporary set, which is deleted again only when that fails.
//   result   as above; 1 when there are no instances
int renewWorkTree(redisContext* context, int mode, std::string collectionKey,
                  const InstanceSlot* instances, unsigned int count, unsigned char flag);
int renewWorkTreeAdd(redisContext* context, std::string collectionKey,
                     const InstanceSlot* instances, unsigned int count, unsigned char flag);
int renewWorkTreeRemove(redisContext* context, std::string collectionKey,
                        const InstanceSlot* instances, unsigned int count);
int renewWorkTreeAddOne(redisContext* context, std::string collectionKey, std::string uuid,
                        unsigned char flag);
int renewWorkTreeRemoveOne(redisContext* context, std::string collectionKey, std::string uuid);

// Reads what a request carries out of its request object.
//   count, names   the properties wanted; 0 or less: none
//   instanceKey    set to the field "OriginalObjID"; empty when there is none
//   data           set to `count` records in the order of the names, empty where the request has
//                  no such field; null for no properties or on failure. The caller frees it
//   answer         on failure: "InvalidObject" with the key, or "InternalError"
//   result         0 done, 1 failed
int getInputData(redisContext* context, std::string key, int count, const char* const* names,
                 std::string* instanceKey, FieldValuePair** data, ReturnMessage* answer);

// getInputData with the count and the names of a table row; one each for the three kinds.
int getActionParameters(redisContext* context, ActionHandlerEntry row, std::string key,
                        std::string* instanceKey, FieldValuePair** data, ReturnMessage* answer);
int getCreateProperties(redisContext* context, UpdateHandlerEntry row, std::string key,
                        std::string* instanceKey, FieldValuePair** data, ReturnMessage* answer);
int getUpdateProperties(redisContext* context, UpdateHandlerEntry row, std::string key,
                        std::string* instanceKey, FieldValuePair** data, ReturnMessage* answer);

// Writes the names into the first `count` records. A null destination is left alone.
void fillFieldNames(FieldValuePair* destination, const char* const* names, unsigned char count);

// The value of one field, or an empty text when it cannot be read. An empty key or a null
// connection or field makes no store call. Nothing is logged.
std::string getHashFieldText(redisContext* context, std::string key, const char* field);
