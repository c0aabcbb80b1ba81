// A redis-server of one test's own: on a unix socket in a temporary folder, never the
// machine's. It may be stopped, killed, paused and started again in mid-test.
#pragma once

#include "tests/support/child_process.h"
#include "tests/support/stack.h"
#include "tests/support/temporary_folder.h"

#include <memory>
#include <string>
#include <vector>

struct redisContext;

namespace test {

class RedisServer {
public:
    // Started and answering when the constructor returns.
    explicit RedisServer(std::vector<std::string> options = {});
    ~RedisServer();
    RedisServer(const RedisServer&) = delete;
    RedisServer& operator=(const RedisServer&) = delete;

    std::string socketPath() const { return folder_.file("redis.sock"); }
    // The value for OSSEL_REDIS.
    std::string address() const { return "unix:" + socketPath(); }

    // Again. Empty, unless the options let it keep something; `more` options for this time.
    void start(const std::vector<std::string>& more = {});
    void stop();   // SIGTERM, waits for the end
    void kill();   // SIGKILL, waits for the end
    void pause();  // SIGSTOP
    void resume(); // SIGCONT

    // Runs one command on the test's own connection and gives its reply as text: bulk and
    // status texts as they are, numbers in decimal, nil as "(nil)", errors as "(error) ...",
    // arrays as their elements joined by blanks.
    std::string command(const std::vector<std::string>& words);

private:
    struct Disconnect {
        void operator()(redisContext* context) const;
    };

    TemporaryFolder folder_;
    std::vector<std::string> options_;
    StackPart part_;
    std::unique_ptr<ChildProcess> process_;
    std::unique_ptr<redisContext, Disconnect> connection_;
};

} // namespace test
