#include "client/requester.h"

#include "tests/client/stand_in_provider.h"
#include "tests/support/wait_until.h"

#include <gmock/gmock.h>

namespace {

using client::Answer;
using std::chrono::milliseconds;
using testing::ElementsAre;

class Requests : public testing::Test {
protected:
    Answer perform(const client::Request& request) {
        return requester.perform(test::StandInProvider::kChannel, request);
    }

    std::string channels() { return server.command({"PUBSUB", "CHANNELS"}); }

    test::RedisServer server;
    test::StandInProvider provider{server};
    client::StoreConnection store{client::parseAddress(server.address())};
    client::Stop stop;
    client::Requester requester{store, milliseconds(10'000), &stop};
};

TEST_F(Requests, GiveTheReturnMessageWithItsArguments) {
    provider.behave({.messageId = "Odd", .arguments = {"a", "", "c", "d", "e"}});
    const Answer answer = perform({"12345", "key", {}});
    EXPECT_EQ(answer.messageId, "Odd");
    EXPECT_THAT(answer.arguments, ElementsAre("a", "", "c", "d", "e"));
    EXPECT_FALSE(answer.isSuccess());
    EXPECT_GT(answer.latency.count(), 0);
    EXPECT_EQ(answer.text(), "Odd (a, , c, d, e)");
}

TEST_F(Requests, UseAReplyChannelEachAndLeaveNone) {
    for (int i = 0; i < 3; ++i) {
        EXPECT_TRUE(perform({"00001", "key", {}}).isSuccess());
    }
    const auto received = provider.received();
    EXPECT_NE(received.at(0).replyChannel, received.at(1).replyChannel);
    EXPECT_NE(received.at(1).replyChannel, received.at(2).replyChannel);
    EXPECT_TRUE(received.at(0).replyChannel.starts_with("Reply:"));
    EXPECT_TRUE(test::waitUntil([this] { return channels() == "OrvaneWebGUI"; })) << channels();
}

TEST_F(Requests, NeverTakeALateOrSecondAnswerForTheNextOne) {
    client::Requester hasty(store, milliseconds(30), nullptr);
    provider.behave("00001", {.messageId = "Late", .times = 3, .work = milliseconds(150)});
    EXPECT_THROW(hasty.perform(test::StandInProvider::kChannel, {"00001", "key", {}}),
                 client::NoAnswer);
    provider.behave("00002", {.messageId = "Mine"});
    client::Requester patient(store, milliseconds(10'000), nullptr);
    EXPECT_EQ(perform({"00002", "key", {}}).messageId, "Mine");
    EXPECT_EQ(patient.perform(test::StandInProvider::kChannel, {"00002", "key", {}}).messageId,
              "Mine");
    provider.behave("00001", {.messageId = "Twice", .times = 2});
    EXPECT_EQ(perform({"00001", "key", {}}).messageId, "Twice");
    EXPECT_EQ(perform({"00002", "key", {}}).messageId, "Mine");
}

TEST_F(Requests, KnowAtOnceThatNobodyListens) {
    try {
        requester.perform("NoChannel", {"00002", "my-object", {{"a", "b"}}});
        ADD_FAILURE() << "answered";
    } catch (const client::NobodyThere& error) {
        EXPECT_EQ(error.what(),
                  "store " + server.address() +
                      ": nobody listens on channel \"NoChannel\"; start the provider");
    }
    EXPECT_FALSE(store.exists("my-object"));
}

TEST_F(Requests, KeepTheirObjectOnlyWhileTheyWait) {
    EXPECT_TRUE(perform({"00002", "my-object", {{"Language", "x"}, {"Empty", ""}}}).isSuccess());
    const auto received = provider.received();
    EXPECT_EQ(received.at(0).object,
              (std::map<std::string, std::string>{{"Language", "x"}, {"Empty", ""}}));
    EXPECT_GT(received.at(0).objectLife, 60'000);
    EXPECT_LE(received.at(0).objectLife, 70'000);
    EXPECT_FALSE(store.exists("my-object"));
}

TEST_F(Requests, HoldTheirLeaseForItsWholeLifeFromTheirSendingOn) {
    client::Lease lease(store, "Lease:x", milliseconds(60'000), client::Clock::now(), &stop);
    server.command({"PEXPIRE", "Lease:x", "20000"});
    client::Escort escort{.lease = &lease};
    EXPECT_TRUE(
        requester
            .perform(test::StandInProvider::kChannel, {"00002", "object", {{"a", "b"}}}, &escort)
            .isSuccess());
    EXPECT_GT(std::stoi(server.command({"PTTL", "Lease:x"})), 20'000);
}

TEST_F(Requests, AreNotSentUnderALeaseThatWasLost) {
    client::Lease lease(store, "Lease:x", milliseconds(60'000), client::Clock::now(), &stop);
    server.command({"SET", "Lease:x", "new holder", "PX", "10000"});
    client::Escort escort{.lease = &lease};
    try {
        requester.perform(test::StandInProvider::kChannel, {"00002", "object", {{"a", "b"}}},
                          &escort);
        ADD_FAILURE() << "sent";
    } catch (const client::LeaseHeld& error) {
        EXPECT_EQ(error.what(), "store " + server.address() +
                                    ": the lease \"Lease:x\" was lost to another client; it "
                                    "ends by itself: try again in a moment");
    }
    EXPECT_LE(std::stoi(server.command({"PTTL", "Lease:x"})), 10'000) << "not prolonged";
    EXPECT_EQ(provider.receivedCount(), 0U);
    EXPECT_FALSE(store.exists("object"));
}

TEST_F(Requests, BringTheRepliesToWhatFollowsThem) {
    client::Escort escort{.after = {{"EXISTS", "object"}, {"INCR", "count"}, {"NONSENSE"}}};
    requester.perform(test::StandInProvider::kChannel, {"00002", "object", {{"a", "b"}}}, &escort);
    ASSERT_EQ(escort.replies.size(), 3U);
    EXPECT_EQ(escort.replies[0].integer, 0) << "the object is gone";
    EXPECT_EQ(escort.replies[1].integer, 1);
    EXPECT_EQ(escort.replies[2].kind, client::Reply::Kind::error);
}

TEST_F(Requests, LeaveAnObjectAloneThatWasThereBefore) {
    server.command({"HSET", "object", "of", "another"});
    EXPECT_THROW(perform({"00002", "object", {{"a", "b"}}}), client::StoreContents);
    EXPECT_EQ(server.command({"HGETALL", "object"}), "of another");
    EXPECT_EQ(provider.receivedCount(), 0U);
}

TEST_F(Requests, ThatWerePreparedUseWhatWasPrepared) {
    EXPECT_TRUE(perform({"00001", "key", {}}).isSuccess()); // connected from now on
    requester.prepare();
    std::string prepared;
    EXPECT_TRUE(test::waitUntil([&] {
        prepared = channels();
        return prepared.find("Reply:") != std::string::npos;
    }));
    EXPECT_TRUE(perform({"00001", "key", {}}).isSuccess());
    EXPECT_THAT(prepared, testing::HasSubstr(provider.received().at(1).replyChannel));
    requester.prepare();
    server.command({"CLIENT", "KILL", "TYPE", "pubsub"});
    const test::StandInProvider again(server);
    EXPECT_TRUE(perform({"00001", "key", {}}).isSuccess()) << "on a new connection";
}

TEST_F(Requests, FailOnAReturnMessageThatIsMissingOrOfAnotherKind) {
    provider.behave({.hasReturnMessage = false});
    EXPECT_THROW(perform({"00001", "key", {}}), client::StoreContents);
    server.command({"SET", "answer-2", "text"});
    EXPECT_THROW(perform({"00001", "key", {}}), client::StoreRefused);
    server.command({"HSET", "answer-3", "MessageArgs.0", "x"});
    EXPECT_THROW(perform({"00001", "key", {}}), client::StoreContents);
}

TEST_F(Requests, EndWhenStopped) {
    provider.behave({.times = 0});
    std::thread other([this] {
        test::waitUntil([this] { return provider.receivedCount() == 1; });
        stop.request();
    });
    EXPECT_THROW(perform({"00002", "my-object", {{"a", "b"}}}), client::Stopped);
    other.join();
    EXPECT_FALSE(store.exists("my-object"));
}

TEST_F(Requests, AreNotSentOnceStopped) {
    stop.request();
    EXPECT_THROW(perform({"00001", "key", {}}), client::Stopped);
    EXPECT_EQ(provider.receivedCount(), 0U);
}

TEST_F(Requests, FailWhenTheStoreDiesWhileTheyWaitAndWorkAgainAfterwards) {
    provider.behave({.times = 0});
    std::thread other([this] {
        test::waitUntil([this] { return provider.receivedCount() == 1; });
        server.kill();
    });
    EXPECT_THROW(perform({"00001", "key", {}}), client::StoreUnreachable);
    other.join();
    server.start();
    const test::StandInProvider again(server);
    EXPECT_TRUE(perform({"00001", "key", {}}).isSuccess());
}

TEST_F(Requests, SurviveARestartOfTheStoreBetweenThem) {
    EXPECT_TRUE(perform({"00001", "key", {}}).isSuccess());
    server.stop();
    server.start();
    const test::StandInProvider again(server);
    EXPECT_TRUE(perform({"00001", "key", {}}).isSuccess());
}

TEST_F(Requests, OfManyThreadsEachGetTheirOwnAnswer) {
    std::vector<std::thread> threads;
    std::atomic<int> wrong{0};
    for (const std::string id : {"one", "two", "three", "four"}) {
        provider.behave(id, {.messageId = "answer to " + id});
        threads.emplace_back([this, id, &wrong] {
            client::StoreConnection own(client::parseAddress(server.address()));
            client::Requester mine(own, milliseconds(20'000), nullptr);
            for (int i = 0; i < 50; ++i) {
                const Answer answer =
                    mine.perform(test::StandInProvider::kChannel, {id, "key", {}});
                wrong += answer.messageId == "answer to " + id ? 0 : 1;
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(wrong, 0);
    EXPECT_EQ(provider.receivedCount(), 200U);
}

} // namespace
