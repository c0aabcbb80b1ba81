// Read requests: bring the stored instance up to date, mark it fresh, answer. Read worker
// thread only, with that thread's connection.
#pragma once

#include "handler_entries.h"
#include "records.h"

#include <string>

// Picks the row whose message id matches and calls `read`; answers "ActionNotSupported" with
// the message id where there is none.
//   count, rows   the read table; a count of 0 or less has no row
//   keys          the instances that may be read
void readObject(redisContext* context, std::string messageId, std::string objectKey,
                std::string replyChannel, int count, const ReadHandlerEntry* rows,
                InstanceKeySet keys);

// Serves one read and answers it exactly once.
//   objectKey   key of the instance; "InvalidObject" when it is not in `keys`
void read(redisContext* context, ReadHandlerEntry row, std::string objectKey,
          std::string replyChannel, InstanceKeySet keys);
