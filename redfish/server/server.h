// The HTTP server: accepts connections, reads requests within limits, calls a handler, writes the
// responses. Asio and TLS stay in the .cpp.
#pragma once

#include "redfish/http/message.h"
#include "redfish/runtime/post.h"
#include "redfish/server/limits.h"

#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>

namespace redfish {

struct ServerOptions {
    // Numeric.
    std::string address = "127.0.0.1";
    // 0: a free one.
    std::uint16_t port = 0;
    // Without TLS: for measurements, on loopback only.
    bool isClear = false;
    // PEM, with its chain, and its key; unused without TLS.
    std::filesystem::path certificate{};
    std::filesystem::path key{};
    Limits limits{};
};

// Answers a request by calling Respond exactly once, now or later. The request stays valid until
// then. On the loop's thread.
using Handler = std::function<void(const Request&, Respond)>;

// Makes the response to a request that the server itself refuses.
//   status  400, 413, 429 or 431
using ErrorResponder = std::function<Response(unsigned int status)>;

class Server {
public:
    // Listens when the constructor returns. Throws std::exception: the address is in use, a file
    // is unusable, or a server without TLS is to listen beyond loopback.
    Server(ServerOptions options, ErrorResponder errors);
    ~Server();
    Server(const Server&) = delete;
    Server& operator=(const Server&) = delete;

    // The port that it listens on.
    std::uint16_t port() const;

    // The way to the loop's thread. May be called by any thread as long as the server exists;
    // before and after run() work waits or is dropped.
    Post post();

    // Runs the loop on the calling thread, which becomes the loop's thread, until stop() or, with
    // `obeysSignals`, SIGTERM or SIGINT. Requests under way get Limits::farewell to finish.
    void run(Handler handler, bool obeysSignals);
    // Makes run() return. Any thread.
    void stop();

    struct Implementation;

private:
    std::unique_ptr<Implementation> implementation_;
};

} // namespace redfish
