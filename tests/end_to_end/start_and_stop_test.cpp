// Start-up and shutdown: the store, the settings database, the run marker, the output and the exit
// status.
#include "tests/end_to_end/end_to_end.h"
#include "tests/support/wait_until.h"

#include <chrono>
#include <csignal>
#include <regex>

namespace {

using namespace std::chrono_literals;

using test::kActions;
using test::kGuiReady;
using test::kOem;
using test::kTurnOffLcd;
using test::kWebGui;
using test::waitUntil;

class StartAndStop : public test::EndToEnd {
protected:
    std::vector<std::string> keysOfTheTree() {
        return {kWebGui,   kActions,        kOem,          kTurnOffLcd,
                kGuiReady, collectionKey(), workTreeKey(), "OvrCallbacks"};
    }

    std::string workTreeKey() { return "WorkTree:" + schemaTypeId(); }

    void expectNothingLeft() {
        for (const std::string& key : keysOfTheTree()) {
            EXPECT_FALSE(exists(key)) << key;
        }
    }

    // The named fields of a hash, which must be all it has.
    std::map<std::string, std::string> hash(const std::string& key,
                                            const std::vector<std::string>& names) {
        EXPECT_EQ(redis().command({"HLEN", key}), std::to_string(names.size())) << key;
        std::map<std::string, std::string> fields;
        for (const std::string& name : names) {
            fields[name] = field(key, name);
        }
        return fields;
    }
};

using Hash = std::map<std::string, std::string>;

TEST_F(StartAndStop, AnEmptyRunMarkerAppears) {
    startDaemon();
    EXPECT_EQ(std::filesystem::file_size(temporary("run/Stidre.run")), 0U);
}

TEST_F(StartAndStop, AMarkerOfAnEarlierRunIsEmptied) {
    startDaemon();
    EXPECT_EQ(stopDaemon(), 0);
    EXPECT_TRUE(hasMarker()) << "it stays behind";
    test::writeFile(temporary("run/Stidre.run"), "earlier");
    launchDaemon();
    EXPECT_TRUE(
        waitUntil([this] { return std::filesystem::file_size(temporary("run/Stidre.run")) == 0; }));
    waitUntilUp();
}

TEST_F(StartAndStop, FiveInstancesStandInTheStore) {
    startDaemon();
    const std::string webGuiType = field(field(schemaTypeId(), "definitions"), "WebGUI");
    const std::string actionsType = field(webGuiType, "Actions");
    const Hash webGui{{"@odata.context", ""},
                      {"@odata.id", ""},
                      {"@odata.type", ""},
                      {"ActiveAlarmScreensaver", "Enabled"},
                      {"BacklightOff", "Never"},
                      {"DateFormat", "YYYY-MM-DD"},
                      {"Id", ""},
                      {"InactivityTimer", "10 Minutes"},
                      {"InitialBoot", "true"},
                      {"Language", "English"},
                      {"MeasurementSystem", "Metric"},
                      {"Name", "Zolan CMS Web GUI Settings"},
                      {"ScreenBrightness", "5"},
                      {"TimeFormat", "24 Hours"},
                      {"RoomAverage", "false"},
                      {"HiLoPeriod", "24 Hours"},
                      {"Theme", "dark"},
                      {"Actions", kActions},
                      {"typeId", schemaTypeId()},
                      {"typeID", webGuiType}};
    const Hash actions{{"Oem", kOem},
                       {"typeID", actionsType},
                       {"#WebGUI.TurnOffLCD", kTurnOffLcd},
                       {"#WebGUI.GUIReady", kGuiReady}};
    const Hash oem{{"typeID", ""}};
    const Hash turnOffLcd{{"title", "This action is used to turn off the LCD."},
                          {"target", ""},
                          {"typeID", field(actionsType, "#WebGUI.TurnOffLCD")}};
    const Hash guiReady{{"target", ""}, {"typeID", field(actionsType, "#WebGUI.GUIReady")}};
    for (const auto& [key, expected] : std::map<std::string, Hash>{{kWebGui, webGui},
                                                                   {kActions, actions},
                                                                   {kOem, oem},
                                                                   {kTurnOffLcd, turnOffLcd},
                                                                   {kGuiReady, guiReady}}) {
        std::vector<std::string> names;
        for (const auto& [name, value] : expected) {
            names.push_back(name);
        }
        EXPECT_EQ(hash(key, names), expected) << key;
    }
    EXPECT_NE(webGui.at("typeId"), "(nil)");
    EXPECT_NE(guiReady.at("typeID"), "(nil)");
}

TEST_F(StartAndStop, TheResourceIsAMemberOfItsCollectionAndOfTheWorkTree) {
    startDaemon();
    EXPECT_EQ(redis().command({"LRANGE", collectionKey(), "0", "-1"}), kWebGui);
    EXPECT_EQ(redis().command({"SMEMBERS", workTreeKey()}), kWebGui);
    EXPECT_EQ(field("OvrCallbacks", schemaTypeId()), "OrvaneWebGUI");
}

TEST_F(StartAndStop, AnOrderlyStartPrintsTwoLinesAndAThirdOnAnExistingDatabase) {
    const std::string type = "\\[OrvaneWebGUI\\]: The typeId is " + schemaTypeId() + "\\.\n";
    const std::string constructed = "Constructed ovrPlugin with [0-9a-f]+\n";
    startDaemon();
    EXPECT_TRUE(std::regex_match(output(), std::regex(constructed + type))) << output();
    EXPECT_EQ(stopDaemon(), 0);
    std::filesystem::remove(folder().file("daemon.out"));
    startDaemon();
    EXPECT_TRUE(std::regex_match(
        output(), std::regex(constructed + type + "\\[WebGUIAgent\\]: Database is ready \n")))
        << output();
}

TEST_F(StartAndStop, TheStopSignalTakesTheTreeDownAgain) {
    startDaemon();
    EXPECT_EQ(stopDaemon(), 0);
    expectNothingLeft();
}

TEST_F(StartAndStop, TheInterruptSignalTakesTheTreeDownToo) {
    startDaemon();
    daemon().signal(SIGINT);
    EXPECT_EQ(daemon().wait(), 0);
    expectNothingLeft();
}

// Without its folder the marker is tried six times, two seconds apart, before the workers start.
// That is time enough to move the store's socket away, so that no worker can connect. The daemon's
// first connection stays open and serves the clean-up.
TEST_F(StartAndStop, LosingEveryWorkerTakesTheTreeDown) {
    launchDaemon();
    ASSERT_TRUE(waitUntil([this] { return exists(workTreeKey()); })) << output() << errors();
    std::filesystem::rename(redis().socketPath(), redis().socketPath() + ".away");
    makeMarkerFolder();
    EXPECT_EQ(daemon().wait(), 0) << errors();
    std::filesystem::rename(redis().socketPath() + ".away", redis().socketPath());
    EXPECT_TRUE(hasMarker()) << "a later attempt found the folder";
    for (const std::string worker : {"CreateObject", "ReadObject", "UpdateObject"}) {
        const std::string line =
            "[OrvaneWebGUI_" + worker + "]: Failed to call osselRedisConnect().";
        EXPECT_NE(output().find(line), std::string::npos) << output();
    }
    expectNothingLeft();
}

TEST_F(StartAndStop, WithoutTheMarkersFolderTheDaemonServesAfterSixPauses) {
    const auto start = std::chrono::steady_clock::now();
    launchDaemon();
    ASSERT_TRUE(waitUntil([this] { return exists(workTreeKey()); })) << output() << errors();
    EXPECT_EQ(ask("00001", kWebGui), (test::Answer{"Success", {}}));
    EXPECT_GE(std::chrono::steady_clock::now() - start, 12s);
    EXPECT_FALSE(std::filesystem::exists(temporary("run"))) << "it creates no folder";
}

TEST_F(StartAndStop, SettingsSurviveARestart) {
    startDaemon();
    EXPECT_EQ(ask("00002", requestObject({{"Language", "Deutsch"}})).messageId, "Success");
    EXPECT_EQ(ask("00004", requestObject({{"InitialBoot", "false"}})).messageId, "Success");
    EXPECT_EQ(stopDaemon(), 0);
    startDaemon();
    EXPECT_EQ(field(kWebGui, "Language"), "Deutsch");
    EXPECT_EQ(field(kWebGui, "InitialBoot"), "false");
}

TEST_F(StartAndStop, WithoutAStoreTheDaemonEndsWithStatusZero) {
    redis().kill();
    launchDaemon();
    EXPECT_EQ(daemon().wait(), 0);
    EXPECT_TRUE(std::regex_match(output(), std::regex("Constructed ovrPlugin with [0-9a-f]+\n"
                                                      "Failed to get the schema typeId\\.\n"
                                                      "\\[OrvaneWebGUI\\]: The typeId is \\.\n")))
        << output();
}

TEST_F(StartAndStop, AnUnknownSchemaEndsTheDaemonBeforeItRegisters) {
    redis().command({"FLUSHALL"});
    makeMarkerFolder();
    launchDaemon();
    EXPECT_EQ(daemon().wait(), 0);
    EXPECT_TRUE(std::regex_match(output(), std::regex("Constructed ovrPlugin with [0-9a-f]+\n"
                                                      "Failed to get the schema typeId\\.\n"
                                                      "\\[OrvaneWebGUI\\]: The typeId is \\.\n")))
        << output();
    EXPECT_FALSE(hasMarker());
    EXPECT_EQ(redis().command({"DBSIZE"}), "0");
}

TEST_F(StartAndStop, ASchemaWithoutACollectionIsServedWithoutMembership) {
    redis().command({"HDEL", schemaTypeId(), "instanceCollection"});
    startDaemon();
    EXPECT_NE(output().find("Failed to get the instance collection key.\n"), std::string::npos);
    EXPECT_EQ(ask("00001", kWebGui).messageId, "Success");
    EXPECT_EQ(stopDaemon(), 0);
    EXPECT_FALSE(exists(kWebGui));
}

TEST_F(StartAndStop, ADefinitionWithoutAnActionEndsTheDaemon) {
    const std::string webGuiType = field(field(schemaTypeId(), "definitions"), "WebGUI");
    redis().command({"HDEL", field(webGuiType, "Actions"), "#WebGUI.GUIReady"});
    makeMarkerFolder();
    launchDaemon();
    EXPECT_EQ(daemon().wait(), 0);
    EXPECT_FALSE(hasMarker());
    EXPECT_FALSE(exists(kWebGui));
}

// The first answer shows that the worker is connected; a worker that cannot connect at its start
// never comes back.
TEST_F(StartAndStop, RequestsAreServedAgainAfterTheStoreWasAway) {
    startDaemon();
    ASSERT_EQ(orvanectl({"request", "00001", kWebGui}).status, 0);
    redis().stop();
    redis().start();
    ASSERT_TRUE(waitUntil([this] {
        return redis().command({"PUBSUB", "NUMSUB", "OrvaneWebGUI"}) == "OrvaneWebGUI 1";
    })) << errors();
    EXPECT_EQ(ask("00001", kWebGui), (test::Answer{"Success", {}}));
}

} // namespace
