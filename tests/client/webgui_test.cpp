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

// Two clients change different properties of the same request at the same moment: each
// sends what the other has just changed along with its own.
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
            const auto answers = own.updateSettings({{name, std::to_string(round)}}, "test");
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
    const auto precondition = [&](const std::map<std::string, std::string>& fields) {
        seen = fields.at("Theme");
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

// The second request changes other properties than the first; what the first has changed is no
// reason to refuse the second.
TEST_F(TheWebGui, AsksThePreconditionOnce) {
    int asked = 0;
    const auto precondition = [&](const auto& fields) {
        ++asked;
        return fields.at("Language") == "English";
    };
    const auto answers = webGui.updateSettings({{"Language", "Deutsch"}, {"Theme", "dark"}}, "test",
                                               false, precondition);
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
    EXPECT_TRUE(webGui.updateSettings({}, "test").empty());
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
