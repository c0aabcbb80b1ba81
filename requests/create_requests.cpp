// Create requests: from the request object to a new instance and the answer. The create worker
// hands an empty table down, so that the product refuses every creation before this point.
#include "requests/create_requests.h"

#include "log_line.h"
#include "requests/property_data.h"
#include "requests/return_messages.h"
#include "store/instance_operations.h"

namespace {

// Makes the instance and leaves the result in the answer.
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
    // Meant: this is the request's own copy of the set, dropped with the request.
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
