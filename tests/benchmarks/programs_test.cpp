// The programs of benchmarks/ beside the real daemon: counts of answers, and the commands that
// redis receives from the daemon and from the bare programs.
#include "benchmarks/bare.h"
#include "tests/end_to_end/devices.h"
#include "tests/support/odd_server.h"
#include "tests/support/wait_until.h"

#include <cstdlib>
#include <gmock/gmock.h>
#include <hiredis/hiredis.h>
#include <memory>
#include <nlohmann/json.hpp>
#include <regex>
#include <sys/resource.h>

namespace {

using test::Finished;
using test::kWebGui;
using Json = nlohmann::json;
using Commands = std::vector<std::string>;

constexpr const char* kDaemon = "OrvaneWebGUI";
constexpr int kRequests = 200;

// Sees every command of every client of one redis.
class Monitor {
public:
    explicit Monitor(test::RedisServer& server)
        : server_(server), connection_(redisConnectUnix(server.socketPath().c_str())) {
        redisSetTimeout(connection_.get(), {10, 0});
        redisAppendCommand(connection_.get(), "MONITOR");
        line(); // "OK"
    }

    // What came since it was made.
    Commands commands() {
        constexpr const char* kEnd = "end of the commands";
        server_.command({"ECHO", kEnd});
        Commands result;
        for (std::string each = line(); each.find(kEnd) == std::string::npos; each = line()) {
            result.push_back(each.substr(std::min(each.find("] ") + 2, each.size())));
        }
        return result;
    }

private:
    struct Free {
        void operator()(redisContext* context) const { redisFree(context); }
        void operator()(redisReply* reply) const { freeReplyObject(reply); }
    };

    std::string line() {
        void* raw = nullptr;
        if (redisGetReply(connection_.get(), &raw) != REDIS_OK) {
            throw std::runtime_error(connection_->errstr);
        }
        const std::unique_ptr<redisReply, Free> reply(static_cast<redisReply*>(raw));
        return {reply->str, reply->len};
    }

    test::RedisServer& server_;
    std::unique_ptr<redisContext, Free> connection_;
};

bool isOfTheRequester(const std::string& command, const std::string& channel) {
    const std::regex own(
        "\"(SUBSCRIBE|PUBSUB)\".*|\"(HSET|DEL)\" \"Request:.*|\"HGETALL\" \"<uuid>\"|"
        "\"PUBLISH\" \"(" +
        channel + "|Reply:<uuid>echo)\" .*");
    return std::regex_match(command, own);
}

// Answers' own UUIDs are all the same here.
std::string withoutUuids(const std::string& command) {
    std::string result;
    std::size_t end = 0;
    const std::regex uuid("[0-9a-f]{8}(-[0-9a-f]{4}){3}-[0-9a-f]{12}");
    for (auto each = std::sregex_iterator(command.begin(), command.end(), uuid);
         each != std::sregex_iterator(); ++each) {
        const auto at = static_cast<std::size_t>(each->position());
        result += command.substr(end, at - end) + (each->str() == kWebGui ? each->str() : "<uuid>");
        end = at + each->str().size();
    }
    return result + command.substr(end);
}

template <typename Fixture>
class WithPrograms : public Fixture {
protected:
    // Right after the start. The daemon is up before each of its workers has connected, by a PING
    // that would be counted as a request's.
    void waitForWorkers() {
        constexpr std::size_t kWorkers = 3; // create, read, update
        EXPECT_TRUE(test::waitUntil([this] {
            const std::string clients = this->redis().command({"CLIENT", "LIST"});
            std::size_t idle = 0;
            for (std::size_t at = 0; (at = clients.find("cmd=ping ", at)) != std::string::npos;
                 ++at) {
                ++idle;
            }
            return idle == kWorkers;
        })) << this->redis().command({"CLIENT", "LIST"});
    }

    // Answers on the channel of its name until the test ends.
    void startBare(const std::string& name, const std::vector<std::string>& options) {
        std::vector<std::string> command{
            ORVANE_BENCH_BARE, "--socket", this->redis().socketPath(), "--channel", name,
            "--instance",      kWebGui};
        command.insert(command.end(), options.begin(), options.end());
        bares_.push_back(std::make_unique<test::ChildProcess>(command));
        ASSERT_TRUE(test::waitUntil([&] {
            return this->redis().command({"PUBSUB", "NUMSUB", name}) == name + " 1";
        })) << name;
    }

    void TearDown() override {
        for (const auto& bare : bares_) {
            EXPECT_TRUE(bare->isRunning()) << "a bare program gave up";
            bare->signal(SIGTERM);
            bare->wait();
        }
        Fixture::TearDown();
    }

