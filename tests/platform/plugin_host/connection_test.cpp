#include "platform/plugin_host/connection.h"

#include "tests/support/redis_server.h"
#include "tests/support/wait_until.h"

#include <gtest/gtest.h>

#include <arpa/inet.h>
#include <chrono>
#include <netinet/in.h>
#include <string>
#include <sys/socket.h>
#include <unistd.h>
#include <vector>

namespace {

using plugin_host::Address;
using plugin_host::Clock;
using plugin_host::Connection;
using plugin_host::parseAddress;

TEST(Connection, SaysWhenTheAddressNamesNoServer) {
    Connection connection;
    EXPECT_FALSE(connection.open(Address{}));
    EXPECT_FALSE(connection.isOpen());
    EXPECT_EQ(connection.reason(), "OSSEL_REDIS is neither unix:PATH nor tcp:HOST:PORT");
}

// A port of the loopback that is free now.
int freePort() {
    const int socket = ::socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = ::htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    EXPECT_EQ(::bind(socket, reinterpret_cast<const sockaddr*>(&address), size), 0);
    EXPECT_EQ(::getsockname(socket, reinterpret_cast<sockaddr*>(&address), &size), 0);
    ::close(socket);
    return ::ntohs(address.sin_port);
}

TEST(Connection, ReachesAServerOverTcp) {
    test::RedisServer redis;
    std::string port;
    ASSERT_TRUE(test::waitUntil([&] {
        port = std::to_string(freePort());
        return redis.command({"CONFIG", "SET", "port", port}) == "OK";
    }));
    Connection connection;
    ASSERT_TRUE(connection.open(parseAddress("tcp:127.0.0.1:" + port))) << connection.reason();
    ASSERT_TRUE(connection.send({"PING"}));
    const plugin_host::ReplyPtr reply = connection.await(Clock::now() + std::chrono::seconds(20));
    ASSERT_TRUE(reply);
    EXPECT_STREQ(reply->str, "PONG");
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

// The payloads of published messages, each with how it was handed out: '!' without a reply.
std::vector<std::string> payloadsOf(Connection& connection, std::size_t count) {
    std::vector<std::string> payloads;
    while (payloads.size() < count && connection.isOpen()) {
        if (const auto payload = connection.nextPayload()) {
            payloads.push_back("!" + std::string(*payload));
        } else if (const plugin_host::ReplyPtr reply = connection.next()) {
            payloads.emplace_back(reply->element[2]->str, reply->element[2]->len);
        } else {
            connection.receive();
        }
    }
    return payloads;
}

TEST(Connection, HandsOutPublishedMessagesInOrderWhetherOrNotTheyArriveWhole) {
    test::RedisServer redis;
    Connection connection;
    ASSERT_TRUE(connection.open(parseAddress(redis.address())));
    ASSERT_TRUE(connection.send({"SUBSCRIBE", "channel"}));
    ASSERT_TRUE(connection.await(Clock::now() + std::chrono::seconds(20)));
    const std::string large(50000, 'l'); // more than one read receives
    for (const std::string& payload : {std::string("first"), large, std::string(), large}) {
        EXPECT_EQ(redis.command({"PUBLISH", "channel", payload}), "1");
    }
    EXPECT_EQ(payloadsOf(connection, 4), (std::vector<std::string>{"!first", large, "", large}));
    EXPECT_EQ(redis.command({"PUBLISH", "channel", "whole again"}), "1");
    EXPECT_EQ(redis.command({"PUBLISH", "channel", "a\r\nb"}), "1");
    EXPECT_EQ(payloadsOf(connection, 2), (std::vector<std::string>{"!whole again", "!a\r\nb"}));
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
