// Waiting for a condition, instead of sleeping and hoping.
#pragma once

#include <chrono>
#include <thread>

namespace test {

// Polls until the condition holds. Returns false when it does not within `limit`.
template <typename Condition>
bool waitUntil(Condition condition, std::chrono::milliseconds limit = std::chrono::seconds(20)) {
    const auto end = std::chrono::steady_clock::now() + limit;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > end) {
            return false;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    return true;
}

} // namespace test
