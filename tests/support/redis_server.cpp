#include "tests/support/redis_server.h"

#include <csignal>
#include <hiredis/hiredis.h>
#include <stdexcept>
#include <utility>

namespace test {

namespace {

std::string asText(const redisReply& reply) {
    switch (reply.type) {
    case REDIS_REPLY_INTEGER:
        return std::to_string(reply.integer);
    case REDIS_REPLY_NIL:
        return "(nil)";
    case REDIS_REPLY_ERROR:
        return "(error) " + std::string(reply.str, reply.len);
    case REDIS_REPLY_ARRAY: {
        std::string text;
        for (std::size_t i = 0; i < reply.elements; ++i) {
            text += (i == 0 ? "" : " ") + asText(*reply.element[i]);
        }
        return text;
    }
    default:
        return {reply.str, reply.len};
    }
}

} // namespace

void RedisServer::Disconnect::operator()(redisContext* context) const {
    redisFree(context);
}

RedisServer::RedisServer(std::vector<std::string> options)
    : options_(std::move(options)), part_("redis", {{"sockets", {folder_.path()}}}) {
    start();
}

RedisServer::~RedisServer() {
    resume();
    process_.reset();
}

void RedisServer::start(const std::vector<std::string>& more) {
    std::vector<std::string> options = options_;
    options.insert(options.end(), more.begin(), more.end());
    const std::string log = folder_.file("redis.log");
    part_.prepare();
    process_ = part_.launch(options, {}, log, log);
    connection_.reset();
    if (!part_.waitUntilUp(*process_)) {
        throw std::runtime_error("redis-server does not start: " +
                                 readFile(folder_.file("redis.log")));
    }
}

void RedisServer::stop() {
    process_->signal(SIGTERM);
    process_->wait();
}

void RedisServer::kill() {
    process_->signal(SIGKILL);
    process_->wait();
}

void RedisServer::pause() {
    process_->signal(SIGSTOP);
}

void RedisServer::resume() {
    process_->signal(SIGCONT);
}

std::string RedisServer::command(const std::vector<std::string>& words) {
    if (!connection_ || connection_->err != 0) {
        connection_.reset(redisConnectUnix(socketPath().c_str()));
    }
    std::vector<const char*> arguments;
    std::vector<std::size_t> lengths;
    for (const std::string& word : words) {
        arguments.push_back(word.data());
        lengths.push_back(word.size());
    }
    const std::unique_ptr<void, decltype(&freeReplyObject)> reply(
        redisCommandArgv(connection_.get(), static_cast<int>(words.size()), arguments.data(),
                         lengths.data()),
        freeReplyObject);
    return reply ? asText(*static_cast<redisReply*>(reply.get())) : "(no connection)";
}

} // namespace test
