// Host names: the resolver here is a double that hangs until the test lets it go, as one does whose
// name server is gone.
#include "redis/lookup.h"

#include "client/connection.h"
#include "client/errors.h"
#include "redis/connection.h"
#include "tests/support/listener.h"

#include <arpa/inet.h>
#include <condition_variable>
#include <csignal>
#include <filesystem>
#include <gmock/gmock.h>
#include <map>
#include <mutex>
#include <netdb.h>
#include <netinet/in.h>
#include <thread>

namespace {

using redis::Clock;
using redis::lookUp;
using testing::HasSubstr;

// The double's state. Names are answered by the real resolver as the address 127.0.0.1.
struct Resolver {
    std::mutex mutex;
    std::condition_variable changed;
    bool hangs = false;
    std::map<std::string, int> asked; // times, by name
    int running = 0;                  // questions
    bool blocksSignals = true;
};

Resolver& resolver() {
    static Resolver resolver;
    return resolver;
}

bool allSignalsAreBlocked() {
    sigset_t mask;
    ::pthread_sigmask(SIG_SETMASK, nullptr, &mask);
    return ::sigismember(&mask, SIGTERM) == 1 && ::sigismember(&mask, SIGINT) == 1 &&
           ::sigismember(&mask, SIGUSR1) == 1;
}

} // namespace

extern "C" {
int __real_getaddrinfo(const char* node, const char* service, const addrinfo* hints,
                       addrinfo** result);

int __wrap_getaddrinfo(const char* node, const char* service, const addrinfo* hints,
                       addrinfo** result) {
    if ((hints->ai_flags & AI_NUMERICHOST) != 0) {
        return __real_getaddrinfo(node, service, hints, result);
    }
    Resolver& all = resolver();
    {
        std::unique_lock lock(all.mutex);
        ++all.asked[node];
        ++all.running;
        all.blocksSignals = all.blocksSignals && allSignalsAreBlocked();
        all.changed.notify_all();
        all.changed.wait(lock, [&all] { return !all.hangs; });
    }
    const bool isUnknown = std::string_view(node).ends_with(".invalid");
    const int code =
        isUnknown ? EAI_NONAME : __real_getaddrinfo("127.0.0.1", service, hints, result);
    const std::lock_guard lock(all.mutex);
    --all.running;
    all.changed.notify_all();
    return code;
}
}

namespace {

// Each test asks for a name of its own: the question of the one before may still be about to end.
class LookUp : public testing::Test {
protected:
    LookUp() {
        const std::lock_guard lock(resolver().mutex);
        resolver().asked.clear();
        resolver().blocksSignals = true;
    }
    ~LookUp() override { letGo(); }

    static void hang() {
        const std::lock_guard lock(resolver().mutex);
        resolver().hangs = true;
    }

    // Returns when no thread is in the resolver any more.
    static void letGo() {
        std::unique_lock lock(resolver().mutex);
        resolver().hangs = false;
        resolver().changed.notify_all();
        resolver().changed.wait(lock, [] { return resolver().running == 0; });
    }

    static int asked(const std::string& name) {
        const std::lock_guard lock(resolver().mutex);
        return resolver().asked[name];
    }

