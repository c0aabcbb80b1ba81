// The HTTP server: takes connections, reads requests within limits, has them answered, and
// writes the answers. What they are answered is left to the handler.
#pragma once

#include "redfish/http/message.h"
#include "redfish/runtime/post.h"
#include "redfish/server/limits.h"

#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>

namespace redfish {

struct ServerOptions {
    std::string address = "127.0.0.1";
    std::uint16_t port = 0;              // 0: a free one
    bool isClear = false;                // without TLS: for measurements, loopback only
    std::filesystem::path certificate{}; // PEM, with its chain; not for a clear one
    std::filesystem::path key{};
    Limits limits{};
};

// Called on the thread of the connections. Gives the answer then or later, exactly once; the
// request is there until then.
using Handler = std::function<void(const Request&, Respond)>;

// What a request that cannot be read is answered: its status, with the content.
using ErrorResponder = std::function<Response(unsigned int status)>;

class Server {
public:
    // Listens when the constructor returns. Throws std::exception: the address is in use,
    // a file is unusable, or a clear server is to listen beyond loopback.
    Server(ServerOptions options, ErrorResponder errors);
    ~Server();
    Server(const Server&) = delete;
    Server& operator=(const Server&) = delete;

    std::uint16_t port() const;

    // To the thread of run(). May be called, and the work is dropped, after run() too.
    Post post();

    // Serves until stop() or, with `obeysSignals`, SIGTERM or SIGINT; the calling thread is the
    // one of the connections. What is under way may end then, within a bound.
    void run(Handler handler, bool obeysSignals);
    void stop(); // any thread

    struct Implementation;

private:
    std::unique_ptr<Implementation> implementation_;
};

} // namespace redfish
