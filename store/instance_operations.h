// Instance operations. An instance is one hash in the object store under the instance's UUID; a
// collection is a list or a set of such UUIDs.
//
// For every operation that does not say otherwise:
//   context  the calling thread's own connection; borrowed, stays open
//   result   0 done; otherwise the code of the store call that failed
//   log      one line per failed store call, under the operation's name
//   threads  any; the operations share only the store
#pragma once

#include "handler_entries.h"
#include "platform/ossel.h"
#include "records.h"

#include <string>

// Writes a new instance and adds it to a collection.
//   fields, count   borrowed
//   ttl             seconds for which it counts as fresh; 0 or less: it gets no time-to-live
//   collectionKey   a list (tried first) or a set; empty: none
// If a step fails after the hash was written, deletes the hash again. Does not log a failed list
// push, since trying the set next is normal.
int createInstance(redisContext* context, std::string uuid, const FieldValuePair* fields, int count,
                   int ttl, std::string collectionKey);

// Overwrites these fields of an instance, sets its time-to-live whatever `ttl` is, and drops its
// cached ETag. A time-to-live that cannot be set is logged but does not fail the update.
int updateInstance(redisContext* context, std::string uuid, const FieldValuePair* fields, int count,
                   int ttl);

// Deletes an instance and removes it from a collection, a list (tried first) or a set; an empty key
// means none. A failed step does not stop the next.
//   result   0 done; 1 the UUID is empty (then no store call is made) or a step failed
int deleteInstance(redisContext* context, std::string uuid, std::string collectionKey);

// Deletes a collection, whatever its members.
int deleteInstanceCollection(redisContext* context, std::string collectionKey);

// Adds instances to a collection's work tree (mode 0) or removes them (mode 1), in one step by way
// of a temporary set. The store consumes the set; on failure it is deleted.
//   result   as above; 1 if there are no instances
int renewWorkTree(redisContext* context, int mode, std::string collectionKey,
                  const InstanceSlot* instances, unsigned int count, unsigned char flag);
int renewWorkTreeAdd(redisContext* context, std::string collectionKey,
                     const InstanceSlot* instances, unsigned int count, unsigned char flag);
int renewWorkTreeRemove(redisContext* context, std::string collectionKey,
                        const InstanceSlot* instances, unsigned int count);
int renewWorkTreeAddOne(redisContext* context, std::string collectionKey, std::string uuid,
                        unsigned char flag);
int renewWorkTreeRemoveOne(redisContext* context, std::string collectionKey, std::string uuid);

// Reads a request object.
//   key            key of the request object
//   count, names   the wanted properties; 0 or less: none
//   instanceKey    receives the field "OriginalObjID"; empty if there is none
//   data           receives `count` records in the order of the names, their values empty where the
//                  request has no such field; null without properties and on failure. The caller
//                  frees it
//   answer         on failure: "InvalidObject" with the key, or "InternalError"
//   result         0 done, 1 failed
int getInputData(redisContext* context, std::string key, int count, const char* const* names,
                 std::string* instanceKey, FieldValuePair** data, ReturnMessage* answer);

// getInputData with the properties of a table row, one function per kind of request.
int getActionParameters(redisContext* context, ActionHandlerEntry row, std::string key,
                        std::string* instanceKey, FieldValuePair** data, ReturnMessage* answer);
int getCreateProperties(redisContext* context, UpdateHandlerEntry row, std::string key,
                        std::string* instanceKey, FieldValuePair** data, ReturnMessage* answer);
int getUpdateProperties(redisContext* context, UpdateHandlerEntry row, std::string key,
                        std::string* instanceKey, FieldValuePair** data, ReturnMessage* answer);

// Writes the names into the first `count` records. Does nothing for a null destination.
void fillFieldNames(FieldValuePair* destination, const char* const* names, unsigned char count);

// Returns the value of one field, or an empty text if it cannot be read. Makes no store call for an
// empty key, a null connection or a null field. Logs nothing.
std::string getHashFieldText(redisContext* context, std::string key, const char* field);
