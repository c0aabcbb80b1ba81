// Every request that reaches the provider is answered exactly once: a thousand of all kinds in
// flight at once, and when the daemon is stopped among them.
#include "tests/end_to_end/end_to_end.h"

#include <array>
#include <csignal>

namespace {

using test::kWebGui;

class ExactlyOnce : public test::EndToEnd {
protected:
    struct Sent {
        std::string channel;
        std::string expected; // message id of the answer
    };

    void SetUp() override {
        startDaemon();
        update_ = requestObject({{"Language", "Deutsch"}});
        guiReady_ = requestObject({{"Action", "WebGUI.GUIReady"}});
        unknownAction_ = requestObject({{"Action", "WebGUI.None"}});
    }

    // The n-th request of the mix. Of 25 requests one is an update (which is slow), one has an
    // unknown id, five are actions (one of them unknown) and eighteen are reads (one of an unknown
    // key).
    Sent send(int n) {
        const std::string channel = mailbox().newReplyChannel();
        const auto [msgId, reqArg, expected] = request(n % 25);
        accepted_ += mailbox().send(msgId, reqArg, channel);
        return {channel, expected};
    }

    long long accepted() const { return accepted_; }

private:
    std::array<std::string, 3> request(int kind) const {
        switch (kind) {
        case 0:
            return {"00002", update_, "Success"};
        case 1:
            return {"99999", kWebGui, "ActionNotSupported"};
        case 2:
            return {"00000", unknownAction_, "ActionNotSupported"};
        case 3:
        case 8:
        case 13:
        case 18:
            return {"00000", guiReady_, "Success"};
        case 4:
            return {"00001", "other", "InvalidObject"};
        default:
            return {"00001", kWebGui, "Success"};
        }
    }

    std::string update_;
    std::string guiReady_;
    std::string unknownAction_;
    long long accepted_ = 0;
};

TEST_F(ExactlyOnce, AThousandRequestsOfAllKindsInFlightTogether) {
    std::vector<Sent> sent;
    sent.reserve(1000);
    for (int i = 0; i < 1000; ++i) {
        sent.push_back(send(i));
    }
    ASSERT_EQ(accepted(), 1000);
    EXPECT_TRUE(mailbox().collectUntil([this] { return mailbox().count() >= 1000; },
                                       std::chrono::seconds(100)))
        << mailbox().count();
    // Only once the daemon has ended can no second answer follow.
    EXPECT_EQ(stopDaemon(), 0) << errors();
    mailbox().collectAll();
    EXPECT_EQ(mailbox().count(), 1000U);
    for (const Sent& each : sent) {
        const auto answers = mailbox().received().find(each.channel);
        ASSERT_NE(answers, mailbox().received().end()) << each.channel;
        ASSERT_EQ(answers->second.size(), 1U) << each.channel;
        EXPECT_EQ(mailbox().answer(answers->second.front()).messageId, each.expected);
    }
}

// The signal arrives while requests are still being sent and most are unanswered. Those that had a
// receiver are answered; for the others the store reported 0 receivers.
TEST_F(ExactlyOnce, AStopAmongThemLosesNoAcceptedRequest) {
    std::vector<Sent> acceptedOnes;
    bool refused = false;
    for (int i = 0; i < 100'000 && !refused; ++i) {
        const long long before = accepted();
        const Sent one = send(i);
        if (accepted() > before) {
            acceptedOnes.push_back(one);
        } else {
            refused = true;
        }
        if (i == 200) {
            daemon().signal(SIGTERM);
        }
    }
    EXPECT_TRUE(refused) << "the provider went on receiving after the signal";
    EXPECT_GT(acceptedOnes.size(), 200U);
    // Its queues may hold more updates than fit into the limit of ChildProcess::wait.
    EXPECT_TRUE(mailbox().collectUntil([&] { return mailbox().count() >= acceptedOnes.size(); },
                                       std::chrono::seconds(100)))
        << mailbox().count() << " of " << acceptedOnes.size();
    EXPECT_EQ(daemon().wait(), 0) << errors();
    mailbox().collectAll();
    EXPECT_EQ(mailbox().count(), acceptedOnes.size());
    for (const Sent& each : acceptedOnes) {
        const auto answers = mailbox().received().find(each.channel);
        ASSERT_NE(answers, mailbox().received().end()) << each.channel;
        ASSERT_EQ(answers->second.size(), 1U) << each.channel;
        EXPECT_EQ(mailbox().answer(answers->second.front()).messageId, each.expected);
    }
    EXPECT_FALSE(exists(kWebGui));
}

} // namespace
