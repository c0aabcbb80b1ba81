// A whole life of the daemon under valgrind's memcheck, with all devices: no error, no block left
// at the end, no suppression, and one answer per request.
#include "tests/end_to_end/devices.h"

#include <map>
#include <utility>

namespace {

using test::kWebGui;

constexpr int kRequests = 50;
constexpr int kStatusOfAnError = 99;

class Memcheck : public test::EndToEndWithDevices {
protected:
    void SetUp() override {
        // script/memcheck installs it first, so that nobody takes a skipped test for a clean one.
        if (test::run({"valgrind", "--version"}).status != 0) {
            GTEST_SKIP() << "valgrind is not installed; script/memcheck installs it";
        }
        EndToEndWithDevices::SetUp();
    }

    std::vector<std::string> daemonWrapper() const override {
        return {"valgrind",
                "--quiet",
                "--vgdb=no",
                "--leak-check=full",
                "--show-leak-kinds=all",
                "--errors-for-leak-kinds=all",
                "--track-origins=yes",
                "--num-callers=30",
                "--error-exitcode=" + std::to_string(kStatusOfAnError),
                "--log-file=" + folder().file("memcheck.log")};
    }

    std::string findings() const { return test::readFile(folder().file("memcheck.log")); }

    void send(const std::string& msgId, const std::string& reqArg, const std::string& expected) {
        const std::string channel = mailbox().newReplyChannel();
        EXPECT_EQ(mailbox().send(msgId, reqArg, channel), 1) << "nobody listens to requests";
        expected_[channel] = {msgId + " " + reqArg, expected};
    }

    void waitForAnswers() {
        EXPECT_TRUE(mailbox().collectUntil([this] { return mailbox().count() >= sent(); }))
            << mailbox().count() << " answers to " << sent() << " requests";
    }

    std::size_t sent() const { return expected_.size(); }

    void expectOneAnswerToEach() {
        mailbox().collectAll();
        EXPECT_EQ(mailbox().count(), sent());
        for (const auto& [channel, each] : expected_) {
            const auto answers = mailbox().received().find(channel);
            ASSERT_NE(answers, mailbox().received().end()) << each.first;
            ASSERT_EQ(answers->second.size(), 1U) << each.first;
            EXPECT_EQ(mailbox().answer(answers->second.front()).messageId, each.second)
                << each.first;
        }
    }

    std::string action(const std::string& name) { return requestObject({{"Action", name}}); }

