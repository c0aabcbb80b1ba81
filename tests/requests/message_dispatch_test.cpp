// Dispatch of actions and creations, and of requests without a row.
#include "requests/message_dispatch.h"

#include "tests/requests/request_test.h"

namespace {

using namespace requests_test;
using doubles::context;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;

constexpr ActionHandlerEntry kActions[] = {{"WebGUI.TurnOffLCD", 0, nullptr, actionHandler},
                                           {"WebGUI.GUIReady", 0, nullptr, otherActionHandler}};
constexpr const char* kDispatchNames[] = {"Language"};
constexpr UpdateHandlerEntry kCreations[] = {{"00002", 1, 1, kDispatchNames, updateHandler},
                                             {"00003", 1, 1, kDispatchNames, otherUpdateHandler}};

// NOLINTBEGIN(cert-err58-cpp): without memory for them the test fails, as it should
const std::string kDispatchId = kInstance;
const std::string kActionCall = "osselGetHashField(ctx, \"Request:1\", \"Action\")";
// NOLINTEND(cert-err58-cpp)

class Dispatch : public RequestTest {
protected:
    void dispatch(const std::string& messageId, int actions = 2, int creations = 2) {
        createObjectOrActionObject(context(), messageId, kRequest, kChannel, actions, kActions,
                                   creations, kCreations, "schema-type", "collection", keys_);
    }
    void dispatchAction(const std::string& name, int actions = 2) {
        doubles::hashes()[kRequest] = {{"OriginalObjID", kInstance}, {"Action", name}};
        dispatch("00000", actions);
    }
};

TEST_F(Dispatch, RunsTheActionThatTheRequestNames) {
    dispatchAction("WebGUI.TurnOffLCD");
    EXPECT_THAT(
        doubles::calls(),
        ElementsAreArray(followedBy(
            {kActionCall, "osselHashGetAll(ctx, \"Request:1\")", "handler(\"" + kDispatchId + "\")",
             "osselCreateHashTable(ctx, \"Request:1\", [HasRespData=No], 1)"},
            answerCalls("Success"))));
    EXPECT_THAT(script.invocations, ElementsAre("action " + kDispatchId + " none"));
    EXPECT_EQ(output(), "");
}

TEST_F(Dispatch, FindsEachActionRow) {
    dispatchAction("WebGUI.GUIReady");
    EXPECT_THAT(script.invocations, ElementsAre("other row", "action " + kDispatchId + " none"));
}

TEST_F(Dispatch, RefusesAnActionWithoutARow) {
    for (const std::string name :
         {"#WebGUI.TurnOffLCD", "webgui.turnofflcd", "WebGUI.TurnOffLCD ", "WebGUI.TurnOff"}) {
        SCOPED_TRACE(name);
        doubles::reset();
        dispatchAction(name);
        EXPECT_THAT(doubles::calls(), ElementsAreArray(followedBy(
                                          {kActionCall}, answerCalls("ActionNotSupported", name))));
        EXPECT_EQ(output(), "[actionObject]: Unsupported action: " + name + ".\n");
    }
    EXPECT_THAT(script.invocations, IsEmpty());
}

TEST_F(Dispatch, RefusesTheLongestActionNameWithItsWholeText) {
    const std::string name(255, 'a');
    dispatchAction(name);
    EXPECT_THAT(doubles::callsOf("osselCreateReturnMessage"),
                ElementsAre(answerCalls("ActionNotSupported", name)[1]));
}

TEST_F(Dispatch, RefusesAnEmptyActionNameAsAName) {
    dispatchAction("");
    EXPECT_THAT(doubles::callsOf("osselCreateReturnMessage"),
                ElementsAre("osselCreateReturnMessage(ctx, \"" + doubles::uuid(1) +
                            "\", \"ActionNotSupported\", \"\", null)"));
    EXPECT_EQ(output(), "[actionObject]: Unsupported action: .\n");
}

TEST_F(Dispatch, HasNoActionForACountOfZeroOrLess) {
    for (const int count : {0, -1}) {
        doubles::reset();
        dispatchAction("WebGUI.TurnOffLCD", count);
        EXPECT_THAT(doubles::callsOf("osselCreateReturnMessage"),
                    ElementsAre(answerCalls("ActionNotSupported", "WebGUI.TurnOffLCD")[1]));
    }
    EXPECT_THAT(script.invocations, IsEmpty());
}

TEST_F(Dispatch, TakesTheFirstMatchingAction) {
    const ActionHandlerEntry rows[] = {{"Same", 0, nullptr, otherActionHandler},
                                       {"Same", 0, nullptr, actionHandler}};
    doubles::hashes()[kRequest] = {{"OriginalObjID", kInstance}, {"Action", "Same"}};
    createObjectOrActionObject(context(), "00000", kRequest, kChannel, 2, rows, 0, nullptr, "", "",
                               keys_);
    EXPECT_EQ(script.invocations.front(), "other row");
}

TEST_F(Dispatch, AnswersInternalErrorWhenTheActionCannotBeRead) {
    dispatch("00000");
    EXPECT_THAT(doubles::calls(),
                ElementsAreArray(followedBy({kActionCall}, answerCalls("InternalError"))));
    EXPECT_EQ(output(), "[actionObject]: Failed to call osselGetHashField().\n");
}

TEST_F(Dispatch, LogsUnderItsNameWhenItsAnswerCannotBeSent) {
    doubles::fail("osselCreateReturnMessage");
    dispatch("00000");
    EXPECT_EQ(output(), "[actionObject]: Failed to call osselGetHashField().\n"
                        "[sendReturnMsg]: Failed to call osselCreateReturnMessage( " +
                            doubles::uuid(1) +
                            ", InternalError ).\n"
                            "[createObjectOrActionObject]: Failed to call sendReturnMsg().\n");
}

TEST_F(Dispatch, DoesNotAnswerAgainWhenTheActionHasFailedAndAnswered) {
    script.result = 1;
    script.answerId = "InternalError";
    dispatchAction("WebGUI.TurnOffLCD");
    EXPECT_THAT(doubles::callsOf("osselPublishToChannel"),
                ElementsAre(answerCalls("InternalError")[2]));
}

TEST_F(Dispatch, CreatesWithTheRowThatServesUpdatesOfTheSameId) {
    dispatch("00002");
    EXPECT_THAT(doubles::calls(),
                ElementsAreArray(followedBy(
                    {"osselHashGetAll(ctx, \"Request:1\")", "handler(\"" + kDispatchId + "\")",
                     "osselCreateHashTable(ctx, \"" + kDispatchId + "\", [Language=German], 1)",
                     "osselHashAppendTTLObject(ctx, \"" + kDispatchId + "\", 1)",
                     "osselListRightPush(ctx, \"collection\", \"" + kDispatchId + "\")"},
                    answerCalls("Success"))));
    EXPECT_THAT(script.invocations, ElementsAre("update " + kDispatchId + " Language=German"));
    EXPECT_EQ(output(), "");
}

TEST_F(Dispatch, FindsEachCreationRow) {
    dispatch("00003");
    EXPECT_EQ(script.invocations.front(), "other row");
}

TEST_F(Dispatch, RefusesEveryCreationWithAnEmptyTable) {
    for (const std::string id : {"00001", "00002", "00003", "00004"}) {
        for (const int count : {0, -1}) {
            SCOPED_TRACE(id);
            doubles::reset();
            dispatch(id, 2, count);
            EXPECT_THAT(doubles::calls(), ElementsAreArray(answerCalls("ActionNotSupported", id)));
            EXPECT_EQ(output(), "[createObject]: Unsupported message id: " + id + ".\n");
        }
    }
    EXPECT_THAT(script.invocations, IsEmpty());
}

TEST_F(Dispatch, TakesOnlyTheExactReservedIdAsAnAction) {
    for (const std::string id : {"0", "0000", "000000", "00000 "}) {
        SCOPED_TRACE(id);
        doubles::reset();
        dispatch(id);
        EXPECT_THAT(doubles::calls(), ElementsAreArray(answerCalls("ActionNotSupported", id)));
    }
}

TEST_F(Dispatch, LogsUnderItsNameWhenTheRefusalOfACreationCannotBeSent) {
    doubles::fail("osselGenerateUUID");
    dispatch("00009");
    EXPECT_EQ(output(), "[createObject]: Unsupported message id: 00009.\n"
                        "[sendReturnMsg]: Failed to call osselGenerateUUID().\n"
                        "[sendReturnMsg]: Failed to call osselCreateReturnMessage( , "
                        "ActionNotSupported ).\n"
                        "[createObjectOrActionObject]: Failed to call sendReturnMsg().\n");
}

TEST_F(Dispatch, LeavesTheAnswerAsSuccessWhenTheActionHasAnswered) {
    doubles::hashes()[kRequest] = {{"OriginalObjID", kInstance}, {"Action", "WebGUI.GUIReady"}};
    ReturnMessage answer = kSuccessTemplate;
    actionObject(context(), "00000", kRequest, kChannel, 2, kActions, &answer, keys_);
    EXPECT_STREQ(answer.messageId, "Success");
    EXPECT_EQ(answer.args, nullptr);
    EXPECT_EQ(doubles::callsOf("osselPublishToChannel").size(), 1U);
}

TEST_F(Dispatch, LeavesTheAnswerAsSuccessWhenTheCreationHasAnswered) {
    ReturnMessage answer = kSuccessTemplate;
    createObject(context(), "00002", kRequest, kChannel, 2, kCreations, &answer, "schema-type",
                 "collection", keys_);
    EXPECT_STREQ(answer.messageId, "Success");
    EXPECT_EQ(answer.args, nullptr);
    EXPECT_EQ(doubles::callsOf("osselPublishToChannel").size(), 1U);
}

TEST_F(Dispatch, SendsNothingFromTheTwoLowerEntryPoints) {
    ReturnMessage answer = kSuccessTemplate;
    createObject(context(), "00009", kRequest, kChannel, 2, kCreations, &answer, "", "", keys_);
    EXPECT_STREQ(answer.messageId, "ActionNotSupported");
    ASSERT_EQ(answer.argCount, 1);
    EXPECT_STREQ(answer.args[0], "00009");
    EXPECT_THAT(doubles::calls(), IsEmpty());
    freeReturnMessage(&answer);
}

} // namespace
