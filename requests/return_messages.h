// Return messages: the answers to requests, in memory and in the object store. Every other
// subsystem may use them.
#pragma once

#include "platform/ossel.h"
#include "records.h"

#include <string>
#include <string_view>

// Every answer starts as a copy of one of these.
extern const ReturnMessage kSuccessTemplate;
extern const ReturnMessage kInternalErrorTemplate;

// Fills a record. Does not free the arguments that it had.
//   id          copied, cut to 127 characters
//   argCount    number of const char* texts that follow; only its low 8 bits count. The texts are
//               copied; a null one counts as empty
//   result      1 done; 0 out of memory: id and count are set, but there are no arguments
int setReturnMessage(ReturnMessage* record, const char* id, unsigned int argCount, ...);

// Frees the arguments, if any; `record` may be null. The count stays.
void freeReturnMessage(ReturnMessage* record);

// Stores the answer under a fresh UUID and publishes that UUID on the reply channel. Sends
// "InternalError" without arguments instead of an answer with more than 5.
//   record   its arguments stay the caller's
//   result   0 done; otherwise the code of the store call that failed, which is logged
int sendReturnMsg(redisContext* context, std::string replyChannel, ReturnMessage record);

// Ends a request: sends the answer and frees its arguments, sent or not. Logs a failure under the
// name `function`.
void answerRequest(std::string_view function, redisContext* context,
                   const std::string& replyChannel, ReturnMessage* answer);

// Writes an action's response data into the request object `hashKey`: "NewObjID" if the action has
// created an object, otherwise "HasRespData" with "No".
//   result   0 done; otherwise the code of osselCreateHashTable, which is logged
int handleActionRespData(redisContext* context, std::string hashKey, std::string newObjectId);
