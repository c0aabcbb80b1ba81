// Lists, sets and work trees, sentence by sentence of the contract.
#include "tests/platform/ossel/store_test.h"

#include <climits>
#include <cstring>
#include <set>

namespace {

using test::errorsOf;

using ListRightPush = test::StoreTest;
using ListRemove = test::StoreTest;
using SetAdd = test::StoreTest;
using SetRemove = test::StoreTest;
using SetMembers = test::StoreTest;
using CreateSetTable = test::StoreTest;
using RenewCollection = test::StoreTest;

std::vector<std::string> members(redisContext* context, const char* key) {
    InstanceSlot* slots = nullptr;
    unsigned int count = 77;
    EXPECT_EQ(osselSMembers(context, key, &slots, &count), 0);
    const MallocPtr<InstanceSlot> owner(slots);
    std::vector<std::string> texts;
    for (unsigned int i = 0; i < count; ++i) {
        texts.emplace_back(slots[i]);
    }
    return texts;
}

std::set<std::string> memberSet(redisContext* context, const char* key) {
    const std::vector<std::string> texts = members(context, key);
    return {texts.begin(), texts.end()};
}

TEST_F(ListRightPush, AppendsInOrder) {
    EXPECT_EQ(osselListRightPush(context.get(), "list", "b"), 0);
    EXPECT_EQ(osselListRightPush(context.get(), "list", "a"), 0);
    EXPECT_EQ(redis.command({"LRANGE", "list", "0", "-1"}), "b a");
}

TEST_F(ListRightPush, LeavesAValueAloneThatTheListHoldsAlready) {
    redis.command({"RPUSH", "list", "first", "second"});
    EXPECT_EQ(osselListRightPush(context.get(), "list", "first"), 0);
    EXPECT_EQ(osselListRightPush(context.get(), "list", "second"), 0);
    EXPECT_EQ(redis.command({"LRANGE", "list", "0", "-1"}), "first second");
}

TEST_F(ListRightPush, FailsInSilenceWhereTheKeyHoldsASet) {
    redis.command({"SADD", "set", "member"});
    EXPECT_EQ(errorsOf([&] { EXPECT_NE(osselListRightPush(context.get(), "set", "x"), 0); }), "");
    EXPECT_EQ(redis.command({"SMEMBERS", "set"}), "member");
}

TEST_F(ListRightPush, TakesTextsThatLookLikeScript) {
    const std::string value = "'] end redis.call('FLUSHALL') --";
    redis.command({"SET", "other", "1"});
    EXPECT_EQ(osselListRightPush(context.get(), "list", value.c_str()), 0);
    EXPECT_EQ(redis.command({"LRANGE", "list", "0", "-1"}), value);
    EXPECT_EQ(redis.command({"EXISTS", "other"}), "1");
}

TEST_F(ListRemove, TakesOutCountOccurrences) {
    redis.command({"RPUSH", "list", "x", "a", "x", "x"});
    EXPECT_EQ(osselLREM(context.get(), "list", 1, "x"), 0);
    EXPECT_EQ(redis.command({"LRANGE", "list", "0", "-1"}), "a x x");
    EXPECT_EQ(osselLREM(context.get(), "list", 0, "x"), 0);
    EXPECT_EQ(redis.command({"LRANGE", "list", "0", "-1"}), "a");
}

TEST_F(ListRemove, FailsWhereNothingWasRemoved) {
    redis.command({"RPUSH", "list", "a"});
    EXPECT_NE(osselLREM(context.get(), "list", 1, "x"), 0);
    EXPECT_NE(osselLREM(context.get(), "absent", 1, "a"), 0);
    EXPECT_NE(osselLREM(context.get(), "absent", INT_MIN, "a"), 0);
    EXPECT_EQ(redis.command({"LRANGE", "list", "0", "-1"}), "a");
}

TEST_F(ListRemove, FailsInSilenceWhereTheKeyHoldsASet) {
    redis.command({"SADD", "set", "member"});
    EXPECT_EQ(errorsOf([&] { EXPECT_NE(osselLREM(context.get(), "set", 1, "member"), 0); }), "");
    EXPECT_EQ(redis.command({"SMEMBERS", "set"}), "member");
}

TEST_F(SetAdd, AddsAndTakesAPresentMemberForSuccess) {
    EXPECT_EQ(osselSADD(context.get(), "set", "member", 0), 0);
    EXPECT_EQ(osselSADD(context.get(), "set", "member", 1), 0);
    EXPECT_EQ(redis.command({"SMEMBERS", "set"}), "member");
}

TEST_F(SetAdd, FailsOnAKeyOfAnotherKind) {
    redis.command({"SET", "text", "x"});
    EXPECT_NE(errorsOf([&] {
                  EXPECT_NE(osselSADD(context.get(), "text", "member", 0), 0);
              }).find("SADD text: WRONGTYPE"),
              std::string::npos);
}

TEST_F(SetRemove, TakesAMemberOut) {
    redis.command({"SADD", "set", "a", "b"});
    EXPECT_EQ(osselRemoveInstanceFromSet(context.get(), "set", "a"), 0);
    EXPECT_EQ(redis.command({"SMEMBERS", "set"}), "b");
}

TEST_F(SetRemove, FailsWhereNothingWasRemoved) {
    redis.command({"SADD", "set", "a"});
    redis.command({"RPUSH", "list", "a"});
    EXPECT_NE(osselRemoveInstanceFromSet(context.get(), "set", "b"), 0);
    EXPECT_NE(osselRemoveInstanceFromSet(context.get(), "absent", "a"), 0);
    EXPECT_NE(errorsOf([&] {
                  EXPECT_NE(osselRemoveInstanceFromSet(context.get(), "list", "a"), 0);
              }).find("SREM list: WRONGTYPE"),
              std::string::npos);
    EXPECT_EQ(redis.command({"LLEN", "list"}), "1");
}

TEST_F(SetMembers, ReadsASet) {
    redis.command({"SADD", "set", "b", "a"});
    EXPECT_EQ(memberSet(context.get(), "set"), (std::set<std::string>{"a", "b"}));
}

TEST_F(SetMembers, ReadsAListInItsOrderAndInSilence) {
    redis.command({"RPUSH", "list", "b", "a", "b"});
    EXPECT_EQ(
        errorsOf([&] {
            EXPECT_EQ(members(context.get(), "list"), (std::vector<std::string>{"b", "a", "b"}));
        }),
        "");
}

TEST_F(SetMembers, GivesNoMembersAndSuccessForAnAbsentKey) {
    InstanceSlot* slots = reinterpret_cast<InstanceSlot*>(this);
    unsigned int count = 77;
    EXPECT_EQ(osselSMembers(context.get(), "absent", &slots, &count), 0);
    EXPECT_EQ(slots, nullptr);
    EXPECT_EQ(count, 0U);
}

TEST_F(SetMembers, CutsMembersAtOneThousandTwentyThreeCharacters) {
    for (const std::size_t length : {0U, 1023U, 1024U, 5000U}) {
        redis.command({"DEL", "set"});
        redis.command({"SADD", "set", std::string(length, 'x')});
        EXPECT_EQ(
            members(context.get(), "set"),
            (std::vector<std::string>{std::string(std::min<std::size_t>(length, 1023), 'x')}));
    }
}

TEST_F(SetMembers, FailsOnAKeyThatIsNeitherAndGivesNothing) {
    redis.command({"HSET", "hash", "a", "1"});
    InstanceSlot* slots = reinterpret_cast<InstanceSlot*>(this);
    unsigned int count = 77;
    EXPECT_NE(errorsOf([&] {
                  EXPECT_NE(osselSMembers(context.get(), "hash", &slots, &count), 0);
              }).find("LRANGE hash: WRONGTYPE"),
              std::string::npos);
    EXPECT_EQ(slots, nullptr);
    EXPECT_EQ(count, 0U);
}

TEST_F(SetMembers, ReadsThousandsOfMembers) {
    std::vector<std::string> words{"SADD", "set"};
    for (int i = 0; i < 5000; ++i) {
        words.push_back("80000000-0000-0000-0000-" + std::to_string(100000000000 + i));
    }
    redis.command(words);
    EXPECT_EQ(memberSet(context.get(), "set"),
              (std::set<std::string>{words.begin() + 2, words.end()}));
}

TEST_F(CreateSetTable, MakesASetOfExactlyTheseMembers) {
    redis.command({"SADD", "set", "old"});
    test::Slots slots({"a", "b", "a"});
    EXPECT_EQ(osselCreateSetTable(context.get(), "set", slots.data(), slots.count()), 0);
    EXPECT_EQ(memberSet(context.get(), "set"), (std::set<std::string>{"a", "b"}));
}

TEST_F(CreateSetTable, ReplacesAKeyOfAnotherKind) {
    redis.command({"RPUSH", "key", "old"});
    test::Slots slots({"a"});
    EXPECT_EQ(osselCreateSetTable(context.get(), "key", slots.data(), 1), 0);
    EXPECT_EQ(redis.command({"TYPE", "key"}), "set");
}

TEST_F(CreateSetTable, FailsForNoMembersAndChangesNothing) {
    redis.command({"SADD", "set", "old"});
    test::Slots slots({"a"});
    EXPECT_NE(osselCreateSetTable(context.get(), "set", slots.data(), 0), 0);
    EXPECT_NE(osselCreateSetTable(context.get(), "set", nullptr, 1), 0);
    EXPECT_EQ(redis.command({"SMEMBERS", "set"}), "old");
}

TEST_F(CreateSetTable, ReadsNoFurtherThanTheSlotWhenANulIsMissing) {
    test::Slots slots({""});
    std::memset(slots.data()[0], 'x', sizeof(InstanceSlot));
    EXPECT_EQ(osselCreateSetTable(context.get(), "set", slots.data(), 1), 0);
    EXPECT_EQ(redis.command({"SMEMBERS", "set"}), std::string(1024, 'x'));
}

TEST_F(RenewCollection, ModeZeroAddsTheSetToTheWorkTreeAndConsumesIt) {
    redis.command({"SADD", "WorkTree:collection", "a"});
    redis.command({"SADD", "set", "a", "b"});
    EXPECT_EQ(osselRenewCollection(context.get(), 0, "collection", "set", 0), 0);
    EXPECT_EQ(memberSet(context.get(), "WorkTree:collection"), (std::set<std::string>{"a", "b"}));
    EXPECT_EQ(redis.command({"EXISTS", "set"}), "0");
}

TEST_F(RenewCollection, ModeZeroBeginsAWorkTree) {
    redis.command({"SADD", "set", "a"});
    EXPECT_EQ(osselRenewCollection(context.get(), 0, "collection", "set", 1), 0);
    EXPECT_EQ(redis.command({"SMEMBERS", "WorkTree:collection"}), "a");
}

TEST_F(RenewCollection, ModeOneTakesTheSetOutOfTheWorkTreeAndConsumesIt) {
    redis.command({"SADD", "WorkTree:collection", "a", "b", "c"});
    redis.command({"SADD", "set", "a", "c", "d"});
    EXPECT_EQ(osselRenewCollection(context.get(), 1, "collection", "set", 0), 0);
    EXPECT_EQ(redis.command({"SMEMBERS", "WorkTree:collection"}), "b");
    EXPECT_EQ(redis.command({"EXISTS", "set"}), "0");
}

TEST_F(RenewCollection, SucceedsWhereNothingIsToChange) {
    redis.command({"SADD", "WorkTree:collection", "a"});
    for (const int mode : {0, 1}) {
        EXPECT_EQ(osselRenewCollection(context.get(), mode, "collection", "absent", 0), 0);
        EXPECT_EQ(osselRenewCollection(context.get(), mode, "none", "absent", 0), 0);
    }
    EXPECT_EQ(redis.command({"SMEMBERS", "WorkTree:collection"}), "a");
    EXPECT_EQ(redis.command({"EXISTS", "WorkTree:none"}), "0");
}

TEST_F(RenewCollection, FailsForAnotherModeAndChangesNothing) {
    redis.command({"SADD", "WorkTree:collection", "a"});
    redis.command({"SADD", "set", "a", "b"});
    for (const int mode : {-1, 2, INT_MAX}) {
        EXPECT_NE(osselRenewCollection(context.get(), mode, "collection", "set", 0), 0) << mode;
    }
    EXPECT_EQ(redis.command({"SCARD", "WorkTree:collection"}), "1");
    EXPECT_EQ(redis.command({"SCARD", "set"}), "2");
}

TEST_F(RenewCollection, FailsWhereOneOfTheKeysIsNoSet) {
    redis.command({"RPUSH", "WorkTree:list", "a"});
    redis.command({"SADD", "set", "b"});
    EXPECT_NE(errorsOf([&] {
                  EXPECT_NE(osselRenewCollection(context.get(), 0, "list", "set", 0), 0);
              }).find("SUNIONSTORE WorkTree:list: WRONGTYPE"),
              std::string::npos);
    EXPECT_EQ(redis.command({"TYPE", "WorkTree:list"}), "list");

    redis.command({"SADD", "WorkTree:collection", "a"});
    redis.command({"SET", "text", "a"});
    EXPECT_NE(errorsOf([&] {
                  EXPECT_NE(osselRenewCollection(context.get(), 1, "collection", "text", 0), 0);
              }).find("SDIFFSTORE WorkTree:collection: WRONGTYPE"),
              std::string::npos);
    EXPECT_EQ(redis.command({"SMEMBERS", "WorkTree:collection"}), "a");
}

} // namespace
