#include "connection.h"

#include "support/redis_server.h"

#include <gtest/gtest.h>

#include <chrono>

namespace {

using plugin_host::Address;
using plugin_host::Clock;
using plugin_host::Connection;
using plugin_host::parseAddress;

TEST(ParseAddress, ReadsBothForms) {
    EXPECT_EQ(parseAddress("unix:/run/redis.sock").path, "/run/redis.sock");
    const Address tcp = parseAddress("tcp:redis.local:6379");
    EXPECT_EQ(tcp.path, "");
    EXPECT_EQ(tcp.host, "redis.local");
    EXPECT_EQ(tcp.port, 6379);
    EXPECT_EQ(parseAddress("tcp:::1:6379").host, "::1");
}

TEST(ParseAddress, FindsNoServerInAnyOtherText) {
    for (const char* const text : {"", "unix:", "/run/redis.sock", "tcp:", "tcp:host", "tcp::6379",
                                   "tcp:host:", "tcp:host:0", "tcp:host:65536", "tcp:host:x",
                                   "tcp:host:63 ", "udp:host:6379"}) {
        const Address address = parseAddress(text);
        EXPECT_TRUE(address.path.empty() && address.port == 0) << text;
        Connection connection;
        EXPECT_FALSE(connection.open(address)) << text;
        EXPECT_EQ(connection.reason(), "OSSEL_REDIS is neither unix:PATH nor tcp:HOST:PORT");
    }
}

TEST(Connection, AwaitsAReply) {
    const test::RedisServer redis;
    Connection connection;
    ASSERT_TRUE(connection.open(parseAddress(redis.address())));
    ASSERT_TRUE(connection.send({"ECHO", "a text\r\nof two lines"}));
    const plugin_host::ReplyPtr reply = connection.await(Clock::now() + std::chrono::seconds(20));
    ASSERT_TRUE(reply);
    EXPECT_EQ(std::string(reply->str, reply->len), "a text\r\nof two lines");
}

TEST(Connection, GivesUpWhenTheServerDoesNotAnswerInTime) {
    test::RedisServer redis;
    Connection connection;
    ASSERT_TRUE(connection.open(parseAddress(redis.address())));
    redis.pause();
    ASSERT_TRUE(connection.send({"PING"}));
    EXPECT_FALSE(connection.await(Clock::now() + std::chrono::milliseconds(50)));
    EXPECT_FALSE(connection.isOpen());
    EXPECT_EQ(connection.reason(), "no answer in time");
}

TEST(Connection, TellsThatTheServerIsGoneWithoutASignal) {
    test::RedisServer redis;
    Connection connection;
    ASSERT_TRUE(connection.open(parseAddress(redis.address())));
    redis.kill();
    EXPECT_FALSE(connection.send({"PING"}) && connection.await(Clock::now()));
    EXPECT_FALSE(connection.isOpen());
    EXPECT_FALSE(connection.reason().empty());
    EXPECT_FALSE(connection.open(parseAddress(redis.address())));
}

} // namespace
