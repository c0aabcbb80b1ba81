// Serving one update: the new values are applied, written to the stored instance and announced by
// an event. Update worker thread only, with that thread's connection.
#pragma once

#include "handler_entries.h"
#include "records.h"

#include <string>

// Finds the row of the message id and calls `update`; answers "ActionNotSupported" with the message
// id if there is none.
//   count, rows   the update table; 0 or less: it is empty
//   keys          the instances that may be updated
void updateObject(redisContext* context, std::string messageId, std::string objectKey,
                  std::string replyChannel, int count, const UpdateHandlerEntry* rows,
                  InstanceKeySet keys);

// Serves one update and answers it exactly once.
//   objectKey   key of the request object; its "OriginalObjID" names the target
void update(redisContext* context, UpdateHandlerEntry row, std::string objectKey,
            std::string replyChannel, InstanceKeySet keys);
