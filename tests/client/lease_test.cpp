#include "client/lease.h"

#include "client/errors.h"
#include "tests/support/redis_server.h"
#include "tests/support/wait_until.h"

#include <gmock/gmock.h>
#include <thread>

namespace {

using client::Clock;
using client::Lease;
using std::chrono::milliseconds;
using testing::HasSubstr;

class Leases : public testing::Test {
protected:
    Lease take(milliseconds life, milliseconds patience = milliseconds(0)) {
        return {store, "Lease:x", life, Clock::now() + patience, &stop};
    }
    int life() { return std::stoi(server.command({"PTTL", "Lease:x"})); }

    test::RedisServer server;
    client::StoreConnection store{client::parseAddress(server.address())};
    client::Stop stop;
};

TEST_F(Leases, AreGivenUpAtTheEndOfTheirScope) {
    {
        const Lease lease = take(milliseconds(10'000));
        EXPECT_GT(life(), 5000);
        EXPECT_THROW(take(milliseconds(10'000)), client::LeaseHeld);
    }
    EXPECT_EQ(server.command({"EXISTS", "Lease:x"}), "0");
    const Lease again = take(milliseconds(10'000));
}

TEST_F(Leases, EndByThemselves) {
    server.command({"SET", "Lease:x", "dead client", "PX", "100"});
    const Lease lease = take(milliseconds(10'000), milliseconds(10'000));
    EXPECT_NE(server.command({"GET", "Lease:x"}), "dead client");
}

TEST_F(Leases, ArePassedOnWhenGivenUp) {
    auto first =
        std::make_unique<Lease>(store, "Lease:x", milliseconds(60'000), Clock::now(), &stop);
    std::thread other([this] {
        client::StoreConnection own(client::parseAddress(server.address()));
        const Lease second(own, "Lease:x", milliseconds(60'000),
                           Clock::now() + milliseconds(20'000), nullptr);
    });
    first.reset();
    other.join();
    EXPECT_EQ(server.command({"EXISTS", "Lease:x"}), "0");
}

TEST_F(Leases, ThatAreLostAreNotTakenFromTheirNewHolder) {
    {
        const Lease lease = take(milliseconds(5000));
        server.command({"SET", "Lease:x", "new holder", "PX", "10000"});
    }
    EXPECT_EQ(server.command({"GET", "Lease:x"}), "new holder");
}

TEST_F(Leases, ReadInTheRoundTripInWhichTheyAreTaken) {
    server.command({"SET", "key", "value"});
    const auto exchanges = [this] {
        const std::string stats = server.command({"INFO", "stats"});
        const std::string name = "total_reads_processed:";
        return std::stoi(stats.substr(stats.find(name) + name.size()));
    };
    store.exists("key"); // connected from now on
    const int before = exchanges();
    const Lease lease(store, "Lease:x", milliseconds(5000), Clock::now(), &stop,
                      {{"GET", "key"}, {"HGETALL", "key"}, {"GET", "Lease:x"}});
    EXPECT_EQ(exchanges() - before, 2) << "one for the lease, one for counting";
    ASSERT_EQ(lease.replies().size(), 3U);
    EXPECT_EQ(lease.replies()[0].text, "value");
    EXPECT_EQ(lease.replies()[1].kind, client::Reply::Kind::error);
    EXPECT_EQ(lease.replies()[2].text, lease.token()) << "it was held already";
}

TEST_F(Leases, ThatWereGivenUpAreLeftAlone) {
    {
        Lease lease = take(milliseconds(5000));
        EXPECT_EQ(store.command(lease.release()).integer, 1);
        server.command({"SET", "Lease:x", lease.token(), "PX", "10000"});
        lease.dismiss();
    }
    EXPECT_EQ(server.command({"EXISTS", "Lease:x"}), "1");
}

TEST_F(Leases, WithoutAnEndAreToldApart) {
    server.command({"SET", "Lease:x", "by hand"});
    try {
        take(milliseconds(5000));
        ADD_FAILURE() << "taken";
    } catch (const client::LeaseHeld& error) {
        EXPECT_THAT(error.what(), HasSubstr("it has no end: delete the key"));
    }
}

TEST_F(Leases, AreNoLongerWaitedForWhenStopped) {
    server.command({"SET", "Lease:x", "somebody"});
    stop.request();
    EXPECT_THROW(take(milliseconds(5000), milliseconds(60'000)), client::Stopped);
    EXPECT_EQ(server.command({"GET", "Lease:x"}), "somebody");
}

TEST_F(Leases, HaveOneHolderAtATime) {
    std::atomic<int> holders{0};
    std::atomic<int> most{0};
    std::vector<std::thread> threads;
    threads.reserve(4);
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([&] {
            client::StoreConnection own(client::parseAddress(server.address()));
            for (int round = 0; round < 20; ++round) {
                const Lease lease(own, "Lease:x", milliseconds(60'000),
                                  Clock::now() + milliseconds(50'000), nullptr);
                most = std::max(most.load(), ++holders);
                --holders;
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(most, 1);
}

} // namespace
