// orvane_bench_fresh: reads of a fresh instance, which need no request, in three ways that take
// turns: one pipelined round trip with hiredis alone (the least), the client library, and hiredis
// with two successive commands. Prints one line of JSON, in microseconds.
#include "benchmarks/bounded_hiredis.h"
#include "benchmarks/latencies.h"
#include "client/webgui.h"

#include <CLI/CLI.hpp>
#include <functional>
#include <hiredis/hiredis.h>
#include <iostream>

namespace {

struct Free {
    void operator()(redisContext* context) const { redisFree(context); }
    void operator()(redisReply* reply) const { freeReplyObject(reply); }
};

class Bare {
public:
    Bare(const std::string& socket, std::string instance)
        : instance_(std::move(instance)), freshness_("TTL:" + instance_),
          connection_(redisConnectUnix(socket.c_str())) {
        if (!connection_ || connection_->err != 0) {
            throw std::runtime_error("no connection to " + socket);
        }
        bench::boundReplies(*connection_);
    }

    std::size_t inOneRoundTrip() {
        appendFields();
        appendExistence();
        const std::size_t fields = receiveFields();
        return receiveExistence() ? fields : 0;
    }

    std::size_t inTwo() {
        appendExistence();
        if (!receiveExistence()) {
            return 0;
        }
        appendFields();
        return receiveFields();
    }

    void markFresh() { // longer than any measurement
        redisAppendCommand(connection_.get(), "SET %s 1 EX 3600", freshness_.c_str());
        receive();
    }

private:
    using Reply = std::unique_ptr<redisReply, Free>;

    void appendFields() { redisAppendCommand(connection_.get(), "HGETALL %s", instance_.c_str()); }
    void appendExistence() {
        redisAppendCommand(connection_.get(), "EXISTS %s", freshness_.c_str());
    }
    std::size_t receiveFields() { return receive()->elements / 2; }
    bool receiveExistence() { return receive()->integer == 1; }
    Reply receive() {
        void* raw = nullptr;
        if (redisGetReply(connection_.get(), &raw) != REDIS_OK) {
            throw std::runtime_error(std::string("redis: ") + connection_->errstr);
        }
        return Reply(static_cast<redisReply*>(raw));
    }

    std::string instance_;
    std::string freshness_;
    std::unique_ptr<redisContext, Free> connection_;
};

struct Way {
    const char* name;
    std::function<std::size_t()> read; // number of fields
    bench::Latencies latencies;
};

void measure(Way& way, unsigned int reads, std::size_t expected) {
    for (unsigned int i = 0; i < reads; ++i) {
        const bench::Clock::time_point begin = bench::Clock::now();
        const std::size_t fields = way.read();
        way.latencies.add(bench::Clock::now() - begin);
        if (fields != expected) {
            throw std::runtime_error(std::string(way.name) + " found " + std::to_string(fields) +
                                     " fields, not " + std::to_string(expected));
        }
    }
}

void compare(const std::string& socket, const std::string& instance, unsigned int blocks,
             unsigned int block) {
    Bare bare(socket, instance);
    client::WebGui webGui(client::parseAddress("unix:" + socket));
    bare.markFresh();
    const std::size_t expected = bare.inTwo();
    std::array<Way, 3> ways{{{"bare", [&] { return bare.inOneRoundTrip(); }, {}},
                             {"client", [&] { return webGui.fields().size(); }, {}},
                             {"bare_in_two", [&] { return bare.inTwo(); }, {}}}};
    for (Way& way : ways) { // connects, finds, and warms up
        measure(way, block, expected);
        way.latencies = {};
    }
    for (unsigned int i = 0; i < blocks; ++i) {
        for (Way& way : ways) {
            measure(way, block, expected);
        }
    }
    std::cout << "{\"reads\": " << blocks * block;
    for (Way& way : ways) {
        std::cout << ", \"" << way.name << "\": {";
        way.latencies.write(std::cout);
        std::cout << "}";
    }
    std::cout << "}\n";
}

int run(int argc, char** argv) {
    CLI::App app{"Reads of a fresh instance: the client library against bare round trips"};
    std::string socket;
    std::string instance;
    unsigned int blocks = 20;
    unsigned int block = 200;
    app.add_option("--socket", socket, "unix socket of redis")->required();
    app.add_option("--instance", instance, "key of the resource")->required();
    app.add_option("--blocks", blocks, "each way in turn, as many times");
    app.add_option("--block", block, "reads at a time")->check(CLI::PositiveNumber);
    CLI11_PARSE(app, argc, argv);
    compare(socket, instance, blocks, block);
    return 0;
}

} // namespace

int main(int argc, char** argv) {
    try {
        return run(argc, argv);
    } catch (const std::exception& error) {
        std::cerr << "orvane_bench_fresh: " << error.what() << "\n";
        return 1;
    }
}
