// One connection of the server, from its handshake to its end. Included by server.cpp and
// connection.cpp only, since it brings Asio.
#pragma once

#include "redfish/server/limits.h"
#include "redfish/server/server.h"

#include <boost/asio/basic_stream_socket.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/ssl/context.hpp>
#include <list>

namespace redfish {

using Executor = boost::asio::io_context::executor_type;
using Socket = boost::asio::basic_stream_socket<boost::asio::ip::tcp, Executor>;

// What the server may do with a connection from outside its coroutine.
class Connection {
public:
    using Clock = std::chrono::steady_clock;

    Connection() = default;
    virtual ~Connection() = default;
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

    bool isOverdue(Clock::time_point now) const { return now > deadline_; }
    // Ends whatever it is doing at once.
    virtual void close() = 0;
    // Ends it when its present request has been answered; at once where there is none.
    virtual void finish() = 0;

protected:
    void allow(std::chrono::milliseconds time) { deadline_ = Clock::now() + time; }
    void allowForever() { deadline_ = Clock::time_point::max(); }

private:
    Clock::time_point deadline_ = Clock::time_point::max();
};

// What the connections of a server share.
struct ConnectionContext {
    boost::asio::io_context& io;
    const Limits& limits;
    Handler handler;
    ErrorResponder errors;
    std::list<Connection*> open; // all that run
    bool isStopping = false;
    std::function<void()> onEnd; // called when one has ended
};

// Runs it until it ends; it owns itself. With `tls` (borrowed) the other side has to begin with
// a handshake; null: in clear.
void startConnection(ConnectionContext& context, Socket socket, std::string peer,
                     std::unique_ptr<AddressTable::Visitor> visitor,
                     boost::asio::ssl::context* tls);

} // namespace redfish
