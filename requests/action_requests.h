// Serving one action. Create worker thread only, with that thread's connection.
#pragma once

#include "handler_entries.h"
#include "records.h"

#include <string>

// Serves one action and answers it exactly once.
//   objectKey   key of the request object; its "OriginalObjID" names the target, and it receives
//               the action's response data
//   keys        the instances that may be the target
void action(redisContext* context, ActionHandlerEntry row, std::string objectKey,
            std::string replyChannel, InstanceKeySet keys);
