// Start-up and shutdown step by step: service/main.cpp, and the order in which process-wide objects
// are constructed and destroyed. The daemon itself runs behind the double of the device libraries.
#include "tests/service/daemon.h"

#include "tests/support/temporary_folder.h"

#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using service_test::callsBeforeMain;
using service_test::callsOfCleanUp;
using service_test::callsOfExit;
using service_test::callsOfInit;
using service_test::callsOfLookup;
using service_test::callsOfRegistration;
using service_test::joined;
using service_test::Life;
using service_test::Lines;
using service_test::live;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;

constexpr char kInstance[] = "80000000-0000-0000-0000-008000000000";
constexpr char kOpenMarker[] = "open(\"/tmp/run/Stidre.run\", "
                               "O_RDWR | O_CREAT | O_TRUNC | O_NOFOLLOW | O_CLOEXEC)";
constexpr char kSleep[] = "sleep(2)";
constexpr char kWait[] = "ovrThreadWaitForExit()";
constexpr char kTypeLine[] = "[OrvaneWebGUI]: The typeId is schema-type.\n";
constexpr char kReadyLine[] = "[WebGUIAgent]: Database is ready \n";

// Idle workers, which the double runs one after the other.
Lines callsOfIdleWorkers() {
    Lines calls;
    for (const char* const worker : {"Create", "Read", "Update"}) {
        const std::string context = "ctx" + std::to_string(2 + calls.size() / 3);
        calls.insert(calls.end(),
                     {"osselRedisConnect()",
                      "ovrThreadInstructionPost(lockTake, fn" + std::string(worker) + ")",
                      "osselRedisDisconnect(" + context + ")"});
    }
    return calls;
}

Lines withSleeps(int sleeps, bool opened) {
    Lines calls;
    for (int i = 0; i < sleeps; ++i) {
        calls.insert(calls.end(), {kOpenMarker, kSleep});
    }
    if (opened) {
        calls.emplace_back(kOpenMarker);
    }
    return calls;
}

Lines wholeLife(const Lines& marker) {
    return joined({callsBeforeMain(),
                   callsOfLookup(),
                   callsOfRegistration(),
                   callsOfInit(),
                   marker,
                   {kWait},
                   callsOfIdleWorkers(),
                   callsOfCleanUp(),
                   callsOfExit()});
}

// --- The ordinary life ----------------------------------------------------------------

TEST(Main, GoesThroughItsStepsInOrderAndEndsWithStatusZero) {
    const Life life = live({"provision", "sql INSERT INTO Misc VALUES ('Theme', 'dark')"});
    EXPECT_EQ(life.status, 0);
    EXPECT_THAT(life.calls, ElementsAreArray(wholeLife({kOpenMarker})));
    EXPECT_THAT(life.output, testing::MatchesRegex("Constructed ovrPlugin with [0-9a-f]+\n[^\n]*\n"
                                                   "[^\n]*\n"));
    EXPECT_EQ(life.outputAfterConstruction(), std::string(kTypeLine) + kReadyLine);
    EXPECT_EQ(life.errors, "");
}

TEST(Main, ConnectsBeforeItStartsAndDisconnectsLast) {
    const Life life = live({"provision"});
    ASSERT_GE(life.calls.size(), 6U);
    EXPECT_EQ(Lines(life.calls.begin(), life.calls.begin() + 3), callsBeforeMain());
    EXPECT_EQ(Lines(life.calls.end() - 3, life.calls.end()), callsOfExit());
    EXPECT_THAT(life.output, testing::StartsWith("Constructed ovrPlugin with "));
}

// --- The schema -----------------------------------------------------------------------

TEST(Main, EndsBeforeAnyThreadWhenTheSchemaTypeIsUnknown) {
    const Life life = live({});
    EXPECT_EQ(life.status, 0);
    EXPECT_EQ(life.outputAfterConstruction(), "Failed to get the schema typeId.\n"
                                              "[OrvaneWebGUI]: The typeId is .\n");
    EXPECT_EQ(life.errors, "");
    const Lines lookup = callsOfLookup();
    EXPECT_THAT(life.calls,
                ElementsAreArray(joined(
                    {callsBeforeMain(), {lookup.begin(), lookup.begin() + 2}, callsOfExit()})));
}

