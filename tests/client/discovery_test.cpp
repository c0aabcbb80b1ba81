#include "client/discovery.h"

#include "client/errors.h"
#include "client/provisioning.h"
#include "tests/client/stand_in_provider.h"
#include "tests/support/wait_until.h"

#include <gmock/gmock.h>

namespace {

using testing::HasSubstr;

class Discovery : public testing::Test {
protected:
    Discovery() { client::provision(store); }

    const std::string type = "SchemaType:OrvaneWebGUI.1.0.0.WebGUI";
    const std::string collection = "Collection:OrvaneWebGUI.1.0.0.WebGUI";
    test::RedisServer server;
    client::StoreConnection store{client::parseAddress(server.address())};
};

TEST_F(Discovery, FindsTheProviderUnderTheSchemaTypesId) {
    EXPECT_THROW(client::findProvider(store), client::NobodyThere);
    server.command({"HSET", "OvrCallbacks", type, "SomeChannel"});
    EXPECT_EQ(client::findProvider(store), "SomeChannel");
}

TEST_F(Discovery, FollowsWhateverIdsTheStoreHolds) {
    server.command({"HSET", "OsselSchemaInstances", "title:#OrvaneWebGUI.1.0.0.WebGUI", "id-7"});
    server.command({"HSET", "id-7", "instanceCollection", "instances-7"});
    server.command({"RPUSH", "instances-7", "instance-7"});
    server.command({"HSET", "OvrCallbacks", "id-7", "channel-7"});
    EXPECT_EQ(client::findSchemaType(store), "id-7");
    EXPECT_EQ(client::findProvider(store), "channel-7");
    EXPECT_EQ(client::findInstance(store), "instance-7");
}

TEST_F(Discovery, TakesTheFirstOfAListAndTheLowestOfASet) {
    server.command({"RPUSH", collection, "b", "a"});
    EXPECT_EQ(client::findInstance(store), "b");
    server.command({"DEL", collection});
    server.command({"SADD", collection, "b", "a", "c"});
    EXPECT_EQ(client::findInstance(store), "a");
}

TEST_F(Discovery, NamesTheKeyThatIsNotAsItShouldBe) {
    EXPECT_THROW(client::findInstance(store), client::StoreContents);
    server.command({"HSET", collection, "a", "b"});
    try {
        client::findInstance(store);
        ADD_FAILURE() << "found one in a hash";
    } catch (const client::StoreContents& error) {
        EXPECT_THAT(error.what(), HasSubstr("\"" + collection + "\" is a hash"));
    }
    server.command({"DEL", "OvrCallbacks"});
    server.command({"SET", "OvrCallbacks", "text"});
    EXPECT_THROW(client::findProvider(store), client::StoreRefused);
    server.command({"FLUSHALL"});
    EXPECT_THROW(client::findSchemaType(store), client::StoreContents);
}

TEST_F(Discovery, TellsWhoListensAndForHowLong) {
    EXPECT_EQ(client::countListeners(store, "OrvaneWebGUI"), 0);
    EXPECT_EQ(client::listeningFor(store, "OrvaneWebGUI"), std::nullopt);
    const test::StandInProvider provider(server);
    ASSERT_TRUE(
        test::waitUntil([this] { return client::countListeners(store, "OrvaneWebGUI") == 1; }));
    const auto age = client::listeningFor(store, "OrvaneWebGUI");
    ASSERT_TRUE(age.has_value());
    EXPECT_GE(age->count(), 0);
    EXPECT_LT(age->count(), 60);
    EXPECT_TRUE(test::waitUntil(
        [this] { return client::listeningFor(store, "OrvaneWebGUI")->count() >= 1; }));
}

} // namespace
