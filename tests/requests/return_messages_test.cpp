// Return messages: filling, freeing, storing and publishing an answer.
#include "requests/return_messages.h"

#include "tests/requests/request_test.h"

#include <array>

namespace {

using namespace requests_test;
using doubles::context;
using doubles::uuid;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;

class SetReturnMessage : public RequestTest {};
class FreeReturnMessage : public RequestTest {};
class SendReturnMessage : public RequestTest {};
class ActionResponseData : public RequestTest {};

TEST_F(SetReturnMessage, StartsFromTemplatesWithoutArguments) {
    EXPECT_STREQ(kSuccessTemplate.messageId, "Success");
    EXPECT_EQ(kSuccessTemplate.argCount, 0);
    EXPECT_EQ(kSuccessTemplate.args, nullptr);
    EXPECT_STREQ(kInternalErrorTemplate.messageId, "InternalError");
    EXPECT_EQ(kInternalErrorTemplate.argCount, 0);
    EXPECT_EQ(kInternalErrorTemplate.args, nullptr);
}

TEST_F(SetReturnMessage, CopiesTheIdAndEveryArgument) {
    std::array<char, 4> text{"one"};
    ReturnMessage record = kSuccessTemplate;
    ASSERT_EQ(setReturnMessage(&record, "InvalidObject", 2, text.data(), "two"), 1);
    text[0] = 'X';
    EXPECT_STREQ(record.messageId, "InvalidObject");
    EXPECT_EQ(record.argCount, 2);
    EXPECT_STREQ(record.args[0], "one");
    EXPECT_STREQ(record.args[1], "two");
    freeReturnMessage(&record);
}

TEST_F(SetReturnMessage, CutsTheIdTo127Characters) {
    ReturnMessage record;
    std::memset(&record, 'x', sizeof record);
    ASSERT_EQ(setReturnMessage(&record, std::string(128, 'i').c_str(), 0), 1);
    EXPECT_EQ(record.messageId, std::string(127, 'i'));
    freeReturnMessage(&record);
    ASSERT_EQ(setReturnMessage(&record, std::string(127, 'j').c_str(), 0), 1);
    EXPECT_EQ(record.messageId, std::string(127, 'j'));
    freeReturnMessage(&record);
}

TEST_F(SetReturnMessage, ZeroesTheRestOfTheId) {
    ReturnMessage record;
    std::memset(&record, 'x', sizeof record);
    ASSERT_EQ(setReturnMessage(&record, "short", 0), 1);
    EXPECT_TRUE(std::all_of(record.messageId + 5, record.messageId + 128,
                            [](char letter) { return letter == '\0'; }));
    freeReturnMessage(&record);
}

TEST_F(SetReturnMessage, TurnsANullArgumentIntoAnEmptyText) {
    ReturnMessage record = kSuccessTemplate;
    ASSERT_EQ(setReturnMessage(&record, "id", 2, static_cast<const char*>(nullptr), "two"), 1);
    EXPECT_STREQ(record.args[0], "");
    EXPECT_STREQ(record.args[1], "two");
    freeReturnMessage(&record);
}

TEST_F(SetReturnMessage, CountsTheLowEightBitsOnly) {
    ReturnMessage record = kSuccessTemplate;
    ASSERT_EQ(setReturnMessage(&record, "id", 257, "one"), 1);
    EXPECT_EQ(record.argCount, 1);
    EXPECT_STREQ(record.args[0], "one");
    freeReturnMessage(&record);
}

TEST_F(SetReturnMessage, KeepsIdAndCountButNoArgumentsWhenMemoryRunsOut) {
    for (int nth = 1; nth <= 4; ++nth) {
        SCOPED_TRACE(nth);
        ReturnMessage record = kSuccessTemplate;
        doubles::failAllocation(nth);
        const int result = setReturnMessage(&record, "id", 3, "one", "two", "three");
        ASSERT_TRUE(doubles::allocationFailed());
        doubles::failAllocation(0);
        EXPECT_EQ(result, 0);
        EXPECT_STREQ(record.messageId, "id");
        EXPECT_EQ(record.argCount, 3);
        EXPECT_EQ(record.args, nullptr);
    }
}

TEST_F(SetReturnMessage, MakesOneAllocationPerArgumentAndOneForTheArray) {
    ReturnMessage record = kSuccessTemplate;
    doubles::failAllocation(5);
    EXPECT_EQ(setReturnMessage(&record, "id", 3, "one", "two", "three"), 1);
    EXPECT_FALSE(doubles::allocationFailed());
    doubles::failAllocation(0);
    freeReturnMessage(&record);
}

TEST_F(SetReturnMessage, SucceedsWithoutArgumentsWhenTheEmptyArrayCannotBeAllocated) {
    ReturnMessage record = kSuccessTemplate;
    doubles::failAllocation(1);
    EXPECT_EQ(setReturnMessage(&record, "id", 0), 1);
    doubles::failAllocation(0);
    EXPECT_EQ(record.argCount, 0);
    freeReturnMessage(&record);
}

TEST_F(FreeReturnMessage, LeavesNullAndEmptyRecordsAlone) {
    freeReturnMessage(nullptr);
    ReturnMessage record = kSuccessTemplate;
    freeReturnMessage(&record);
    EXPECT_EQ(record.args, nullptr);
}

TEST_F(FreeReturnMessage, ClearsTheArrayAndKeepsIdAndCount) {
    ReturnMessage record = kSuccessTemplate;
    ASSERT_EQ(setReturnMessage(&record, "id", 2, "one", "two"), 1);
    freeReturnMessage(&record);
    EXPECT_EQ(record.args, nullptr);
    EXPECT_EQ(record.argCount, 2);
    EXPECT_STREQ(record.messageId, "id");
    freeReturnMessage(&record);
}

TEST_F(FreeReturnMessage, TakesNullTextsInTheArray) {
    ReturnMessage record = kSuccessTemplate;
    ASSERT_EQ(setReturnMessage(&record, "id", 2, "one", "two"), 1);
    std::free(record.args[0]);
    record.args[0] = nullptr;
    freeReturnMessage(&record);
    EXPECT_EQ(record.args, nullptr);
}

TEST_F(SendReturnMessage, CreatesTheMessageAndPublishesItsUuid) {
    EXPECT_EQ(sendReturnMsg(context(), kChannel, kSuccessTemplate), 0);
    EXPECT_THAT(doubles::calls(), ElementsAreArray(answerCalls("Success")));
    EXPECT_EQ(output(), "");
}

TEST_F(SendReturnMessage, PassesUpToFiveArgumentsInOrder) {
    ReturnMessage record = kSuccessTemplate;
    setReturnMessage(&record, "id", 5, "a", "b", "c", "d", "e");
    for (std::uint8_t count = 0; count <= 5; ++count) {
        SCOPED_TRACE(int{count});
        doubles::reset();
        record.argCount = count;
        std::string shown;
        for (std::uint8_t i = 0; i < count; ++i) {
            shown += std::string(", \"") + record.args[i] + '"';
        }
        EXPECT_EQ(sendReturnMsg(context(), kChannel, record), 0);
        EXPECT_THAT(doubles::callsOf("osselCreateReturnMessage"),
                    ElementsAre("osselCreateReturnMessage(ctx, \"" + uuid(1) + "\", \"id\"" +
                                shown + ", null)"));
    }
    EXPECT_EQ(output(), "");
    record.argCount = 5;
    freeReturnMessage(&record);
}

TEST_F(SendReturnMessage, SendsInternalErrorInsteadOfMoreThanFiveArguments) {
    ReturnMessage record = kSuccessTemplate;
    setReturnMessage(&record, "id", 6, "a", "b", "c", "d", "e", "f");
    EXPECT_EQ(sendReturnMsg(context(), kChannel, record), 0);
    EXPECT_THAT(doubles::calls(), ElementsAreArray(answerCalls("InternalError")));
    EXPECT_EQ(output(), "[sendReturnMsg]: Too more parameters of ReturnMessage.\n");
    freeReturnMessage(&record);
}

TEST_F(SendReturnMessage, NamesTheRecordsOwnIdWhenTheReplacementCannotBeCreated) {
    ReturnMessage record = kSuccessTemplate;
    setReturnMessage(&record, "id", 6, "a", "b", "c", "d", "e", "f");
    doubles::fail("osselCreateReturnMessage", 4);
    EXPECT_EQ(sendReturnMsg(context(), kChannel, record), 4);
    EXPECT_EQ(output(), "[sendReturnMsg]: Too more parameters of ReturnMessage.\n"
                        "[sendReturnMsg]: Failed to call osselCreateReturnMessage( " +
                            uuid(1) + ", id ).\n");
    EXPECT_THAT(doubles::callsOf("osselPublishToChannel"), IsEmpty());
    freeReturnMessage(&record);
}

TEST_F(SendReturnMessage, SendsNoArgumentsForARecordWithoutAnArray) {
    ReturnMessage record = kSuccessTemplate;
    doubles::failAllocation(1);
    ASSERT_EQ(setReturnMessage(&record, "InvalidObject", 1, "key"), 0);
    doubles::failAllocation(0);
    EXPECT_EQ(sendReturnMsg(context(), kChannel, record), 0);
    EXPECT_THAT(doubles::calls(), ElementsAreArray(answerCalls("InvalidObject")));
}

TEST_F(SendReturnMessage, WritesTwoLinesAndPublishesNothingWithoutAUuid) {
    for (const bool hexadecimal : {false, true}) {
        SCOPED_TRACE(hexadecimal);
        hexadecimal ? hexStream() : decimalStream();
        doubles::fail("osselGenerateUUID", 17);
        EXPECT_EQ(sendReturnMsg(context(), kChannel, kSuccessTemplate), 17);
        EXPECT_THAT(doubles::calls(), ElementsAre("osselGenerateUUID(ctx)"));
        EXPECT_EQ(output(), "[sendReturnMsg]: Failed to call osselGenerateUUID().\n"
                            "[sendReturnMsg]: Failed to call osselCreateReturnMessage( , Success "
                            ").\n");
    }
}

TEST_F(SendReturnMessage, LogsAndPublishesNothingWhenTheMessageCannotBeCreated) {
    doubles::fail("osselCreateReturnMessage", 5);
    EXPECT_EQ(sendReturnMsg(context(), kChannel, kSuccessTemplate), 5);
    EXPECT_THAT(doubles::callsOf("osselPublishToChannel"), IsEmpty());
    EXPECT_EQ(output(), "[sendReturnMsg]: Failed to call osselCreateReturnMessage( " + uuid(1) +
                            ", Success ).\n");
}

TEST_F(SendReturnMessage, LogsAFailedPublicationAndDoesNotRetry) {
    doubles::fail("osselPublishToChannel", 6);
    EXPECT_EQ(sendReturnMsg(context(), kChannel, kSuccessTemplate), 6);
    EXPECT_THAT(doubles::calls(), ElementsAreArray(answerCalls("Success")));
    EXPECT_EQ(output(), std::string("[sendReturnMsg]: Failed to call osselPublishToChannel( ") +
                            kChannel + ", " + uuid(1) + " ).\n");
}

TEST_F(SendReturnMessage, LeavesTheArgumentsToTheCaller) {
    ReturnMessage record = kSuccessTemplate;
    setReturnMessage(&record, "id", 1, "mine");
    doubles::fail("osselPublishToChannel");
    sendReturnMsg(context(), kChannel, record);
    EXPECT_STREQ(record.args[0], "mine");
    freeReturnMessage(&record);
}

TEST_F(ActionResponseData, SaysNoWithoutANewObject) {
    EXPECT_EQ(handleActionRespData(context(), kRequest, ""), 0);
    EXPECT_THAT(doubles::calls(), ElementsAre("osselCreateHashTable(ctx, \"Request:1\", "
                                              "[HasRespData=No], 1)"));
    EXPECT_EQ(output(), "");
}

TEST_F(ActionResponseData, NamesOnlyTheNewObject) {
    EXPECT_EQ(handleActionRespData(context(), kRequest, "new"), 0);
    EXPECT_THAT(doubles::calls(), ElementsAre("osselCreateHashTable(ctx, \"Request:1\", "
                                              "[NewObjID=new], 1)"));
}

TEST_F(ActionResponseData, CutsALongIdTo1023Characters) {
    EXPECT_EQ(handleActionRespData(context(), kRequest, std::string(1024, 'n')), 0);
    EXPECT_EQ(doubles::field(kRequest, "NewObjID"), std::string(1023, 'n'));
}

TEST_F(ActionResponseData, LogsAFailureWithTheKey) {
    for (const bool hexadecimal : {false, true}) {
        SCOPED_TRACE(hexadecimal);
        hexadecimal ? hexStream() : decimalStream();
        doubles::fail("osselCreateHashTable", 9);
        EXPECT_EQ(handleActionRespData(context(), kRequest, ""), 9);
        EXPECT_EQ(output(), "[handleActionRespData]: Failed to call osselCreateHashTable( "
                            "Request:1, ..., 1 ).\n");
    }
}

} // namespace
