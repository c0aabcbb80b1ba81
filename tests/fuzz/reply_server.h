// A server in a thread of this process that answers every request with the bytes it was given. A
// client never waits for long: after bytes that are not a whole answer, the server shuts the
// connection down.
#pragma once

#include "tests/support/listener.h"
#include "tests/support/temporary_folder.h"

#include <mutex>
#include <string>
#include <thread>

namespace fuzz {

class ReplyServer {
public:
    struct Answer {
        std::string bytes;
        bool closes = false;   // hangs up after the bytes, whole or not
        bool inPieces = false; // the second half once the client has read the first, where
                               // that is no answer yet
        bool toPing = false;   // the answer to PING, too, which is otherwise a good one
    };

    ReplyServer();
    ~ReplyServer();
    ReplyServer(const ReplyServer&) = delete;
    ReplyServer& operator=(const ReplyServer&) = delete;

    std::string address() const { return "unix:" + folder_.file("reply.sock"); }

    // The answer to each request from now on.
    void answer(Answer answer);

private:
    struct Client {
        int descriptor;
        std::string request; // as far as it has arrived
    };

    void serve();
    bool serveClient(Client& client) const;
    Answer answerTo(const std::string& request) const;

    test::TemporaryFolder folder_;
    test::Listener listener_{folder_.file("reply.sock")};
    mutable std::mutex mutex_; // guards the answer
    Answer answer_;
    std::thread thread_;
};

} // namespace fuzz