// The schema type exists, but it has no collection.
TEST(Main, GoesOnWithoutAnInstanceCollection) {
    const Life life =
        live({"schema title #OrvaneWebGUI.1.0.0.WebGUI = schema-type",
              "hash schema-type definitions=definitions", "hash definitions WebGUI=webgui-type",
              "hash webgui-type Actions=actions-type", "hash actions-type Oem=oem-type",
              "hash actions-type #WebGUI.TurnOffLCD=turnofflcd-type",
              "hash actions-type #WebGUI.GUIReady=guiready-type"});
    EXPECT_EQ(life.status, 0);
    EXPECT_EQ(life.outputAfterConstruction(),
              std::string("Failed to get the instance collection key.\n") + kTypeLine + kReadyLine);
    EXPECT_THAT(life.callsOf("ovrcbIdSet"), ElementsAre("ovrcbIdSet(\"schema-type\")"));
    EXPECT_THAT(life.callsOf("osselListRightPush"), IsEmpty());
    EXPECT_THAT(life.callsOf("osselSADD"), IsEmpty());
    EXPECT_EQ(life.callsOf(kWait).size(), 1U);
    EXPECT_THAT(life.callsOf("osselDeleteHash(ctx1, \"\")"),
                ElementsAre("osselDeleteHash(ctx1, \"\")"));
}

TEST(Main, EndsBeforeAnyThreadWhenADefinitionIsMissing) {
    for (int nth = 1; nth <= 6; ++nth) {
        const Life life = live({"provision", "fail osselGetHashField " + std::to_string(nth)});
        EXPECT_EQ(life.status, 0) << nth;
        EXPECT_EQ(life.outputAfterConstruction(), kTypeLine) << nth;
        EXPECT_THAT(life.callsOf("ovrAddRunningThread"), IsEmpty()) << nth;
        EXPECT_THAT(life.callsOf("ovrcbIdSet"), IsEmpty()) << nth;
        EXPECT_THAT(life.callsOf("open_database"), IsEmpty()) << nth;
        EXPECT_EQ(Lines(life.calls.end() - 3, life.calls.end()), callsOfExit()) << nth;
    }
}

// Nothing is read from a key that could not be read; the other reads still happen.
TEST(Main, ReadsTheOtherDefinitionsAfterOneIsMissing) {
    const std::pair<int, std::size_t> cases[] = {{1, 1}, {2, 2}, {3, 3}, {4, 6}, {5, 6}, {6, 6}};
    for (const auto& [nth, reads] : cases) {
        const Life life = live({"provision", "fail osselGetHashField " + std::to_string(nth)});
        EXPECT_EQ(life.callsOf("osselGetHashField").size(), reads) << nth;
    }
}

TEST(Main, EndsWithoutAConnectionWhenTheStoreIsDown) {
    const Life life = live({"provision", "fail osselRedisConnect always"});
    EXPECT_EQ(life.status, 0);
    EXPECT_EQ(life.outputAfterConstruction(), "Failed to get the schema typeId.\n"
                                              "[OrvaneWebGUI]: The typeId is .\n");
    EXPECT_THAT(life.callsOf("osselGetHashField"), IsEmpty());
    EXPECT_THAT(life.callsOf("osselRedisDisconnect"), IsEmpty());
    EXPECT_EQ(life.calls.back(), "~ovrComSupport()");
}

// --- The tree -------------------------------------------------------------------------

