// Return messages: the answers to requests, in memory and in the object store. The
// lowest part of the daemon: every other subsystem may call it.
#pragma once

#include "platform/ossel.h"
#include "records.h"

#include <string>
#include <string_view>

// The two records that an answer starts from; copied whole.
extern const ReturnMessage kSuccessTemplate;
extern const ReturnMessage kInternalErrorTemplate;

// Fills a record.
//   id          copied, cut to 127 characters
//   argCount    number of texts that follow as const char*; its low 8 bits count. Each text is
//               copied; a null one becomes an empty text
//   result      1 done; 0 out of memory: id and count are set, there are no arguments
// What the record owned before is not freed.
int setReturnMessage(ReturnMessage* record, const char* id, unsigned int argCount, ...);

// Frees the arguments; null or a record without any is left alone. The count stays.
void freeReturnMessage(ReturnMessage* record);

// Stores the answer under a fresh UUID and publishes that UUID on the reply channel. More
// than 5 arguments are sent as "InternalError" without any.
//   record   the caller still owns its arguments
//   result   0 done; otherwise the code of the store call that failed, which is logged
int sendReturnMsg(redisContext* context, std::string replyChannel, ReturnMessage record);

// The end of a request: sends the answer and frees its arguments, whether or not that worked.
// A failure is logged in the name of `function`, which is the one that answers.
void answerRequest(std::string_view function, redisContext* context,
                   const std::string& replyChannel, ReturnMessage* answer);

// Writes the response data of an action into the hash of its request: "NewObjID" when the
// action made an object, otherwise "HasRespData" with "No".
//   result   0 done; otherwise the code of osselCreateHashTable, which is logged
int handleActionRespData(redisContext* context, std::string hashKey, std::string newObjectId);
