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

TEST_F(Leases, AreProlonged) {
    Lease lease = take(milliseconds(60'000));
    server.command({"PEXPIRE", "Lease:x", "20000"});
    lease.prolong();
    EXPECT_GT(life(), 20'000);
}

TEST_F(Leases, ThatAreLostAreNeitherProlongedNorTakenFromTheirNewHolder) {
    {
        Lease lease = take(milliseconds(5000));
        server.command({"SET", "Lease:x", "new holder", "PX", "10000"});
        try {
            lease.prolong();
            ADD_FAILURE() << "prolonged";
        } catch (const client::LeaseHeld& error) {
            EXPECT_EQ(error.what(), "store " + server.address() +
                                        ": the lease \"Lease:x\" was lost to another client; it "
                                        "ends by itself: try again in a moment");
        }
    }
    EXPECT_EQ(server.command({"GET", "Lease:x"}), "new holder");
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