    Json load(const std::string& channel, const std::vector<std::string>& options) {
        std::vector<std::string> command{
            ORVANE_BENCH_LOAD, "--socket", this->redis().socketPath(), "--channel", channel,
            "--instance",      kWebGui};
        command.insert(command.end(), options.begin(), options.end());
        const Finished finished = test::run(command);
        EXPECT_EQ(finished.status, 0) << finished.output << finished.error;
        return Json::parse(finished.output);
    }

    void expectOneAnswerToEach(const std::string& channel, const std::string& clients) {
        const Json figures = load(channel, {"--clients", clients, "--requests",
                                            std::to_string(kRequests), "--warm-up", "50"});
        EXPECT_EQ(figures.at("sent"), kRequests + 50) << channel;
        EXPECT_EQ(figures.at("answered"), kRequests + 50) << channel;
        EXPECT_EQ(figures.at("measured"), kRequests) << channel;
        EXPECT_EQ(figures.at("unasked"), 0) << channel;
        EXPECT_GT(figures.at("p50"), 0.0);
        EXPECT_GE(figures.at("p99"), figures.at("p50"));
        EXPECT_GT(figures.at("rate"), 0.0);
    }

    // Of whoever answers two requests on the channel.
    Commands commandsOf(const std::string& channel, const std::vector<std::string>& options) {
        Monitor monitor(this->redis());
        std::vector<std::string> all{"--requests", "2"};
        all.insert(all.end(), options.begin(), options.end());
        load(channel, all);
        Commands result;
        for (const std::string& command : monitor.commands()) {
            const std::string plain = withoutUuids(command);
            if (!isOfTheRequester(plain, channel)) {
                result.push_back(plain);
            }
        }
        return result;
    }

    // How often redis had to read from its clients for so many requests.
    long long readsOfRedis(const std::string& channel) {
        const auto count = [this] {
            const std::string stats = this->redis().command({"INFO", "stats"});
            const std::string name = "total_reads_processed:";
            return std::stoll(stats.substr(stats.find(name) + name.size()));
        };
        const long long before = count();
        load(channel, {"--requests", std::to_string(kRequests)});
        return count() - before;
    }

    void expectAsManyRoundTrips(const std::string& one, const std::string& other) {
        // One more for each request would be as many as there are requests.
        EXPECT_NEAR(static_cast<double>(readsOfRedis(one)),
                    static_cast<double>(readsOfRedis(other)), kRequests / 4.0);
    }

private:
    std::vector<std::unique_ptr<test::ChildProcess>> bares_;
};

// Managing mode 1: no cooling unit.
class BenchmarkPrograms : public WithPrograms<test::EndToEnd> {
protected:
    void SetUp() override {
        environment()["ManagingMode"] = "1";
        startDaemon();
        waitForWorkers();
    }
};

// Managing mode 0, with a cooling unit.
class BenchmarkProgramsWithAUnit : public WithPrograms<test::EndToEndWithDevices> {
protected:
    BenchmarkProgramsWithAUnit() { environment()["ManagingMode"] = "0"; }

