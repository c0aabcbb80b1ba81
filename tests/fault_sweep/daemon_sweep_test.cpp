// The daemon itself behind the preloaded double. Each call that can fail does so once, in a process
// of its own.
#include "tests/fault_sweep/failing_results.h"
#include "tests/fault_sweep/sweep.h"
#include "tests/service/daemon.h"

#include <algorithm>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>

namespace fault_sweep {

namespace {

using service_test::Lines;

constexpr char kDefinitionTarget[] = "80000000-0000-0000-0000-008000000000";

Lines script() {
    const std::string target = std::string(" OriginalObjID=") + kDefinitionTarget;
    return {"provision",
            "hash Request:2" + target,
            "hash Request:2 Language=Deutsch",
            "hash Request:0" + target,
            "hash Request:0 Action=WebGUI.TurnOffLCD",
            std::string("request 00001 ") + kDefinitionTarget + " Reply:1",
            "request 00002 Request:2 Reply:2",
            "request 00000 Request:0 Reply:3",
            "request 00009 Request:0 Reply:4"};
}

Lines withFault(Lines lines, int number) {
    lines.push_back("fail-any " + std::to_string(number) + " 26");
    return lines;
}

auto publications(const service_test::Life& life, const std::string& channel) {
    return std::ranges::count_if(life.calls, [&](const std::string& call) {
        return call.starts_with("osselPublishToChannel(") &&
               call.find(channel) != std::string::npos;
    });
}

auto callsThatCanFail(const service_test::Life& life) {
    return std::ranges::count_if(
        life.calls, [](const std::string& call) { return !failingResults(call).empty(); });
}

TEST(DaemonSweep, EndsWithStatusZeroWhicheverCallFails) {
    const service_test::Life whole = service_test::live(script());
    ASSERT_EQ(whole.status, 0);
    const auto calls = callsThatCanFail(whole);
    ASSERT_GT(calls, 50);
    for (int n = 1; n <= calls; ++n) {
        const service_test::Life life = service_test::live(withFault(script(), n));
        EXPECT_EQ(life.status, 0) << n << '\n' << life.errors;
        EXPECT_EQ(life.errors, "") << n;
        EXPECT_GE(callsThatCanFail(life), n) << "the fault was not met";
        ASSERT_FALSE(life.calls.empty()) << n;
        EXPECT_EQ(life.calls.back(), "~ovrComSupport()") << n;
        for (const char* channel : {"Reply:1", "Reply:2", "Reply:3", "Reply:4"}) {
            EXPECT_LE(publications(life, channel), 1) << n;
        }
    }
    RecordProperty("runs", static_cast<int>(calls) + 1);
}

// --- The sweep is complete, and says how much it was ------------------------------------

class Summary : public testing::Environment {
public:
    void TearDown() override {
        const Counts& all = totalCounts();
        std::printf(
            "fault sweep: %d runs: %d without a fault, %d with one, %d with one that lasts, "
            "%d with two neighbours\n",
            all.total(), all.successful, all.single, all.lasting, all.pairs);
    }
};
const testing::Environment* const g_summary = testing::AddGlobalTestEnvironment(new Summary);

} // namespace

} // namespace fault_sweep
