// Dispatch of the create worker's requests to `action` and `create`, which answer what they serve.
#include "requests/message_dispatch.h"

#include "log_line.h"
#include "requests/action_requests.h"
#include "requests/create_requests.h"
#include "requests/return_messages.h"
#include "requests/table_lookup.h"

#include <cstring>

void createObjectOrActionObject(redisContext* context, std::string messageId, std::string objectKey,
                                std::string replyChannel, int actionCount,
                                const ActionHandlerEntry* actionRows, int creationCount,
                                const UpdateHandlerEntry* creationRows, std::string schemaTypeId,
                                std::string instanceCollectionKey, InstanceKeySet keys) {
    ReturnMessage answer = kSuccessTemplate;
    if (messageId == "00000") {
        actionObject(context, messageId, objectKey, replyChannel, actionCount, actionRows, &answer,
                     keys);
    } else {
        createObject(context, messageId, objectKey, replyChannel, creationCount, creationRows,
                     &answer, schemaTypeId, instanceCollectionKey, keys);
    }
    if (std::strcmp(answer.messageId, kSuccessTemplate.messageId) == 0) {
        return; // already answered; this record owns nothing
    }
    answerRequest("createObjectOrActionObject", context, replyChannel, &answer);
}

void actionObject(redisContext* context, std::string, std::string objectKey,
                  std::string replyChannel, int count, const ActionHandlerEntry* rows,
                  ReturnMessage* answer, InstanceKeySet keys) {
    char name[256] = {};
    if (osselGetHashField(context, objectKey.c_str(), "Action", name) != 0) {
        logLine("actionObject", "Failed to call osselGetHashField().");
        setReturnMessage(answer, "InternalError", 0);
        return;
    }
    const ActionHandlerEntry* row =
        findRow(rows, count, name, [](const auto& entry) { return entry.actionName; });
    if (row == nullptr) {
        logLine("actionObject", "Unsupported action: ", name, ".");
        setReturnMessage(answer, "ActionNotSupported", 1, name);
        return;
    }
    action(context, *row, objectKey, replyChannel, keys);
}

void createObject(redisContext* context, std::string messageId, std::string objectKey,
                  std::string replyChannel, int count, const UpdateHandlerEntry* rows,
                  ReturnMessage* answer, std::string schemaTypeId,
                  std::string instanceCollectionKey, InstanceKeySet keys) {
    const UpdateHandlerEntry* row =
        findRow(rows, count, messageId, [](const auto& entry) { return entry.messageId; });
    if (row == nullptr) {
        logLine("createObject", "Unsupported message id: ", messageId, ".");
        setReturnMessage(answer, "ActionNotSupported", 1, messageId.c_str());
        return;
    }
    create(context, *row, objectKey, replyChannel, schemaTypeId, instanceCollectionKey, keys);
}