    static redis::Deadline soon() { return Clock::now() + std::chrono::milliseconds(100); }
    static redis::Deadline late() { return Clock::now() + std::chrono::seconds(30); }
};

std::string shown(const redis::SocketAddress& address) {
    std::array<char, INET6_ADDRSTRLEN> host{};
    std::array<char, 8> port{};
    ::getnameinfo(reinterpret_cast<const sockaddr*>(&address.storage), address.length, host.data(),
                  host.size(), port.data(), port.size(), NI_NUMERICHOST | NI_NUMERICSERV);
    return std::string(host.data()) + " " + port.data();
}

TEST_F(LookUp, OfANumericAddressNeverAsksTheResolver) {
    hang();
    const redis::LookUpResult four = lookUp("127.0.0.1", 6379, soon());
    ASSERT_EQ(four.addresses.size(), 1U) << four.problem;
    EXPECT_EQ(shown(four.addresses[0]), "127.0.0.1 6379");
    const redis::LookUpResult six = lookUp("::1", 1, soon());
    ASSERT_EQ(six.addresses.size(), 1U) << six.problem;
    EXPECT_EQ(shown(six.addresses[0]), "::1 1");
    EXPECT_EQ(asked("127.0.0.1") + asked("::1"), 0);
}

TEST_F(LookUp, OfANameAsksTheResolverInAThreadThatTakesNoSignals) {
    const redis::LookUpResult found = lookUp("thread.test", 6379, late());
    ASSERT_EQ(found.addresses.size(), 1U) << found.problem;
    EXPECT_EQ(shown(found.addresses[0]), "127.0.0.1 6379");
    EXPECT_EQ(asked("thread.test"), 1);
    const std::lock_guard lock(resolver().mutex);
    EXPECT_TRUE(resolver().blocksSignals);
    sigset_t mask;
    ::pthread_sigmask(SIG_SETMASK, nullptr, &mask);
    EXPECT_EQ(::sigismember(&mask, SIGTERM), 0) << "the caller's own mask is as before";
}

TEST_F(LookUp, OfAnUnknownNameHasAReason) {
    const redis::LookUpResult found = lookUp("host.invalid", 6379, late());
    EXPECT_TRUE(found.addresses.empty());
    EXPECT_EQ(found.problem, ::gai_strerror(EAI_NONAME));
}

TEST_F(LookUp, EndsAtItsDeadlineWhileTheResolverHangs) {
    hang();
    const auto begin = Clock::now();
    const redis::LookUpResult found = lookUp("deadline.test", 6379, soon());
    EXPECT_LT(Clock::now() - begin, std::chrono::seconds(2));
    EXPECT_TRUE(found.addresses.empty());
    EXPECT_EQ(found.problem, "the look-up of the host did not end in time");
}

TEST_F(LookUp, WaitsForARunningOneInsteadOfStartingAnother) {
    hang();
    for (int i = 0; i < 5; ++i) {
        EXPECT_TRUE(lookUp("waiting.test", 6379, soon()).addresses.empty());
    }
    EXPECT_EQ(asked("waiting.test"), 1);
    std::thread another(
        [] { EXPECT_EQ(lookUp("waiting.test", 6380, late()).addresses.size(), 1U); });
    letGo();
    another.join();
    EXPECT_EQ(lookUp("waiting.test", 6379, late()).addresses.size(), 1U);
    EXPECT_GE(asked("waiting.test"), 2) << "an answer is not kept";
}

TEST_F(LookUp, AndConnectTogetherTakeTwoSeconds) {
    hang();
    redis::Connection connection;
    const auto begin = Clock::now();
    EXPECT_FALSE(
        connection.open(redis::parseAddress("tcp:connect.test:6379"), begin + redis::kTimeout));
    EXPECT_LT(Clock::now() - begin, std::chrono::milliseconds(3000));
    EXPECT_GE(Clock::now() - begin, std::chrono::milliseconds(1950));
    EXPECT_EQ(connection.failure(), redis::Failure::unreachable);
    EXPECT_EQ(connection.reason(), "the look-up of the host did not end in time");
}

TEST_F(LookUp, OfAClientIsBoundedToo) {
    hang();
    client::StoreConnection store(client::parseAddress("tcp:client.test:6379"));
    const auto begin = Clock::now();
    try {
        store.command({"PING"});
        ADD_FAILURE() << "connected";
    } catch (const client::StoreUnreachable& error) {
        EXPECT_THAT(error.what(), HasSubstr("the look-up of the host did not end in time"));
    }
    EXPECT_LT(Clock::now() - begin, std::chrono::milliseconds(3000));
}

TEST_F(LookUp, LeadsToTheServer) {
    const test::Listener listener = test::Listener::onLoopback();
    redis::Connection connection;
    EXPECT_TRUE(
        connection.open(redis::parseAddress("tcp:server.test:" + std::to_string(listener.port())),
                        Clock::now() + redis::kTimeout))
        << connection.reason();
}

} // namespace
