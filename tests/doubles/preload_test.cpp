// The double in front of the real daemon: the script controls the calls, the log shows them.
#include "tests/support/child_process.h"
#include "tests/support/temporary_folder.h"

#include <cstdlib>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <map>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

constexpr int kBadScript = 99;

class PreloadedDaemon : public testing::Test {
protected:
    // Runs the daemon with a script to its end.
    void run(const std::string& script) {
        const test::TemporaryFolder folder;
        test::writeFile(folder.file("script"), script);
        ::unsetenv("ManagingMode"); // it would take precedence over the file
        const std::map<std::string, std::string> environment{
            test::preload(ORVANE_PLATFORM_DOUBLE),
            {"DOUBLE_SCRIPT", folder.file("script")},
            {"DOUBLE_LOG", folder.file("log")},
            {"ASAN_OPTIONS", "verify_asan_link_order=0"}};
        test::ChildProcess daemon({ORVANE_DAEMON}, environment, folder.file("out"),
                                  folder.file("err"));
        status_ = daemon.wait();
        output_ = test::readFile(folder.file("out"));
        errors_ = test::readFile(folder.file("err"));
        calls_.clear();
        std::istringstream lines(test::readFile(folder.file("log")));
        for (std::string line; std::getline(lines, line);) {
            calls_.push_back(line);
        }
    }

    // The calls of one function.
    std::vector<std::string> callsOf(const std::string& function) const {
        std::vector<std::string> found;
        for (const std::string& text : calls_) {
            if (text.starts_with(function + '(')) {
                found.push_back(text);
            }
        }
        return found;
    }

    std::optional<int> status_;
    std::string output_;
    std::string errors_;
    std::vector<std::string> calls_;
};

TEST_F(PreloadedDaemon, LogsEveryCallFromStaticConstructionToDestruction) {
    run("provision\n");
    EXPECT_EQ(status_, 0);
    EXPECT_EQ(errors_, "");
    ASSERT_GT(calls_.size(), 10U);
    EXPECT_EQ(calls_[0], "ovrComSupport()");
    EXPECT_EQ(calls_[1], "ovrBindCAPIToOssel()");
    EXPECT_EQ(calls_[2], "osselRedisConnect()");
    const std::vector<std::string> last(calls_.end() - 3, calls_.end());
    EXPECT_THAT(last, ElementsAre("osselRedisDisconnect(ctx1)", "~ovrBindCAPIToOssel()",
                                  "~ovrComSupport()"));
    EXPECT_THAT(calls_, Contains("ovrThreadWaitForExit()"));
}

TEST_F(PreloadedDaemon, EndsWithoutSchemaDefinitions) {
    run("");
    EXPECT_EQ(status_, 0);
    EXPECT_THAT(callsOf("ovrAddRunningThread"), IsEmpty());
    EXPECT_THAT(output_, HasSubstr("Failed to get the schema typeId."));
}

TEST_F(PreloadedDaemon, TakesSchemaDefinitionsLineByLine) {
    run("# the type\n"
        "\n"
        "schema title #OrvaneWebGUI.1.0.0.WebGUI = type\n"
        "hash type instanceCollection=members\n"
        "hash type definitions=defs\n"
        "hash defs WebGUI=webgui\n"
        "hash webgui Actions=actions\n"
        "hash actions Oem=oem\n"
        "hash actions #WebGUI.TurnOffLCD=off\n"
        "hash actions #WebGUI.GUIReady=ready\n"
        "set members other\n");
    EXPECT_EQ(status_, 0);
    EXPECT_THAT(callsOf("ovrcbIdSet"), ElementsAre("ovrcbIdSet(\"type\")"));
    EXPECT_THAT(callsOf("osselSADD"),
                ElementsAre(StartsWith("osselSADD(ctx1, \"members\", \"80000000-")));
}

TEST_F(PreloadedDaemon, ServesTheScriptedRequestsThroughHookAndWorkers) {
    run("provision\n"
        "request 00001 80000000-0000-0000-0000-008000000000 reply-1\n"
        "request 99999 key reply-2\n"
        "request 00001 unknown reply-3\n");
    EXPECT_EQ(status_, 0);
    EXPECT_THAT(
        callsOf("osselPublishToChannel"),
        ElementsAre(HasSubstr("\"reply-2\""), HasSubstr("\"reply-1\""), HasSubstr("\"reply-3\"")));
    EXPECT_THAT(callsOf("osselCreateReturnMessage"),
                ElementsAre(HasSubstr("\"ActionNotSupported\", \"99999\", null"),
                            HasSubstr("\"Success\", null"),
                            HasSubstr("\"InvalidObject\", \"unknown\", null")));
}

TEST_F(PreloadedDaemon, FailsTheNthCallOfAFunction) {
    run("provision\nfail osselRedisConnect 3\n");
    EXPECT_EQ(status_, 0);
    EXPECT_EQ(callsOf("osselRedisConnect").size(), 4U);
    EXPECT_THAT(output_,
                HasSubstr("[OrvaneWebGUI_ReadObject]: Failed to call osselRedisConnect().\n"));
    EXPECT_THAT(output_, Not(HasSubstr("UpdateObject")));
}

TEST_F(PreloadedDaemon, FailsEveryCallOfAFunction) {
    run("provision\nfail osselRedisConnect always\n");
    EXPECT_EQ(status_, 0);
    EXPECT_EQ(callsOf("osselRedisConnect").size(), 1U);
    EXPECT_THAT(calls_, Not(Contains(StartsWith("osselGetHashField"))));
}

TEST_F(PreloadedDaemon, FailsTheNthCallOfAnyFunction) {
    run("provision\nfail-any 3 7\n");
    EXPECT_EQ(status_, 0);
    EXPECT_THAT(output_, HasSubstr("Failed to get the schema typeId."));
}

TEST_F(PreloadedDaemon, RefusesTheRunMarkerAsOftenAsAsked) {
    run("provision\nopen-fail 2\n");
    EXPECT_EQ(callsOf("open").size(), 4U); // the managing-mode file, then the marker
    EXPECT_THAT(callsOf("sleep"), ElementsAre("sleep(2)", "sleep(2)"));
}

TEST_F(PreloadedDaemon, TakesTheManagingModeFileFromTheScript) {
    const std::string request =
        "provision\nrequest 00001 80000000-0000-0000-0000-008000000000 reply\n";
    run(request + "managing-mode-file Varrow\n");
    EXPECT_THAT(callsOf("CoolGetTempScale"), IsEmpty());
    run(request);
    EXPECT_EQ(callsOf("CoolGetTempScale").size(), 1U);
}

TEST_F(PreloadedDaemon, TakesTheSettingsRowFromTheScript) {
    run("provision\n"
        "open-result 1\n"
        "row Language=Klingon of the north\n"
        "sql INSERT INTO Misc VALUES ('Theme', 'light')\n");
    EXPECT_THAT(callsOf("osselCreateHashTable"),
                Contains(testing::AllOf(HasSubstr("Language=Klingon of the north"),
                                        HasSubstr("Theme=light"))));
    EXPECT_THAT(output_, Not(HasSubstr("Database is ready")));
}

TEST_F(PreloadedDaemon, RefusesAScriptThatItDoesNotUnderstand) {
    run("provsion\n");
    EXPECT_EQ(status_, kBadScript);
    EXPECT_EQ(errors_, "platform double: unknown script line: provsion\n");
}

} // namespace
