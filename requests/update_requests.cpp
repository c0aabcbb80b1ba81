// Update requests: read the request object, run the row's handler, write the instance, announce the
// change, answer.
#include "requests/update_requests.h"

#include "log_line.h"
#include "requests/backend_event.h"
#include "requests/property_data.h"
#include "requests/return_messages.h"
#include "requests/table_lookup.h"
#include "store/instance_operations.h"

namespace {

// Applies the request and sets the answer.
void apply(redisContext* context, const UpdateHandlerEntry& row, const std::string& objectKey,
           const InstanceKeySet& keys, ReturnMessage* answer) {
    std::string instanceKey;
    PropertyData values;
    if (getUpdateProperties(context, row, objectKey, &instanceKey, &values.records, answer) != 0) {
        logLine("update", "Failed to call getUpdateProperties().");
        return;
    }
    if (!keys.contains(instanceKey)) {
        setReturnMessage(answer, "InvalidObject", 1, objectKey.c_str());
        return;
    }
    int count = row.propertyCount;
    if (row.handler(context, instanceKey, &values.records, &count, answer) != 0) {
        logLine("update", "Failed to call fnAgentUpdate().");
        return;
    }
    if (updateInstance(context, instanceKey, values.records, count, row.ttl) != 0) {
        logLine("update", "Failed to call updateInstance().");
        setReturnMessage(answer, "InternalError", 0);
        return;
    }
    setReturnMessage(answer, "Success", 0);
    WebGUI_RedfishSendBackendUpdatedEvent(context, "ResourceUpdated", instanceKey, 0, "WebGUI", 0);
}

} // namespace

void updateObject(redisContext* context, std::string messageId, std::string objectKey,
                  std::string replyChannel, int count, const UpdateHandlerEntry* rows,
                  InstanceKeySet keys) {
    const UpdateHandlerEntry* row =
        findRow(rows, count, messageId, [](const auto& entry) { return entry.messageId; });
    if (row != nullptr) {
        update(context, *row, objectKey, replyChannel, keys);
        return;
    }
    ReturnMessage answer = kInternalErrorTemplate;
    setReturnMessage(&answer, "ActionNotSupported", 1, messageId.c_str());
    // Meant: the only entry point that logs nothing of its own if sending fails.
    sendReturnMsg(context, replyChannel, answer);
    freeReturnMessage(&answer);
}

void update(redisContext* context, UpdateHandlerEntry row, std::string objectKey,
            std::string replyChannel, InstanceKeySet keys) {
    ReturnMessage answer = kSuccessTemplate;
    apply(context, row, objectKey, keys, &answer);
    answerRequest("update", context, replyChannel, &answer);
}
