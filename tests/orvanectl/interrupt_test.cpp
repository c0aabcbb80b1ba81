#include "tests/orvanectl/fixture.h"

#include <csignal>

namespace test {
namespace {

// A command that waits, what the provider does meanwhile, and how a signal ends it.
struct Waiting {
    std::string name;
    std::vector<std::string> arguments;
    std::string silentFor;  // message id that is not answered; empty: none comes
    bool isEndless = false; // 0 is its normal end
};

void PrintTo(const Waiting& waiting, std::ostream* stream) {
    *stream << waiting.name;
}

class Interrupt : public WithProvider, public testing::WithParamInterface<Waiting> {
protected:
    // `already`: requests that came in before.
    bool isWaiting(std::size_t already) {
        if (GetParam().silentFor.empty()) {
            return server.command({"INFO", "clients"}).find("blocked_clients:1") !=
                   std::string::npos;
        }
        return provider.receivedCount() > already;
    }
};

TEST_P(Interrupt, LeavesNoKeyBehind) {
    // Fresh, so that no read request goes before the command at hand.
    server.command({"SET", std::string("TTL:") + StandInProvider::kInstance, "1"});
    provider.behave(GetParam().silentFor, {.times = 0});
    const std::vector<std::string> before = keys();
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
        const std::size_t already = provider.receivedCount();
        ChildProcess child(words(GetParam().arguments), environment(), "/dev/null", "/dev/null");
        ASSERT_TRUE(waitUntil([&] { return isWaiting(already); }));
        child.signal(signal);
        EXPECT_EQ(child.wait(), GetParam().isEndless ? 0 : 128 + signal);
        EXPECT_EQ(keys(), before);
    }
}

INSTANTIATE_TEST_SUITE_P(
    EachWaitingCommand, Interrupt,
    testing::Values(
        Waiting{"Get", {"get", "--repeat", "2"}, "00001"}, Waiting{"Status", {"status"}, "00001"},
        Waiting{"Request", {"request", "00002", "MyRequest", "--field", "Language=x"}, "00002"},
        Waiting{"Set", {"set", "Theme=dark"}, "00003"},
        Waiting{"Action", {"action", "gui-ready", "--timeout", "0.5"}, "00000"},
        Waiting{"Events", {"events"}, "", true}, Waiting{"Watch", {"watch"}, "", true}),
    [](const auto& instance) { return instance.param.name; });

using InterruptOne = WithProvider;

TEST_F(InterruptOne, ASetThatWaitsForTheLeaseLeavesItToItsHolder) {
    const std::string lease = std::string("Lease:") + StandInProvider::kInstance;
    server.command({"SET", lease, "somebody"});
    const std::vector<std::string> before = keys();
    const auto tries = [this] { return server.command({"INFO", "commandstats"}); };
    ChildProcess child(words({"set", "Theme=dark"}), environment(), "/dev/null", "/dev/null");
    // SET is called by the test once; what follows is the client trying.
    ASSERT_TRUE(waitUntil([&] {
        return tries().find("cmdstat_set:calls=1,") == std::string::npos &&
               tries().find("cmdstat_set:calls=2,") == std::string::npos;
    }));
    child.signal(SIGINT);
    EXPECT_EQ(child.wait(), 128 + SIGINT);
    EXPECT_EQ(keys(), before);
    EXPECT_EQ(server.command({"GET", lease}), "somebody");
}

TEST_F(InterruptOne, AnActionIsAwaitedSinceItsProviderWritesIntoTheRequestObject) {
    provider.behave({.work = std::chrono::milliseconds(300)});
    ChildProcess child(words({"action", "turn-off-lcd"}), environment(), "/dev/null", "/dev/null");
    ASSERT_TRUE(waitUntil([this] { return provider.receivedCount() == 1; }));
    child.signal(SIGINT);
    EXPECT_EQ(child.wait(), 128 + SIGINT);
    EXPECT_NE(keysLike("answer-"), "");
    EXPECT_EQ(keysLike("Request:"), "");
}

TEST_F(InterruptOne, ARequestObjectOfAKilledClientExpires) {
    provider.behave({.times = 0});
    ChildProcess child(words({"action", "turn-off-lcd"}), environment(), "/dev/null", "/dev/null");
    ASSERT_TRUE(waitUntil([this] { return provider.receivedCount() == 1; }));
    child.signal(SIGKILL);
    child.wait();
    const std::string key = keysLike("Request:");
    ASSERT_NE(key, "");
    EXPECT_GT(std::stoi(server.command({"PTTL", key})), 0);
}

} // namespace
} // namespace test
