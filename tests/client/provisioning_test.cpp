#include "client/provisioning.h"

#include "client/errors.h"
#include "tests/support/redis_server.h"

#include <algorithm>
#include <gmock/gmock.h>

namespace {

class Provisioning : public testing::Test {
protected:
    static long writtenIn(const std::vector<client::Definition>& definitions) {
        return std::count_if(definitions.begin(), definitions.end(),
                             [](const client::Definition& each) { return each.written; });
    }

    test::RedisServer server;
    client::StoreConnection store{client::parseAddress(server.address())};
};

TEST_F(Provisioning, WritesTheRegistryLast) {
    const auto definitions = client::provision(store);
    EXPECT_EQ(definitions.back().key, "OsselSchemaInstances");
    EXPECT_EQ(writtenIn(definitions), static_cast<long>(definitions.size()));
}

TEST_F(Provisioning, WritesNothingTwice) {
    client::provision(store);
    EXPECT_EQ(writtenIn(client::provision(store)), 0);
}

TEST_F(Provisioning, FinishesWhatAnotherOneBegan) {
    client::provision(store);
    server.command({"DEL", "OsselSchemaInstances", "Definition:OrvaneWebGUI.1.0.0.Actions"});
    EXPECT_EQ(writtenIn(client::provision(store)), 5);
}

TEST_F(Provisioning, KeepsAllValuesShortEnoughForTheProvidersBuffers) {
    for (const client::Definition& each : client::provision(store)) {
        EXPECT_LE(each.value.size(), 255U);
    }
}

TEST_F(Provisioning, WritesNothingWhereOneFieldHasAnotherValue) {
    server.command({"HSET", "Definition:OrvaneWebGUI.1.0.0.Actions", "Oem", "other"});
    EXPECT_THROW(client::provision(store), client::StoreContents);
    EXPECT_EQ(server.command({"DBSIZE"}), "1");
}

} // namespace
