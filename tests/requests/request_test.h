// The base of the request tests: one known instance, one request object for it, and handlers that
// the test controls.
#pragma once

#include "handler_entries.h"
#include "requests/return_messages.h"
#include "tests/doubles/platform_test.h"
#include "tests/doubles/recorder.h"
#include "tests/support/process_state_control.h"
#include "text.h"

#include <cstring>
#include <optional>
#include <string>
#include <vector>

namespace requests_test {

inline constexpr char kInstance[] = "80000000-0000-0000-0000-008000000000";
inline constexpr char kRequest[] = "Request:1";
inline constexpr char kChannel[] = "Reply:1";

// What the handlers below do, and what they have received.
struct HandlerScript {
    int result = 0;
    const char* answerId = nullptr;       // set with one argument, "why"
    const char* plainAnswerId = nullptr;  // set without arguments
    bool clearETag = false;               // read
    int newCount = -1;                    // update, create: stored in *count unless negative
    bool replaceBlock = false;            // update, create: replaces the block of values
    std::string newObjectId;              // action
    std::vector<std::string> invocations; // one text per call
    bool flagAtCall = true;               // read: the flag at the call
};
inline HandlerScript script;

inline int finish(ReturnMessage* answer) {
    if (script.answerId != nullptr) {
        setReturnMessage(answer, script.answerId, 1, "why");
    }
    if (script.plainAnswerId != nullptr) {
        copyBounded(answer->messageId, script.plainAnswerId);
    }
    return script.result;
}

inline std::string named(const FieldValuePair* records, int count) {
    std::string text;
    for (int i = 0; i < count; ++i) {
        text += std::string(" ") + records[i].name + '=' + records[i].value;
    }
    return records == nullptr ? " none" : text;
}

inline int readHandler(redisContext* context, std::string objectKey, ReturnMessage* answer,
                       bool* clearETag) {
    EXPECT_EQ(context, doubles::context());
    EXPECT_STREQ(answer->messageId, "Success");
    doubles::detail::record("handler", '"' + objectKey + '"');
    script.invocations.push_back("read " + objectKey);
    script.flagAtCall = *clearETag;
    *clearETag = script.clearETag;
    return finish(answer);
}

inline int updateHandler(redisContext* context, std::string instanceKey, FieldValuePair** values,
                         int* count, ReturnMessage* answer) {
    EXPECT_EQ(context, doubles::context());
    EXPECT_STREQ(answer->messageId, "Success");
    doubles::detail::record("handler", '"' + instanceKey + '"');
    script.invocations.push_back("update " + instanceKey + named(*values, *count));
    if (script.replaceBlock) {
        std::free(*values);
        *values = static_cast<FieldValuePair*>(std::calloc(1, sizeof(FieldValuePair)));
        copyBounded((*values)->name, "Other");
    }
    if (script.newCount >= 0) {
        *count = script.newCount;
    }
    return finish(answer);
}

inline int otherUpdateHandler(redisContext* context, std::string instanceKey,
                              FieldValuePair** values, int* count, ReturnMessage* answer) {
    script.invocations.emplace_back("other row");
    return updateHandler(context, instanceKey, values, count, answer);
}

inline int actionHandler(redisContext* context, std::string instanceKey, FieldValuePair* parameters,
                         ReturnMessage* answer, std::string* newObjectId) {
    EXPECT_EQ(context, doubles::context());
    EXPECT_STREQ(answer->messageId, "Success");
    EXPECT_EQ(*newObjectId, "");
    doubles::detail::record("handler", '"' + instanceKey + '"');
    script.invocations.push_back("action " + instanceKey +
                                 (parameters == nullptr ? " none" : named(parameters, 1)));
    *newObjectId = script.newObjectId;
    return finish(answer);
}

inline int otherActionHandler(redisContext* context, std::string instanceKey,
                              FieldValuePair* parameters, ReturnMessage* answer,
                              std::string* newObjectId) {
    script.invocations.emplace_back("other row");
    return actionHandler(context, instanceKey, parameters, answer, newObjectId);
}

// The calls that send the nth answer of the test, without arguments or with one.
inline std::vector<std::string>
answerCalls(const std::string& id, const std::optional<std::string>& argument = std::nullopt,
            int nth = 1) {
    const std::string uuid = '"' + doubles::uuid(nth) + '"';
    const std::string text = argument ? ", \"" + *argument + '"' : "";
    return {"osselGenerateUUID(ctx)",
            "osselCreateReturnMessage(ctx, " + uuid + ", \"" + id + '"' + text + ", null)",
            "osselPublishToChannel(ctx, \"" + std::string(kChannel) + "\", " + uuid + ")"};
}

// These calls, followed by the answer's.
inline std::vector<std::string> followedBy(std::vector<std::string> first,
                                           const std::vector<std::string>& second) {
    first.insert(first.end(), second.begin(), second.end());
    return first;
}

class RequestTest : public doubles::PlatformTest {
protected:
    RequestTest() {
        script = {};
        test::clearProcessState();
        doubles::hashes()[kRequest] = {{"OriginalObjID", kInstance}, {"Language", "German"}};
        doubles::hashes()[kInstance] = {{"Language", "English"}};
    }
    ~RequestTest() override { script = {}; }

public:
    RequestTest(const RequestTest&) = delete;
    RequestTest& operator=(const RequestTest&) = delete;

protected:
    const InstanceKeySet keys_{kInstance};
};

} // namespace requests_test
