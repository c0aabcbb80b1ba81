// Rows of the three handler tables, and the types of the handlers they name. agent/ holds the
// tables; service/ passes them to requests/, which searches them from the top by exact comparison.
// The first match wins; there is no default row.
//
// For every handler: `answer` arrives as "Success". A handler that fails may set it with
// setReturnMessage; the caller sends it as it is then.
#pragma once

#include "platform/ossel.h"
#include "records.h"

#include <cstddef>
#include <cstdint>
#include <string>

// Brings the stored instance up to date before it is read.
//   objectKey     key of the instance
//   clearETag     starts false; true asks the caller to drop the instance's cached ETag
//   result        0 done; otherwise failed
using AgentReadHandler = int (*)(redisContext* context, std::string objectKey,
                                 ReturnMessage* answer, bool* clearETag);

// Applies the property values of an update or a creation.
//   instanceKey   key of the target instance
//   values        one record per property name of the row, in the row's order. A handler may put
//                 another `malloc`ed block in its place; the caller frees whichever is there
//   count         records in `values`: the row's property count; the handler may change it
//   result        0 done, 1 failed
using AgentUpdateHandler = int (*)(redisContext* context, std::string instanceKey,
                                   FieldValuePair** values, int* count, ReturnMessage* answer);

// Runs an action.
//   parameters    one record per parameter name of the row, null for none
//   newObjectId   starts empty; set to the id of an object that the action has created
//   result        0 done, 1 failed
using AgentActionHandler = int (*)(redisContext* context, std::string instanceKey,
                                   FieldValuePair* parameters, ReturnMessage* answer,
                                   std::string* newObjectId);

struct ReadHandlerEntry {
    char messageId[8]; // NUL-terminated
    std::int32_t ttl;  // seconds for which the instance counts as fresh afterwards
    AgentReadHandler handler;
};
static_assert(sizeof(ReadHandlerEntry) == (sizeof(void*) == 4 ? 16 : 24));
static_assert(offsetof(ReadHandlerEntry, ttl) == 8);
static_assert(offsetof(ReadHandlerEntry, handler) == (sizeof(void*) == 4 ? 12 : 16));

struct UpdateHandlerEntry {
    char messageId[8];                // NUL-terminated
    std::int32_t ttl;                 // seconds, for updateInstance or createInstance
    std::int32_t propertyCount;       // entries in propertyNames
    const char* const* propertyNames; // the properties that a request may carry
    AgentUpdateHandler handler;
};
static_assert(sizeof(UpdateHandlerEntry) == (sizeof(void*) == 4 ? 24 : 32));
static_assert(offsetof(UpdateHandlerEntry, ttl) == 8);
static_assert(offsetof(UpdateHandlerEntry, propertyCount) == 12);
static_assert(offsetof(UpdateHandlerEntry, propertyNames) == 16);
static_assert(offsetof(UpdateHandlerEntry, handler) == (sizeof(void*) == 4 ? 20 : 24));

struct ActionHandlerEntry {
    char actionName[64]; // NUL-terminated
    std::int32_t parameterCount;
    const char* const* parameterNames;
    AgentActionHandler handler;
};
static_assert(sizeof(ActionHandlerEntry) == (sizeof(void*) == 4 ? 76 : 88));
static_assert(offsetof(ActionHandlerEntry, parameterCount) == 64);
static_assert(offsetof(ActionHandlerEntry, parameterNames) == (sizeof(void*) == 4 ? 68 : 72));
static_assert(offsetof(ActionHandlerEntry, handler) == (sizeof(void*) == 4 ? 72 : 80));
