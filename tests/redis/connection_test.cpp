#include "redis/connection.h"

#include "tests/support/listener.h"
#include "tests/support/odd_server.h"
#include "tests/support/redis_server.h"
#include "tests/support/wait_until.h"

#include <arpa/inet.h>
#include <atomic>
#include <chrono>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <string>
#include <sys/socket.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace {

using redis::Clock;
using redis::Connection;
using redis::Failure;
using redis::kTimeout;
using redis::parseAddress;
using redis::Reply;
using redis::ShortCommand;
using std::chrono::milliseconds;
using test::OddServer;

// For a busy machine.
constexpr milliseconds kMargin{1500};

bool open(Connection& connection, const std::string& address) {
    return connection.open(parseAddress(address), Clock::now() + kTimeout);
}

template <typename... Words>
bool send(Connection& connection, const Words&... words) {
    connection.append(ShortCommand{words...});
    return connection.send(Clock::now() + kTimeout);
}

template <typename... Words>
Reply ask(Connection& connection, const Words&... words) {
    Reply reply;
    if (send(connection, words...)) {
        connection.await(reply, Clock::now() + kTimeout);
    }
    return reply;
}

// A port of the loopback that is free now.
int freePort() {
    const Descriptor socket(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = ::htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    EXPECT_EQ(::bind(socket.number(), reinterpret_cast<const sockaddr*>(&address), size), 0);
    EXPECT_EQ(::getsockname(socket.number(), reinterpret_cast<sockaddr*>(&address), &size), 0);
    return ::ntohs(address.sin_port);
}

// Lets the server listen on TCP as well.
std::string openTcp(test::RedisServer& redis) {
    std::string port;
    EXPECT_TRUE(test::waitUntil([&] {
        port = std::to_string(freePort());
        return redis.command({"CONFIG", "SET", "port", port}) == "OK";
    }));
    return port;
}

TEST(Connection, ReachesAServerOverTcp) {
    test::RedisServer redis;
    const std::string port = openTcp(redis);
    for (const std::string host : {"127.0.0.1", "localhost"}) {
        Connection connection;
        ASSERT_TRUE(open(connection, std::string("tcp:").append(host).append(":").append(port)))
            << connection.reason();
        EXPECT_EQ(ask(connection, "PING").text, "PONG");
    }
}

TEST(Connection, AwaitsAReply) {
    const test::RedisServer redis;
    Connection connection;
    ASSERT_TRUE(open(connection, redis.address()));
    EXPECT_EQ(ask(connection, "ECHO", "a text\r\nof two lines").text, "a text\r\nof two lines");
    EXPECT_TRUE(connection.isQuiet());
}

TEST(Connection, GivesUpWhenTheServerDoesNotAnswerInTime) {
    test::RedisServer redis;
    Connection connection;
    ASSERT_TRUE(open(connection, redis.address()));
    redis.pause();
    ASSERT_TRUE(send(connection, "PING"));
    Reply reply;
    const auto begin = Clock::now();
    EXPECT_FALSE(connection.await(reply, begin + milliseconds(50)));
    EXPECT_LT(Clock::now() - begin, kMargin);
    EXPECT_FALSE(connection.isOpen());
    EXPECT_EQ(connection.failure(), Failure::timedOut);
    EXPECT_EQ(connection.reason(), "no answer within 2 s");
}

// One byte every 100 ms: each of them comes in time, the reply never does.
TEST(Connection, KeepsItsDeadlineWithAServerThatDripsBytes) {
    const OddServer server([](const std::string&) {
        return OddServer::Answer{"$10000\r\n" + std::string(10'000, 'x'), false, true,
                                 milliseconds(100)};
    });
    Connection connection;
    ASSERT_TRUE(open(connection, server.address()));
    const auto begin = Clock::now();
    connection.append(ShortCommand{"GET", "key"});
    ASSERT_TRUE(connection.send(begin + kTimeout));
    Reply reply;
    EXPECT_FALSE(connection.await(reply, begin + kTimeout));
    EXPECT_GE(Clock::now() - begin, kTimeout - milliseconds(10));
    EXPECT_LT(Clock::now() - begin, kTimeout + kMargin);
    EXPECT_EQ(connection.failure(), Failure::timedOut);
}

// Its peer takes a little now and then, so that no single send lasts long, and answers when all has
// been sent: sending and receiving share one deadline.
TEST(Connection, KeepsOneDeadlineForSendingAndReceiving) {
    const test::TemporaryFolder folder;
    const test::Listener listener(folder.file("slow.sock"));
    Connection connection;
    ASSERT_TRUE(open(connection, "unix:" + folder.file("slow.sock")));
    const Descriptor peer(listener.accept());
    std::atomic<bool> isOver = false;
    std::thread reader([&] {
        std::vector<char> buffer(20'000);
        while (!isOver) {
            std::this_thread::sleep_for(milliseconds(20));
            ::recv(peer.number(), buffer.data(), buffer.size(), MSG_DONTWAIT);
        }
    });
    std::string large;
    large.resize(10'000'000, 'l');
    const auto begin = Clock::now();
    connection.append(ShortCommand{"SET", "key", large});
    EXPECT_FALSE(connection.send(begin + kTimeout));
    const auto taken = Clock::now() - begin;
    isOver = true;
    reader.join();
    EXPECT_GE(taken, kTimeout - milliseconds(10));
    EXPECT_LT(taken, kTimeout + kMargin);
    EXPECT_EQ(connection.failure(), Failure::timedOut);
}

TEST(Connection, OpensWithinItsDeadlineWhenNobodyAccepts) {
    const test::TemporaryFolder folder;
    const test::Listener listener(folder.file("full.sock"), 0);
    std::vector<Connection> fillers(2);
    Connection connection;
    const auto begin = Clock::now();
    bool isFull = false;
    for (Connection& each : fillers) {
        isFull = !each.open(parseAddress("unix:" + folder.file("full.sock")),
                            Clock::now() + milliseconds(100));
    }
    EXPECT_TRUE(isFull);
    EXPECT_EQ(fillers.back().failure(), Failure::unreachable);
    EXPECT_EQ(fillers.back().reason(), "Connection timed out");
    EXPECT_LT(Clock::now() - begin, kMargin);
}

TEST(Connection, HandsOutMessagesInOrderWhetherOrNotTheyArriveWhole) {
    test::RedisServer redis;
    Connection connection;
    ASSERT_TRUE(open(connection, redis.address()));
    ASSERT_TRUE(ask(connection, "SUBSCRIBE", "channel"));
    const std::string large(50'000, 'l'); // more than one read receives
    const std::vector<std::string> payloads{"first", large, "", large, "a\r\nb", "last"};
    for (const std::string& payload : payloads) {
        EXPECT_EQ(redis.command({"PUBLISH", "channel", payload}), "1");
    }
    Reply reply;
    for (const std::string& payload : payloads) {
        ASSERT_TRUE(connection.await(reply, Clock::now() + std::chrono::seconds(20)));
        EXPECT_EQ(reply.elements.at(2).text, payload);
    }
    EXPECT_FALSE(connection.next(reply));
    EXPECT_TRUE(connection.isOpen());
}

TEST(Connection, ReportsThatTheServerIsGoneWithoutASignal) {
    test::RedisServer redis;
    Connection connection;
    ASSERT_TRUE(open(connection, redis.address()));
    redis.kill();
    EXPECT_FALSE(connection.isQuiet());
    EXPECT_FALSE(ask(connection, "PING"));
    EXPECT_FALSE(connection.isOpen());
    EXPECT_EQ(connection.failure(), Failure::lost);
    EXPECT_FALSE(open(connection, redis.address()));
    EXPECT_EQ(connection.failure(), Failure::unreachable);
    EXPECT_EQ(connection.reason(), "Connection refused");
    redis.start();
    EXPECT_TRUE(open(connection, redis.address()));
    EXPECT_EQ(connection.failure(), Failure::none);
    EXPECT_EQ(ask(connection, "PING").text, "PONG");
}

TEST(Connection, IsNotQuietWhileSomethingLiesInItUnasked) {
    OddServer server([](const std::string&) { return OddServer::Answer{"+OK\r\n+more\r\n"}; });
    Connection connection;
    ASSERT_TRUE(open(connection, server.address()));
    EXPECT_TRUE(connection.isQuiet());
    EXPECT_EQ(ask(connection, "GET").text, "OK");
    EXPECT_TRUE(connection.hasLeftover());
    EXPECT_FALSE(connection.isQuiet());
    ASSERT_TRUE(open(connection, server.address()));
    EXPECT_TRUE(connection.isQuiet()) << "a new connection begins with nothing";
    ASSERT_EQ(ask(connection, "PING").text, "PONG") << "the server knows its client";
    server.push("+unasked\r\n");
    EXPECT_FALSE(connection.isQuiet());
}

TEST(Connection, ShowsTheReasonOfAServerThatHangsUp) {
    test::RedisServer redis;
    redis.command({"CONFIG", "SET", "maxclients", "1"});
    Connection connection;
    ASSERT_TRUE(open(connection, redis.address()));
    const Reply reply = ask(connection, "PING");
    EXPECT_TRUE(connection.reason() == "ERR max number of clients reached" ||
                reply.text == "ERR max number of clients reached")
        << connection.reason();
}

TEST(Connection, FailsOnWhatIsNoReply) {
    const OddServer server(
        [](const std::string&) { return OddServer::Answer{"HTTP/1.1 400 Bad Request\r\n\r\n"}; });
    Connection connection;
    ASSERT_TRUE(open(connection, server.address()));
    EXPECT_FALSE(ask(connection, "GET", "key"));
    EXPECT_EQ(connection.failure(), Failure::nonsense);
    EXPECT_EQ(connection.reason(), "not a reply of redis");
}

TEST(Connection, IsAboveTheStandardStreamsAndClosedOnExec) {
    const test::RedisServer redis;
    const Descriptor kept(::dup(STDIN_FILENO));
    Connection connection;
    for (const char* turn : {"opened", "opened again"}) {
        ::close(STDIN_FILENO);
        const bool isOpen = open(connection, redis.address());
        if (kept.isOpen()) {
            ::dup2(kept.number(), STDIN_FILENO);
        }
        ASSERT_TRUE(isOpen) << turn;
        EXPECT_GT(connection.descriptor(), STDERR_FILENO) << turn;
        EXPECT_NE(::fcntl(connection.descriptor(), F_GETFD) & FD_CLOEXEC, 0) << turn;
    }
}

} // namespace
