#include "tests/platform/plugin_host/host.h"

#include "tests/support/wait_until.h"

#include <hiredis/hiredis.h>

#include <algorithm>
#include <csignal>
#include <stdexcept>

namespace test {

namespace {

struct FreeReply {
    void operator()(redisReply* reply) const { freeReplyObject(reply); }
};

// The mask as the kernel shows it, in hexadecimal digits.
bool blocksSigterm(const std::string& mask) {
    constexpr unsigned long kSigterm = 1UL << (SIGTERM - 1);
    return !mask.empty() && (std::stoull(mask, nullptr, 16) & kSigterm) != 0;
}

} // namespace

Replies::Replies(const std::string& socketPath, const std::string& channel)
    : context_(redisConnectUnix(socketPath.c_str())) {
    redisSetTimeout(context_, timeval{20, 0});
    const std::unique_ptr<redisReply, FreeReply> reply(
        static_cast<redisReply*>(redisCommand(context_, "SUBSCRIBE %s", channel.c_str())));
    if (!reply || reply->type != REDIS_REPLY_ARRAY) {
        throw std::runtime_error("cannot subscribe to the replies");
    }
}

Replies::~Replies() {
    redisFree(context_);
}

std::vector<std::string> Replies::next(std::size_t count) {
    std::vector<std::string> answers;
    void* received = nullptr;
    while (answers.size() < count && redisGetReply(context_, &received) == REDIS_OK) {
        const std::unique_ptr<redisReply, FreeReply> reply(static_cast<redisReply*>(received));
        answers.emplace_back(reply->element[2]->str, reply->element[2]->len);
    }
    return answers;
}

std::vector<std::string> Replies::all(RedisServer& server) {
    server.command({"PUBLISH", "replies", "the last one"});
    std::vector<std::string> answers;
    for (;;) {
        const std::vector<std::string> one = next(1);
        if (one.empty() || one.front() == "the last one") {
            return answers;
        }
        answers.push_back(one.front());
    }
}

void HostTest::startHost(const std::vector<std::string>& arguments) {
    std::vector<std::string> command{HOST_PROGRAM};
    command.insert(command.end(), arguments.begin(), arguments.end());
    writeFile(folder_.file("out"), "");
    writeFile(folder_.file("err"), "");
    host = std::make_unique<ChildProcess>(
        command, std::map<std::string, std::string>{{"OSSEL_REDIS", redis.address()}},
        folder_.file("out"), folder_.file("err"));
    ASSERT_TRUE(awaitOutput("registered\n")) << errors();
    if (std::find(arguments.begin(), arguments.end(), "go") == arguments.end()) {
        ASSERT_TRUE(waitUntil([this] { return blocksSigterm(status("SigBlk")); })) << errors();
    }
}

std::string HostTest::status(const std::string& name) const {
    const std::string all = readFile("/proc/" + std::to_string(host->pid()) + "/status");
    const std::size_t start = all.find(name + ":\t");
    const std::size_t value = start + name.size() + 2;
    return start == std::string::npos ? "" : all.substr(value, all.find('\n', start) - value);
}

std::string HostTest::request(const std::string& msgId, const std::string& reqArg) {
    return publish("[\"" + msgId + "\",\"" + reqArg + "\",\"replies\"]");
}

std::string HostTest::publish(const std::string& payload) {
    return redis.command({"PUBLISH", "Provider", payload});
}

bool HostTest::awaitOutput(const std::string& text) const {
    return waitUntil([&] { return output().find(text) != std::string::npos; });
}

bool HostTest::awaitErrors(const std::string& text) const {
    return waitUntil([&] { return errors().find(text) != std::string::npos; });
}

std::size_t HostTest::occurrences(const std::string& text, const std::string& part) {
    std::size_t count = 0;
    for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) {
        ++count;
    }
    return count;
}

bool HostTest::awaitSubscribed() {
    return waitUntil([this] {
        return redis.command({"PUBSUB", "NUMSUB", "Provider"}) == "Provider 1";
    });
}

} // namespace test
