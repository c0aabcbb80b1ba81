#include "client/webgui.h"

#include "client/discovery.h"
#include "tests/client/stand_in_provider.h"

#include <barrier>
#include <gmock/gmock.h>

namespace {

using client::WebGui;
using std::chrono::milliseconds;
using test::StandInProvider;

class TheWebGui : public testing::Test {
protected:
    client::Address address() const { return client::parseAddress(server.address()); }
    std::string field(const std::string& name) {
        return server.command({"HGET", StandInProvider::kInstance, name});
    }

    test::RedisServer server;
    StandInProvider provider{server};
    WebGui webGui{address()};
};

// Two clients change different properties of the same request at the same moment: each sends the
// other's change along with its own.
TEST_F(TheWebGui, LosesNoneOfTwoChangesMadeAtTheSameMoment) {
    constexpr int kRounds = 100;
    provider.behave("00003", {.work = milliseconds(2)});
    std::barrier<> together(2);
    std::atomic<int> failed{0};
    std::atomic<int> lost{0};
    const auto change = [&](const std::string& name, bool checks) {
        WebGui own(address(), milliseconds(20'000));
        for (int round = 0; round < kRounds; ++round) {
            together.arrive_and_wait();
            const auto answers =
                own.updateSettings({{name, std::to_string(round)}}, "test").answers;
            failed += answers.size() == 1 && answers[0].answer.isSuccess() ? 0 : 1;
            together.arrive_and_wait();
            if (checks) {
                lost += field("HiLoPeriod") == std::to_string(round) ? 0 : 1;
                lost += field("DateFormat") == std::to_string(round) ? 0 : 1;
            }
        }
    };
    std::thread other([&] { change("HiLoPeriod", false); });
    change("DateFormat", true);
    other.join();
    EXPECT_EQ(failed, 0);
    EXPECT_EQ(lost, 0);
}

TEST_F(TheWebGui, ReadsOnlyWhatIsNoLongerFresh) {
    EXPECT_EQ(webGui.fields().at("Theme"), "light");
    EXPECT_EQ(provider.receivedCount(), 1U);
    server.command({"SET", std::string("TTL:") + StandInProvider::kInstance, "1"});
    webGui.fields();
    EXPECT_EQ(provider.receivedCount(), 1U);
    EXPECT_TRUE(webGui.read().isSuccess());
    EXPECT_EQ(provider.receivedCount(), 2U);
}

TEST_F(TheWebGui, ReadsWhatIsFreshInOneRoundTrip) {
    server.command({"SET", std::string("TTL:") + StandInProvider::kInstance, "1", "EX", "100"});
    EXPECT_EQ(webGui.fields().at("Theme"), "light");
    const auto count = [this] {
        const std::string stats = server.command({"INFO", "stats"});
        const std::string name = "total_reads_processed:";
        return std::stoi(stats.substr(stats.find(name) + name.size()));
    };
    const int before = count();
    const client::Snapshot snapshot = webGui.snapshot();
    EXPECT_EQ(count() - before, 2) << "one for reading, one for counting";
    EXPECT_EQ(snapshot.instance, StandInProvider::kInstance);
    EXPECT_EQ(snapshot.fields.at("Theme"), "light");
    EXPECT_GT(snapshot.freshFor, milliseconds(50'000));
    EXPECT_LE(snapshot.freshFor, milliseconds(100'000));
}

TEST_F(TheWebGui, FindsTheInstanceAnewWhenTheLastOneIsGone) {
    const std::string last = StandInProvider::kInstance;
    server.command({"SET", "TTL:" + last, "1"});
    EXPECT_EQ(webGui.fields().at("Theme"), "light");
    const std::string type = client::findSchemaType(webGui.store());
    const std::string collection = server.command({"HGET", type, "instanceCollection"});
    server.command({"DEL", last, collection});
    server.command({"SADD", collection, "other"});
    server.command({"HSET", "other", "Theme", "dark"});
    server.command({"SET", "TTL:other", "1"});
    EXPECT_EQ(webGui.fields().at("Theme"), "dark");
    EXPECT_EQ(webGui.snapshot().instance, "other");
    EXPECT_EQ(provider.receivedCount(), 0U);
}

TEST_F(TheWebGui, TellsForHowLongASnapshotIsFresh) {
    const std::string mark = std::string("TTL:") + StandInProvider::kInstance;
    server.command({"SET", mark, "1", "PX", "60000"});
    const client::Snapshot fresh = webGui.snapshot();
    EXPECT_EQ(fresh.instance, StandInProvider::kInstance);
    EXPECT_EQ(fresh.fields.at("Theme"), "light");
    EXPECT_GT(fresh.freshFor, milliseconds(50'000));
    EXPECT_LE(fresh.freshFor, milliseconds(60'000));
    server.command({"SET", mark, "1"});
    EXPECT_EQ(webGui.snapshot().freshFor, milliseconds(0)) << "a mark without an end";
    EXPECT_EQ(provider.receivedCount(), 0U);
}

TEST_F(TheWebGui, SendsNothingWhenThePreconditionDoesNotHold) {
    std::string seen;
    const auto precondition = [&](const client::Snapshot& present) {
        seen = present.fields.at("Theme");
        return seen == "dark";
    };
    EXPECT_THROW(webGui.updateSettings({{"Theme", "dark"}}, "test", false, precondition),
                 client::PreconditionFailed);
    EXPECT_EQ(seen, "light");
    EXPECT_EQ(field("Theme"), "light");
    EXPECT_FALSE(server.command({"EXISTS", "Lease:" + std::string(StandInProvider::kInstance)}) ==
                 "1")
        << "the lease is given up";
}

TEST_F(TheWebGui, HandsBackTheNewReadingWithAChange) {
    const client::Update update =
        webGui.updateSettings({{"Language", "Deutsch"}, {"Theme", "dark"}}, "test");
    ASSERT_TRUE(update.after);
    EXPECT_EQ(update.after->fields.at("Language"), "Deutsch");
    EXPECT_EQ(update.after->fields.at("Theme"), "dark");
    EXPECT_EQ(update.after->instance, StandInProvider::kInstance);
    EXPECT_GT(update.after->freshFor, milliseconds(0));
    EXPECT_EQ(server.command({"EXISTS", "Lease:" + std::string(StandInProvider::kInstance)}), "0");
}

TEST_F(TheWebGui, HandsBackNoReadingThatIsNotFresh) {
    provider.behave("00002", {.marksFresh = false});
    const client::Update update =
        webGui.updateSettings({{"Language", "Deutsch"}, {"Theme", "dark"}}, "test");
    ASSERT_EQ(update.answers.size(), 2U);
    EXPECT_TRUE(update.after);
    EXPECT_EQ(provider.receivedCount(), 4U) << "it is read before each of the two requests";
    EXPECT_FALSE(webGui.updateSettings({{"Language", "English"}}, "test").after);
}

// Taking the lease with all that is to be known, sending, reading the answer with what has become
// of the instance. What is asked of the store here comes from three connections: the client's two
// and that of the stand-in, which counts the same for each change.
TEST_F(TheWebGui, NeedsThreeRoundTripsForAChange) {
    server.command({"SET", std::string("TTL:") + StandInProvider::kInstance, "1"});
    webGui.updateSettings({{"Theme", "dark"}}, "test");
    const auto of = [this](const std::string& command) {
        const std::string stats = server.command({"INFO", "commandstats"});
        const std::size_t at = stats.find("cmdstat_" + command + ":calls=");
        return at == std::string::npos
                   ? 0
                   : std::stoi(stats.substr(at + command.size() + sizeof("cmdstat_:calls=") - 1));
    };
    const auto exchanges = [this] {
        const std::string stats = server.command({"INFO", "stats"});
        const std::string name = "total_reads_processed:";
        return std::stoi(stats.substr(stats.find(name) + name.size()));
    };
    const int before = exchanges();
    const int hashes = of("hgetall");
    webGui.updateSettings({{"Theme", "light"}}, "test");
    // The stand-in's: HGETALL, PTTL, HSET, SET, XADD, HSET, EXPIRE, PUBLISH. The client's further
    // two: SUBSCRIBE and UNSUBSCRIBE, for which nobody waits. The test's: INFO, twice.
    EXPECT_EQ(exchanges() - before, 3 + 8 + 2 + 2);
    EXPECT_EQ(of("hgetall") - hashes, 3 + 1) << "instance before and after, answer; request object";
}

TEST_F(TheWebGui, LooksAgainWhereProviderAndInstanceHaveMoved) {
    EXPECT_TRUE(
        webGui.updateSettings({{"Theme", "dark"}}, "test").answers.at(0).answer.isSuccess());
    const std::string collection = "Collection:OrvaneWebGUI.1.0.0.WebGUI";
    const std::string last = StandInProvider::kInstance;
    server.command({"DEL", collection, last});
    EXPECT_THROW(webGui.updateSettings({{"Theme", "dark"}}, "test"), client::StoreContents);
    EXPECT_EQ(server.command({"EXISTS", "Lease:" + last}), "0") << "the lease is given up";
    server.command({"SADD", collection, "other"});
    server.command({"HSET", "other", "Language", "English"});
    server.command({"SET", "TTL:other", "1"});
    provider.behave("00002", {.work = milliseconds(0)});
    webGui.updateSettings({{"Language", "Deutsch"}}, "test");
    EXPECT_EQ(provider.received().back().object.at("OriginalObjID"), "other");
    server.command({"HDEL", "OvrCallbacks", "SchemaType:OrvaneWebGUI.1.0.0.WebGUI"});
    EXPECT_THROW(webGui.updateSettings({{"Language", "Deutsch"}}, "test"), client::NobodyThere);
}

// The second request changes other properties than the first; what the first has changed is no
// reason to refuse the second.
TEST_F(TheWebGui, AsksThePreconditionOnce) {
    int asked = 0;
    const auto precondition = [&](const client::Snapshot& present) {
        ++asked;
        return present.fields.at("Language") == "English";
    };
    const auto answers = webGui
                             .updateSettings({{"Language", "Deutsch"}, {"Theme", "dark"}}, "test",
                                             false, precondition)
                             .answers;
    EXPECT_EQ(answers.size(), 2U);
    EXPECT_EQ(asked, 1);
}

TEST_F(TheWebGui, CarriesTheAnswerToARefusedRead) {
    provider.behave({.messageId = "InvalidObject", .arguments = {"x"}});
    try {
        webGui.fields();
        ADD_FAILURE() << "read";
    } catch (const client::AnsweredOtherwise& error) {
        EXPECT_EQ(error.answer.messageId, "InvalidObject");
        EXPECT_THAT(error.answer.arguments, testing::ElementsAre("x"));
    }
}

TEST_F(TheWebGui, SendsNothingWhenOneOfTheValuesIsNotAllowed) {
    EXPECT_THROW(webGui.updateSettings({{"Language", "x"}, {"Theme", "blue"}}, "test"),
                 client::InvalidArgument);
    EXPECT_EQ(provider.receivedCount(), 0U);
    EXPECT_TRUE(webGui.updateSettings({}, "test").answers.empty());
}

TEST_F(TheWebGui, FindsAProviderThatWasStartedAnew) {
    EXPECT_TRUE(webGui.read().isSuccess());
    provider.stopListening();
    const StandInProvider again(server);
    EXPECT_TRUE(webGui.runAction("WebGUI.GUIReady").isSuccess());
    EXPECT_EQ(again.received().at(0).object.at("Action"), "WebGUI.GUIReady");
}

TEST_F(TheWebGui, WaitsForTheLeaseBeforeItLooksAtThePresentValues) {
    server.command({"SET", std::string("TTL:") + StandInProvider::kInstance, "1"});
    server.command({"SET", std::string("Lease:") + StandInProvider::kInstance, "other"});
    std::thread client([this] {
        WebGui own(address());
        own.updateSettings({{"Theme", "dark"}}, "test");
    });
    server.command({"HSET", StandInProvider::kInstance, "HiLoPeriod", "changed meanwhile"});
    server.command({"DEL", std::string("Lease:") + StandInProvider::kInstance});
    client.join();
    EXPECT_EQ(field("HiLoPeriod"), "changed meanwhile");
    EXPECT_EQ(field("Theme"), "dark");
}

} // namespace