    void SetUp() override {
        WithPrograms::SetUp();
        waitForWorkers();
    }
};

TEST_F(BenchmarkPrograms, GetOneAnswerToEachRequest) {
    startBare("bare", {});
    for (const std::string channel : {"bare", kDaemon}) {
        expectOneAnswerToEach(channel, "1");
        expectOneAnswerToEach(channel, "64");
    }
}

TEST_F(BenchmarkPrograms, SendTheDaemonsCommandsForARead) {
    startBare("bare", {});
    const Commands daemon = commandsOf(kDaemon, {});
    EXPECT_EQ(commandsOf("bare", {}), daemon);
    EXPECT_EQ(daemon.size(), 2 * 4U); // SET, HSET, EXPIRE, PUBLISH
    expectAsManyRoundTrips("bare", kDaemon);
}

TEST_F(BenchmarkPrograms, SendTheDaemonsCommandsForAnUpdate) {
    // The daemon's own database: they take turns.
    startBare("bare", {"--database", database().string()});
    const Commands daemon = commandsOf(kDaemon, {"--updates"});
    EXPECT_EQ(commandsOf("bare", {"--updates"}), daemon);
    EXPECT_EQ(daemon.size(), 2 * 8U); // HGETALL, HSET, SET, DEL, XADD, HSET, EXPIRE, PUBLISH
    EXPECT_EQ(setting("Language"), "English");
}

TEST_F(BenchmarkPrograms, ChangeTheBrightnessAndKeepTheOtherSettings) {
    const auto instance = [this] { return redis().command({"HGETALL", kWebGui}); };
    load(kDaemon, {"--brightness-updates", "--requests", "1"});
    const std::string before = instance();
    load(kDaemon, {"--brightness-updates", "--requests", "2"});
    EXPECT_EQ(setting("Brightness"), "4");
    redis().command({"HSET", kWebGui, "ScreenBrightness", "3"});
    EXPECT_EQ(instance(), before);
}

TEST_F(BenchmarkPrograms, SeeWhenNobodyListens) {
    const Finished finished =
        test::run({ORVANE_BENCH_LOAD, "--socket", redis().socketPath(), "--channel", "nobody",
                   "--instance", kWebGui, "--requests", "1"});
    EXPECT_EQ(finished.status, 1);
    EXPECT_THAT(finished.error, testing::HasSubstr("nobody listens on nobody"));
}

TEST_F(BenchmarkPrograms, SeeAnAnswerThatIsNoSuccess) {
    const Finished finished =
        test::run({ORVANE_BENCH_LOAD, "--socket", redis().socketPath(), "--channel", kDaemon,
                   "--instance", "no-such-instance", "--requests", "10"});
    EXPECT_EQ(finished.status, 1);
    const Json figures = Json::parse(finished.output);
    EXPECT_EQ(figures.at("refused"), 10);
    EXPECT_EQ(figures.at("answered"), 0);
}

TEST_F(BenchmarkPrograms, ReadFreshFieldsInEachWay) {
    const Finished finished = test::run({ORVANE_BENCH_FRESH, "--socket", redis().socketPath(),
                                         "--instance", kWebGui, "--blocks", "2", "--block", "50"});
    ASSERT_EQ(finished.status, 0) << finished.error;
    const Json figures = Json::parse(finished.output);
    EXPECT_EQ(figures.at("reads"), 100);
    for (const char* way : {"bare", "client", "bare_in_two"}) {
        EXPECT_GT(figures.at(way).at("p50"), 0.0) << way;
    }
}

TEST_F(BenchmarkProgramsWithAUnit, SendTheDaemonsCommandsForARead) {
    startBare("bare", {"--scale"});
    startBare("bare-unit", {"--scale", "--unit", environment().at("COOLING_UNIT")});
    const Commands daemon = commandsOf(kDaemon, {});
    EXPECT_EQ(commandsOf("bare", {}), daemon);
    EXPECT_EQ(commandsOf("bare-unit", {}), daemon);
    EXPECT_EQ(daemon.size(), 2 * 5U); // HGET, SET, HSET, EXPIRE, PUBLISH
    expectAsManyRoundTrips("bare-unit", kDaemon);
    expectOneAnswerToEach("bare-unit", "8");
}

// A server that announces gigabytes where a program expects the reply to its first command.
TEST(BenchmarkLimits, HoldForEveryProgramThatReadsReplies) {
    for (const std::string greedy : {"*100000000\r\n", "*1048000\r\n*1048000\r\n"}) {
        test::OddServer server([&](const std::string&) { return test::OddServer::Answer{greedy}; });
        const std::string socket = server.address().substr(std::string("unix:").size());
        for (const std::vector<std::string>& command : std::vector<std::vector<std::string>>{
                 {ORVANE_BENCH_LOAD, "--channel", "c", "--requests", "1"},
                 {ORVANE_BENCH_BARE, "--channel", "c"},
                 {ORVANE_BENCH_FRESH}}) {
            std::vector<std::string> whole = command;
            whole.insert(whole.end(), {"--socket", socket, "--instance", kWebGui});
            const Finished finished = test::run(whole);
            EXPECT_EQ(finished.status, 1) << command.front();
            EXPECT_THAT(finished.error, testing::HasSubstr("redis: ")) << command.front();
        }
    }
    rusage used{};
    ::getrusage(RUSAGE_CHILDREN, &used);
    EXPECT_LT(used.ru_maxrss / 1024, 512) << "MiB, of the largest of them";
}

TEST(BenchStart, TellsWhenTheMarkerWasThere) {
    const test::TemporaryFolder folder;
    const std::string time = folder.file("time");
    const Finished finished =
        test::run({ORVANE_BENCH_START, time, folder.file("marker"), "/bin/sh", "-c",
                   R"(: >"$0"; until test -s "$1"; do :; done)", folder.file("marker"), time});
    EXPECT_EQ(finished.status, 0) << finished.error;
    EXPECT_GT(std::stod(test::readFile(time)), 0.0);
}

TEST(BarePayload, IsSplitIntoItsTexts) {
    const bench::BareRequest request = bench::splitPayload(R"(["00001","key","Reply:x"])");
    EXPECT_EQ(request.messageId, "00001");
    EXPECT_EQ(request.argument, "key");
    EXPECT_EQ(request.replyChannel, "Reply:x");
    EXPECT_THROW(bench::splitPayload(R"(["00001","key"])"), std::runtime_error);
}

} // namespace
