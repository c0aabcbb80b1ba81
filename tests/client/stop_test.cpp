#include "client/stop.h"

#include <csignal>
#include <gtest/gtest.h>
#include <poll.h>
#include <thread>
#include <unistd.h>

namespace {

using client::Clock;
using client::Stop;
using client::WaitResult;
using std::chrono::milliseconds;

struct Pipe {
    Pipe() { EXPECT_EQ(::pipe(ends), 0); }
    ~Pipe() {
        ::close(ends[0]);
        ::close(ends[1]);
    }
    Pipe(const Pipe&) = delete;
    Pipe& operator=(const Pipe&) = delete;
    int ends[2] = {-1, -1};
};

TEST(WaitFor, EndsAtItsDeadlineAndNotBefore) {
    const Pipe pipe;
    const auto deadline = Clock::now() + milliseconds(20);
    EXPECT_EQ(client::waitFor(pipe.ends[0], POLLIN, deadline, nullptr), WaitResult::timedOut);
    EXPECT_GE(Clock::now(), deadline);
}

TEST(WaitFor, EndsWhenAnotherThreadRequestsTheStop) {
    const Pipe pipe;
    Stop stop;
    std::thread other([&stop] { stop.request(); });
    EXPECT_EQ(client::waitFor(pipe.ends[0], POLLIN, Clock::now() + std::chrono::minutes(1), &stop),
              WaitResult::stopped);
    other.join();
    EXPECT_TRUE(stop.isRequested());
}

TEST(WaitFor, PrefersAStopToWhatIsReady) {
    const Pipe pipe;
    Stop stop;
    stop.request();
    EXPECT_EQ(::write(pipe.ends[1], "x", 1), 1);
    EXPECT_EQ(client::waitFor(pipe.ends[0], POLLIN, Clock::now(), &stop), WaitResult::stopped);
    EXPECT_EQ(client::waitFor(pipe.ends[0], POLLIN, Clock::now(), nullptr), WaitResult::ready);
}

TEST(Stop, IsNotRequestedAtFirstAndStaysRequested) {
    Stop stop;
    EXPECT_FALSE(stop.isRequested());
    stop.request();
    stop.request();
    EXPECT_TRUE(stop.isRequested());
    EXPECT_TRUE(stop.isRequested());
}

TEST(Stop, TakesTheEndOfAReaderForARequest) {
    Pipe pipe;
    Stop stop;
    stop.watchReaderOf(pipe.ends[1]);
    EXPECT_FALSE(stop.isRequested());
    ::close(pipe.ends[0]);
    pipe.ends[0] = -1;
    EXPECT_TRUE(stop.isRequested());
}

TEST(PauseUntil, TellsWhetherItWasStopped) {
    Stop stop;
    EXPECT_TRUE(client::pauseUntil(Clock::now() + milliseconds(1), &stop));
    stop.request();
    EXPECT_FALSE(client::pauseUntil(Clock::now() + std::chrono::minutes(1), &stop));
}

} // namespace
