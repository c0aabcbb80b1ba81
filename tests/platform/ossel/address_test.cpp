// What OSSEL_REDIS may hold, and what is logged for everything else.
#include "tests/platform/ossel/store_test.h"

#include "tests/support/wait_until.h"

#include <arpa/inet.h>
#include <gmock/gmock.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace {

using test::connectTo;
using test::errorsOf;
using testing::HasSubstr;

// A port of the loopback interface that nobody used a moment ago.
int freePort() {
    const int descriptor = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof(address);
    auto* const generic = reinterpret_cast<sockaddr*>(&address);
    EXPECT_EQ(::bind(descriptor, generic, size), 0);
    EXPECT_EQ(::getsockname(descriptor, generic, &size), 0);
    ::close(descriptor);
    return ntohs(address.sin_port);
}

// Lets the server listen on TCP as well.
std::string openTcp(test::RedisServer& redis) {
    int port = 0;
    EXPECT_TRUE(test::waitUntil([&] {
        port = freePort();
        return redis.command({"CONFIG", "SET", "port", std::to_string(port)}) == "OK";
    }));
    return std::to_string(port);
}

TEST(Address, ThatIsNoneOfTheTwoFormsIsNamedAndRefused) {
    for (const std::string bad : {"unix",
                                  "unix:",
                                  "tcp:",
                                  "tcp::6379",
                                  "tcp:host",
                                  "tcp:host:",
                                  "tcp:host:0",
                                  "tcp:host:65536",
                                  "tcp:host:99999999999999999999",
                                  "tcp:host:-1",
                                  "tcp:host:+1",
                                  "tcp:host:63 79",
                                  "tcp:host:6379x",
                                  "tcp:host: 6379",
                                  "tcp:::1:6379",
                                  "tcp:[::1]",
                                  "tcp:[::1]6379",
                                  "tcp:[]:6379",
                                  "tcp:[::1:6379",
                                  "tcp:::1]:6379",
                                  "tcp:[[::1]]:6379",
                                  "127.0.0.1:6379",
                                  "/run/redis.sock",
                                  "redis://127.0.0.1:6379",
                                  "UNIX:/run/redis.sock",
                                  " unix:/run/redis.sock",
                                  "TCP:127.0.0.1:6379"}) {
        EXPECT_EQ(errorsOf([&] { EXPECT_EQ(connectTo(bad), nullptr) << bad; }),
                  "ossel: OSSEL_REDIS is \"" + bad +
                      "\"; allowed are unix:PATH and tcp:HOST:PORT\n");
    }
}

TEST(Address, ThatIsEmptyMeansTheDefault) {
    EXPECT_THAT(errorsOf([] { connectTo(""); }),
                testing::AnyOf("", HasSubstr("at unix:/run/redis/redis-server.sock: ")));
}

TEST(Address, OfASocketMustFitIntoASocketAddress) {
    const std::string fits(sizeof(sockaddr_un::sun_path) - 1, 'x');
    EXPECT_THAT(errorsOf([&] { EXPECT_EQ(connectTo("unix:/" + fits), nullptr); }),
                HasSubstr("allowed are"));
    EXPECT_THAT(errorsOf([&] { EXPECT_EQ(connectTo("unix:" + fits), nullptr); }),
                HasSubstr("cannot reach redis at unix:" + fits + ": No such file"));
}

TEST(Address, MayBeASocket) {
    const test::RedisServer redis;
    EXPECT_EQ(errorsOf([&] { EXPECT_NE(connectTo(redis.address()), nullptr); }), "");
}

TEST(Address, MayBeAHostAndAPort) {
    test::RedisServer redis({"--bind", "127.0.0.1"});
    const std::string port = openTcp(redis);
    for (const std::string host : {"127.0.0.1", "localhost"}) {
        const test::OsselConnection context =
            connectTo(std::string("tcp:").append(host).append(":").append(port));
        ASSERT_NE(context, nullptr) << host;
        EXPECT_EQ(osselSADD(context.get(), "set", host.c_str(), 0), 0);
    }
    EXPECT_EQ(redis.command({"SCARD", "set"}), "2");
}

TEST(Address, MayBeAnIpV6AddressInBrackets) {
    test::RedisServer redis({"--bind", "127.0.0.1", "-::1"});
    const std::string port = openTcp(redis);
    const int probe = ::socket(AF_INET6, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in6 loopback{};
    loopback.sin6_family = AF_INET6;
    loopback.sin6_addr = in6addr_loopback;
    const bool hasIpV6 = probe >= 0 && ::bind(probe, reinterpret_cast<const sockaddr*>(&loopback),
                                              sizeof(loopback)) == 0;
    ::close(probe);
    if (!hasIpV6) {
        GTEST_SKIP() << "this machine has no IPv6 loopback address";
    }
    const test::OsselConnection context = connectTo("tcp:[::1]:" + port);
    ASSERT_NE(context, nullptr);
    EXPECT_EQ(osselSADD(context.get(), "set", "member", 0), 0);
}

TEST(Address, IsReestablishedOverTcpToo) {
    test::RedisServer redis({"--bind", "127.0.0.1"});
    const test::OsselConnection context = connectTo("tcp:127.0.0.1:" + openTcp(redis));
    ASSERT_NE(context, nullptr);
    EXPECT_NE(redis.command({"CLIENT", "KILL", "TYPE", "normal"}), "0");
    EXPECT_EQ(osselSADD(context.get(), "set", "member", 0), 0);
    EXPECT_NE(redis.command({"CLIENT", "KILL", "TYPE", "normal"}), "0");
    EXPECT_EQ(osselPublishToChannel(context.get(), "channel", "message"), 0);
}

TEST(Address, ThatNobodyAnswersIsNamedWithTheReason) {
    const std::string address = "tcp:127.0.0.1:" + std::to_string(freePort());
    EXPECT_EQ(errorsOf([&] { EXPECT_EQ(connectTo(address), nullptr); }),
              "ossel: cannot reach redis at " + address + ": Connection refused\n");
}

TEST(Address, OfNoHostFails) {
    EXPECT_THAT(errorsOf([&] { EXPECT_EQ(connectTo("tcp:host.invalid:6379"), nullptr); }),
                HasSubstr("cannot reach redis at tcp:host.invalid:6379: "));
}

} // namespace
