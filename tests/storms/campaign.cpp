// The long form of the storms: all faults of the store in random order for ORVANE_STORM_SECONDS,
// and a table at the end. script/storm runs it.
#include "tests/storms/storm.h"

#include <algorithm>
#include <array>
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
// As in storms_test.cpp.
constexpr milliseconds kPauses{1500};
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
    std::vector<milliseconds> readings;

    void add(const Storm& storm) {
        ++count;
        crashes += storm.isDaemonGone ? 1 : 0;
        accounts += storm.accounts;
        recoveries.push_back(storm.recovery);
        readings.push_back(storm.reading);
    }

    Row& operator+=(const Row& other) {
        count += other.count;
        crashes += other.crashes;
        accounts += other.accounts;
        recoveries.insert(recoveries.end(), other.recoveries.begin(), other.recoveries.end());
        readings.insert(readings.end(), other.readings.begin(), other.readings.end());
        return *this;
    }
};

// The value that so many out of ten are below; the greatest for 10.
long long tenths(std::vector<milliseconds> times, std::size_t share) {
    std::sort(times.begin(), times.end());
    return times.empty() ? 0 : times[std::min(times.size() * share / 10, times.size() - 1)].count();
}

void printRow(const char* name, const Row& row) {
    const storms::Accounts& a = row.accounts;
    std::cout << "| " << name;
    for (const long long number :
         {static_cast<long long>(row.count), a.requests, a.answered, a.nobody, a.cutOff, a.refused,
          a.lost, a.dropped, a.givenUp, tenths(row.recoveries, 5), tenths(row.recoveries, 10),
          tenths(row.readings, 5), tenths(row.readings, 10), static_cast<long long>(row.crashes)}) {
        std::cout << " | " << number;
    }
    std::cout << " |\n";
}

class Campaign : public storms::Storms {
protected:
    Campaign() { setLulls(kCalm, kDuration); }

    // Both tests add to the same rows.
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
            EXPECT_LE(storm.reading, kBackWithin + kPauses) << nameOf(fault) << "\n" << errors();
            rows()[fault].add(storm);
            if (storm.isDaemonGone) {
                startDaemon();
            }
        }
    }

    static void TearDownTestSuite() {
        Row all;
        std::cout
            << "\n| fault | count | requests | answered | nobody | cut off | refused | lost | "
               "dropped | given up | back p50 ms | max | read p50 ms | max | crashes |\n"
               "|---|--:|--:|--:|--:|--:|--:|--:|--:|--:|--:|--:|--:|--:|--:|\n";
        for (const auto& [fault, row] : rows()) {
            printRow(nameOf(fault), row);
            all += row;
        }
        printRow("all", all);
    }
};

class SlowCampaign : public Campaign {
protected:
    SlowCampaign() { putRelayBetween(); }
    static void TearDownTestSuite() {} // the other one prints the table
};

// Every command passes a relay here, so this is the smaller share.
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
