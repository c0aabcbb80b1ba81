// The tests' side of host_program: the provider as a child process, its redis, requests to it, and
// the answers on the reply channel.
#pragma once

#include "tests/support/child_process.h"
#include "tests/support/redis_server.h"
#include "tests/support/temporary_folder.h"

#include <gtest/gtest.h>

#include <csignal>
#include <memory>
#include <string>
#include <vector>

struct redisContext;

namespace test {

// The messages on a channel from construction on; on `replies`, the answers. They wait in the
// socket.
class Replies {
public:
    explicit Replies(const std::string& socketPath, const std::string& channel = "replies");
    ~Replies();
    Replies(const Replies&) = delete;
    Replies& operator=(const Replies&) = delete;

    // The next `count` answers; fewer where no further one comes within 20 s.
    std::vector<std::string> next(std::size_t count);

    // All answers until now; `server` is the one that the answers go through.
    std::vector<std::string> all(RedisServer& server);

private:
    redisContext* context_;
};

class HostTest : public ::testing::Test {
protected:
    // A test run in the background inherits an ignored SIGINT; the host must not.
    HostTest() { ::signal(SIGINT, SIG_DFL); }

    // Starts host_program and waits until it has registered and, without the argument `go`,
    // takes its signals inside the wait.
    void startHost(const std::vector<std::string>& arguments = {});

    // Publishes a request whose answer goes to `replies`; the number of receivers.
    std::string request(const std::string& msgId, const std::string& reqArg);
    std::string publish(const std::string& payload);

    // What host_program, or the host in it, has written so far.
    std::string output() const { return readFile(folder_.file("out")); }
    std::string errors() const { return readFile(folder_.file("err")); }
    bool awaitOutput(const std::string& text) const;
    bool awaitErrors(const std::string& text) const;
    static std::size_t occurrences(const std::string& text, const std::string& part);

    bool awaitSubscribed();

    // The value of one line of /proc/<host>/status; empty once it has ended.
    std::string status(const std::string& name) const;

    RedisServer redis;
    std::unique_ptr<ChildProcess> host;

private:
    TemporaryFolder folder_;
};

} // namespace test
