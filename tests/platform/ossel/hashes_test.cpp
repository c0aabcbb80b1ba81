// Hashes, freshness marks and ETags, sentence by sentence of the contract.
#include "tests/platform/ossel/store_test.h"

#include <algorithm>
#include <array>
#include <climits>
#include <cstring>

namespace {

using test::errorsOf;
using test::field;

using CreateHashTable = test::StoreTest;
using DeleteHash = test::StoreTest;
using GetHashField = test::StoreTest;
using HashGetAll = test::StoreTest;
using IsFieldMatched = test::StoreTest;
using Freshness = test::StoreTest;
using ETagCache = test::StoreTest;

// A read with a buffer that shows what was written: everything else keeps its mark.
constexpr char kMark = '#';
struct FieldBuffer {
    FieldBuffer() { text.fill(kMark); }
    std::array<char, 1024> text;
    std::string str() const { return text.data(); }
    std::size_t written() const {
        return text.size() - static_cast<std::size_t>(std::count(text.begin(), text.end(), kMark));
    }
};

std::vector<FieldValuePair> readAll(redisContext* context, const char* key) {
    unsigned int count = 77;
    const MallocPtr<FieldValuePair> all(osselHashGetAll(context, key, &count));
    EXPECT_EQ(all == nullptr, count == 0);
    return all == nullptr ? std::vector<FieldValuePair>{}
                          : std::vector<FieldValuePair>(all.get(), all.get() + count);
}

TEST_F(CreateHashTable, SetsTheFieldsAndLeavesTheOthers) {
    redis.command({"HSET", "key", "kept", "1", "changed", "old"});
    const std::array fields{field("changed", "new"), field("added", "")};
    EXPECT_EQ(osselCreateHashTable(context.get(), "key", fields.data(), 2), 0);
    EXPECT_EQ(redis.command({"HGET", "key", "kept"}), "1");
    EXPECT_EQ(redis.command({"HGET", "key", "changed"}), "new");
    EXPECT_EQ(redis.command({"HEXISTS", "key", "added"}), "1");
    EXPECT_EQ(redis.command({"HLEN", "key"}), "3");
}

TEST_F(CreateHashTable, StoresTextsOf1023CharactersAndAnyByte) {
    const std::string longName(1023, 'n');
    const std::string oddValue = "blank, \"quote\", %s, $1, \r\n, \xff\xfe";
    const std::array fields{field(longName, std::string(1023, 'v')), field("odd", oddValue)};
    EXPECT_EQ(osselCreateHashTable(context.get(), "key with blanks", fields.data(), 2), 0);
    EXPECT_EQ(redis.command({"HGET", "key with blanks", longName}), std::string(1023, 'v'));
    EXPECT_EQ(redis.command({"HGET", "key with blanks", "odd"}), oddValue);
}

TEST_F(CreateHashTable, ReadsNoFurtherThanTheRecordWhenANulIsMissing) {
    FieldValuePair pair{};
    std::memset(pair.name, 'n', sizeof(pair.name));
    std::memset(pair.value, 'v', sizeof(pair.value));
    EXPECT_EQ(osselCreateHashTable(context.get(), "key", &pair, 1), 0);
    EXPECT_EQ(redis.command({"HGET", "key", std::string(1024, 'n')}), std::string(1024, 'v'));
}

TEST_F(CreateHashTable, FailsForACountBelowOneAndStoresNothing) {
    const FieldValuePair pair = field("name", "value");
    EXPECT_NE(osselCreateHashTable(context.get(), "key", &pair, 0), 0);
    EXPECT_NE(osselCreateHashTable(context.get(), "key", &pair, -1), 0);
    EXPECT_NE(osselCreateHashTable(context.get(), "key", &pair, INT_MIN), 0);
    EXPECT_EQ(redis.command({"EXISTS", "key"}), "0");
}

TEST_F(CreateHashTable, StoresManyFieldsAtOnce) {
    std::vector<FieldValuePair> fields;
    fields.reserve(500);
    for (int i = 0; i < 500; ++i) {
        fields.push_back(field("name" + std::to_string(i), std::string(1000, 'v')));
    }
    EXPECT_EQ(osselCreateHashTable(context.get(), "key", fields.data(), 500), 0);
    EXPECT_EQ(redis.command({"HLEN", "key"}), "500");
    EXPECT_EQ(readAll(context.get(), "key").size(), 500U);
}

TEST_F(CreateHashTable, FailsOnAKeyOfAnotherKindAndNamesItOnce) {
    redis.command({"SADD", "key", "member"});
    const FieldValuePair pair = field("name", "value");
    const std::string errors = errorsOf([&] {
        EXPECT_NE(osselCreateHashTable(context.get(), "key", &pair, 1), 0);
        EXPECT_NE(osselCreateHashTable(context.get(), "key", &pair, 1), 0);
    });
    EXPECT_EQ(errors, "ossel: HSET key: WRONGTYPE Operation against a key holding the wrong kind "
                      "of value\n");
    EXPECT_EQ(redis.command({"TYPE", "key"}), "set");
}

TEST_F(CreateHashTable, KeepsALineOfErrorWholeWhateverTheKeyHolds) {
    redis.command({"SADD", "two\nlines", "member"});
    const FieldValuePair pair = field("name", "value");
    const std::string errors =
        errorsOf([&] { osselCreateHashTable(context.get(), "two\nlines", &pair, 1); });
    EXPECT_EQ(std::count(errors.begin(), errors.end(), '\n'), 1) << errors;
    EXPECT_NE(errors.find("two\\x0alines"), std::string::npos) << errors;
}

TEST_F(DeleteHash, RemovesTheKeyWhateverItsKind) {
    redis.command({"HSET", "hash", "a", "1"});
    redis.command({"SADD", "set", "a"});
    redis.command({"RPUSH", "list", "a"});
    redis.command({"SET", "text", "a"});
    for (const char* key : {"hash", "set", "list", "text"}) {
        EXPECT_EQ(osselDeleteHash(context.get(), key), 0) << key;
    }
    EXPECT_EQ(redis.command({"DBSIZE"}), "0");
}

TEST_F(DeleteHash, SucceedsForAnAbsentAndForAnEmptyKey) {
    redis.command({"SET", "", "under the empty key"});
    EXPECT_EQ(osselDeleteHash(context.get(), "absent"), 0);
    EXPECT_EQ(osselDeleteHash(context.get(), ""), 0);
    EXPECT_EQ(redis.command({"EXISTS", ""}), "1");
}

TEST_F(DeleteHash, NeedsNoServerForAnEmptyKey) {
    redis.stop();
    EXPECT_EQ(osselDeleteHash(context.get(), ""), 0);
    EXPECT_NE(osselDeleteHash(context.get(), "key"), 0);
}

TEST_F(GetHashField, WritesTheTextAndItsNulAndNothingElse) {
    redis.command({"HSET", "key", "name", "value"});
    FieldBuffer buffer;
    EXPECT_EQ(osselGetHashField(context.get(), "key", "name", buffer.text.data()), 0);
    EXPECT_EQ(buffer.str(), "value");
    EXPECT_EQ(buffer.written(), 6U);
}

TEST_F(GetHashField, CutsAtTwoHundredFiftyFiveCharacters) {
    for (const std::size_t length : {0U, 1U, 254U, 255U, 256U, 1023U, 100000U}) {
        redis.command({"HSET", "key", "name", std::string(length, 'x')});
        FieldBuffer buffer;
        EXPECT_EQ(osselGetHashField(context.get(), "key", "name", buffer.text.data()), 0);
        EXPECT_EQ(buffer.str(), std::string(std::min<std::size_t>(length, 255), 'x'));
        EXPECT_EQ(buffer.written(), std::min<std::size_t>(length, 255) + 1) << length;
    }
}

TEST_F(GetHashField, FailsForAMissingKeyOrFieldAndWritesNothing) {
    redis.command({"HSET", "key", "name", "value"});
    FieldBuffer buffer;
    EXPECT_NE(osselGetHashField(context.get(), "absent", "name", buffer.text.data()), 0);
    EXPECT_NE(osselGetHashField(context.get(), "key", "absent", buffer.text.data()), 0);
    EXPECT_NE(osselGetHashField(context.get(), "", "", buffer.text.data()), 0);
    EXPECT_EQ(buffer.written(), 0U);
}

TEST_F(GetHashField, FailsOnAKeyOfAnotherKind) {
    redis.command({"SET", "key", "text"});
    FieldBuffer buffer;
    EXPECT_NE(errorsOf([&] {
                  EXPECT_NE(osselGetHashField(context.get(), "key", "name", buffer.text.data()), 0);
              }).find("HGET key: WRONGTYPE"),
              std::string::npos);
    EXPECT_EQ(buffer.written(), 0U);
}

TEST_F(HashGetAll, GivesEveryFieldInACutRecord) {
    const std::string longText(1024, 'x');
    redis.command({"HSET", "key", "short", "value", longText, longText + "y", "empty", ""});
    std::vector<FieldValuePair> all = readAll(context.get(), "key");
    ASSERT_EQ(all.size(), 3U);
    std::sort(all.begin(), all.end(),
              [](const auto& a, const auto& b) { return std::strcmp(a.name, b.name) < 0; });
    EXPECT_STREQ(all[0].name, "empty");
    EXPECT_STREQ(all[0].value, "");
    EXPECT_STREQ(all[1].name, "short");
    EXPECT_STREQ(all[1].value, "value");
    EXPECT_EQ(all[2].name, longText.substr(0, 1023));
    EXPECT_EQ(all[2].value, longText.substr(0, 1023));
}

TEST_F(HashGetAll, GivesNullAndZeroForAnAbsentKeyAndForAnotherKind) {
    redis.command({"SADD", "set", "member"});
    EXPECT_TRUE(readAll(context.get(), "absent").empty());
    EXPECT_NE(errorsOf([&] {
                  EXPECT_TRUE(readAll(context.get(), "set").empty());
              }).find("HGETALL set: WRONGTYPE"),
              std::string::npos);
}

TEST_F(IsFieldMatched, IsNonZeroOnlyForTheSameText) {
    redis.command({"HSET", "key", "name", "Metric", "empty", ""});
    redis.command({"HSET", "key", "nul", std::string("Metric\0tail", 11)});
    EXPECT_NE(osselIsFieldMatched(context.get(), "key", "name", "Metric"), 0);
    EXPECT_NE(osselIsFieldMatched(context.get(), "key", "empty", ""), 0);
    EXPECT_EQ(osselIsFieldMatched(context.get(), "key", "name", "metric"), 0);
    EXPECT_EQ(osselIsFieldMatched(context.get(), "key", "name", "Metri"), 0);
    EXPECT_EQ(osselIsFieldMatched(context.get(), "key", "name", "Metric "), 0);
    EXPECT_EQ(osselIsFieldMatched(context.get(), "key", "nul", "Metric"), 0);
}

TEST_F(IsFieldMatched, ComparesTextsOfAnyLength) {
    const std::string text(2000, 'x');
    redis.command({"HSET", "key", "name", text});
    EXPECT_NE(osselIsFieldMatched(context.get(), "key", "name", text.c_str()), 0);
    EXPECT_EQ(osselIsFieldMatched(context.get(), "key", "name", text.substr(0, 255).c_str()), 0);
}

TEST_F(IsFieldMatched, IsZeroWhereItCannotTell) {
    redis.command({"SET", "text", "Metric"});
    EXPECT_EQ(osselIsFieldMatched(context.get(), "absent", "name", ""), 0);
    redis.command({"HSET", "key", "name", "value"});
    EXPECT_EQ(osselIsFieldMatched(context.get(), "key", "absent", ""), 0);
    errorsOf([&] { EXPECT_EQ(osselIsFieldMatched(context.get(), "text", "name", "Metric"), 0); });
    redis.stop();
    errorsOf([&] { EXPECT_EQ(osselIsFieldMatched(context.get(), "key", "name", "value"), 0); });
}

TEST_F(Freshness, LastsForTheGivenSeconds) {
    EXPECT_EQ(osselHashAppendTTLObject(context.get(), "instance", 30), 0);
    EXPECT_EQ(redis.command({"GET", "TTL:instance"}), "1");
    const std::string left = redis.command({"PTTL", "TTL:instance"});
    EXPECT_GT(std::stoi(left), 20000);
    EXPECT_LE(std::stoi(left), 30000);
}

TEST_F(Freshness, BeginsAnewWithEachCall) {
    redis.command({"SET", "TTL:instance", "1", "EX", "5"});
    EXPECT_EQ(osselHashAppendTTLObject(context.get(), "instance", INT_MAX), 0);
    EXPECT_GT(std::stoll(redis.command({"TTL", "TTL:instance"})), 2000000000);
}

TEST_F(Freshness, EndsAtOnceForZeroAndLess) {
    for (const int ttl : {0, -1, INT_MIN}) {
        redis.command({"SET", "TTL:instance", "1"});
        EXPECT_EQ(osselHashAppendTTLObject(context.get(), "instance", ttl), 0) << ttl;
        EXPECT_EQ(redis.command({"EXISTS", "TTL:instance"}), "0") << ttl;
        EXPECT_EQ(osselHashAppendTTLObject(context.get(), "instance", ttl), 0) << ttl;
    }
}

TEST_F(ETagCache, IsDroppedAndMayBeAbsent) {
    redis.command({"SET", "ETag:instance", "W/\"1\""});
    redis.command({"SET", "ETag:other", "W/\"2\""});
    EXPECT_EQ(osselClearETagCache(context.get(), "instance"), 0);
    EXPECT_EQ(redis.command({"EXISTS", "ETag:instance"}), "0");
    EXPECT_EQ(osselClearETagCache(context.get(), "instance"), 0);
    EXPECT_EQ(redis.command({"EXISTS", "ETag:other"}), "1");
}

} // namespace
