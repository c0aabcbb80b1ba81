#include "redfish/server/limits.h"

#include <gtest/gtest.h>

namespace {

using redfish::AddressTable;
using redfish::Limits;
using redfish::TokenBucket;
using std::chrono::milliseconds;
using std::chrono::seconds;

TEST(ATokenBucket, GivesABurstAndThenAnEvenRate) {
    const auto start = TokenBucket::Clock::now();
    TokenBucket bucket(10, 3, start);
    EXPECT_TRUE(bucket.isFull(start));
    for (int i = 0; i < 3; ++i) {
        EXPECT_TRUE(bucket.take(start)) << i;
    }
    EXPECT_FALSE(bucket.take(start));
    EXPECT_FALSE(bucket.take(start + milliseconds(99)));
    EXPECT_TRUE(bucket.take(start + milliseconds(150)));
    EXPECT_FALSE(bucket.take(start + milliseconds(151)));
    EXPECT_TRUE(bucket.isFull(start + seconds(10))) << "and no more than full";
}

class TheAddressTable : public testing::Test {
protected:
    Limits limits{.connections = 4, .connectionsPerAddress = 2, .requestsPerSecond = 1, .burst = 1};
    AddressTable table{limits};
    TokenBucket::Clock::time_point now = TokenBucket::Clock::now();
};

TEST_F(TheAddressTable, LimitsTheConnectionsOfOneAddress) {
    auto one = table.enter("10.0.0.1", now);
    const auto two = table.enter("10.0.0.1", now);
    EXPECT_FALSE(table.enter("10.0.0.1", now));
    EXPECT_TRUE(table.enter("10.0.0.2", now));
    one.reset();
    EXPECT_TRUE(table.enter("10.0.0.1", now));
}

TEST_F(TheAddressTable, LimitsTheConnectionsInAll) {
    std::vector<std::unique_ptr<AddressTable::Visitor>> visitors;
    for (int i = 0; i < 4; ++i) {
        visitors.push_back(table.enter("10.0.0." + std::to_string(i), now));
        EXPECT_TRUE(visitors.back());
    }
    EXPECT_FALSE(table.enter("10.0.0.9", now));
    EXPECT_EQ(table.connections(), 4U);
    visitors.clear();
    EXPECT_EQ(table.connections(), 0U);
}

TEST_F(TheAddressTable, CountsTheRequestsOfAnAddressOverItsConnections) {
    const auto one = table.enter("10.0.0.1", now);
    const auto other = table.enter("10.0.0.1", now);
    const auto stranger = table.enter("10.0.0.2", now);
    EXPECT_TRUE(one->mayAsk(now));
    EXPECT_FALSE(other->mayAsk(now));
    EXPECT_TRUE(stranger->mayAsk(now));
    EXPECT_TRUE(other->mayAsk(now + seconds(2)));
}

TEST_F(TheAddressTable, CountsAnIpv6AddressByItsFirstHalf) {
    const auto one = table.enter("2001:db8::1", now);
    const auto two = table.enter("2001:db8::2", now);
    EXPECT_FALSE(table.enter("2001:db8::3", now));
    EXPECT_TRUE(table.enter("2001:db8:0:1::1", now));
}

TEST_F(TheAddressTable, ForgetsAnAddressOnlyWhenItHasBeenQuiet) {
    table.enter("10.0.0.1", now)->mayAsk(now);
    table.forgetQuietOnes(now);
    EXPECT_EQ(table.addresses(), 1U) << "coming back gives no new burst";
    table.forgetQuietOnes(now + seconds(2));
    EXPECT_EQ(table.addresses(), 0U);
}

TEST_F(TheAddressTable, HasNoRateLimitUnlessOneIsSet) {
    limits.requestsPerSecond = 0;
    const auto one = table.enter("10.0.0.1", now);
    for (int i = 0; i < 10; ++i) {
        EXPECT_TRUE(one->mayAsk(now));
    }
}

} // namespace
