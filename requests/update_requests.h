// Update requests: collect the new values, let the agent apply them, write them into the
// stored instance, announce the change, answer. Update worker thread only, with that
// thread's connection.
#pragma once

#include "handler_entries.h"
#include "records.h"

#include <string>

// Picks the row whose message id matches and calls `update`; answers "ActionNotSupported"
// with the message id where there is none.
//   count, rows   the message-id table; a count of 0 or less has no row
//   keys          the instances that may be updated
void updateObject(redisContext* context, std::string messageId, std::string objectKey,
                  std::string replyChannel, int count, const UpdateHandlerEntry* rows,
                  InstanceKeySet keys);

// Serves one update and answers it exactly once.
//   objectKey   key of the request object; its "OriginalObjID" names the target
void update(redisContext* context, UpdateHandlerEntry row, std::string objectKey,
            std::string replyChannel, InstanceKeySet keys);
