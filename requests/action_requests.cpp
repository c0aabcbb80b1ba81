// Action requests: check the target, run the row's handler, write the response data, answer.
#include "requests/action_requests.h"

#include "log_line.h"
#include "requests/property_data.h"
#include "requests/return_messages.h"
#include "store/instance_operations.h"

namespace {

// Runs the action and sets the answer.
void perform(redisContext* context, const ActionHandlerEntry& row, const std::string& objectKey,
             const InstanceKeySet& keys, ReturnMessage* answer) {
    std::string instanceKey;
    PropertyData parameters;
    if (getActionParameters(context, row, objectKey, &instanceKey, &parameters.records, answer) !=
        0) {
        logLine("action", "Failed to call getActionParameters().");
        return;
    }
    if (!keys.contains(instanceKey)) {
        setReturnMessage(answer, "InvalidObject", 1, objectKey.c_str());
        return;
    }
    std::string newObjectId;
    if (row.handler(context, instanceKey, parameters.records, answer, &newObjectId) != 0) {
        logLine("action", "Failed to call fnAgentAction().");
        return;
    }
    if (handleActionRespData(context, objectKey, newObjectId) != 0) {
        logLine("action", "Failed to call handleActionRespData().");
        setReturnMessage(answer, "InternalError", 0);
        return;
    }
    setReturnMessage(answer, "Success", 0);
}

} // namespace

void action(redisContext* context, ActionHandlerEntry row, std::string objectKey,
            std::string replyChannel, InstanceKeySet keys) {
    ReturnMessage answer = kSuccessTemplate;
    perform(context, row, objectKey, keys, &answer);
    answerRequest("action", context, replyChannel, &answer);
}
