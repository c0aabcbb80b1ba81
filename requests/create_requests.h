// Serving one creation. Create worker thread only, with that thread's connection.
#pragma once

#include "handler_entries.h"
#include "records.h"

#include <string>

// Serves one creation and answers it exactly once.
//   objectKey               key of the request object; its "OriginalObjID" is the key of
//                           the new instance
//   schemaTypeId            not used
//   instanceCollectionKey   the collection that the new instance joins
//   keys                    receives the new key, but dies with the request
void create(redisContext* context, UpdateHandlerEntry row, std::string objectKey,
            std::string replyChannel, std::string schemaTypeId, std::string instanceCollectionKey,
            InstanceKeySet keys);
