#include "platform/ossel/complaints.h"

#include "log_line.h"

#include <atomic>
#include <chrono>
#include <mutex>
#include <unordered_map>

namespace ossel {

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::seconds kSilencePerLine{10};
constexpr std::size_t kRememberedLines = 64;

std::atomic<bool> outage{false};

// True when the line may be logged again. Any thread.
bool isDue(const std::string& line) {
    static std::mutex mutex;
    static std::unordered_map<std::string, Clock::time_point> lastLogged;
    const std::lock_guard lock(mutex);
    const Clock::time_point now = Clock::now();
    if (lastLogged.size() >= kRememberedLines) {
        std::erase_if(lastLogged,
                      [now](const auto& entry) { return now - entry.second >= kSilencePerLine; });
    }
    if (lastLogged.size() >= kRememberedLines && !lastLogged.contains(line)) {
        return false;
    }
    const auto [entry, isNew] = lastLogged.try_emplace(line, now);
    if (!isNew && now - entry->second < kSilencePerLine) {
        return false;
    }
    entry->second = now;
    return true;
}

} // namespace

void complain(std::string_view text) {
    writeErrorLine("ossel: ", text);
}

void complainOfOutage(std::string_view address, std::string_view text) {
    static std::mutex mutex;
    static std::string lastAddress;
    {
        const std::lock_guard lock(mutex);
        if (outage.exchange(true) && lastAddress == address) {
            return;
        }
        lastAddress = address;
    }
    complain(text);
}

void outageIsOver() noexcept {
    if (outage.load(std::memory_order_relaxed)) {
        outage.store(false);
    }
}

void complainNowAndThen(std::string_view text) {
    if (isDue(std::string(text))) {
        complain(text);
    }
}

} // namespace ossel