TEST(Main, NeitherWaitsNorCleansUpWhenTheTreeCannotBeBuilt) {
    for (int nth = 1; nth <= 5; ++nth) {
        const Life life = live({"provision", "fail osselCreateHashTable " + std::to_string(nth)});
        EXPECT_EQ(life.status, 0) << nth;
        EXPECT_EQ(life.callsOf("ovrAddRunningThread").size(), 3U) << nth;
        EXPECT_THAT(life.callsOf(kOpenMarker), IsEmpty()) << nth;
        EXPECT_THAT(life.callsOf(kWait), IsEmpty()) << nth;
        EXPECT_THAT(life.callsOf("ovrThreadInstructionPost"), IsEmpty()) << nth;
        EXPECT_THAT(life.callsOf("osselRenewCollection"), IsEmpty()) << nth;
        EXPECT_THAT(life.callsOf("close_database"), IsEmpty()) << nth; // the agent is not destroyed
        EXPECT_EQ(Lines(life.calls.end() - 3, life.calls.end()), callsOfExit()) << nth;
    }
}

TEST(Main, ShowsTheCountsOfFailedHashesInHexadecimal) {
    const std::pair<const char*, const char*> cases[] = {
        {"2", "1"}, {"3", "3"}, {"4", "2"}, {"1", "4"}, {"0", "14"}};
    int nth = 0;
    for (const auto& [instance, count] : cases) {
        const Life life = live({"provision", "fail osselCreateHashTable " + std::to_string(++nth)});
        EXPECT_THAT(life.output,
                    testing::HasSubstr("[createInstance]: Failed to call osselCreateHashTable( "
                                       "80000000-0000-0000-0000-00800000000" +
                                       std::string(instance) + ", ..., " + count + " ).\n"));
    }
}

TEST(Main, LogsWhyTheTreeCannotBeBuilt) {
    const Life life = live({"provision", "fail osselCreateHashTable 5"});
    EXPECT_EQ(life.outputAfterConstruction(),
              std::string(kTypeLine) + kReadyLine +
                  "[createInstance]: Failed to call osselCreateHashTable( " + kInstance +
                  ", ..., 14 ).\n"
                  "[OrvaneWebGUI_Init_Create]: Failed to call createInstance().\n"
                  "[OrvaneWebGUI_Init]: Failed to call WebGUIPlugin_CreateInstance().\n");
}

TEST(Main, GoesOnWithEmptySettingsWhenTheDatabaseCannotBeOpened) {
    const Life life = live({"provision", "open-result -1"});
    EXPECT_EQ(life.status, 0);
    EXPECT_EQ(life.callsOf(kWait).size(), 1U);
    EXPECT_THAT(life.callsOf("LCD"), IsEmpty());
    EXPECT_THAT(life.callsOf("osselCreateHashTable(ctx1, \"" + std::string(kInstance)),
                ElementsAre(testing::AllOf(testing::HasSubstr(", ScreenBrightness=0,"),
                                           testing::HasSubstr(", InitialBoot=false,"),
                                           testing::HasSubstr(", Language=,"))));
}

TEST(Main, ShowsTheCodeOfAFailedOpenInDecimal) {
    EXPECT_THAT(live({"provision", "open-result -26"}).output,
                testing::HasSubstr("[WebGUIAgent]: Failed to call open_database(). The return "
                                   "code: -26\n"));
}

// --- The run marker -------------------------------------------------------------------

TEST(Main, TriesTheRunMarkerAgainAfterASleepForEachFailure) {
    for (int failures = 1; failures <= 5; ++failures) {
        const Life life = live({"provision", "sql INSERT INTO Misc VALUES ('Theme', 'dark')",
                                "open-fail " + std::to_string(failures)});
        EXPECT_EQ(life.status, 0);
        EXPECT_THAT(life.calls, ElementsAreArray(wholeLife(withSleeps(failures, true))))
            << failures;
        EXPECT_EQ(life.outputAfterConstruction(), std::string(kTypeLine) + kReadyLine);
    }
}

TEST(Main, GoesOnWithoutARunMarkerAfterSixFailuresAndSixSleeps) {
    const Life life =
        live({"provision", "sql INSERT INTO Misc VALUES ('Theme', 'dark')", "open-fail 100"});
    EXPECT_EQ(life.status, 0);
    EXPECT_THAT(life.calls, ElementsAreArray(wholeLife(withSleeps(6, false))));
    EXPECT_EQ(life.outputAfterConstruction(), std::string(kTypeLine) + kReadyLine);
    EXPECT_EQ(life.errors, "");
}

