// Update requests: the row, the values, the target, the agent, the instance, the event, the
// answer.
#include "requests/update_requests.h"

#include "tests/requests/request_test.h"

namespace {

using namespace requests_test;
using doubles::context;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;

constexpr const char* kUpdateNames[] = {"Language", "Theme"};
constexpr UpdateHandlerEntry kUpdateRows[] = {{"00002", 1, 2, kUpdateNames, updateHandler},
                                              {"00003", 5, 1, kUpdateNames, otherUpdateHandler}};

// NOLINTBEGIN(cert-err58-cpp): without memory for them the test fails, as it should
const std::string kUpdateId = kInstance;
const std::string kUpdateInputCall = "osselHashGetAll(ctx, \"Request:1\")";
const std::string kUpdateHandlerCall = "handler(\"" + kUpdateId + "\")";
const std::string kWriteCall =
    "osselCreateHashTable(ctx, \"" + kUpdateId + "\", [Language=German, Theme=], 2)";
const std::string kUpdateTtlCall = "osselHashAppendTTLObject(ctx, \"" + kUpdateId + "\", 1)";
const std::string kUpdateETagCall = "osselClearETagCache(ctx, \"" + kUpdateId + "\")";
const std::string kEventCall =
    "osselCreateEventObject(ctx, \"Zolan Event\", 0, [{eventType=ResourceUpdated, kind=MESSAGE, "
    "message=Resource updated, messageId=Orvane.1.0.Msg000, arguments=[WebGUI00], origin=" +
    kUpdateId + "}], 1)";
// NOLINTEND(cert-err58-cpp)

class UpdateObject : public RequestTest {
protected:
    void updateInstance(const std::string& messageId = "00002", int count = 2) {
        updateObject(context(), messageId, kRequest, kChannel, count, kUpdateRows, keys_);
    }
};

TEST_F(UpdateObject, WritesTheInstanceThenSendsOneEventThenAnswersSuccess) {
    updateInstance();
    EXPECT_THAT(doubles::calls(),
                ElementsAreArray(followedBy({kUpdateInputCall, kUpdateHandlerCall, kWriteCall,
                                             kUpdateTtlCall, kUpdateETagCall, kEventCall},
                                            answerCalls("Success"))));
    EXPECT_EQ(output(), "");
}

TEST_F(UpdateObject, PassesTheTargetAndTheNamedValuesToTheRowsHandler) {
    updateInstance();
    EXPECT_THAT(script.invocations, ElementsAre("update " + kUpdateId + " Language=German Theme="));
}

TEST_F(UpdateObject, PicksTheRowByItsId) {
    updateInstance("00003");
    EXPECT_THAT(script.invocations,
                ElementsAre("other row", "update " + kUpdateId + " Language=German"));
    EXPECT_EQ(doubles::freshness()[kInstance], 5);
}

TEST_F(UpdateObject, TakesTheFirstMatchingRow) {
    const UpdateHandlerEntry rows[] = {{"00002", 1, 1, kUpdateNames, otherUpdateHandler},
                                       {"00002", 1, 1, kUpdateNames, updateHandler}};
    updateObject(context(), "00002", kRequest, kChannel, 2, rows, keys_);
    EXPECT_EQ(script.invocations.front(), "other row");
}

TEST_F(UpdateObject, RefusesAnIdWithoutARow) {
    for (const std::string id : {"00001", "00000", "2", "00002 "}) {
        SCOPED_TRACE(id);
        doubles::reset();
        updateInstance(id);
        EXPECT_THAT(doubles::calls(), ElementsAreArray(answerCalls("ActionNotSupported", id)));
    }
    EXPECT_THAT(script.invocations, IsEmpty());
    EXPECT_EQ(output(), "");
}

TEST_F(UpdateObject, HasNoRowForACountOfZeroOrLess) {
    for (const int count : {0, -2}) {
        doubles::reset();
        updateInstance("00002", count);
        EXPECT_THAT(doubles::calls(), ElementsAreArray(answerCalls("ActionNotSupported", "00002")));
    }
}

TEST_F(UpdateObject, AddsNoLineOfItsOwnWhenTheRefusalCannotBeSent) {
    doubles::fail("osselGenerateUUID");
    updateInstance("00001");
    EXPECT_EQ(output(), "[sendReturnMsg]: Failed to call osselGenerateUUID().\n"
                        "[sendReturnMsg]: Failed to call osselCreateReturnMessage( , "
                        "ActionNotSupported ).\n");
}

TEST_F(UpdateObject, AnswersInvalidObjectForAnEmptyRequestObject) {
    for (const bool hexadecimal : {false, true}) {
        doubles::reset();
        hexadecimal ? hexStream() : decimalStream();
        updateInstance();
        EXPECT_THAT(doubles::calls(),
                    ElementsAreArray(
                        followedBy({kUpdateInputCall}, answerCalls("InvalidObject", kRequest))));
        EXPECT_EQ(output(), "[getInputData]: Failed to call osselHashGetAll( Request:1 ). uiCount "
                            "is 0.\n"
                            "[update]: Failed to call getUpdateProperties().\n");
    }
    EXPECT_THAT(script.invocations, IsEmpty());
}

TEST_F(UpdateObject, AnswersInternalErrorWithoutMemoryForTheValues) {
    doubles::failAllocation(1);
    updateInstance();
    ASSERT_TRUE(doubles::allocationFailed());
    doubles::failAllocation(0);
    EXPECT_THAT(doubles::calls(),
                ElementsAreArray(followedBy({kUpdateInputCall}, answerCalls("InternalError"))));
    EXPECT_EQ(output(), "[getInputData]: Failed to call malloc() for *data.\n"
                        "[update]: Failed to call getUpdateProperties().\n");
}

TEST_F(UpdateObject, AnswersInvalidObjectWithTheRequestsKeyForAnUnknownTarget) {
    for (const std::string target : {"unknown", "", "80000000-0000-0000-0000-008000000001"}) {
        SCOPED_TRACE(target);
        doubles::reset();
        doubles::hashes()[kRequest] = {{"OriginalObjID", target}, {"Language", "German"}};
        updateInstance();
        EXPECT_THAT(doubles::calls(),
                    ElementsAreArray(
                        followedBy({kUpdateInputCall}, answerCalls("InvalidObject", kRequest))));
    }
    EXPECT_THAT(script.invocations, IsEmpty());
    EXPECT_EQ(output(), "");
}

TEST_F(UpdateObject, AnswersInvalidObjectWhenTheRequestNamesNoTarget) {
    doubles::hashes()[kRequest] = {{"Language", "German"}};
    updateInstance();
    EXPECT_THAT(doubles::calls(), ElementsAreArray(followedBy(
                                      {kUpdateInputCall}, answerCalls("InvalidObject", kRequest))));
}

TEST_F(UpdateObject, AnswersSuccessWhenTheAgentRefusesWithoutAnAnswer) {
    script.result = 1;
    updateInstance();
    EXPECT_THAT(doubles::calls(),
                ElementsAreArray(
                    followedBy({kUpdateInputCall, kUpdateHandlerCall}, answerCalls("Success"))));
    EXPECT_EQ(output(), "[update]: Failed to call fnAgentUpdate().\n");
    EXPECT_EQ(doubles::field(kInstance, "Language"), "English");
}

TEST_F(UpdateObject, AnswersSuccessWhateverAnAcceptingAgentPutsIntoTheAnswer) {
    script.plainAnswerId = "Other";
    updateInstance();
    EXPECT_THAT(doubles::callsOf("osselCreateReturnMessage"),
                ElementsAre(answerCalls("Success")[1]));
}

TEST_F(UpdateObject, SendsTheAnswerOfARefusingAgent) {
    script.result = -1;
    script.answerId = "InternalError";
    updateInstance();
    EXPECT_THAT(doubles::calls(),
                ElementsAreArray(followedBy({kUpdateInputCall, kUpdateHandlerCall},
                                            answerCalls("InternalError", "why"))));
}

TEST_F(UpdateObject, AnswersInternalErrorWithoutAnEventWhenTheInstanceCannotBeWritten) {
    doubles::fail("osselCreateHashTable", 3);
    updateInstance();
    EXPECT_THAT(doubles::calls(),
                ElementsAreArray(followedBy({kUpdateInputCall, kUpdateHandlerCall, kWriteCall},
                                            answerCalls("InternalError"))));
    EXPECT_EQ(output(), "[updateInstance]: Failed to call osselCreateHashTable( " + kUpdateId +
                            ", ..., 2 ).\n"
                            "[update]: Failed to call updateInstance().\n");
}

TEST_F(UpdateObject, AnswersInternalErrorWhenTheETagCannotBeCleared) {
    doubles::fail("osselClearETagCache");
    updateInstance();
    EXPECT_THAT(doubles::calls(),
                ElementsAreArray(followedBy({kUpdateInputCall, kUpdateHandlerCall, kWriteCall,
                                             kUpdateTtlCall, kUpdateETagCall},
                                            answerCalls("InternalError"))));
    EXPECT_EQ(output(), "[updateInstance]: Failed to call osselClearETagCache(" + kUpdateId +
                            ").\n"
                            "[update]: Failed to call updateInstance().\n");
    EXPECT_EQ(doubles::field(kInstance, "Language"), "German");
}

TEST_F(UpdateObject, AnswersSuccessWhenTheTimeToLiveFails) {
    doubles::fail("osselHashAppendTTLObject");
    updateInstance();
    EXPECT_THAT(doubles::calls(),
                ElementsAreArray(followedBy({kUpdateInputCall, kUpdateHandlerCall, kWriteCall,
                                             kUpdateTtlCall, kUpdateETagCall, kEventCall},
                                            answerCalls("Success"))));
    EXPECT_EQ(output(), "[updateInstance]: Failed to call osselHashAppendTTLObject( " + kUpdateId +
                            ", 1 ).\n");
}

TEST_F(UpdateObject, KeepsTheAnswerWhenTheEventFails) {
    doubles::fail("osselCreateEventObject");
    updateInstance();
    EXPECT_THAT(doubles::callsOf("osselCreateReturnMessage"),
                ElementsAre(answerCalls("Success")[1]));
    EXPECT_EQ(output(),
              "[WebGUI_RedfishSendBackendUpdatedEvent]: Send Redfish SSE event failed.\n");
}

TEST_F(UpdateObject, LogsUnderTheNameOfUpdateWhenTheAnswerCannotBeSent) {
    doubles::fail("osselCreateReturnMessage");
    updateInstance();
    EXPECT_EQ(output(), "[sendReturnMsg]: Failed to call osselCreateReturnMessage( " +
                            doubles::uuid(1) +
                            ", Success ).\n"
                            "[update]: Failed to call sendReturnMsg().\n");
}

TEST_F(UpdateObject, WritesAsManyRecordsAsTheHandlerLeaves) {
    script.newCount = 1;
    updateInstance();
    EXPECT_THAT(
        doubles::callsOf("osselCreateHashTable"),
        ElementsAre("osselCreateHashTable(ctx, \"" + kUpdateId + "\", [Language=German], 1)"));
}

TEST_F(UpdateObject, WritesAndFreesTheBlockThatTheHandlerLeaves) {
    script.replaceBlock = true;
    script.newCount = 1;
    updateInstance();
    EXPECT_THAT(doubles::callsOf("osselCreateHashTable"),
                ElementsAre("osselCreateHashTable(ctx, \"" + kUpdateId + "\", [Other=], 1)"));
}

TEST_F(UpdateObject, ServesARowWithoutProperties) {
    const UpdateHandlerEntry row{"00002", 1, 0, nullptr, updateHandler};
    updateObject(context(), "00002", kRequest, kChannel, 1, &row, keys_);
    EXPECT_THAT(script.invocations, ElementsAre("update " + kUpdateId + " none"));
}

TEST_F(UpdateObject, ShowsTheCountInTheBaseOfTheStream) {
    constexpr const char* kEleven[] = {"A", "B", "C", "D", "E", "F", "G", "H", "I", "J", "K"};
    const UpdateHandlerEntry row{"00003", 1, 11, kEleven, updateHandler};
    for (const auto& [stream, shown] : {std::pair{&decimalStream, "11"}, {&hexStream, "b"}}) {
        stream();
        doubles::fail("osselCreateHashTable");
        updateObject(context(), "00003", kRequest, kChannel, 1, &row, keys_);
        EXPECT_EQ(output(), "[updateInstance]: Failed to call osselCreateHashTable( " + kUpdateId +
                                ", ..., " + shown +
                                " ).\n"
                                "[update]: Failed to call updateInstance().\n");
    }
}

} // namespace
