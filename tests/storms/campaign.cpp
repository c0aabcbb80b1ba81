// The long form of the storms: all faults of the store, in random order, for as long as
// ORVANE_STORM_SECONDS says, and a table at the end. script/storm runs it.
#include "storms/storm.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <map>

namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;
using storms::Clock;
using storms::Fault;
using storms::Storm;

constexpr milliseconds kBackWithin{1000};
constexpr milliseconds kCalm{150};
constexpr milliseconds kDuration{500};

seconds timeToSpend() {
    const char* const given = std::getenv("ORVANE_STORM_SECONDS");
    return seconds(given == nullptr ? 60 : std::stoi(given));
}

// All storms of one fault.
struct Row {
    int count = 0;
    int crashes = 0;
    storms::Accounts accounts;
    std::vector<milliseconds> recoveries;

    void add(const Storm& storm) {
        ++count;
        crashes += storm.isDaemonGone ? 1 : 0;
        accounts += storm.accounts;
        recoveries.push_back(storm.recovery);
        std::sort(recoveries.begin(), recoveries.end());
    }
};

void printRow(const char* name, const Row& row) {
    const storms::Accounts& a = row.accounts;
    const auto median =
        row.recoveries.empty() ? 0 : row.recoveries[row.recoveries.size() / 2].count();
    const auto longest = row.recoveries.empty() ? 0 : row.recoveries.back().count();
    std::printf(
        "| %-28s | %5d | %8lld | %8lld | %6lld | %7lld | %7lld | %4lld | %7lld | %8lld | %6lld | "
        "%6lld | %7d |\n",
        name, row.count, a.requests, a.answered, a.nobody, a.cutOff, a.refused, a.lost, a.dropped,
        a.givenUp, static_cast<long long>(median), static_cast<long long>(longest), row.crashes);
}

class Campaign : public storms::Storms {
protected:
    Campaign() { setLulls(kCalm, kDuration); }

    // The same rows for both tests.
    static std::map<Fault, Row>& rows() {
        static std::map<Fault, Row> rows;
        return rows;
    }

    template <std::size_t Count>
    void liveThrough(const std::array<Fault, Count>& faults, seconds time) {
        const Clock::time_point end = Clock::now() + time;
        while (Clock::now() < end) {
            const Fault fault =
                faults.at(std::uniform_int_distribution<std::size_t>(0, Count - 1)(random()));
            const Storm storm = raise(fault);
            EXPECT_LE(storm.recovery, kBackWithin) << nameOf(fault) << "\n" << errors();
            rows()[fault].add(storm);
            if (storm.isDaemonGone) {
                startDaemon();
            }
        }
    }

    static void TearDownTestSuite() {
        Row all;
        std::printf("\n| fault | count | requests | answered | nobody | cut off | refused | lost | "
                    "dropped | given up | p50 ms | max ms | crashes |\n"
                    "|---|--:|--:|--:|--:|--:|--:|--:|--:|--:|--:|--:|--:|\n");
        for (const auto& [fault, row] : rows()) {
            printRow(nameOf(fault), row);
            all.count += row.count;
            all.crashes += row.crashes;
            all.accounts += row.accounts;
            all.recoveries.insert(all.recoveries.end(), row.recoveries.begin(),
                                  row.recoveries.end());
        }
        std::sort(all.recoveries.begin(), all.recoveries.end());
        printRow("all", all);
    }
};

class SlowCampaign : public Campaign {
protected:
    SlowCampaign() { putRelayBetween(); }
    static void TearDownTestSuite() {} // the table comes with the other one
};

// A relay is part of every command here, so this is the smaller share.
TEST_F(SlowCampaign, OfASlowStore) {
    static constexpr std::array kFaults{Fault::slow, Fault::tooSlow};
    liveThrough(kFaults, timeToSpend() / 10);
}

TEST_F(Campaign, OfEverythingElse) {
    static constexpr std::array kFaults{
        Fault::killed,  Fault::killed, Fault::killed,      Fault::killedToAnOldOne,
        Fault::emptied, Fault::paused, Fault::outOfMemory, Fault::connectionLimit};
    liveThrough(kFaults, timeToSpend() - timeToSpend() / 10);
}

} // namespace
