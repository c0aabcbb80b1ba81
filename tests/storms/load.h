// A mixed load by concurrent requesters, each on a thread of its own: reads, updates by several
// users, actions; and requests to the store alone: reads of the fresh instance, the provider's
// state, events.
#pragma once

#include "tests/storms/asker.h"

#include <atomic>
#include <chrono>
#include <cstdint>
#include <memory>
#include <mutex>
#include <random>
#include <string>
#include <thread>
#include <vector>

namespace storms {

using Random = std::mt19937_64;

// The number of requesters of each kind, and how long each rests between two requests, at random up
// to twice that time.
struct Mix {
    int readers = 3;
    int updaters = 2; // each a user of its own
    int actors = 1;
    int freshReaders = 1;
    int statusAskers = 0;
    int watchers = 0; // of the event stream
    std::chrono::microseconds rest{2000};

    int requesters() const { return readers + updaters + actors; }
};

// Totals over any number of loads. Any thread.
struct Counters {
    std::atomic<long long> asked = 0;
    std::atomic<long long> answered = 0;
    std::atomic<long long> freshReads = 0;
    std::atomic<long long> statuses = 0;
    std::atomic<long long> events = 0;
};

// How long a requester waits for an answer: longer than any update takes.
inline constexpr std::chrono::seconds kPatience{10};

class Load {
public:
    // Starts at once. The seed determines values and rests; the counters are borrowed.
    Load(client::Address address, const Mix& mix, std::uint64_t seed, Counters& counters);
    ~Load(); // as finish()
    Load(const Load&) = delete;
    Load& operator=(const Load&) = delete;

    // Stops requesters from beginning another request.
    void wane() { waning_ = true; }
    // Requesters with a request in progress; once 0 after wane(), it stays 0.
    int pending() const { return pending_; }
    // Ends the remaining waits and the threads.
    void finish();

    // Takes what the requesters were told since the last call. Any thread.
    std::vector<Told> take();

private:
    enum class Kind { read, update, action, freshRead, status, watch };

    void begin(Kind kind, const Mix& mix, Random& seeds);
    void work(Kind kind, std::chrono::microseconds rest, std::uint64_t seed, int number);
    bool doOnce(Asker& asker, Kind kind, Random& random, int number);
    bool ask(Asker& asker, const Question& question);
    void watch();

    client::Address address_;
    client::Stop stop_;
    std::atomic<bool> waning_ = false;
    std::atomic<int> pending_ = 0;
    Counters& counters_;
    std::mutex mutex_; // guards told_
    std::vector<Told> told_;
    std::vector<std::thread> threads_;
};

} // namespace storms
