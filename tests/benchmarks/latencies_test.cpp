#include "benchmarks/latencies.h"

#include <gtest/gtest.h>
#include <sstream>

namespace {

using std::chrono::microseconds;

TEST(Latencies, GiveTheLeastThatTheShareDoesNotExceed) {
    bench::Latencies latencies;
    for (int i = 1000; i > 0; --i) {
        latencies.add(microseconds(i));
    }
    EXPECT_EQ(latencies.count(), 1000U);
    EXPECT_DOUBLE_EQ(latencies.percentile(0.5), 500.0);
    EXPECT_DOUBLE_EQ(latencies.percentile(0.99), 990.0);
    EXPECT_DOUBLE_EQ(latencies.percentile(0.999), 999.0);
    EXPECT_DOUBLE_EQ(latencies.percentile(1.0), 1000.0);
    EXPECT_DOUBLE_EQ(latencies.percentile(0.0), 1.0);
    latencies.add(microseconds(0));
    EXPECT_DOUBLE_EQ(latencies.percentile(0.0), 0.0);
}

TEST(Latencies, AreZeroWhereThereIsNone) {
    bench::Latencies latencies;
    std::ostringstream out;
    latencies.write(out);
    EXPECT_EQ(out.str(), R"("p50": 0, "p99": 0, "p999": 0, "max": 0)");
}

} // namespace
