// One connection of the server, from handshake to end. Brings Asio, so only server.cpp and
// connection.cpp include it. Thread of the loop only.
#pragma once

#include "redfish/server/limits.h"
#include "redfish/server/server.h"

#include <boost/asio/basic_stream_socket.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/ssl/context.hpp>
#include <list>

namespace redfish {

// Concrete types, since the type-erased executor of Asio costs time at each step.
using Executor = boost::asio::io_context::executor_type;
using Socket = boost::asio::basic_stream_socket<boost::asio::ip::tcp, Executor>;

// What the server may do to a connection from outside of its coroutine.
class Connection {
public:
    using Clock = std::chrono::steady_clock;

    Connection() = default;
    virtual ~Connection() = default;
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

    // Whether the present step has taken longer than it may.
    bool isOverdue(Clock::time_point now) const { return now > deadline_; }
    // Ends the connection at once, whatever it is doing.
    virtual void close() = 0;
    // Ends the connection after its present response; at once if it is idle.
    virtual void finish() = 0;

protected:
    // Sets the time for the next step.
    void allow(std::chrono::milliseconds time) { deadline_ = Clock::now() + time; }
    // The next step may take as long as it wants: it has a time-out of its own, or needs none.
    void allowForever() { deadline_ = Clock::time_point::max(); }

private:
    Clock::time_point deadline_ = Clock::time_point::max();
};

// What the connections of a server share. Outlives all of them.
struct ConnectionContext {
    // The loop.
    boost::asio::io_context& io;
    const Limits& limits;
    // Answers requests that were read, and those that were not.
    Handler handler;
    ErrorResponder errors;
    // Connections add and remove themselves.
    std::list<Connection*> open;
    // No further connection is accepted.
    bool isStopping = false;
    // Called when a connection has ended.
    std::function<void()> onEnd;
};

// Starts the coroutine of a connection, which owns itself until it ends.
//   peer  numeric address of the client
//   tls   borrowed; null: without TLS
void startConnection(ConnectionContext& context, Socket socket, std::string peer,
                     std::unique_ptr<AddressTable::Visitor> visitor,
                     boost::asio::ssl::context* tls);

} // namespace redfish
