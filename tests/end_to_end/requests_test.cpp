// The answers to reads and to requests that cannot be carried out.
#include "tests/end_to_end/end_to_end.h"
#include "tests/support/wait_until.h"

namespace {

using test::Answer;
using test::kWebGui;

class Requests : public test::EndToEnd {
protected:
    void SetUp() override { startDaemon(); }

    // The number of keys that have expired in the store so far.
    int expiredKeys() {
        const std::string statistics = redis().command({"INFO", "stats"});
        const std::string name = "expired_keys:";
        return std::stoi(statistics.substr(statistics.find(name) + name.size()));
    }
};

TEST_F(Requests, AReadIsAnsweredSuccess) {
    EXPECT_EQ(ask("00001", kWebGui), (Answer{"Success", {}}));
}

TEST_F(Requests, AReadMakesTheInstanceFreshForASecond) {
    const std::string freshness = std::string("TTL:") + kWebGui;
    ASSERT_TRUE(test::waitUntil([&] { return !exists(freshness); }));
    const int before = expiredKeys();
    EXPECT_EQ(ask("00001", kWebGui).messageId, "Success");
    EXPECT_TRUE(test::waitUntil([&] { return expiredKeys() == before + 1; }));
    EXPECT_FALSE(exists(freshness));
}

TEST_F(Requests, AReturnMessageExpires) {
    const std::string channel = mailbox().newReplyChannel();
    mailbox().send("00001", kWebGui, channel);
    ASSERT_TRUE(mailbox().collectUntil([&] { return mailbox().received().contains(channel); }));
    const std::string uuid = mailbox().received().at(channel).front();
    EXPECT_EQ(uuid.size(), 36U);
    const int seconds = std::stoi(redis().command({"TTL", uuid}));
    EXPECT_GT(seconds, 0);
    EXPECT_LE(seconds, 60);
}

TEST_F(Requests, AReadOfAnUnknownKeyIsAnsweredWithTheKey) {
    EXPECT_EQ(ask("00001", "no-such-key"), (Answer{"InvalidObject", {"no-such-key"}}));
    EXPECT_EQ(ask("00001", test::kActions), (Answer{"InvalidObject", {test::kActions}}));
}

TEST_F(Requests, AnUnknownMessageIdIsAnsweredWithTheId) {
    for (const std::string id : {"00005", "0001", "00001 ", ""}) {
        EXPECT_EQ(ask(id, kWebGui), (Answer{"ActionNotSupported", {id}}));
        EXPECT_NE(
            output().find("[OrvaneWebGUI_OVRHookFunction]: The msgId is invalid: " + id + ".\n"),
            std::string::npos);
    }
}

TEST_F(Requests, ControlCharactersForgeNoLogLine) {
    const std::string forged = "0\n[main]: All is well.\x1b[2J";
    const std::string shown = "0\\x0a[main]: All is well.\\x1b[2J";
    EXPECT_EQ(ask(forged, kWebGui), (Answer{"ActionNotSupported", {forged}}));
    EXPECT_EQ(ask("00000", requestObject({{"Action", forged}})),
              (Answer{"ActionNotSupported", {forged}}));
    EXPECT_EQ(ask("00003", displayRequest({{"Theme", forged}})).messageId, "Success");
    EXPECT_EQ(ask("00002", forged), (Answer{"InvalidObject", {forged}}));
    for (const std::string& line :
         {"[OrvaneWebGUI_OVRHookFunction]: The msgId is invalid: " + shown + ".\n",
          "[actionObject]: Unsupported action: " + shown + ".\n",
          "[setTheme]: Invalided Theme value (" + shown + ") \n",
          "[getInputData]: Failed to call osselHashGetAll( " + shown + " ). uiCount is 0.\n"}) {
        EXPECT_NE(output().find(line), std::string::npos) << line << output();
    }
    EXPECT_EQ(output().find("\n[main]"), std::string::npos);
    EXPECT_EQ((output() + errors()).find('\x1b'), std::string::npos);
}

TEST_F(Requests, AnUpdateOfAnUnknownTargetIsAnsweredWithTheKeyOfTheRequest) {
    const std::string request = requestObject({{"Language", "Deutsch"}}, "no-such-target");
    EXPECT_EQ(ask("00002", request), (Answer{"InvalidObject", {request}}));
    EXPECT_EQ(setting("Language"), "English");
    EXPECT_FALSE(exists("Events:Zolan Event"));
}

TEST_F(Requests, AnUpdateWithoutARequestObjectIsAnsweredWithItsKey) {
    EXPECT_EQ(ask("00003", "Request:none"), (Answer{"InvalidObject", {"Request:none"}}));
}

TEST_F(Requests, AnActionIsRefusedByItsName) {
    EXPECT_EQ(ask("00000", requestObject({{"Action", "WebGUI.TurnOnLCD"}})),
              (Answer{"ActionNotSupported", {"WebGUI.TurnOnLCD"}}));
    EXPECT_EQ(ask("00000", requestObject({{"Action", "#WebGUI.TurnOffLCD"}})),
              (Answer{"ActionNotSupported", {"#WebGUI.TurnOffLCD"}}));
    EXPECT_EQ(ask("00000", requestObject({{"Action", ""}})), (Answer{"ActionNotSupported", {""}}));
    EXPECT_NE(output().find("[actionObject]: Unsupported action: WebGUI.TurnOnLCD.\n"),
              std::string::npos);
}

TEST_F(Requests, AnActionWithoutANameIsAnInternalError) {
    EXPECT_EQ(ask("00000", requestObject({})), (Answer{"InternalError", {}}));
    EXPECT_NE(output().find("[actionObject]: Failed to call osselGetHashField().\n"),
              std::string::npos);
}

TEST_F(Requests, AnActionOnAnUnknownTargetIsAnsweredWithTheKeyOfTheRequest) {
    const std::string request = requestObject({{"Action", "WebGUI.GUIReady"}}, "no-such-target");
    EXPECT_EQ(ask("00000", request), (Answer{"InvalidObject", {request}}));
}

TEST_F(Requests, APayloadOfAnotherFormIsDroppedAndTheNextRequestAnswered) {
    for (const std::string payload :
         {"", "no json", "[]", R"(["00001"])", R"({"msgId":"00001"})", "[1,2,3]"}) {
        EXPECT_EQ(redis().command({"PUBLISH", "OrvaneWebGUI", payload}), "1");
    }
    EXPECT_EQ(ask("00001", kWebGui).messageId, "Success");
    EXPECT_EQ(mailbox().count(), 1U);
    EXPECT_NE(errors(), "") << "each is reported";
}

// A new backlight choice costs two pauses of 200 ms; the read is answered during them.
TEST_F(Requests, AReadDoesNotWaitForAnUpdate) {
    const std::string update = mailbox().newReplyChannel();
    const std::string read = mailbox().newReplyChannel();
    mailbox().send("00003", requestObject({{"BacklightOff", "Off After 1 Minute"}}), update);
    mailbox().send("00001", kWebGui, read);
    ASSERT_TRUE(mailbox().collectUntil([&] { return mailbox().received().contains(read); }));
    EXPECT_FALSE(mailbox().received().contains(update));
    EXPECT_TRUE(mailbox().collectUntil([&] { return mailbox().received().contains(update); }));
}

} // namespace
