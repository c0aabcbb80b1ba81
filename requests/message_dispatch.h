// Dispatch of the create worker's requests: actions and creations arrive on the same path. Create
// worker thread only, with that thread's connection.
#pragma once

#include "handler_entries.h"
#include "records.h"

#include <string>

// Takes message id "00000" for an action, any other for a creation. Answers the request itself if
// no row matches; otherwise `action` or `create` answers it.
//   objectKey   key of the request object
//   counts      0 or less: the table is empty
void createObjectOrActionObject(redisContext* context, std::string messageId, std::string objectKey,
                                std::string replyChannel, int actionCount,
                                const ActionHandlerEntry* actionRows, int creationCount,
                                const UpdateHandlerEntry* creationRows, std::string schemaTypeId,
                                std::string instanceCollectionKey, InstanceKeySet keys);

// Finds the action that the field "Action" of the request object names and runs it.
//   answer   arrives as "Success" and stays so if `action` has answered; otherwise receives the
//            error for the caller to send
void actionObject(redisContext* context, std::string messageId, std::string objectKey,
                  std::string replyChannel, int count, const ActionHandlerEntry* rows,
                  ReturnMessage* answer, InstanceKeySet keys);

// Finds the row of the message id and creates the object.
//   answer   as in actionObject
void createObject(redisContext* context, std::string messageId, std::string objectKey,
                  std::string replyChannel, int count, const UpdateHandlerEntry* rows,
                  ReturnMessage* answer, std::string schemaTypeId,
                  std::string instanceCollectionKey, InstanceKeySet keys);
