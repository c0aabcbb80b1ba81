// Look-ups without a context, and the connection that serves them.
#include "tests/platform/ossel/store_test.h"

#include <thread>

namespace {

using SchemaLookup = test::StoreTest;
using Text = MallocPtr<char>;

constexpr const char* kRegistry = "OsselSchemaInstances";
constexpr const char* kTitle = "#Sample.1.0.0.Sample";

TEST_F(SchemaLookup, FindsATypeByFieldAndText) {
    redis.command({"HSET", kRegistry, std::string("title:") + kTitle, "type-id"});
    const Text id(olGetSchemaTypeIdByField(kRegistry, "title", kTitle));
    EXPECT_STREQ(id.get(), "type-id");
}

TEST_F(SchemaLookup, GivesNullWhereNothingIsFound) {
    redis.command({"HSET", kRegistry, std::string("title:") + kTitle, "type-id"});
    EXPECT_EQ(olGetSchemaTypeIdByField(kRegistry, "title", "other"), nullptr);
    EXPECT_EQ(olGetSchemaTypeIdByField(kRegistry, "name", kTitle), nullptr);
    EXPECT_EQ(olGetSchemaTypeIdByField("absent", "title", kTitle), nullptr);
    EXPECT_EQ(olObjGetProperty("absent", "title"), nullptr);
}

TEST_F(SchemaLookup, ReadsAPropertyOfAnyLength) {
    redis.command({"HSET", "object", "long", std::string(5000, 'x'), "empty", ""});
    EXPECT_EQ(std::string(Text(olObjGetProperty("object", "long")).get()), std::string(5000, 'x'));
    EXPECT_STREQ(Text(olObjGetProperty("object", "empty")).get(), "");
    EXPECT_EQ(olObjGetProperty("object", "absent"), nullptr);
}

TEST_F(SchemaLookup, GivesNullForAKeyOfAnotherKind) {
    redis.command({"SET", "no object", "x"});
    EXPECT_NE(test::errorsOf([] {
                  EXPECT_EQ(olObjGetProperty("no object", "field"), nullptr);
              }).find("HGET no object: WRONGTYPE"),
              std::string::npos);
}

TEST_F(SchemaLookup, WorksOnTheConnectionThatWasOpenedFirst) {
    redis.command({"HSET", "object", "property", "first"});
    const test::RedisServer other;
    const test::OsselConnection second = test::connectTo(other.address());
    ASSERT_NE(second, nullptr);
    EXPECT_STREQ(Text(olObjGetProperty("object", "property")).get(), "first");
}

TEST_F(SchemaLookup, GivesNullOnceTheFirstConnectionIsClosedThoughOthersAreOpen) {
    redis.command({"HSET", "object", "property", "value"});
    const test::OsselConnection second = test::connectTo(redis.address());
    context.reset();
    EXPECT_EQ(olObjGetProperty("object", "property"), nullptr);
    const test::OsselConnection third = test::connectTo(redis.address());
    EXPECT_EQ(olObjGetProperty("object", "property"), nullptr);
}

TEST_F(SchemaLookup, GivesNullWhenNoConnectionIsOpen) {
    context.reset();
    EXPECT_EQ(olObjGetProperty("object", "property"), nullptr);
    EXPECT_EQ(olGetSchemaTypeIdByField(kRegistry, "title", kTitle), nullptr);
}

TEST_F(SchemaLookup, HasOneFirstConnectionWhenThreadsConnectAtTheSameTime) {
    redis.command({"HSET", "object", "property", "value"});
    context.reset();
    std::vector<test::OsselConnection> connections(8);
    std::vector<std::thread> threads;
    threads.reserve(connections.size());
    for (test::OsselConnection& connection : connections) {
        threads.emplace_back([&connection] { connection.reset(osselRedisConnect()); });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_STREQ(Text(olObjGetProperty("object", "property")).get(), "value");
    // Exactly one of them is the first: closing the others one by one finds it.
    std::size_t served = 0;
    for (test::OsselConnection& connection : connections) {
        served += Text(olObjGetProperty("object", "property")) != nullptr ? 1U : 0U;
        connection.reset();
    }
    EXPECT_GE(served, 1U);
    EXPECT_EQ(olObjGetProperty("object", "property"), nullptr);
}

} // namespace
