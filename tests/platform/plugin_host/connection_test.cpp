#include "connection.h"

#include "support/redis_server.h"

#include <gtest/gtest.h>

#include <arpa/inet.h>
#include <chrono>
#include <netinet/in.h>
#include <string>
#include <sys/socket.h>
#include <unistd.h>

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
    const std::string port = std::to_string(freePort());
    const test::RedisServer redis({"--port", port, "--bind", "127.0.0.1"});
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
