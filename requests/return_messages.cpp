// Return messages: filling, freeing, storing and publishing the answer to one request.
#include "requests/return_messages.h"

#include "log_line.h"
#include "text.h"

#include <array>
#include <cstdarg>
#include <cstdlib>

const ReturnMessage kSuccessTemplate{"Success", 0, nullptr};
const ReturnMessage kInternalErrorTemplate{"InternalError", 0, nullptr};

namespace {

// The hard limit of a return message in the store.
constexpr std::uint8_t kMaxArguments = 5;

char* copyText(const char* text) {
    const std::string_view source = text == nullptr ? "" : text;
    auto* copy = static_cast<char*>(std::calloc(source.size() + 1, 1));
    if (copy != nullptr) {
        source.copy(copy, source.size());
    }
    return copy;
}

int createInStore(redisContext* context, const char* uuid, const ReturnMessage& record) {
    if (record.argCount > kMaxArguments) {
        logLine("sendReturnMsg", "Too more parameters of ReturnMessage.");
        return osselCreateReturnMessage(context, uuid, "InternalError", nullptr);
    }
    // The list ends at its first null, so unused places stay null. A record whose arguments could
    // not be allocated has a count but no texts, and is sent without arguments.
    std::array<const char*, kMaxArguments> argument{};
    for (std::size_t i = 0; record.args != nullptr && i < record.argCount; ++i) {
        argument[i] = record.args[i];
    }
    return osselCreateReturnMessage(context, uuid, record.messageId, argument[0], argument[1],
                                    argument[2], argument[3], argument[4], nullptr);
}

} // namespace

// The count is not an 8-bit type: va_start must not name a parameter of a promoted type.
// NOLINTNEXTLINE(cert-dcl50-cpp): the contract makes the texts variadic
int setReturnMessage(ReturnMessage* record, const char* id, unsigned int argCount, ...) {
    copyBounded(record->messageId, id);
    record->argCount = static_cast<std::uint8_t>(argCount);
    record->args = static_cast<char**>(std::calloc(record->argCount, sizeof(char*)));
    if (record->args == nullptr) {
        return record->argCount == 0 ? 1 : 0;
    }
    std::va_list texts;
    va_start(texts, argCount);
    bool complete = true;
    for (std::size_t i = 0; complete && i < record->argCount; ++i) {
        // NOLINTNEXTLINE(clang-analyzer-valist.Uninitialized): va_start stands above
        record->args[i] = copyText(va_arg(texts, const char*));
        complete = record->args[i] != nullptr;
    }
    va_end(texts);
    if (!complete) {
        freeReturnMessage(record);
        return 0;
    }
    return 1;
}

void freeReturnMessage(ReturnMessage* record) {
    if (record == nullptr || record->args == nullptr) {
        return;
    }
    for (std::size_t i = 0; i < record->argCount; ++i) {
        std::free(record->args[i]);
    }
    std::free(static_cast<void*>(record->args));
    record->args = nullptr;
}

int sendReturnMsg(redisContext* context, std::string replyChannel, ReturnMessage record) {
    constexpr std::string_view kName = "sendReturnMsg";
    char uuid[37] = {};
    int code = osselGenerateUUID(context, uuid);
    if (code != 0) {
        logLine(kName, "Failed to call osselGenerateUUID().");
    } else {
        code = createInStore(context, uuid, record);
    }
    if (code != 0) {
        // Meant: without a UUID this line follows too, with an empty key.
        logLine(kName, "Failed to call osselCreateReturnMessage( ", uuid, ", ", record.messageId,
                " ).");
        return code;
    }
    code = osselPublishToChannel(context, replyChannel.c_str(), uuid);
    if (code != 0) {
        logLine(kName, "Failed to call osselPublishToChannel( ", replyChannel, ", ", uuid, " ).");
    }
    return code;
}

void answerRequest(std::string_view function, redisContext* context,
                   const std::string& replyChannel, ReturnMessage* answer) {
    if (sendReturnMsg(context, replyChannel, *answer) != 0) {
        logLine(function, "Failed to call sendReturnMsg().");
    }
    freeReturnMessage(answer);
}

int handleActionRespData(redisContext* context, std::string hashKey, std::string newObjectId) {
    FieldValuePair pair{};
    if (!newObjectId.empty()) {
        copyBounded(pair.name, "NewObjID");
        copyBounded(pair.value, newObjectId);
    } else {
        copyBounded(pair.name, "HasRespData");
        copyBounded(pair.value, "No");
    }
    const int code = osselCreateHashTable(context, hashKey.c_str(), &pair, 1);
    if (code != 0) {
        logLine("handleActionRespData", "Failed to call osselCreateHashTable( ", hashKey,
                ", ..., 1 ).");
    }
    return code;
}
