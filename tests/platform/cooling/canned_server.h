// TCP servers that are not a cooling unit.
#pragma once

#include "tests/support/listener.h"

#include <atomic>
#include <chrono>
#include <cstdint>
#include <string>
#include <thread>
#include <vector>

namespace test {

// Answers anything with the same bytes, one connection at a time.
class CannedServer {
public:
    struct Answer {
        std::vector<std::uint8_t> bytes;
        std::chrono::milliseconds pause{}; // before each byte
        bool hangUp = false;               // afterwards
    };
    explicit CannedServer(Answer answer);
    ~CannedServer();
    CannedServer(const CannedServer&) = delete;
    CannedServer& operator=(const CannedServer&) = delete;

    std::string address() const;
    int connections() const { return connections_; }
    int requests() const { return requests_; }

private:
    void work();
    void serve(int client);

    Answer answer_;
    Listener listener_ = Listener::onLoopback();
    std::atomic<int> connections_ = 0;
    std::atomic<int> requests_ = 0;
    std::thread thread_;
};

// A listener with a full queue: it neither accepts nor refuses connections.
class FullListener {
public:
    FullListener();
    ~FullListener();
    FullListener(const FullListener&) = delete;
    FullListener& operator=(const FullListener&) = delete;

    std::string address() const;

private:
    Listener listener_ = Listener::onLoopback(0);
    std::vector<int> waiting_;
};

} // namespace test
