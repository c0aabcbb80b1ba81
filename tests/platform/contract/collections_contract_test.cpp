// Lists, sets and work trees of the object store.
#include "tests/platform/contract/object_store_fixture.h"

#include <cstring>

namespace contract {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

constexpr const char* kTree = "WorkTree:collection";

class Collections : public ObjectStore {
protected:
    int createSet(const char* key, const std::vector<std::string>& texts) {
        Slots slots(texts);
        return osselCreateSetTable(connection(), key, slots.data(), slots.count());
    }
};

TEST_F(Collections, HoldAPushedValueOnce) {
    EXPECT_EQ(osselListRightPush(connection(), "list", "b"), 0);
    EXPECT_EQ(osselListRightPush(connection(), "list", "a"), 0);
    EXPECT_EQ(osselListRightPush(connection(), "list", "b"), 0);
    EXPECT_THAT(members("list"), ElementsAre("b", "a"));
}

TEST_F(Collections, TakeNoPushWhereTheKeyIsNoList) {
    makeOneOfEachKind();
    EXPECT_NE(osselListRightPush(connection(), "set", "b"), 0);
    EXPECT_NE(osselListRightPush(connection(), "hash", "b"), 0);
    EXPECT_THAT(members("set"), ElementsAre("a"));
    EXPECT_EQ(field("hash", "A"), "1");
}

TEST_F(Collections, FailToRemoveFromAListWhatIsNotInIt) {
    makeOneOfEachKind();
    EXPECT_NE(osselLREM(connection(), "list", 0, "b"), 0);
    EXPECT_NE(osselLREM(connection(), "absent", 0, "a"), 0);
    EXPECT_NE(osselLREM(connection(), "set", 0, "a"), 0);
    EXPECT_NE(osselLREM(connection(), "hash", 0, "A"), 0);
    for (const int count : {0, 1, 2, -1}) {
        makeList();
        EXPECT_EQ(osselLREM(connection(), "list", count, "a"), 0) << count;
        EXPECT_THAT(members("list"), IsEmpty());
        EXPECT_NE(osselLREM(connection(), "list", count, "a"), 0) << count;
    }
}

TEST_F(Collections, TakeAMemberThatIsPresentAlready) {
    EXPECT_EQ(osselSADD(connection(), "set", "a", 0), 0);
    EXPECT_EQ(osselSADD(connection(), "set", "b", 1), 0);
    EXPECT_EQ(osselSADD(connection(), "set", "a", 0), 0);
    EXPECT_THAT(members("set"), UnorderedElementsAre("a", "b"));
}

TEST_F(Collections, TakeNoMemberWhereTheKeyIsNoSet) {
    makeOneOfEachKind();
    EXPECT_NE(osselSADD(connection(), "list", "b", 0), 0);
    EXPECT_NE(osselSADD(connection(), "hash", "b", 0), 0);
    EXPECT_THAT(members("list"), ElementsAre("a"));
}

TEST_F(Collections, FailToRemoveFromASetWhatIsNotInIt) {
    makeOneOfEachKind();
    EXPECT_EQ(osselRemoveInstanceFromSet(connection(), "set", "a"), 0);
    EXPECT_NE(osselRemoveInstanceFromSet(connection(), "set", "a"), 0);
    EXPECT_NE(osselRemoveInstanceFromSet(connection(), "absent", "a"), 0);
    EXPECT_NE(osselRemoveInstanceFromSet(connection(), "list", "a"), 0);
    EXPECT_NE(osselRemoveInstanceFromSet(connection(), "hash", "A"), 0);
    EXPECT_THAT(members("list"), ElementsAre("a"));
}

TEST_F(Collections, GiveTheirMembersInMemoryOfTheCAllocator) {
    makeOneOfEachKind();
    for (const char* const key : {"list", "set"}) {
        InstanceSlot* slots = nullptr;
        unsigned int count = 9;
        ASSERT_EQ(osselSMembers(connection(), key, &slots, &count), 0) << key;
        ASSERT_EQ(count, 1U) << key;
        EXPECT_STREQ(slots[0], "a") << key;
        std::free(slots);
    }
}

TEST_F(Collections, ThatAreAbsentHaveNoMembers) {
    Slots anything({"a"});
    InstanceSlot* slots = anything.data();
    unsigned int count = 9;
    EXPECT_EQ(osselSMembers(connection(), "absent", &slots, &count), 0);
    EXPECT_EQ(slots, nullptr);
    EXPECT_EQ(count, 0U);
}

TEST_F(Collections, CannotBeReadFromAHash) {
    makeHash();
    Slots anything({"a"});
    InstanceSlot* slots = anything.data();
    unsigned int count = 9;
    EXPECT_NE(osselSMembers(connection(), "hash", &slots, &count), 0);
    EXPECT_EQ(slots, nullptr);
    EXPECT_EQ(count, 0U);
}

TEST_F(Collections, CutAMemberThatIsLongerThanItsSlotWhenTheyAreRead) {
    ASSERT_EQ(osselSADD(connection(), "set", std::string(1500, 'x').c_str(), 0), 0);
    EXPECT_THAT(members("set"), ElementsAre(std::string(1023, 'x')));
    EXPECT_EQ(osselRemoveInstanceFromSet(connection(), "set", std::string(1500, 'x').c_str()), 0);
}

TEST_F(Collections, AreMadeOfSlots) {
    EXPECT_EQ(createSet("set", {"a", "b", "a", std::string(1023, 'x')}), 0);
    EXPECT_THAT(members("set"), UnorderedElementsAre("a", "b", std::string(1023, 'x')));
    InstanceSlot unterminated;
    std::memset(unterminated, 'y', sizeof unterminated);
    EXPECT_EQ(osselCreateSetTable(connection(), "set", &unterminated, 1), 0);
    EXPECT_EQ(osselRemoveInstanceFromSet(connection(), "set", std::string(1024, 'y').c_str()), 0);
}

TEST_F(Collections, AreNotMadeOfZeroSlots) {
    Slots slots({"a"});
    EXPECT_NE(osselCreateSetTable(connection(), "set", slots.data(), 0), 0);
    EXPECT_THAT(members("set"), IsEmpty());
}

TEST_F(Collections, ReplaceWhateverTheirKeyHeld) {
    makeOneOfEachKind();
    for (const char* const key : {"set", "list", "hash"}) {
        EXPECT_EQ(createSet(key, {"b"}), 0) << key;
        EXPECT_THAT(members(key), ElementsAre("b")) << key;
        EXPECT_EQ(osselSADD(connection(), key, "c", 0), 0) << key; // it is a set now
    }
}

TEST_F(Collections, GiveTheirMembersToTheWorkTreeAndTakeThemOut) {
    ASSERT_EQ(createSet("first", {"a", "b"}), 0);
    EXPECT_EQ(osselRenewCollection(connection(), 0, "collection", "first", 0), 0);
    EXPECT_THAT(members(kTree), UnorderedElementsAre("a", "b"));
    EXPECT_THAT(members("first"), IsEmpty());
    ASSERT_EQ(createSet("second", {"b", "c"}), 0);
    EXPECT_EQ(osselRenewCollection(connection(), 1, "collection", "second", 1), 0);
    EXPECT_THAT(members(kTree), ElementsAre("a"));
    EXPECT_THAT(members("second"), IsEmpty());
}

TEST_F(Collections, HaveNothingToRenewWithoutASet) {
    ASSERT_EQ(createSet("first", {"a"}), 0);
    ASSERT_EQ(osselRenewCollection(connection(), 0, "collection", "first", 0), 0);
    for (const int mode : {0, 1}) {
        EXPECT_EQ(osselRenewCollection(connection(), mode, "collection", "absent", 0), 0) << mode;
        EXPECT_THAT(members(kTree), ElementsAre("a"));
    }
    ASSERT_EQ(createSet("first", {"a"}), 0);
    EXPECT_EQ(osselRenewCollection(connection(), 1, "elsewhere", "first", 0), 0);
    EXPECT_THAT(members("WorkTree:elsewhere"), IsEmpty());
    EXPECT_THAT(members("first"), IsEmpty());
}

TEST_F(Collections, AreNotRenewedInAnotherModeAndKeepTheSet) {
    makeSet();
    for (const int mode : {2, -1}) {
        EXPECT_NE(osselRenewCollection(connection(), mode, "collection", "set", 0), 0) << mode;
        EXPECT_THAT(members("set"), ElementsAre("a"));
        EXPECT_THAT(members(kTree), IsEmpty());
    }
}

TEST_F(Collections, AreNotRenewedFromAKeyOfAnotherKind) {
    for (const int mode : {0, 1}) {
        makeList();
        EXPECT_NE(osselRenewCollection(connection(), mode, "collection", "list", 0), 0) << mode;
        makeHash();
        EXPECT_NE(osselRenewCollection(connection(), mode, "collection", "hash", 0), 0) << mode;
        EXPECT_THAT(members(kTree), IsEmpty());
    }
}

} // namespace
} // namespace contract
