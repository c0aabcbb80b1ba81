// Create requests: read the request object, run the row's handler, create the instance, answer. The
// create worker passes an empty table, so in the product the dispatch refuses every creation first.
#include "requests/create_requests.h"

#include "log_line.h"
#include "requests/property_data.h"
#include "requests/return_messages.h"
#include "store/instance_operations.h"

namespace {

// Creates the instance and sets the answer.
void makeInstance(redisContext* context, const UpdateHandlerEntry& row,
                  const std::string& objectKey, const std::string& instanceCollectionKey,
                  InstanceKeySet* keys, ReturnMessage* answer) {
    std::string instanceKey;
    PropertyData values;
    if (getCreateProperties(context, row, objectKey, &instanceKey, &values.records, answer) != 0) {
        logLine("create", "Failed to call getCreateProperties().");
        return;
    }
    int count = row.propertyCount;
    if (row.handler(context, instanceKey, &values.records, &count, answer) != 0) {
        logLine("create", "Failed to call fnAgentCreate().");
        return;
    }
    if (createInstance(context, instanceKey, values.records, count, row.ttl,
                       instanceCollectionKey) != 0) {
        logLine("create", "Failed to call createInstance().");
        setReturnMessage(answer, "InternalError", 0);
        return;
    }
    // Meant: the key goes into the request's own copy of the set and is dropped with it.
    keys->insert(instanceKey);
    setReturnMessage(answer, "Success", 0);
}

} // namespace

void create(redisContext* context, UpdateHandlerEntry row, std::string objectKey,
            std::string replyChannel, std::string, std::string instanceCollectionKey,
            InstanceKeySet keys) {
    ReturnMessage answer = kSuccessTemplate;
    makeInstance(context, row, objectKey, instanceCollectionKey, &keys, &answer);
    answerRequest("create", context, replyChannel, &answer);
}
