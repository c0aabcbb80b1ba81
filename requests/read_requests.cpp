// Read requests: check the target, run the row's handler, mark the instance fresh, answer.
#include "requests/read_requests.h"

#include "log_line.h"
#include "requests/return_messages.h"
#include "requests/table_lookup.h"

namespace {

// Refreshes the instance and sets the answer.
void refresh(redisContext* context, const ReadHandlerEntry& row, const std::string& objectKey,
             ReturnMessage* answer) {
    bool clearETag = false;
    if (row.handler(context, objectKey, answer, &clearETag) != 0) {
        logLine("read", "Failed to call fnAgentRead().");
        return;
    }
    if (osselHashAppendTTLObject(context, objectKey.c_str(), row.ttl) == 0) {
        setReturnMessage(answer, "Success", 0);
    } else {
        logLine("read", "Failed to call osselHashAppendTTLObject( ", objectKey, ", ",
                std::to_string(row.ttl), " ).");
        setReturnMessage(answer, "InternalError", 0);
    }
    if (clearETag && osselClearETagCache(context, objectKey.c_str()) != 0) {
        logLine("read", "Failed to call osselClearETagCache(", objectKey, ").");
    }
}

} // namespace

void readObject(redisContext* context, std::string messageId, std::string objectKey,
                std::string replyChannel, int count, const ReadHandlerEntry* rows,
                InstanceKeySet keys) {
    const ReadHandlerEntry* row =
        findRow(rows, count, messageId, [](const auto& entry) { return entry.messageId; });
    if (row != nullptr) {
        read(context, *row, objectKey, replyChannel, keys);
        return;
    }
    ReturnMessage answer = kInternalErrorTemplate;
    setReturnMessage(&answer, "ActionNotSupported", 1, messageId.c_str());
    answerRequest("readObject", context, replyChannel, &answer);
}

void read(redisContext* context, ReadHandlerEntry row, std::string objectKey,
          std::string replyChannel, InstanceKeySet keys) {
    ReturnMessage answer = kSuccessTemplate;
    if (keys.contains(objectKey)) {
        refresh(context, row, objectKey, &answer);
    } else {
        setReturnMessage(&answer, "InvalidObject", 1, objectKey.c_str());
    }
    answerRequest("read", context, replyChannel, &answer);
}
