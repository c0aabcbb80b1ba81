// A server on a unix socket that answers what the test tells it to: broken, late, too much, or
// not at all. It understands no command.
#pragma once

#include "tests/support/listener.h"
#include "tests/support/temporary_folder.h"

#include <chrono>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace test {

class OddServer {
public:
    struct Answer {
        std::string bytes;
        bool closes = false;
        bool inPieces = false;              // byte by byte, until the client hangs up
        std::chrono::milliseconds pause{0}; // between two pieces
    };
    // Called in the server's thread with everything that arrived in one go, except for PING,
    // which is always answered as it should be.
    using Answering = std::function<Answer(const std::string& request)>;

    explicit OddServer(Answering answering);
    ~OddServer();
    OddServer(const OddServer&) = delete;
    OddServer& operator=(const OddServer&) = delete;

    std::string address() const { return "unix:" + folder_.file("odd.sock"); }

    // Sends something that nobody asked for to the client of now. It has arrived when the
    // function returns.
    void push(const std::string& bytes);

    std::vector<std::string> requests() const; // without PING

private:
    void serve();
    void setClient(int client);
    static bool send(int client, const Answer& answer);
    void serveClient(int client);

    TemporaryFolder folder_;
    Answering answering_;
    Listener listener_{folder_.file("odd.sock")};
    mutable std::mutex mutex_; // guards the two below
    int client_ = -1;
    std::vector<std::string> requests_;
    std::thread thread_;
};

} // namespace test
