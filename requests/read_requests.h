// Serving one read: the stored instance is brought up to date and marked fresh, for the requester
// to read from the store. Read worker thread only, with that thread's connection.
#pragma once

#include "handler_entries.h"
#include "records.h"

#include <string>

// Finds the row of the message id and calls `read`; answers "ActionNotSupported" with the message
// id if there is none.
//   count, rows   the read table; 0 or less: it is empty
//   keys          the instances that may be read
void readObject(redisContext* context, std::string messageId, std::string objectKey,
                std::string replyChannel, int count, const ReadHandlerEntry* rows,
                InstanceKeySet keys);

// Serves one read and answers it exactly once.
//   objectKey   key of the instance; answered "InvalidObject" if not in `keys`
void read(redisContext* context, ReadHandlerEntry row, std::string objectKey,
          std::string replyChannel, InstanceKeySet keys);
