// Action requests: the parameters, the target, the action, its response data, the answer.
#include "requests/action_requests.h"

#include "tests/requests/request_test.h"

namespace {

using namespace requests_test;
using doubles::context;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;

constexpr ActionHandlerEntry kRow{"WebGUI.TurnOffLCD", 0, nullptr, actionHandler};

// NOLINTBEGIN(cert-err58-cpp): without memory for them the test fails, as it should
const std::string kId = kInstance;
const std::string kInputCall = "osselHashGetAll(ctx, \"Request:1\")";
const std::string kHandlerCall = "handler(\"" + kId + "\")";
const std::string kDataCall = "osselCreateHashTable(ctx, \"Request:1\", [HasRespData=No], 1)";
// NOLINTEND(cert-err58-cpp)

class Action : public RequestTest {
protected:
    void run(const ActionHandlerEntry& row = kRow) {
        action(context(), row, kRequest, kChannel, keys_);
    }
};

TEST_F(Action, RunsThenWritesTheResponseDataThenAnswersSuccess) {
    run();
    EXPECT_THAT(doubles::calls(), ElementsAreArray(followedBy({kInputCall, kHandlerCall, kDataCall},
                                                              answerCalls("Success"))));
    EXPECT_THAT(doubles::events(), IsEmpty());
    EXPECT_EQ(output(), "");
    EXPECT_EQ(doubles::field(kRequest, "HasRespData"), "No");
}

TEST_F(Action, PassesNoParametersToAnActionWithoutAny) {
    run();
    EXPECT_THAT(script.invocations, ElementsAre("action " + kId + " none"));
}

TEST_F(Action, PassesTheNamedParametersToTheAction) {
    constexpr const char* kNames[] = {"Language"};
    run({"WebGUI.TurnOffLCD", 1, kNames, actionHandler});
    EXPECT_THAT(script.invocations, ElementsAre("action " + kId + " Language=German"));
}

TEST_F(Action, NamesTheObjectThatTheActionHasCreated) {
    script.newObjectId = "made";
    run();
    EXPECT_THAT(doubles::callsOf("osselCreateHashTable"),
                ElementsAre("osselCreateHashTable(ctx, \"Request:1\", [NewObjID=made], 1)"));
}

TEST_F(Action, AnswersInvalidObjectForAnEmptyRequestObject) {
    doubles::hashes().clear();
    run();
    EXPECT_THAT(doubles::calls(),
                ElementsAreArray(followedBy({kInputCall}, answerCalls("InvalidObject", kRequest))));
    EXPECT_EQ(output(),
              "[getInputData]: Failed to call osselHashGetAll( Request:1 ). uiCount is 0.\n"
              "[action]: Failed to call getActionParameters().\n");
}

TEST_F(Action, AnswersInternalErrorWithoutMemoryForTheParameters) {
    constexpr const char* kNames[] = {"Language"};
    doubles::failAllocation(1);
    run({"WebGUI.TurnOffLCD", 1, kNames, actionHandler});
    doubles::failAllocation(0);
    EXPECT_THAT(doubles::calls(),
                ElementsAreArray(followedBy({kInputCall}, answerCalls("InternalError"))));
    EXPECT_EQ(output(), "[getInputData]: Failed to call malloc() for *data.\n"
                        "[action]: Failed to call getActionParameters().\n");
}

TEST_F(Action, AnswersInvalidObjectWithTheRequestsKeyForAnUnknownTarget) {
    doubles::hashes()[kRequest] = {{"OriginalObjID", "unknown"}};
    run();
    EXPECT_THAT(doubles::calls(),
                ElementsAreArray(followedBy({kInputCall}, answerCalls("InvalidObject", kRequest))));
    EXPECT_THAT(script.invocations, IsEmpty());
    EXPECT_EQ(output(), "");
}

TEST_F(Action, AnswersSuccessWithoutResponseDataWhenTheActionFailsWithoutAnAnswer) {
    script.result = 1;
    run();
    EXPECT_THAT(doubles::calls(),
                ElementsAreArray(followedBy({kInputCall, kHandlerCall}, answerCalls("Success"))));
    EXPECT_EQ(output(), "[action]: Failed to call fnAgentAction().\n");
}

TEST_F(Action, AnswersSuccessWhateverASuccessfulActionPutsIntoTheAnswer) {
    script.plainAnswerId = "Other";
    run();
    EXPECT_THAT(doubles::callsOf("osselCreateReturnMessage"),
                ElementsAre(answerCalls("Success")[1]));
}

TEST_F(Action, SendsTheAnswerOfAFailedAction) {
    script.result = 1;
    script.answerId = "InternalError";
    run();
    EXPECT_THAT(doubles::callsOf("osselCreateReturnMessage"),
                ElementsAre(answerCalls("InternalError", "why")[1]));
}

TEST_F(Action, AnswersInternalErrorWhenTheResponseDataCannotBeWritten) {
    doubles::fail("osselCreateHashTable", 3);
    run();
    EXPECT_THAT(doubles::calls(), ElementsAreArray(followedBy({kInputCall, kHandlerCall, kDataCall},
                                                              answerCalls("InternalError"))));
    EXPECT_EQ(output(), "[handleActionRespData]: Failed to call osselCreateHashTable( Request:1, "
                        "..., 1 ).\n"
                        "[action]: Failed to call handleActionRespData().\n");
}

TEST_F(Action, LogsUnderItsNameWhenTheAnswerCannotBeSent) {
    doubles::fail("osselGenerateUUID");
    run();
    EXPECT_EQ(output(), "[sendReturnMsg]: Failed to call osselGenerateUUID().\n"
                        "[sendReturnMsg]: Failed to call osselCreateReturnMessage( , Success ).\n"
                        "[action]: Failed to call sendReturnMsg().\n");
}

} // namespace
