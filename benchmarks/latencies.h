// Latencies of many requests, and what is told of them.
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

    // In microseconds: the least latency that this share (0 to 1) of all does not exceed. 0
    // where there is none. Sorts.
    double percentile(double share);

    // Members of a JSON object, in microseconds: "p50": 1.234, "p99": ..., "p999": ..., "max": ...
    void write(std::ostream& out);

private:
    std::vector<std::uint64_t> nanoseconds_;
    bool sorted_ = true;
};

} // namespace bench
