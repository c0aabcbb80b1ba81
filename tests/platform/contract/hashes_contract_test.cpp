// Hashes of the object store, and the freshness and cached ETag beside an instance.
#include "tests/platform/contract/object_store_fixture.h"

#include <cstring>

namespace contract {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;

class Hashes : public ObjectStore {};

TEST_F(Hashes, SetTheGivenFieldsAndLeaveTheOthers) {
    const std::array<FieldValuePair, 2> first{pairOf("A", "1"), pairOf("B", "2")};
    ASSERT_EQ(osselCreateHashTable(connection(), "key", first.data(), 2), 0);
    const std::array<FieldValuePair, 2> second{pairOf("B", "3"), pairOf("C", "")};
    ASSERT_EQ(osselCreateHashTable(connection(), "key", second.data(), 2), 0);
    EXPECT_THAT(fields("key"), ElementsAre(Pair("A", "1"), Pair("B", "3"), Pair("C", "")));
}

TEST_F(Hashes, AreNotMadeOfZeroOrFewerFields) {
    const FieldValuePair field = pairOf("A", "1");
    for (const int count : {0, -1}) {
        EXPECT_NE(osselCreateHashTable(connection(), "key", &field, count), 0) << count;
        EXPECT_THAT(fields("key"), IsEmpty());
    }
}

TEST_F(Hashes, AreNotMadeOverAListOrASet) {
    makeOneOfEachKind();
    const FieldValuePair field = pairOf("B", "2");
    EXPECT_NE(osselCreateHashTable(connection(), "list", &field, 1), 0);
    EXPECT_NE(osselCreateHashTable(connection(), "set", &field, 1), 0);
    EXPECT_THAT(members("list"), ElementsAre("a"));
    EXPECT_THAT(members("set"), ElementsAre("a"));
}

TEST_F(Hashes, KeepTextsOf1023CharactersAndSlotsWithoutANul) {
    const std::string longest(1023, 'x');
    FieldValuePair field = pairOf(longest, longest);
    ASSERT_EQ(osselCreateHashTable(connection(), "key", &field, 1), 0);
    EXPECT_THAT(fields("key"), ElementsAre(Pair(longest, longest)));
    // The text ends with its slot; what is read back is cut to make room for the NUL.
    std::memset(field.value, 'y', sizeof field.value);
    ASSERT_EQ(osselCreateHashTable(connection(), "other", &field, 1), 0);
    EXPECT_THAT(fields("other"), ElementsAre(Pair(longest, std::string(1023, 'y'))));
    EXPECT_NE(
        osselIsFieldMatched(connection(), "other", longest.c_str(), std::string(1024, 'y').c_str()),
        0);
}

TEST_F(Hashes, GiveAFieldOfAtMost255CharactersAndTouchNothingBehindItsNul) {
    const std::array<FieldValuePair, 4> stored{pairOf("short", "abc"), pairOf("empty", ""),
                                               pairOf("255", std::string(255, 'x')),
                                               pairOf("256", std::string(256, 'x'))};
    ASSERT_EQ(osselCreateHashTable(connection(), "key", stored.data(), 4), 0);
    const std::pair<const char*, std::string> cases[] = {{"short", "abc"},
                                                         {"empty", ""},
                                                         {"255", std::string(255, 'x')},
                                                         {"256", std::string(255, 'x')}};
    for (const auto& [name, text] : cases) {
        std::array<char, 300> room{};
        room.fill('#');
        EXPECT_EQ(osselGetHashField(connection(), "key", name, room.data()), 0) << name;
        EXPECT_EQ(room.data(), text) << name;
        EXPECT_EQ(std::string(room.data() + text.size() + 1, room.data() + room.size()),
                  std::string(room.size() - text.size() - 1, '#'))
            << name;
    }
}

TEST_F(Hashes, GiveNoFieldThatIsMissingOrNotInAHash) {
    makeOneOfEachKind();
    std::array<char, 256> text{'#'};
    for (const auto& [key, name] :
         {std::pair("hash", "B"), {"absent", "A"}, {"list", "A"}, {"set", "A"}, {"hash", ""}}) {
        EXPECT_NE(osselGetHashField(connection(), key, name, text.data()), 0) << key << ' ' << name;
        EXPECT_EQ(text[0], '#');
    }
}

TEST_F(Hashes, AreReadAsAWholeIntoMemoryOfTheCAllocator) {
    makeHash();
    unsigned int count = 9;
    FieldValuePair* const pairs = osselHashGetAll(connection(), "hash", &count);
    ASSERT_NE(pairs, nullptr);
    EXPECT_EQ(count, 1U);
    EXPECT_STREQ(pairs[0].name, "A");
    EXPECT_STREQ(pairs[0].value, "1");
    std::free(pairs);
}

TEST_F(Hashes, GiveNullAndZeroWhereThereIsNoneToRead) {
    makeOneOfEachKind();
    for (const char* const key : {"absent", "list", "set", ""}) {
        unsigned int count = 9;
        EXPECT_EQ(osselHashGetAll(connection(), key, &count), nullptr) << key;
        EXPECT_EQ(count, 0U) << key;
    }
}

TEST_F(Hashes, MatchAFieldOnlyWhereTheWholeTextIsEqual) {
    const std::string text(300, 'x');
    const std::array<FieldValuePair, 2> stored{pairOf("A", text), pairOf("empty", "")};
    ASSERT_EQ(osselCreateHashTable(connection(), "key", stored.data(), 2), 0);
    makeList();
    EXPECT_NE(osselIsFieldMatched(connection(), "key", "A", text.c_str()), 0);
    EXPECT_NE(osselIsFieldMatched(connection(), "key", "empty", ""), 0);
    EXPECT_EQ(osselIsFieldMatched(connection(), "key", "A", text.substr(1).c_str()), 0);
    EXPECT_EQ(osselIsFieldMatched(connection(), "key", "A", ""), 0);
    EXPECT_EQ(osselIsFieldMatched(connection(), "key", "B", ""), 0);
    EXPECT_EQ(osselIsFieldMatched(connection(), "absent", "A", "1"), 0);
    EXPECT_EQ(osselIsFieldMatched(connection(), "list", "A", "1"), 0);
}

TEST_F(Hashes, AreDeletedLikeAnyOtherKindOfKey) {
    makeOneOfEachKind();
    for (const char* const key : {"hash", "list", "set", "absent", ""}) {
        EXPECT_EQ(osselDeleteHash(connection(), key), 0) << key;
    }
    EXPECT_THAT(fields("hash"), IsEmpty());
    EXPECT_THAT(members("list"), IsEmpty());
    EXPECT_THAT(members("set"), IsEmpty());
}

TEST_F(Hashes, AreFreshUntilATtlOfZeroOrLess) {
    for (const int ttl : {0, -1}) {
        EXPECT_EQ(osselHashAppendTTLObject(connection(), "key", 100), 0);
        EXPECT_TRUE(store.isFresh("key"));
        EXPECT_EQ(osselHashAppendTTLObject(connection(), "key", ttl), 0);
        EXPECT_FALSE(store.isFresh("key"));
        EXPECT_EQ(osselHashAppendTTLObject(connection(), "key", ttl), 0);
    }
}

TEST_F(Hashes, LoseTheirCachedETag) {
    store.cacheETag("key");
    store.cacheETag("other");
    EXPECT_EQ(osselClearETagCache(connection(), "key"), 0);
    EXPECT_FALSE(store.hasCachedETag("key"));
    EXPECT_TRUE(store.hasCachedETag("other"));
    EXPECT_EQ(osselClearETagCache(connection(), "key"), 0);
}

} // namespace
} // namespace contract