TEST(Main, EmptiesAnOldRunMarkerAndLeavesItBehind) {
    const test::TemporaryFolder folder;
    const std::string path = folder.file("marker");
    test::writeFile(path, "of an earlier life");
    const Life life = live({"provision", "marker-file " + path});
    EXPECT_EQ(life.status, 0);
    EXPECT_TRUE(std::filesystem::exists(path));
    EXPECT_EQ(std::filesystem::file_size(path), 0U);
    EXPECT_THAT(life.callsOf("unlink"), IsEmpty());
}

TEST(Main, GoesOnWithoutARunMarkerThatIsASymbolicLink) {
    const test::TemporaryFolder folder;
    test::writeFile(folder.file("target"), "not ours");
    std::filesystem::create_symlink(folder.file("target"), folder.file("marker"));
    const Life life = live({"provision", "marker-file " + folder.file("marker")});
    EXPECT_EQ(life.status, 0);
    EXPECT_EQ(life.callsOf(kSleep).size(), 6U);
    EXPECT_EQ(life.callsOf(kWait).size(), 1U);
    EXPECT_EQ(test::readFile(folder.file("target")), "not ours");
}

// --- The managing mode ----------------------------------------------------------------

struct Mode {
    const char* variable; // null: not set
    const char* file;     // null: no file
    bool usesScale;
    bool opensFile;
};
constexpr Mode kModes[] = {
    {nullptr, nullptr, true, true},       {nullptr, "Tinvale", true, true},
    {nullptr, "Varrow", false, true},     {nullptr, "Other", true, true},
    {nullptr, "varrow", true, true},      {"0", nullptr, true, false},
    {"1", nullptr, false, false},         {"2", nullptr, true, false},
    {"7", nullptr, true, false},          {"", nullptr, true, false},
    {"abc", nullptr, true, false},        {"-3", nullptr, false, false},
    {"0", "Varrow", true, false},         {"1", "Tinvale", false, false},
    {"4294967296", nullptr, true, false}, {"-99999999999999999999", nullptr, false, false},
};

TEST(Main, UsesTheTemperatureScaleOnlyInManagingModeZero) {
    for (const Mode& mode : kModes) {
        Lines script{"provision", "request 00001 " + std::string(kInstance) + " Reply:1"};
        if (mode.file != nullptr) {
            script.push_back("managing-mode-file " + std::string(mode.file));
        }
        std::map<std::string, std::string> environment;
        if (mode.variable != nullptr) {
            environment["ManagingMode"] = mode.variable;
        }
        const Life life = live(script, environment);
        const std::string name = std::string(mode.variable == nullptr ? "-" : mode.variable) + ' ' +
                                 (mode.file == nullptr ? "-" : mode.file);
        EXPECT_EQ(life.status, 0) << name;
        EXPECT_EQ(life.callsOf("CoolGetTempScale").size(), mode.usesScale ? 1U : 0U) << name;
        EXPECT_EQ(life.callsOf("open(\"/var/database").size(), mode.opensFile ? 1U : 0U) << name;
        EXPECT_THAT(life.callsOf("osselCreateReturnMessage"),
                    ElementsAre(testing::HasSubstr("\"Success\"")))
            << name;
    }
}

// --- Requests -------------------------------------------------------------------------

std::string request(const char* key, const char* field) {
    return "hash " + std::string(key) + ' ' + field;
}
std::string target(const char* key) {
    return "hash " + std::string(key) + " OriginalObjID=" + kInstance;
}

// The answers, as "channel: id arguments".
Lines answersOf(const Life& life) {
    Lines answers;
    std::string message;
    for (const std::string& call : life.calls) {
        if (call.starts_with("osselCreateReturnMessage(")) {
            message = call.substr(call.find("\", \"") + 3);
        } else if (call.starts_with("osselPublishToChannel(")) {
            const std::size_t begin = call.find('"') + 1;
            answers.push_back(call.substr(begin, call.find('"', begin) - begin) + ": " + message);
        }
    }
    return answers;
}

