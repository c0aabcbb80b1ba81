// Create requests, with a table that has rows.
#include "requests/create_requests.h"

#include "tests/requests/request_test.h"

namespace {

using namespace requests_test;
using doubles::context;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;

constexpr const char* kNames[] = {"Language"};
constexpr UpdateHandlerEntry kCreateRow{"00002", 1, 1, kNames, updateHandler};

// NOLINTBEGIN(cert-err58-cpp): without memory for them the test fails, as it should
const std::string kNew = "11111111-2222-3333-4444-555555555555";
const std::string kCreateInputCall = "osselHashGetAll(ctx, \"Request:1\")";
const std::string kCreateHandlerCall = "handler(\"" + kNew + "\")";
const std::string kHashCall = "osselCreateHashTable(ctx, \"" + kNew + "\", [Language=German], 1)";
const std::string kTtlCall = "osselHashAppendTTLObject(ctx, \"" + kNew + "\", 1)";
const std::string kPushCall = "osselListRightPush(ctx, \"collection\", \"" + kNew + "\")";
// NOLINTEND(cert-err58-cpp)

class Create : public RequestTest {
protected:
    Create() { doubles::hashes()[kRequest] = {{"OriginalObjID", kNew}, {"Language", "German"}}; }
    void createNew(const UpdateHandlerEntry& row = kCreateRow,
                   const std::string& collection = "collection") {
        create(context(), row, kRequest, kChannel, "schema-type", collection, keys_);
    }
};

TEST_F(Create, CreatesTheInstanceAndAnswersSuccessWithoutAnEvent) {
    createNew();
    EXPECT_THAT(doubles::calls(), ElementsAreArray(followedBy({kCreateInputCall, kCreateHandlerCall,
                                                               kHashCall, kTtlCall, kPushCall},
                                                              answerCalls("Success"))));
    EXPECT_THAT(doubles::events(), IsEmpty());
    EXPECT_EQ(output(), "");
}

TEST_F(Create, IgnoresTheKeySet) {
    createNew();
    EXPECT_THAT(script.invocations, ElementsAre("update " + kNew + " Language=German"));
}

TEST_F(Create, LeavesTheCallersKeySetAndTheProcessWideOneAlone) {
    G_InstanceKeys = keys_;
    createNew();
    EXPECT_THAT(keys_, ElementsAre(kInstance));
    EXPECT_THAT(G_InstanceKeys, ElementsAre(kInstance));
}

TEST_F(Create, JoinsASetWhereTheCollectionIsOne) {
    doubles::sets()["collection"] = {"other"};
    createNew();
    EXPECT_THAT(doubles::sets()["collection"], ElementsAre("other", kNew));
    EXPECT_EQ(output(), "");
}

TEST_F(Create, JoinsNothingWithAnEmptyCollectionKey) {
    createNew(kCreateRow, "");
    EXPECT_THAT(doubles::calls(), ElementsAreArray(followedBy(
                                      {kCreateInputCall, kCreateHandlerCall, kHashCall, kTtlCall},
                                      answerCalls("Success"))));
}

TEST_F(Create, SetsNoTimeToLiveForARowWithTtlZero) {
    createNew({"00002", 0, 1, kNames, updateHandler});
    EXPECT_THAT(doubles::callsOf("osselHashAppendTTLObject"), IsEmpty());
}

TEST_F(Create, AnswersInvalidObjectForAnEmptyRequestObject) {
    doubles::hashes().clear();
    createNew();
    EXPECT_THAT(doubles::calls(), ElementsAreArray(followedBy(
                                      {kCreateInputCall}, answerCalls("InvalidObject", kRequest))));
    EXPECT_EQ(output(),
              "[getInputData]: Failed to call osselHashGetAll( Request:1 ). uiCount is 0.\n"
              "[create]: Failed to call getCreateProperties().\n");
}

TEST_F(Create, AnswersInternalErrorWithoutMemoryForTheValues) {
    doubles::failAllocation(1);
    createNew();
    doubles::failAllocation(0);
    EXPECT_THAT(doubles::calls(),
                ElementsAreArray(followedBy({kCreateInputCall}, answerCalls("InternalError"))));
    EXPECT_EQ(output(), "[getInputData]: Failed to call malloc() for *data.\n"
                        "[create]: Failed to call getCreateProperties().\n");
}

TEST_F(Create, AnswersSuccessWithoutAnInstanceWhenTheAgentRefusesWithoutAnAnswer) {
    script.result = 1;
    createNew();
    EXPECT_THAT(doubles::calls(),
                ElementsAreArray(
                    followedBy({kCreateInputCall, kCreateHandlerCall}, answerCalls("Success"))));
    EXPECT_EQ(output(), "[create]: Failed to call fnAgentCreate().\n");
}

TEST_F(Create, AnswersSuccessWhateverAnAcceptingAgentPutsIntoTheAnswer) {
    script.plainAnswerId = "Other";
    createNew();
    EXPECT_THAT(doubles::callsOf("osselCreateReturnMessage"),
                ElementsAre(answerCalls("Success")[1]));
}

TEST_F(Create, SendsTheAnswerOfARefusingAgent) {
    script.result = 1;
    script.answerId = "Refused";
    createNew();
    EXPECT_THAT(doubles::callsOf("osselCreateReturnMessage"),
                ElementsAre(answerCalls("Refused", "why")[1]));
}

TEST_F(Create, AnswersInternalErrorWhenTheInstanceCannotBeCreated) {
    doubles::fail("osselCreateHashTable");
    createNew();
    EXPECT_THAT(doubles::calls(),
                ElementsAreArray(followedBy({kCreateInputCall, kCreateHandlerCall, kHashCall},
                                            answerCalls("InternalError"))));
    EXPECT_EQ(output(), "[createInstance]: Failed to call osselCreateHashTable( " + kNew +
                            ", ..., 1 ).\n"
                            "[create]: Failed to call createInstance().\n");
}

TEST_F(Create, DeletesTheHashAgainWhenTheTimeToLiveFails) {
    doubles::fail("osselHashAppendTTLObject");
    createNew();
    EXPECT_FALSE(doubles::hashes().contains(kNew));
    EXPECT_THAT(doubles::callsOf("osselCreateReturnMessage"),
                ElementsAre(answerCalls("InternalError")[1]));
}

TEST_F(Create, LogsUnderItsNameWhenTheAnswerCannotBeSent) {
    doubles::fail("osselPublishToChannel");
    createNew();
    EXPECT_EQ(output(), "[sendReturnMsg]: Failed to call osselPublishToChannel( Reply:1, " +
                            doubles::uuid(1) +
                            " ).\n"
                            "[create]: Failed to call sendReturnMsg().\n");
}

TEST_F(Create, WritesAndFreesTheBlockThatTheHandlerLeaves) {
    script.replaceBlock = true;
    createNew();
    EXPECT_THAT(doubles::callsOf("osselCreateHashTable"),
                ElementsAre("osselCreateHashTable(ctx, \"" + kNew + "\", [Other=], 1)"));
}

TEST_F(Create, WritesAsManyRecordsAsTheHandlerLeaves) {
    script.newCount = 0;
    createNew();
    EXPECT_THAT(doubles::callsOf("osselCreateHashTable"),
                ElementsAre("osselCreateHashTable(ctx, \"" + kNew + "\", [], 0)"));
}

} // namespace
