#include "benchmarks/latencies.h"

#include <algorithm>
#include <cmath>
#include <ostream>

namespace bench {

void Latencies::add(Clock::duration latency) {
    nanoseconds_.push_back(static_cast<std::uint64_t>(
        std::chrono::duration_cast<std::chrono::nanoseconds>(latency).count()));
    sorted_ = false;
}

double Latencies::percentile(double share) {
    constexpr double kNanosecondsPerMicrosecond = 1000.0;
    if (nanoseconds_.empty()) {
        return 0.0;
    }
    if (!sorted_) {
        std::sort(nanoseconds_.begin(), nanoseconds_.end());
        sorted_ = true;
    }
    const auto count = static_cast<double>(nanoseconds_.size());
    const auto rank = static_cast<std::size_t>(std::max(1.0, std::ceil(share * count)));
    return static_cast<double>(nanoseconds_[std::min(rank, nanoseconds_.size()) - 1]) /
           kNanosecondsPerMicrosecond;
}

void Latencies::write(std::ostream& out) {
    out << "\"p50\": " << percentile(0.5) << ", \"p99\": " << percentile(0.99)
        << ", \"p999\": " << percentile(0.999) << ", \"max\": " << percentile(1.0);
}

} // namespace bench
