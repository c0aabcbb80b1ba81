// Stands between clients and a server on a unix socket: passes everything on, at once or late, and
// stops passing on at a given stage where a test asks for that.
#pragma once

#include "tests/support/listener.h"

#include <atomic>
#include <chrono>
#include <deque>
#include <list>
#include <string>
#include <thread>
#include <vector>

namespace test {

class Relay {
public:
    enum class Then { hangUp, fallSilent };

    // Listens on a unix socket of this path, for any number of clients.
    Relay(const std::string& ownSocket, std::string serverSocket);

    // Listens on a loopback port, passes on `stages` packets of its client, then does as
    // it is told.
    Relay(std::string serverSocket, int stages, Then then);

    ~Relay(); // hangs up
    Relay(const Relay&) = delete;
    Relay& operator=(const Relay&) = delete;

    // The loopback port.
    int port() const { return listener_.port(); }

    // Whether a client has come as far as the stage.
    bool reached() const { return reached_; }

    // From now on each packet waits so long, in either direction. What waits already goes on by
    // the new delay too, counted from its coming. Any thread.
    void setDelay(std::chrono::milliseconds delay) { delay_ = delay; }

private:
    using Clock = std::chrono::steady_clock;

    struct Packet {
        Clock::time_point came;
        std::vector<char> bytes; // empty: the sender has hung up
    };
    struct Way {
        int from;
        int to;
        bool isOpen = true; // whether more may come
        std::deque<Packet> waiting;
    };
    // A client and its connection to the server.
    struct Link {
        Way there;
        Way back;
    };

    void work();
    bool waitForSomething();
    void accept();
    bool serve(Link& link);
    bool passOnDue(Way& way);
    static void receive(Way& way);
    static void close(const Link& link);

    std::string serverSocket_;
    int stagesLeft_; // below 0: no end
    Then then_ = Then::hangUp;
    Listener listener_;
    std::atomic<Clock::duration> delay_{Clock::duration::zero()};
    std::atomic<bool> reached_ = false;
    bool isSilent_ = false;
    std::list<Link> links_;
    std::thread thread_;
};

} // namespace test