    void sendReads();
    void sendUpdates();
    void sendDisplayUpdates();
    void sendActions();
    void sendWhatNobodyKnows();
    void sendWhileAnAlertIsShown();
    void sendAfterTheUnitHasChangedItsScale();
    void sendWhileTheDatabaseTakesNoRow();

private:
    // By reply channel: the request, and the message id of its answer.
    std::map<std::string, std::pair<std::string, std::string>> expected_;
};

void Memcheck::sendReads() {
    for (int i = 0; i < 4; ++i) {
        send("00001", kWebGui, "Success");
    }
    send("00001", test::kActions, "InvalidObject");
    send("00001", "no-such-key", "InvalidObject");
    send("00001", "", "InvalidObject");
    send("00001", std::string(3000, 'k'), "InvalidObject");
}

void Memcheck::sendUpdates() {
    send("00002", requestObject({{"Language", "Deutsch"}}), "Success");
    send("00002", requestObject({{"Language", std::string(2000, 'l')}}), "Success");
    send("00002", requestObject({{"Other", "property"}, {"Language", ""}}), "Success");
    send("00002", requestObject({{"Language", "Deutsch"}}, "no-such-target"), "InvalidObject");
    send("00002", "Request:none", "InvalidObject");
    send("00002", "", "InvalidObject");
    send("00004", requestObject({{"InitialBoot", "true"}}), "Success");
    send("00004", requestObject({{"InitialBoot", "neither"}}), "Success");
    send("00004", requestObject({}), "Success");
}

void Memcheck::sendDisplayUpdates() {
    send("00003", displayRequest({{"ScreenBrightness", "2"}}), "Success");
    send("00003", displayRequest({{"ScreenBrightness", "8"}}), "Success");
    send("00003", displayRequest({{"ScreenBrightness", "bright"}}), "Success");
    send("00003", displayRequest({{"BacklightOff", "Off After 1 Minute"}}), "Success");
    send("00003", displayRequest({{"BacklightOff", "at dusk"}}), "Success");
    send("00003", displayRequest({{"MeasurementSystem", "Imperial"}}), "Success");
    send("00003", displayRequest({{"Theme", "light"}}), "Success");
    send("00003", displayRequest({{"Theme", std::string(1500, 't')}}), "Success");
    send("00003", requestObject({}), "Success");
    send("00003", "Request:none", "InvalidObject");
}

void Memcheck::sendActions() {
    send("00000", action("WebGUI.TurnOffLCD"), "Success");
    send("00000", action("WebGUI.GUIReady"), "Success");
    send("00000", action("WebGUI.GUIReady"), "Success");
    send("00000", action("WebGUI.TurnOnLCD"), "ActionNotSupported");
    send("00000", action(""), "ActionNotSupported");
    send("00000", action(std::string(1000, 'a')), "ActionNotSupported");
    send("00000", requestObject({}), "InternalError");
    send("00000", requestObject({{"Action", "WebGUI.GUIReady"}}, "no-such-target"),
         "InvalidObject");
    send("00000", "Request:none", "InternalError");
}

void Memcheck::sendWhatNobodyKnows() {
    for (const std::string payload : {"", "no json", "[]", R"(["00001"])", "[1,2,3]"}) {
        EXPECT_EQ(redis().command({"PUBLISH", "OrvaneWebGUI", payload}), "1");
    }
    send("99999", kWebGui, "ActionNotSupported");
    send("0001", kWebGui, "ActionNotSupported");
    send("", "", "ActionNotSupported");
    send(std::string(2000, '9'), kWebGui, "ActionNotSupported");
}

void Memcheck::sendWhileAnAlertIsShown() {
    sql("UPDATE webgui_tbl SET HasAlert = 'YES'");
    send("00003", displayRequest({{"BacklightOff", "Off After 5 Minutes"}}), "Success");
    send("00000", action("WebGUI.TurnOffLCD"), "Success");
    waitForAnswers();
    sql("UPDATE webgui_tbl SET HasAlert = 'NO'");
}

void Memcheck::sendAfterTheUnitHasChangedItsScale() {
    const std::string other = temperatureScale() == "0" ? "1" : "0";
    setTemperatureScale(other);
    send("00001", kWebGui, "Success");
    waitForAnswers();
    EXPECT_EQ(field(kWebGui, "MeasurementSystem"), other == "0" ? "Imperial" : "Metric");
    send("00001", kWebGui, "Success");
    waitForAnswers();
}

void Memcheck::sendWhileTheDatabaseTakesNoRow() {
    sql("CREATE TRIGGER refuse BEFORE UPDATE ON webgui_tbl BEGIN SELECT RAISE(ABORT, 'no'); END");
    send("00002", requestObject({{"Language", "English"}}), "InternalError");
    send("00003", displayRequest({{"Theme", "dark"}}), "InternalError");
    send("00004", requestObject({{"InitialBoot", "false"}}), "InternalError");
    waitForAnswers();
    sql("DROP TRIGGER refuse");
    send("00002", requestObject({{"Language", "English"}}), "Success");
    send("00001", kWebGui, "Success");
    send("00003", displayRequest({{"ScreenBrightness", "7"}}), "Success");
    waitForAnswers();
}

TEST_F(Memcheck, FindsNothingInAWholeLifeOfFiftyRequests) {
    test::writeFile(temporary("buzzer.silence"), "");
    // In flight at once, served by three workers and the hook.
    sendUpdates();
    sendReads();
    sendActions();
    sendDisplayUpdates();
    sendWhatNobodyKnows();
    waitForAnswers();
    sendWhileAnAlertIsShown();
    sendAfterTheUnitHasChangedItsScale();
    sendWhileTheDatabaseTakesNoRow();

    EXPECT_EQ(stopDaemon(), 0) << findings();
    EXPECT_EQ(findings(), "");
    EXPECT_EQ(sent(), kRequests);
    expectOneAnswerToEach();
    EXPECT_FALSE(exists(kWebGui)) << "the tree is taken down at the end";
}

} // namespace
