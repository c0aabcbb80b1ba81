#include "redfish/gateway/gateway.h"

#include "redfish/gateway/event_reader.h"
#include "redfish/http/entity_tag.h"
#include "redfish/server/server.h"
#include "tests/client/stand_in_provider.h"
#include "tests/support/relay.h"

#include <future>
#include <gmock/gmock.h>

namespace {

using redfish::ChangeResult;
using redfish::Reading;
using redfish::model::Message;
using redfish::model::Problems;
using std::chrono::milliseconds;
using std::chrono::seconds;
using test::StandInProvider;
using testing::HasSubstr;

// A server runs the loop; nobody connects to it.
class TheGateway : public testing::Test {
protected:
    ~TheGateway() override {
        on([this] { gateway.reset(); });
        server.stop();
        thread.join();
    }

    // Calls `begin` on the loop's thread and waits for what it passes to its callback.
    template <typename Result>
    Result await(const std::function<void(std::function<void(const Result&)>)>& begin) {
        const auto promise = std::make_shared<std::promise<Result>>();
        server.post()([begin, promise] {
            begin([promise](const Result& result) { promise->set_value(result); });
        });
        return promise->get_future().get();
    }
    void on(const std::function<void()>& work) {
        await<bool>([&work](const std::function<void(const bool&)>& done) {
            work();
            done(true);
        });
    }
    Reading read() {
        return await<Reading>([this](const redfish::Gateway::Read& done) { gateway->read(done); });
    }
    ChangeResult change(const client::SettingValues& values, const std::string& ifMatch = {}) {
        return await<ChangeResult>([this, values, ifMatch](const redfish::Gateway::Changed& done) {
            gateway->change(values, "somebody", ifMatch, done);
        });
    }
    Problems act(const std::string& action) {
        return await<Problems>(
            [this, action](const redfish::Gateway::Done& done) { gateway->act(action, done); });
    }
    unsigned long long lookups() {
        unsigned long long count = 0;
        on([&] { count = gateway->lookups(); });
        return count;
    }
    long readRequests() const {
        long count = 0;
        for (const test::ReceivedRequest& each : provider.received()) {
            count += each.messageId == "00001" ? 1 : 0;
        }
        return count;
    }
    void makeFresh() {
        store.command(
            {"SET", std::string("TTL:") + StandInProvider::kInstance, "1", "PX", "60000"});
    }
    // Waits until two reads in a row need no second look-up: changes are followed, and all reports
    // have been handled.
    bool waitUntilKept() {
        const auto end = std::chrono::steady_clock::now() + seconds(20);
        while (std::chrono::steady_clock::now() < end) {
            read();
            const auto before = lookups();
            std::this_thread::sleep_for(milliseconds(50));
            read();
            if (lookups() == before) {
                return true;
            }
        }
        return false;
    }

