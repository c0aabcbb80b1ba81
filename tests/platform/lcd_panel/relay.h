// Stands between an X client and a server, as a display of its own, and stops passing on at
// a given stage.
#pragma once

#include "support/listener.h"

#include <atomic>
#include <string>
#include <thread>

namespace test {

class Relay {
public:
    enum class Then { hangUp, fallSilent };

    // Passes on `stages` packets of the first client, then does as it is told.
    //   serverSocket  the unix socket of the true server
    Relay(std::string serverSocket, int stages, Then then);
    ~Relay(); // hangs up
    Relay(const Relay&) = delete;
    Relay& operator=(const Relay&) = delete;

    std::string display() const; // "127.0.0.1:26801"
    // Whether the client has come as far as the stage.
    bool reached() const { return reached_; }

private:
    void work();

    std::string serverSocket_;
    int stages_;
    Then then_;
    Listener listener_ = Listener::onLoopback();
    std::atomic<bool> reached_ = false;
    std::thread thread_;
};

} // namespace test
