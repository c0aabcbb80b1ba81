// Dispatch on the create path, where creations and actions arrive alike. Create worker thread
// only, with that thread's connection.
#pragma once

#include "handler_entries.h"
#include "records.h"

#include <string>

// Message id "00000" is an action, any other a creation. Answers the request itself when no
// row accepts it; otherwise the row's path has answered.
//   objectKey   key of the request object
//   counts      of 0 or less: the table has no row
void createObjectOrActionObject(redisContext* context, std::string messageId, std::string objectKey,
                                std::string replyChannel, int actionCount,
                                const ActionHandlerEntry* actionRows, int creationCount,
                                const UpdateHandlerEntry* creationRows, std::string schemaTypeId,
                                std::string instanceCollectionKey, InstanceKeySet keys);

// Finds the action that the field "Action" of the request object names and runs it.
//   answer   stays "Success" when `action` has answered; otherwise holds the error to send
void actionObject(redisContext* context, std::string messageId, std::string objectKey,
                  std::string replyChannel, int count, const ActionHandlerEntry* rows,
                  ReturnMessage* answer, InstanceKeySet keys);

// Finds the row of the message id and creates the object.
//   answer   as actionObject
void createObject(redisContext* context, std::string messageId, std::string objectKey,
                  std::string replyChannel, int count, const UpdateHandlerEntry* rows,
                  ReturnMessage* answer, std::string schemaTypeId,
                  std::string instanceCollectionKey, InstanceKeySet keys);