    test::RedisServer store;
    StandInProvider provider{store};
    redfish::Server server{{.address = "127.0.0.1", .port = 0, .isClear = true},
                           [](unsigned int) { return redfish::Response{}; }};
    std::unique_ptr<redfish::Gateway> gateway = std::make_unique<redfish::Gateway>(
        redfish::GatewayOptions{.store = client::parseAddress(store.address()),
                                .timeout = seconds(20)},
        server.post());
    std::thread thread{[this] { server.run({}, false); }};
};

TEST_F(TheGateway, GivesTheResourceAndReadsItFirstWhereItIsNotFresh) {
    const Reading reading = read();
    ASSERT_TRUE(reading.problems.empty());
    EXPECT_THAT(*reading.body, HasSubstr(R"("Theme":"light")"));
    EXPECT_EQ(reading.entityTag, redfish::entityTag(*reading.body));
    EXPECT_EQ(readRequests(), 1);
}

TEST_F(TheGateway, SharesOneReadAmongAllWhoAskAtOneMoment) {
    await<bool>([this](const std::function<void(const bool&)>& done) {
        const auto answered = std::make_shared<int>(0);
        for (int i = 0; i < 50; ++i) {
            gateway->read([answered, done](const Reading& reading) {
                EXPECT_TRUE(reading.problems.empty());
                if (++*answered == 50) {
                    done(true);
                }
            });
        }
    });
    // At most one more, if the report of another read arrived in between.
    EXPECT_LE(lookups(), 2U);
    EXPECT_LE(readRequests(), 2);
}

TEST_F(TheGateway, ServesFromMemoryWhileTheResourceIsFresh) {
    makeFresh();
    ASSERT_TRUE(waitUntilKept());
    const auto before = lookups();
    for (int i = 0; i < 20; ++i) {
        read();
    }
    EXPECT_EQ(lookups(), before);
}

TEST_F(TheGateway, LearnsOfAChangeByAnyone) {
    makeFresh();
    ASSERT_TRUE(waitUntilKept());
    store.command({"HSET", StandInProvider::kInstance, "Theme", "dark"});
    const auto end = std::chrono::steady_clock::now() + seconds(10);
    std::string body;
    while (body.find(R"("Theme":"dark")") == std::string::npos &&
           std::chrono::steady_clock::now() < end) {
        body = *read().body;
    }
    EXPECT_THAT(body, HasSubstr(R"("Theme":"dark")"));
}

TEST_F(TheGateway, KeepsNothingWhileNobodyTellsOfChanges) {
    makeFresh();
    ASSERT_TRUE(waitUntilKept());
    store.command({"CLIENT", "KILL", "TYPE", "pubsub"});
    store.command({"HSET", StandInProvider::kInstance, "Theme", "dark"});
    const auto end = std::chrono::steady_clock::now() + seconds(10);
    while (read().body->find(R"("Theme":"dark")") == std::string::npos &&
           std::chrono::steady_clock::now() < end) {
    }
    EXPECT_THAT(*read().body, HasSubstr(R"("Theme":"dark")"));
    EXPECT_TRUE(waitUntilKept()) << "and keeps again when somebody does";
}

TEST_F(TheGateway, GivesTheNewValuesRightAfterAChange) {
    makeFresh();
    ASSERT_TRUE(waitUntilKept());
    for (const std::string theme : {"dark", "light", "dark"}) {
        const ChangeResult result = change({{"Theme", theme}});
        EXPECT_TRUE(result.isAnythingChanged);
        EXPECT_TRUE(result.problems.empty());
        EXPECT_THAT(*read().body, HasSubstr("\"Theme\":\"" + theme + "\""));
    }
    EXPECT_EQ(provider.received().back().object.at("EventUserName"), "somebody");
}

TEST_F(TheGateway, HandsBackTheNewReadingWithAChange) {
    makeFresh();
    ASSERT_TRUE(waitUntilKept());
    const auto before = lookups();
    const ChangeResult result = change({{"Theme", "dark"}, {"Language", "Deutsch"}});
    EXPECT_TRUE(result.reading.problems.empty());
    EXPECT_THAT(*result.reading.body, HasSubstr(R"("Theme":"dark")"));
    EXPECT_THAT(*result.reading.body, HasSubstr(R"("Language":"Deutsch")"));
    EXPECT_EQ(lookups(), before) << "without another read";
    EXPECT_EQ(result.reading.entityTag, read().entityTag);
    EXPECT_EQ(*result.reading.body, *read().body);
}

TEST_F(TheGateway, ReadsAfterAChangeThatLeavesTheResourceUnread) {
    provider.behave("00003", {.marksFresh = false});
    const ChangeResult result = change({{"Theme", "dark"}});
    EXPECT_TRUE(result.isAnythingChanged);
    ASSERT_TRUE(result.reading.body);
    EXPECT_THAT(*result.reading.body, HasSubstr(R"("Theme":"dark")"));
    EXPECT_EQ(readRequests(), 2) << "before the change and after it";
}

TEST_F(TheGateway, ChangesOnlyWhatIsInTheStateThatIsAskedFor) {
    makeFresh();
    const std::string tag = read().entityTag;
    const ChangeResult refused = change({{"Theme", "dark"}}, "\"another\"");
    ASSERT_EQ(refused.problems.size(), 1U);
    EXPECT_EQ(refused.problems[0].message, Message::preconditionFailed);
    EXPECT_FALSE(refused.isAnythingChanged);
    EXPECT_TRUE(change({{"Theme", "dark"}}, "\"x\", " + tag).isAnythingChanged);
    EXPECT_EQ(change({{"Theme", "light"}}, tag).problems.size(), 1U) << "it has changed";
}

TEST_F(TheGateway, ReportsWhichOfSeveralRequestsWasRefused) {
    provider.behave("00003", {.messageId = "InternalError"});
    const ChangeResult result = change({{"Language", "Deutsch"}, {"Theme", "dark"}});
    EXPECT_TRUE(result.isAnythingChanged);
    ASSERT_EQ(result.problems.size(), 1U);
    EXPECT_EQ(result.problems[0].message, Message::internalError);
}

TEST_F(TheGateway, RunsActions) {
    EXPECT_TRUE(act("WebGUI.TurnOffLCD").empty());
    EXPECT_EQ(provider.received().back().object.at("Action"), "WebGUI.TurnOffLCD");
    provider.behave({.messageId = "ActionNotSupported", .arguments = {"WebGUI.GUIReady"}});
    ASSERT_EQ(act("WebGUI.GUIReady").size(), 1U);
}

TEST_F(TheGateway, ReportsThatNobodyIsThere) {
    provider.stopListening();
    const Reading reading = read();
    ASSERT_EQ(reading.problems.size(), 1U);
    EXPECT_EQ(reading.problems[0].message, Message::providerUnavailable);
    store.command({"DEL", "Collection:OrvaneWebGUI.1.0.0.WebGUI"});
    EXPECT_EQ(read().problems.at(0).message, Message::providerUnavailable);
    store.kill();
    EXPECT_EQ(read().problems.at(0).message, Message::providerUnavailable);
}

TEST_F(TheGateway, ReportsThatNoAnswerCame) {
    on([this] {
        gateway = std::make_unique<redfish::Gateway>(
            redfish::GatewayOptions{.store = client::parseAddress(store.address()),
                                    .timeout = milliseconds(200)},
            server.post());
    });
    provider.behave({.times = 0});
    EXPECT_EQ(read().problems.at(0).message, Message::operationTimeout);
    EXPECT_EQ(act("WebGUI.TurnOffLCD").at(0).message, Message::operationTimeout);
}

TEST_F(TheGateway, ComesBackWhenTheStoreDoes) {
    store.kill();
    EXPECT_FALSE(read().problems.empty());
    store.start();
    const StandInProvider again(store);
    EXPECT_TRUE(read().problems.empty());
}

TEST_F(TheGateway, EndsWithoutWaitingForAnAnswer) {
    provider.behave({.times = 0});
    std::atomic<int> answered{0};
    on([&] { gateway->read([&](const Reading&) { ++answered; }); });
    on([this] { gateway.reset(); });
    EXPECT_EQ(answered, 0);
}

// The event and the news of the changed key come on two connections. Here the news are held back
// for as long as the test likes, and a client reads at the very moment at which it gets the event.
TEST_F(TheGateway, NeverServesWhatWasReadBeforeAnEventToWhomHasTheEvent) {
    const test::TemporaryFolder folder;
    test::Relay relay(folder.file("relay.sock"), store.socketPath());
    on([&] {
        gateway = std::make_unique<redfish::Gateway>(
            redfish::GatewayOptions{.store =
                                        client::parseAddress("unix:" + folder.file("relay.sock")),
                                    .timeout = seconds(10)},
            server.post());
    });
    makeFresh();
    ASSERT_TRUE(waitUntilKept());
    std::promise<std::string> body;
    const redfish::EventReader reader(
        client::parseAddress(store.address()), *gateway, server.post(),
        [&](const std::vector<client::Event>& events, bool /*isOld*/, const std::string&) {
            if (!events.empty()) {
                gateway->read([&](const Reading& reading) { body.set_value(*reading.body); });
                relay.setDelay(milliseconds(0));
            }
        });
    relay.setDelay(std::chrono::hours(1));
    store.command({"HSET", StandInProvider::kInstance, "Theme", "dark"});
    store.command({"XADD", "Events:Zolan Event", "*", "Message", "changed"});
    std::future<std::string> result = body.get_future();
    ASSERT_EQ(result.wait_for(seconds(20)), std::future_status::ready);
    EXPECT_THAT(result.get(), HasSubstr(R"("Theme":"dark")"));
}

class TheEventReader : public testing::Test {
protected:
    ~TheEventReader() override {
        server.stop();
        thread.join();
        reader.reset();
    }
    std::string append(const std::string& message) {
        return store.command({"XADD", "Events:Zolan Event", "*", "Message", message});
    }
    std::vector<std::string> received() {
        const std::lock_guard guard(mutex);
        return messages;
    }
    bool waitFor(std::size_t count) {
        const auto end = std::chrono::steady_clock::now() + seconds(20);
        while (received().size() < count && std::chrono::steady_clock::now() < end) {
            std::this_thread::sleep_for(milliseconds(5));
        }
        return received().size() == count;
    }