TEST(Main, ServesRequestsOfEachKindThroughHookAndWorkers) {
    const Life life = live({"provision",
                            target("Request:language"),
                            request("Request:language", "Language=Deutsch"),
                            target("Request:boot"),
                            request("Request:boot", "InitialBoot=TRUE"),
                            target("Request:display"),
                            request("Request:display", "ScreenBrightness=9"),
                            request("Request:display", "BacklightOff=Off After 1 Minute"),
                            request("Request:display", "MeasurementSystem=Imperial"),
                            request("Request:display", "EventUserName=operator"),
                            request("Request:display", "Theme=light"),
                            target("Request:lcd"),
                            request("Request:lcd", "Action=WebGUI.TurnOffLCD"),
                            target("Request:ready"),
                            request("Request:ready", "Action=WebGUI.GUIReady"),
                            "request 00001 " + std::string(kInstance) + " Reply:read",
                            "request 00001 80000000-0000-0000-0000-008000000001 Reply:child",
                            "request 00002 Request:language Reply:language",
                            "request 00003 Request:display Reply:display",
                            "request 00004 Request:boot Reply:boot",
                            "request 00000 Request:lcd Reply:lcd",
                            "request 00000 Request:ready Reply:ready",
                            "request 00005 Request:boot Reply:unknown"});
    EXPECT_EQ(life.status, 0);
    EXPECT_EQ(life.errors, "");
    // The hook's refusal comes first, then the double runs the workers in order.
    EXPECT_THAT(answersOf(life),
                ElementsAre("Reply:unknown: \"ActionNotSupported\", \"00005\", null)",
                            "Reply:lcd: \"Success\", null)", "Reply:ready: \"Success\", null)",
                            "Reply:read: \"Success\", null)",
                            "Reply:child: \"InvalidObject\", "
                            "\"80000000-0000-0000-0000-008000000001\", null)",
                            "Reply:language: \"Success\", null)",
                            "Reply:display: \"Success\", null)", "Reply:boot: \"Success\", null)"));
    EXPECT_EQ(life.outputAfterConstruction(),
              std::string(kTypeLine) + kReadyLine +
                  "[OrvaneWebGUI_OVRHookFunction]: The msgId is invalid: 00005.\n"
                  "[setScreenBrightness]: Incorrect screen brightness(9).\n");
    EXPECT_THAT(life.callsOf("CoolSetTempScale"),
                ElementsAre("CoolSetTempScale(0, 0, \"operator\", 0)"));
    EXPECT_THAT(life.callsOf("LCDBlank("), ElementsAre("LCDBlank(0)"));
    EXPECT_THAT(life.callsOf("unlink"), ElementsAre("unlink(\"/tmp/buzzer.silence\")"));
    EXPECT_EQ(life.callsOf("osselCreateEventObject").size(), 3U);
    EXPECT_EQ(Lines(life.calls.end() - 17, life.calls.end()).front(), callsOfCleanUp().front());
}

// A host may start the workers at registration. Until the tree is built there is no instance.
TEST(Main, RefusesRequestsBeforeTheTreeIsBuilt) {
    const std::string instance = kInstance;
    const Life life = live(
        {"provision", "threads-at-registration", target("Request:language"),
         request("Request:language", "Language=Deutsch"), target("Request:lcd"),
         request("Request:lcd", "Action=WebGUI.TurnOffLCD"),
         "early-request 00001 " + instance + " Early:read",
         "early-request 00002 Request:language Early:update",
         "early-request 00000 Request:lcd Early:action", "early-request 00005 x Early:unknown",
         "request 00001 " + instance + " Reply:read", "request 00002 Request:language Reply:update",
         "request 00000 Request:lcd Reply:action"});
    EXPECT_EQ(life.status, 0);
    EXPECT_EQ(life.errors, "");
    EXPECT_THAT(answersOf(life),
                ElementsAre("Early:read: \"InvalidObject\", \"" + instance + "\", null)",
                            "Early:update: \"InvalidObject\", \"Request:language\", null)",
                            "Early:action: \"InvalidObject\", \"Request:lcd\", null)",
                            "Early:unknown: \"ActionNotSupported\", \"00005\", null)",
                            "Reply:read: \"Success\", null)", "Reply:update: \"Success\", null)",
                            "Reply:action: \"Success\", null)"));
    EXPECT_LT(life.positionOf("osselPublishToChannel(ctx1, \"Early:unknown\""),
              life.positionOf("open_database("));
}

