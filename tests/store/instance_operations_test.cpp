// Instance operations: calls, fall-backs, roll-backs, log lines.
#include "store/instance_operations.h"

#include "tests/store/store_test.h"

#include <array>

namespace {

using namespace store_test;
using doubles::context;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;

// NOLINTNEXTLINE(cert-err58-cpp): without memory for it the test fails, as it should
const std::string kTemporary = doubles::uuid(1);

class CreateInstance : public StoreTest {
protected:
    int create(int ttl, const std::string& collection) {
        return createInstance(context(), "uuid", fields_.data(), 2, ttl, collection);
    }
    const std::array<FieldValuePair, 2> fields_{fieldOf("A", "1"), fieldOf("B", "")};
    const std::string hashCall_ = "osselCreateHashTable(ctx, \"uuid\", [A=1, B=], 2)";
};

TEST_F(CreateInstance, WritesTheHashSetsTheTimeToLiveAndJoinsTheList) {
    EXPECT_EQ(create(7, "collection"), 0);
    EXPECT_THAT(doubles::calls(),
                ElementsAre(hashCall_, "osselHashAppendTTLObject(ctx, \"uuid\", 7)",
                            "osselListRightPush(ctx, \"collection\", \"uuid\")"));
    EXPECT_EQ(output(), "");
}

TEST_F(CreateInstance, SetsNoTimeToLiveForATtlOfZeroOrLess) {
    for (const int ttl : {0, -1}) {
        EXPECT_EQ(create(ttl, ""), 0);
        EXPECT_THAT(doubles::calls(), ElementsAre(hashCall_));
    }
}

TEST_F(CreateInstance, TouchesNoCollectionWithAnEmptyKey) {
    EXPECT_EQ(create(1, ""), 0);
    EXPECT_THAT(doubles::calls(),
                ElementsAre(hashCall_, "osselHashAppendTTLObject(ctx, \"uuid\", 1)"));
}

TEST_F(CreateInstance, JoinsASetWhenTheKeyIsNoListAndLogsNothing) {
    doubles::sets()["collection"] = {"other"};
    EXPECT_EQ(create(0, "collection"), 0);
    EXPECT_THAT(doubles::calls(),
                ElementsAre(hashCall_, "osselListRightPush(ctx, \"collection\", \"uuid\")",
                            "osselSADD(ctx, \"collection\", \"uuid\", 0)"));
    EXPECT_EQ(output(), "");
}

TEST_F(CreateInstance, ReturnsTheCodeOfAFailedHashAndWritesNothing) {
    doubles::fail("osselCreateHashTable", 11);
    EXPECT_EQ(create(1, "collection"), 11);
    EXPECT_THAT(doubles::calls(), ElementsAre(hashCall_));
    EXPECT_EQ(output(), "[createInstance]: Failed to call osselCreateHashTable( uuid, ..., 2 ).\n");
}

TEST_F(CreateInstance, DeletesTheHashAgainWhenTheTtlFails) {
    doubles::fail("osselHashAppendTTLObject", 12);
    EXPECT_EQ(create(1, "collection"), 12);
    EXPECT_THAT(doubles::calls(),
                ElementsAre(hashCall_, "osselHashAppendTTLObject(ctx, \"uuid\", 1)",
                            "osselDeleteHash(ctx, \"uuid\")"));
    EXPECT_EQ(output(), "[createInstance]: Failed to call osselHashAppendTTLObject( uuid, 1 ).\n");
    EXPECT_THAT(doubles::hashes(), IsEmpty());
}

TEST_F(CreateInstance, ReturnsTheFailingCodeWhenTheRollBackFailsToo) {
    doubles::fail("osselHashAppendTTLObject", 12);
    doubles::fail("osselDeleteHash", 13);
    EXPECT_EQ(create(1, "collection"), 12);
    EXPECT_EQ(output(), "[createInstance]: Failed to call osselHashAppendTTLObject( uuid, 1 ).\n"
                        "[deleteInstance]: Failed to call osselDeleteHash( uuid ).\n");
}

TEST_F(CreateInstance, DeletesTheHashAgainWhenNeitherListNorSetTakesIt) {
    doubles::fail("osselListRightPush", 14);
    doubles::fail("osselSADD", 15);
    EXPECT_EQ(create(0, "collection"), 15);
    EXPECT_THAT(doubles::calls(),
                ElementsAre(hashCall_, "osselListRightPush(ctx, \"collection\", \"uuid\")",
                            "osselSADD(ctx, \"collection\", \"uuid\", 0)",
                            "osselDeleteHash(ctx, \"uuid\")"));
    EXPECT_EQ(output(), "[createInstance]: Failed to call osselSADD( collection, uuid ).\n");
}

TEST_F(CreateInstance, ReturnsTheSetsCodeWhenTheRollBackFailsToo) {
    doubles::fail("osselListRightPush");
    doubles::fail("osselSADD", 15);
    doubles::fail("osselDeleteHash", 16);
    EXPECT_EQ(create(0, "collection"), 15);
    EXPECT_EQ(output(), "[createInstance]: Failed to call osselSADD( collection, uuid ).\n"
                        "[deleteInstance]: Failed to call osselDeleteHash( uuid ).\n");
}

TEST_F(CreateInstance, ShowsNumbersInTheBaseOfTheStream) {
    const std::array<FieldValuePair, 20> fields{};
    for (const auto& [stream, count, ttl] :
         {std::tuple{&decimalStream, "20", "31"}, {&hexStream, "14", "1f"}}) {
        stream();
        doubles::fail("osselCreateHashTable");
        createInstance(context(), "uuid", fields.data(), 20, 31, "");
        doubles::fail("osselHashAppendTTLObject");
        createInstance(context(), "uuid", fields.data(), 20, 31, "");
        EXPECT_EQ(
            output(),
            std::string("[createInstance]: Failed to call osselCreateHashTable( uuid, ..., ") +
                count + " ).\n[createInstance]: Failed to call osselHashAppendTTLObject( uuid, " +
                ttl + " ).\n");
    }
}

class UpdateInstance : public StoreTest {
protected:
    int update(int ttl) { return updateInstance(context(), "uuid", &field_, 1, ttl); }
    const FieldValuePair field_ = fieldOf("A", "1");
    const std::string hashCall_ = "osselCreateHashTable(ctx, \"uuid\", [A=1], 1)";
    const std::string eTagCall_ = "osselClearETagCache(ctx, \"uuid\")";
};

TEST_F(UpdateInstance, WritesTheFieldsSetsTheTimeToLiveAndClearsTheETag) {
    doubles::hashes()["uuid"] = {{"A", "0"}, {"B", "2"}};
    EXPECT_EQ(update(1), 0);
    EXPECT_THAT(doubles::calls(),
                ElementsAre(hashCall_, "osselHashAppendTTLObject(ctx, \"uuid\", 1)", eTagCall_));
    EXPECT_THAT(doubles::hashes()["uuid"], ElementsAre(Pair("A", "1"), Pair("B", "2")));
    EXPECT_EQ(output(), "");
}

TEST_F(UpdateInstance, PassesEveryTtlOn) {
    EXPECT_EQ(update(0), 0);
    EXPECT_EQ(update(-1), 0);
    EXPECT_THAT(doubles::callsOf("osselHashAppendTTLObject"),
                ElementsAre("osselHashAppendTTLObject(ctx, \"uuid\", 0)",
                            "osselHashAppendTTLObject(ctx, \"uuid\", -1)"));
}

TEST_F(UpdateInstance, ReturnsTheCodeOfAFailedWrite) {
    doubles::fail("osselCreateHashTable", 21);
    EXPECT_EQ(update(1), 21);
    EXPECT_THAT(doubles::calls(), ElementsAre(hashCall_));
    EXPECT_EQ(output(), "[updateInstance]: Failed to call osselCreateHashTable( uuid, ..., 1 ).\n");
}

TEST_F(UpdateInstance, SucceedsWhenTheTimeToLiveFails) {
    for (const auto& [stream, minusOne] :
         {std::pair{&decimalStream, "-1"}, {&hexStream, "ffffffff"}}) {
        stream();
        doubles::fail("osselHashAppendTTLObject", 22);
        EXPECT_EQ(update(-1), 0);
        EXPECT_THAT(
            doubles::calls(),
            ElementsAre(hashCall_, "osselHashAppendTTLObject(ctx, \"uuid\", -1)", eTagCall_));
        EXPECT_EQ(output(),
                  std::string("[updateInstance]: Failed to call osselHashAppendTTLObject( uuid, ") +
                      minusOne + " ).\n");
    }
}

TEST_F(UpdateInstance, ReturnsTheCodeOfAFailedETagAndKeepsTheFields) {
    doubles::fail("osselClearETagCache", 23);
    EXPECT_EQ(update(1), 23);
    EXPECT_EQ(output(), "[updateInstance]: Failed to call osselClearETagCache(uuid).\n");
    EXPECT_EQ(doubles::field("uuid", "A"), "1");
}

class DeleteInstance : public StoreTest {};

TEST_F(DeleteInstance, RefusesAnEmptyUuidWithoutAnyStoreCall) {
    EXPECT_EQ(deleteInstance(context(), "", "collection"), 1);
    EXPECT_THAT(doubles::calls(), IsEmpty());
    EXPECT_EQ(output(), "[deleteInstance]: The instance UUID is empty.\n");
}

TEST_F(DeleteInstance, OnlyDeletesTheHashWithAnEmptyCollectionKey) {
    EXPECT_EQ(deleteInstance(context(), "uuid", ""), 0);
    EXPECT_THAT(doubles::calls(), ElementsAre("osselDeleteHash(ctx, \"uuid\")"));
    EXPECT_EQ(output(), "");
}

TEST_F(DeleteInstance, LeavesTheListFirst) {
    doubles::lists()["collection"] = {"uuid"};
    EXPECT_EQ(deleteInstance(context(), "uuid", "collection"), 0);
    EXPECT_THAT(doubles::calls(), ElementsAre("osselDeleteHash(ctx, \"uuid\")",
                                              "osselLREM(ctx, \"collection\", 1, \"uuid\")"));
    EXPECT_EQ(output(), "");
}

TEST_F(DeleteInstance, LeavesTheSetWhenItIsInNoListAndLogsNothing) {
    doubles::sets()["collection"] = {"uuid", "other"};
    EXPECT_EQ(deleteInstance(context(), "uuid", "collection"), 0);
    EXPECT_THAT(doubles::calls(),
                ElementsAre("osselDeleteHash(ctx, \"uuid\")",
                            "osselLREM(ctx, \"collection\", 1, \"uuid\")",
                            "osselRemoveInstanceFromSet(ctx, \"collection\", \"uuid\")"));
    EXPECT_THAT(doubles::sets()["collection"], ElementsAre("other"));
    EXPECT_EQ(output(), "");
}

TEST_F(DeleteInstance, ReturnsOneWhenItIsInNeither) {
    doubles::fail("osselRemoveInstanceFromSet", 32);
    EXPECT_EQ(deleteInstance(context(), "uuid", "collection"), 1);
    EXPECT_EQ(output(),
              "[deleteInstance]: Failed to call osselRemoveInstanceFromSet( collection, uuid ).\n");
}

TEST_F(DeleteInstance, RemovesTheMembershipPastAFailedHashAndReturnsOne) {
    doubles::lists()["collection"] = {"uuid"};
    doubles::fail("osselDeleteHash", 33);
    EXPECT_EQ(deleteInstance(context(), "uuid", "collection"), 1);
    EXPECT_FALSE(doubles::lists().contains("collection"));
    EXPECT_EQ(output(), "[deleteInstance]: Failed to call osselDeleteHash( uuid ).\n");
}

TEST_F(DeleteInstance, ReturnsOneForAFailedHashWithoutACollectionAndThroughTheSet) {
    doubles::failAlways("osselDeleteHash", 34);
    EXPECT_EQ(deleteInstance(context(), "uuid", ""), 1);
    doubles::sets()["collection"] = {"uuid"};
    EXPECT_EQ(deleteInstance(context(), "uuid", "collection"), 1);
}

TEST_F(DeleteInstance, LogsBothFailures) {
    doubles::fail("osselDeleteHash", 35);
    EXPECT_EQ(deleteInstance(context(), "uuid", "collection"), 1);
    EXPECT_EQ(output(),
              "[deleteInstance]: Failed to call osselDeleteHash( uuid ).\n"
              "[deleteInstance]: Failed to call osselRemoveInstanceFromSet( collection, uuid ).\n");
}

class DeleteInstanceCollection : public StoreTest {};

TEST_F(DeleteInstanceCollection, DeletesTheWholeCollection) {
    doubles::lists()["collection"] = {"ours", "theirs"};
    EXPECT_EQ(deleteInstanceCollection(context(), "collection"), 0);
    EXPECT_THAT(doubles::calls(), ElementsAre("osselDeleteHash(ctx, \"collection\")"));
    EXPECT_THAT(doubles::lists(), IsEmpty());
    EXPECT_EQ(output(), "");
}

TEST_F(DeleteInstanceCollection, PassesTheCodeOfAFailureOn) {
    doubles::fail("osselDeleteHash", 41);
    EXPECT_EQ(deleteInstanceCollection(context(), "collection"), 41);
    EXPECT_EQ(output(),
              "[deleteInstanceCollection]: Failed to call osselDeleteHash( collection ).\n");
}

class RenewWorkTree : public StoreTest {
protected:
    RenewWorkTree() {
        copyBounded(instances_[0], "one");
        copyBounded(instances_[1], "two");
    }
    int renew(int mode = 0, unsigned char flag = 0) {
        return renewWorkTree(context(), mode, "tree", instances_.data(), 2, flag);
    }
    static std::string setCall(const std::string& members, int count) {
        return call("osselCreateSetTable",
                    quoted(kTemporary) + ", {" + members + "}, " + std::to_string(count));
    }
    static std::string renewCall(int mode, int flag) {
        return call("osselRenewCollection", std::to_string(mode) + ", \"tree\", " +
                                                quoted(kTemporary) + ", " + std::to_string(flag));
    }
    static std::string failedRenewal() {
        return "[renewWorkTree]: Failed to call osselRenewCollection( tree, " + kTemporary +
               " ).\n";
    }
    std::array<InstanceSlot, 2> instances_{};
};

TEST_F(RenewWorkTree, UsesATemporarySetThatTheStoreConsumes) {
    EXPECT_EQ(renew(), 0);
    EXPECT_THAT(doubles::calls(), ElementsAre("osselGenerateUUID(ctx)",
                                              setCall("\"one\", \"two\"", 2), renewCall(0, 0)));
    EXPECT_EQ(output(), "");
}

TEST_F(RenewWorkTree, PassesModeAndFlagOn) {
    EXPECT_EQ(renew(1, 200), 0);
    EXPECT_THAT(doubles::callsOf("osselRenewCollection"), ElementsAre(renewCall(1, 200)));
}

TEST_F(RenewWorkTree, RefusesACountOfZeroWithoutAnyStoreCall) {
    EXPECT_EQ(renewWorkTree(context(), 0, "tree", instances_.data(), 0, 0), 1);
    EXPECT_THAT(doubles::calls(), IsEmpty());
    EXPECT_EQ(output(), "[renewWorkTree]: Invalid parameters: instSet is NULL or count(0) is 0.\n");
}

TEST_F(RenewWorkTree, RefusesAMissingSetAndShowsTheCountInTheBaseOfTheStream) {
    for (const auto& [stream, count] : {std::pair{&decimalStream, "16"}, {&hexStream, "10"}}) {
        stream();
        EXPECT_EQ(renewWorkTree(context(), 0, "tree", nullptr, 16, 0), 1);
        EXPECT_EQ(output(),
                  std::string("[renewWorkTree]: Invalid parameters: instSet is NULL or count(") +
                      count + ") is 0.\n");
    }
    EXPECT_THAT(doubles::calls(), IsEmpty());
}

TEST_F(RenewWorkTree, ReturnsTheCodeOfAFailedUuid) {
    doubles::fail("osselGenerateUUID", 51);
    EXPECT_EQ(renew(), 51);
    EXPECT_THAT(doubles::calls(), ElementsAre("osselGenerateUUID(ctx)"));
    EXPECT_EQ(output(), "[renewWorkTree]: Failed to call osselGenerateUUID().\n");
}

TEST_F(RenewWorkTree, ReturnsTheCodeOfAFailedSet) {
    std::array<InstanceSlot, 17> many{};
    for (const auto& [stream, count] : {std::pair{&decimalStream, "17"}, {&hexStream, "11"}}) {
        doubles::reset();
        stream();
        doubles::fail("osselCreateSetTable", 52);
        EXPECT_EQ(renewWorkTree(context(), 0, "tree", many.data(), 17, 0), 52);
        EXPECT_THAT(doubles::callsOf("osselRenewCollection"), IsEmpty());
        EXPECT_EQ(output(), "[renewWorkTree]: Failed to call osselCreateSetTable( " + kTemporary +
                                ", ..., " + count + " ).\n");
    }
}

TEST_F(RenewWorkTree, DeletesTheTemporarySetWhenTheRenewalFails) {
    doubles::fail("osselRenewCollection", 53);
    EXPECT_EQ(renew(), 53);
    EXPECT_THAT(doubles::calls(),
                ElementsAre("osselGenerateUUID(ctx)", setCall("\"one\", \"two\"", 2),
                            renewCall(0, 0), call("osselDeleteHash", quoted(kTemporary))));
    EXPECT_EQ(output(), failedRenewal());
    EXPECT_THAT(doubles::sets(), IsEmpty());
}

TEST_F(RenewWorkTree, ReturnsTheCodeOfTheRenewalWhenTheDeletionFailsToo) {
    doubles::fail("osselRenewCollection", 53);
    doubles::fail("osselDeleteHash", 54);
    EXPECT_EQ(renew(), 53);
    EXPECT_EQ(output(), failedRenewal() + "[renewWorkTree]: Failed to call osselDeleteHash( " +
                            kTemporary + " ).\n");
}

TEST_F(RenewWorkTree, AddsWithMode0AndRemovesWithMode1AndFlag0) {
    EXPECT_EQ(renewWorkTreeAdd(context(), "tree", instances_.data(), 2, 3), 0);
    EXPECT_THAT(doubles::callsOf("osselRenewCollection"), ElementsAre(renewCall(0, 3)));
    doubles::reset();
    EXPECT_EQ(renewWorkTreeRemove(context(), "tree", instances_.data(), 2), 0);
    EXPECT_THAT(doubles::callsOf("osselRenewCollection"), ElementsAre(renewCall(1, 0)));
}

TEST_F(RenewWorkTree, AddsOneUuid) {
    EXPECT_EQ(renewWorkTreeAddOne(context(), "tree", "one", 3), 0);
    EXPECT_THAT(doubles::calls(),
                ElementsAre("osselGenerateUUID(ctx)", setCall("\"one\"", 1), renewCall(0, 3)));
}

TEST_F(RenewWorkTree, RemovesOneUuid) {
    EXPECT_EQ(renewWorkTreeRemoveOne(context(), "tree", "one"), 0);
    EXPECT_THAT(doubles::calls(),
                ElementsAre("osselGenerateUUID(ctx)", setCall("\"one\"", 1), renewCall(1, 0)));
}

TEST_F(RenewWorkTree, CutsOneUuidTo1023Characters) {
    EXPECT_EQ(renewWorkTreeAddOne(context(), "tree", std::string(1100, 'u'), 0), 0);
    EXPECT_THAT(doubles::callsOf("osselCreateSetTable"),
                ElementsAre(setCall(quoted(std::string(1023, 'u')), 1)));
}

TEST_F(RenewWorkTree, LogsUnderItsNameForEveryForm) {
    doubles::failAlways("osselGenerateUUID", 55);
    EXPECT_EQ(renewWorkTreeAdd(context(), "tree", instances_.data(), 2, 0), 55);
    EXPECT_EQ(renewWorkTreeRemove(context(), "tree", instances_.data(), 2), 55);
    EXPECT_EQ(renewWorkTreeAddOne(context(), "tree", "one", 0), 55);
    EXPECT_EQ(renewWorkTreeRemoveOne(context(), "tree", "one"), 55);
    const std::string line = "[renewWorkTree]: Failed to call osselGenerateUUID().\n";
    EXPECT_EQ(output(), line + line + line + line);
}

class FieldNames : public StoreTest {};

TEST_F(FieldNames, AreWrittenIntoTheFirstRecords) {
    std::array<FieldValuePair, 3> records{fieldOf("x", "1"), fieldOf("y", "2"), fieldOf("z", "3")};
    constexpr std::array<const char*, 2> kFields{"A", "B"};
    fillFieldNames(records.data(), kFields.data(), 2);
    EXPECT_STREQ(records[0].name, "A");
    EXPECT_STREQ(records[0].value, "1");
    EXPECT_STREQ(records[1].name, "B");
    EXPECT_STREQ(records[2].name, "z");
}

TEST_F(FieldNames, AreCutTo1023Characters) {
    const std::string name(1100, 'n');
    const char* const names[] = {name.c_str()};
    FieldValuePair record{};
    fillFieldNames(&record, names, 1);
    EXPECT_EQ(record.name, std::string(1023, 'n'));
}

TEST_F(FieldNames, AreNotWrittenWithoutRecordsOrCount) {
    constexpr std::array<const char*, 1> kFields{"A"};
    fillFieldNames(nullptr, kFields.data(), 1);
    FieldValuePair record = fieldOf("x", "");
    fillFieldNames(&record, kFields.data(), 0);
    EXPECT_STREQ(record.name, "x");
}

class HashFieldText : public StoreTest {};

TEST_F(HashFieldText, ReturnsTheStoredText) {
    doubles::hashes()["key"] = {{"field", "text"}};
    EXPECT_EQ(getHashFieldText(context(), "key", "field"), "text");
    EXPECT_THAT(doubles::calls(), ElementsAre("osselGetHashField(ctx, \"key\", \"field\")"));
}

TEST_F(HashFieldText, IsEmptyAndSilentWhenTheFieldCannotBeRead) {
    EXPECT_EQ(getHashFieldText(context(), "key", "field"), "");
    EXPECT_EQ(doubles::calls().size(), 1U);
    EXPECT_EQ(output(), "");
}

TEST_F(HashFieldText, IsEmptyWhateverAFailedReadLeaves) {
    doubles::hashes()["key"] = {{"field", "text"}};
    doubles::fail("osselGetHashField");
    EXPECT_EQ(getHashFieldText(context(), "key", "field"), "");
}

TEST_F(HashFieldText, MakesNoCallWithoutConnectionKeyOrField) {
    EXPECT_EQ(getHashFieldText(nullptr, "key", "field"), "");
    EXPECT_EQ(getHashFieldText(context(), "", "field"), "");
    EXPECT_EQ(getHashFieldText(context(), "key", nullptr), "");
    EXPECT_THAT(doubles::calls(), IsEmpty());
}

} // namespace
