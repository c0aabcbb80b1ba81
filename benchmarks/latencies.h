// Latencies of many requests, and their statistics.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <iosfwd>
#include <vector>

namespace bench {

using Clock = std::chrono::steady_clock;

class Latencies {
public:
    void reserve(std::size_t count) { nanoseconds_.reserve(count); }
    void add(Clock::duration latency);
    std::size_t count() const { return nanoseconds_.size(); }

    // The latency, in microseconds, that this share (0 to 1) of all does not exceed; 0 if there are
    // none. Sorts.
    double percentile(double share);

    // The members of a JSON object, in microseconds: "p50": 1.234, "p99": ..., "p999": ..., "max":
    // ...
    void write(std::ostream& out);

private:
    std::vector<std::uint64_t> nanoseconds_;
    bool sorted_ = true;
};

} // namespace bench