// The process ends without waiting for threads that are running.
TEST(Main, EndsWhileThreadsRunWhenTheTreeCannotBeBuilt) {
    const Life life = live({"provision", "threads-at-registration", "fail osselCreateHashTable 1",
                            "early-request 00001 " + std::string(kInstance) + " Early:read"});
    EXPECT_EQ(life.status, 0);
    EXPECT_THAT(life.callsOf(kWait), IsEmpty());
    EXPECT_THAT(answersOf(life), ElementsAre(testing::StartsWith("Early:read: \"InvalidObject\"")));
}

TEST(Main, ShowsTheCountOfAFailedUpdateInHexadecimalAndATimeToLiveInDecimal) {
    const Life life =
        live({"provision", target("Request:display"), request("Request:display", "Theme=light"),
              "fail osselCreateHashTable 6", "fail osselHashAppendTTLObject 2",
              "request 00003 Request:display Reply:display",
              "request 00001 " + std::string(kInstance) + " Reply:read"});
    EXPECT_EQ(life.status, 0);
    EXPECT_THAT(life.output,
                testing::HasSubstr("[updateInstance]: Failed to call osselCreateHashTable( " +
                                   std::string(kInstance) + ", ..., b ).\n"));
    EXPECT_THAT(life.output,
                testing::HasSubstr("[read]: Failed to call osselHashAppendTTLObject( " +
                                   std::string(kInstance) + ", 1 ).\n"));
}

TEST(Main, LosesOnlyTheWorkerThatCannotConnect) {
    const std::pair<int, const char*> cases[] = {{2, "OrvaneWebGUI_CreateObject"},
                                                 {3, "OrvaneWebGUI_ReadObject"},
                                                 {4, "OrvaneWebGUI_UpdateObject"}};
    for (const auto& [nth, name] : cases) {
        const Life life = live({"provision", "fail osselRedisConnect " + std::to_string(nth)});
        EXPECT_EQ(life.status, 0) << name;
        EXPECT_EQ(life.outputAfterConstruction(), std::string(kTypeLine) + kReadyLine + '[' + name +
                                                      "]: Failed to call osselRedisConnect().\n");
        EXPECT_EQ(life.callsOf("ovrThreadInstructionPost(lockTake").size(), 2U) << name;
        EXPECT_EQ(life.callsOf("close_database").size(), 1U) << name;
    }
}

TEST(Main, CleansUpWhenNoWorkerCanConnect) {
    const Life life =
        live({"provision", "sql INSERT INTO Misc VALUES ('Theme', 'dark')",
              "fail osselRedisConnect 2", "fail osselRedisConnect 3", "fail osselRedisConnect 4"});
    EXPECT_EQ(life.status, 0);
    EXPECT_EQ(life.outputAfterConstruction(),
              std::string(kTypeLine) + kReadyLine +
                  "[OrvaneWebGUI_CreateObject]: Failed to call osselRedisConnect().\n"
                  "[OrvaneWebGUI_ReadObject]: Failed to call osselRedisConnect().\n"
                  "[OrvaneWebGUI_UpdateObject]: Failed to call osselRedisConnect().\n");
    EXPECT_THAT(life.calls, ElementsAreArray(joined({callsBeforeMain(),
                                                     callsOfLookup(),
                                                     callsOfRegistration(),
                                                     callsOfInit(),
                                                     {kOpenMarker, kWait, "osselRedisConnect()",
                                                      "osselRedisConnect()", "osselRedisConnect()"},
                                                     callsOfCleanUp(),
                                                     callsOfExit()})));
}

} // namespace
