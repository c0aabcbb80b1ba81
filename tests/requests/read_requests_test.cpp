// Read requests: the row, the target, the time-to-live, the ETag cache, the answer.
#include "requests/read_requests.h"

#include "tests/requests/request_test.h"

namespace {

using namespace requests_test;
using doubles::context;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;

constexpr ReadHandlerEntry kRows[] = {{"00001", 1, readHandler}, {"00009", 20, readHandler}};

// NOLINTBEGIN(cert-err58-cpp): without memory for them the test fails, as it should
const std::string kReadHandlerCall = "handler(\"" + std::string(kInstance) + "\")";
const std::string kReadTtlCall =
    "osselHashAppendTTLObject(ctx, \"" + std::string(kInstance) + "\", 1)";
const std::string kETagCall = "osselClearETagCache(ctx, \"" + std::string(kInstance) + "\")";
// NOLINTEND(cert-err58-cpp)

class ReadObject : public RequestTest {
protected:
    void readInstance(const std::string& messageId = "00001", int count = 2) {
        readObject(context(), messageId, kInstance, kChannel, count, kRows, keys_);
    }
};

TEST_F(ReadObject, AnswersSuccessAfterTheHandlerAndTheTimeToLive) {
    readInstance();
    EXPECT_THAT(doubles::calls(), ElementsAreArray(followedBy({kReadHandlerCall, kReadTtlCall},
                                                              answerCalls("Success"))));
    EXPECT_EQ(output(), "");
}

TEST_F(ReadObject, PassesTheTtlOfTheRowUnchanged) {
    const ReadHandlerEntry row{"00001", -3, readHandler};
    readObject(context(), "00001", kInstance, kChannel, 1, &row, keys_);
    EXPECT_THAT(
        doubles::callsOf("osselHashAppendTTLObject"),
        ElementsAre("osselHashAppendTTLObject(ctx, \"" + std::string(kInstance) + "\", -3)"));
}

TEST_F(ReadObject, RefusesAnIdWithoutARowAndLeavesTheAgentAlone) {
    for (const std::string id : {"00002", "", "1", "0001", "00001 ", " 00001"}) {
        SCOPED_TRACE(id);
        doubles::reset();
        readInstance(id);
        EXPECT_THAT(doubles::calls(), ElementsAreArray(answerCalls("ActionNotSupported", id)));
    }
    EXPECT_THAT(script.invocations, IsEmpty());
    EXPECT_EQ(output(), "");
}

TEST_F(ReadObject, HasNoRowForACountOfZeroOrLess) {
    for (const int count : {0, -1}) {
        doubles::reset();
        readInstance("00001", count);
        EXPECT_THAT(doubles::calls(), ElementsAreArray(answerCalls("ActionNotSupported", "00001")));
    }
}

TEST_F(ReadObject, TakesTheFirstMatchingRow) {
    const ReadHandlerEntry rows[] = {{"00001", 7, readHandler}, {"00001", 8, readHandler}};
    readObject(context(), "00001", kInstance, kChannel, 2, rows, keys_);
    EXPECT_EQ(doubles::freshness()[kInstance], 7);
    EXPECT_EQ(script.invocations.size(), 1U);
}

TEST_F(ReadObject, LogsUnderItsNameWhenTheRefusalCannotBeSent) {
    doubles::fail("osselPublishToChannel");
    readInstance("00002");
    EXPECT_EQ(output(), "[sendReturnMsg]: Failed to call osselPublishToChannel( Reply:1, " +
                            doubles::uuid(1) +
                            " ).\n"
                            "[readObject]: Failed to call sendReturnMsg().\n");
}

TEST_F(ReadObject, AnswersInvalidObjectForAnUnknownKey) {
    for (const std::string key : {"unknown", "80000000-0000-0000-0000-008000000001"}) {
        SCOPED_TRACE(key);
        doubles::reset();
        readObject(context(), "00001", key, kChannel, 2, kRows, keys_);
        EXPECT_THAT(doubles::calls(), ElementsAreArray(answerCalls("InvalidObject", key)));
    }
    EXPECT_THAT(script.invocations, IsEmpty());
    EXPECT_EQ(output(), "");
}

TEST_F(ReadObject, GivesTheHandlerAClearFlag) {
    readInstance();
    EXPECT_FALSE(script.flagAtCall);
    EXPECT_THAT(script.invocations, ElementsAre("read " + std::string(kInstance)));
}

TEST_F(ReadObject, AnswersSuccessWhenTheHandlerFailsWithoutAnAnswer) {
    script.result = 1;
    script.clearETag = true;
    readInstance();
    EXPECT_THAT(doubles::calls(),
                ElementsAreArray(followedBy({kReadHandlerCall}, answerCalls("Success"))));
    EXPECT_EQ(output(), "[read]: Failed to call fnAgentRead().\n");
}

TEST_F(ReadObject, AnswersSuccessWhateverASuccessfulHandlerPutsIntoTheAnswer) {
    script.plainAnswerId = "Other";
    readInstance();
    EXPECT_THAT(doubles::callsOf("osselCreateReturnMessage"),
                ElementsAre(answerCalls("Success")[1]));
}

TEST_F(ReadObject, SendsTheAnswerOfAFailedHandler) {
    script.result = -4;
    script.answerId = "InternalError";
    readInstance();
    EXPECT_THAT(doubles::calls(), ElementsAreArray(followedBy(
                                      {kReadHandlerCall}, answerCalls("InternalError", "why"))));
}

TEST_F(ReadObject, AnswersInternalErrorWhenTheTimeToLiveFailsAndStillClearsTheETag) {
    script.clearETag = true;
    doubles::fail("osselHashAppendTTLObject");
    readInstance();
    EXPECT_THAT(doubles::calls(),
                ElementsAreArray(followedBy({kReadHandlerCall, kReadTtlCall, kETagCall},
                                            answerCalls("InternalError"))));
}

TEST_F(ReadObject, ShowsTheTtlInDecimalWhateverTheStream) {
    const ReadHandlerEntry rows[] = {{"00001", 20, readHandler}, {"00002", -1, readHandler}};
    const std::string line =
        "[read]: Failed to call osselHashAppendTTLObject( " + std::string(kInstance);
    const std::string lines = line + ", 20 ).\n" + line + ", -1 ).\n";
    for (const bool hexadecimal : {false, true}) {
        hexadecimal ? hexStream() : decimalStream();
        doubles::failAlways("osselHashAppendTTLObject");
        readObject(context(), "00001", kInstance, kChannel, 2, rows, keys_);
        readObject(context(), "00002", kInstance, kChannel, 2, rows, keys_);
        EXPECT_EQ(output(), lines);
    }
}

TEST_F(ReadObject, ClearsTheETagOnlyWhenTheHandlerAsks) {
    script.clearETag = true;
    readInstance();
    EXPECT_THAT(doubles::calls(),
                ElementsAreArray(followedBy({kReadHandlerCall, kReadTtlCall, kETagCall},
                                            answerCalls("Success"))));
    EXPECT_EQ(output(), "");
}

TEST_F(ReadObject, KeepsTheAnswerWhenTheETagCannotBeCleared) {
    script.clearETag = true;
    doubles::fail("osselClearETagCache");
    readInstance();
    EXPECT_THAT(doubles::callsOf("osselCreateReturnMessage"),
                ElementsAre(answerCalls("Success")[1]));
    EXPECT_EQ(output(),
              "[read]: Failed to call osselClearETagCache(" + std::string(kInstance) + ").\n");
}

TEST_F(ReadObject, LogsUnderTheNameOfReadWhenTheAnswerCannotBeSent) {
    doubles::fail("osselGenerateUUID");
    readInstance();
    EXPECT_EQ(output(), "[sendReturnMsg]: Failed to call osselGenerateUUID().\n"
                        "[sendReturnMsg]: Failed to call osselCreateReturnMessage( , Success ).\n"
                        "[read]: Failed to call sendReturnMsg().\n");
}

TEST_F(ReadObject, SendsNoEvent) {
    readInstance();
    EXPECT_THAT(doubles::events(), IsEmpty());
}

// `read` replaces the handler's answer without freeing its arguments; the test frees them.
char** g_attachedArguments = nullptr;

int attachArguments(redisContext* /*context*/, std::string /*objectKey*/, ReturnMessage* answer,
                    bool* /*clearETag*/) {
    setReturnMessage(answer, "Warning", 1, "attached");
    g_attachedArguments = answer->args;
    return 0;
}

TEST_F(ReadObject, ReplacesTheAnswerOfASuccessfulHandlerWithoutFreeingIt) {
    const ReadHandlerEntry row{"00001", 1, attachArguments};
    readObject(context(), "00001", kInstance, kChannel, 1, &row, keys_);
    EXPECT_THAT(doubles::callsOf("osselCreateReturnMessage"),
                ElementsAre(answerCalls("Success")[1]));
    ASSERT_NE(g_attachedArguments, nullptr);
    EXPECT_STREQ(g_attachedArguments[0], "attached");
    ReturnMessage left{"", 1, g_attachedArguments};
    freeReturnMessage(&left);
}

} // namespace
