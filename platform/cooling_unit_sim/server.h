// The simulator's one loop: Modbus clients, the control socket and the signals that end it.
#pragma once

#include "platform/cooling_unit_sim/answerer.h"
#include "platform/cooling_unit_sim/behaviour.h"
#include "platform/cooling_unit_sim/sockets.h"
#include "platform/cooling_unit_sim/unit.h"

#include <chrono>
#include <deque>
#include <list>
#include <string>

namespace sim {

class Server {
public:
    // Listens when the constructor returns, and takes SIGTERM and SIGINT from then on.
    //   controlPath  empty: no control socket
    // Throws std::system_error, std::runtime_error.
    Server(const cooling::UnitAddress& address, const std::string& controlPath, Unit& unit);
    ~Server();
    Server(const Server&) = delete;
    Server& operator=(const Server&) = delete;

    // The address it listens on, with the actual port if 0 was given.
    std::string address() const { return ownAddress(listener_); }

    // Serves until SIGTERM or SIGINT.
    void run();

private:
    using Clock = std::chrono::steady_clock;
    struct Delayed {
        Clock::time_point due;
        Bytes bytes;
    };
    struct Client {
        Descriptor socket;
        std::string name;
        Bytes input;
        std::deque<Delayed> answers;
        bool gone = false;
    };
    struct Teller {
        Descriptor socket;
        std::string line;
        bool gone = false;
    };

    int pauseUntilDue() const;
    bool waitForWork();
    void acceptClients();
    void acceptTellers();
    void read(Client& client);
    void serve(Client& client, const Bytes& request);
    static void sendDue(Client& client);
    void read(Teller& teller);

    Unit& unit_;
    Behaviour behaviour_;
    Answerer answerer_;
    Descriptor signals_, listener_, control_;
    std::string controlPath_;
    std::list<Client> clients_;
    std::list<Teller> tellers_;
};

} // namespace sim