    test::RedisServer store;
    std::mutex mutex;
    std::vector<std::string> messages;
    redfish::Server server{{.address = "127.0.0.1", .port = 0, .isClear = true},
                           [](unsigned int) { return redfish::Response{}; }};
    redfish::Gateway gateway{{.store = client::parseAddress(store.address())}, server.post()};
    std::unique_ptr<redfish::EventReader> reader;
    std::thread thread{[this] { server.run({}, false); }};
};

TEST_F(TheEventReader, GivesWhatIsKeptAndWhatComesOnceAndInOrder) {
    append("kept");
    reader = std::make_unique<redfish::EventReader>(
        client::parseAddress(store.address()), gateway, server.post(),
        [this](const std::vector<client::Event>& events, bool isOld, const std::string&) {
            const std::lock_guard guard(mutex);
            for (const client::Event& each : events) {
                messages.push_back((isOld ? "old " : "new ") + each.message);
            }
        });
    ASSERT_TRUE(waitFor(1));
    append("first");
    ASSERT_TRUE(waitFor(2));
    store.command({"CLIENT", "KILL", "TYPE", "normal", "SKIPME", "yes"});
    append("second");
    ASSERT_TRUE(waitFor(3));
    EXPECT_THAT(received(), testing::ElementsAre("old kept", "new first", "new second"));
}

} // namespace
