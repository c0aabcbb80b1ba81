#include "tests/orvanectl/fixture.h"

namespace test {
namespace {

using testing::HasSubstr;
using Get = WithProvider;
using GetAlone = OrvanectlTest;

TEST_F(Get, PrintsAllSettingsAsAnAlignedTable) {
    const Finished finished = orvanectl({"get"});
    EXPECT_EQ(finished.status, 0) << finished.error;
    EXPECT_EQ(finished.output, "Language                English\n"
                               "ScreenBrightness        5\n"
                               "BacklightOff            Never\n"
                               "ActiveAlarmScreensaver  Enabled\n"
                               "InactivityTimer         5 Minutes\n"
                               "MeasurementSystem       Metric\n"
                               "DateFormat              YYYY-MM-DD\n"
                               "TimeFormat              24 Hour\n"
                               "RoomAverage             false\n"
                               "HiLoPeriod              24 Hours\n"
                               "Theme                   light\n"
                               "InitialBoot             true\n");
    EXPECT_EQ(finished.error, "");
}

TEST_F(Get, PrintsTheNamedSettingsInTheOrderGiven) {
    EXPECT_EQ(orvanectl({"get", "Theme", "Language"}).output, "Theme     light\n"
                                                              "Language  English\n");
}

TEST_F(Get, PrintsOneJsonObjectForPrograms) {
    server.command({"HSET", StandInProvider::kInstance, "Language", "\"quoted\"\n\xff"});
    const Finished finished = orvanectl({"get", "--json"});
    const auto json = nlohmann::json::parse(finished.output);
    EXPECT_EQ(json.size(), 12U);
    EXPECT_EQ(json.at("ScreenBrightness"), "5");
    EXPECT_EQ(json.at("Language"), "\"quoted\"\n\xef\xbf\xbd");
    EXPECT_EQ(std::count(finished.output.begin(), finished.output.end(), '\n'), 1);
}

TEST_F(Get, SendsAReadRequestOnlyWhenTheInstanceIsNotFresh) {
    const std::string key = std::string("TTL:") + StandInProvider::kInstance;
    server.command({"SET", key, "1", "EX", "100"});
    EXPECT_EQ(orvanectl({"get"}).status, 0);
    EXPECT_EQ(provider.receivedCount(), 0U);
    server.command({"DEL", key});
    EXPECT_EQ(orvanectl({"get"}).status, 0);
    const auto received = provider.received();
    ASSERT_EQ(received.size(), 1U);
    EXPECT_EQ(received[0].messageId, "00001");
    EXPECT_EQ(received[0].argument, StandInProvider::kInstance);
}

TEST_F(Get, FindsTheInstanceInASetToo) {
    const std::string collection = "Collection:OrvaneWebGUI.1.0.0.WebGUI";
    server.command({"DEL", collection});
    server.command({"SADD", collection, StandInProvider::kInstance, "9"});
    EXPECT_EQ(orvanectl({"get"}).status, 0);
}

TEST_F(Get, MeasuresForcedReads) {
    const Finished finished = orvanectl({"get", "--repeat", "25"});
    EXPECT_EQ(finished.status, 0) << finished.error;
    EXPECT_EQ(provider.receivedCount(), 25U);
    EXPECT_THAT(finished.output,
                testing::ContainsRegex("reads  25\nmin    [0-9]+ us\np50    [0-9]+ "
                                       "us\np99    [0-9]+ us\nmax    [0-9]+ us\n"));
    const auto json = nlohmann::json::parse(orvanectl({"get", "--repeat", "5", "--json"}).output);
    EXPECT_EQ(json.at("reads"), 5);
    const auto& times = json.at("microseconds");
    EXPECT_GT(times.at("min"), 0);
    EXPECT_LE(times.at("min"), times.at("p50"));
    EXPECT_LE(times.at("p50"), times.at("p99"));
    EXPECT_LE(times.at("p99"), times.at("max"));
}

TEST_F(Get, EndsWith1WhenAReadIsAnsweredOtherwise) {
    provider.behave({.messageId = "InvalidObject", .arguments = {StandInProvider::kInstance}});
    const Finished finished = orvanectl({"get"});
    EXPECT_EQ(finished.status, 1);
    EXPECT_EQ(finished.output, "");
    EXPECT_THAT(finished.error, HasSubstr("was answered InvalidObject (" +
                                          std::string(StandInProvider::kInstance) + ")"));
    const Finished repeated = orvanectl({"get", "--repeat", "3"});
    EXPECT_EQ(repeated.status, 1);
    EXPECT_THAT(repeated.error, HasSubstr("read 1 of 3 was answered InvalidObject"));
}

TEST_F(Get, RefusesAnUnknownNameAndListsTheKnownOnes) {
    for (const std::string name : {"theme", "EventUserName", ""}) {
        const Finished finished = orvanectl({"get", "Theme", name});
        EXPECT_EQ(finished.status, 2);
        EXPECT_THAT(finished.error, HasSubstr("there is no setting \"" + name + "\""));
        EXPECT_THAT(finished.error, HasSubstr("there are Language, ScreenBrightness, "));
    }
    EXPECT_EQ(provider.receivedCount(), 0U);
}

TEST_F(Get, EndsWith3WhenThereIsNoAnswerInTime) {
    provider.behave({.times = 0});
    const Finished finished = orvanectl({"get", "--timeout", "0.25"});
    EXPECT_EQ(finished.status, 3);
    EXPECT_THAT(finished.error, HasSubstr("no answer on channel \"OrvaneWebGUI\" of store " +
                                          server.address() + " within 0.25 s"));
}

TEST_F(Get, EndsWith3AtOnceWhenNobodyListens) {
    provider.stopListening();
    ASSERT_TRUE(waitUntil([this] {
        return server.command({"PUBSUB", "NUMSUB", "OrvaneWebGUI"}) == "OrvaneWebGUI 0";
    }));
    const Finished finished = orvanectl({"get", "--timeout", "60"});
    EXPECT_EQ(finished.status, 3);
    EXPECT_THAT(finished.error, HasSubstr("nobody listens on channel \"OrvaneWebGUI\""));
}

TEST_F(Get, TellsWhichPartOfTheRoadToTheInstanceIsBroken) {
    const std::string type = "SchemaType:OrvaneWebGUI.1.0.0.WebGUI";
    const std::string collection = "Collection:OrvaneWebGUI.1.0.0.WebGUI";
    struct Case {
        std::vector<std::string> damage;
        std::string text;
    };
    const std::vector<Case> cases{
        {{"DEL", StandInProvider::kInstance},
         "the instance \"80000000-0000-0000-0000-008000000000\" is missing"},
        {{"SET", StandInProvider::kInstance, "text"},
         "HGETALL \"80000000-0000-0000-0000-008000000000\" failed: WRONGTYPE"},
        {{"DEL", collection}, "\"" + collection + "\" has no members"},
        {{"SET", collection, "text"}, "\"" + collection + "\" is a string, neither list nor set"},
        {{"HDEL", type, "instanceCollection"},
         "\"" + type + "\" has no field \"instanceCollection\""},
        {{"HDEL", "OsselSchemaInstances", "title:#OrvaneWebGUI.1.0.0.WebGUI"},
         "run orvanectl provision"},
    };
    for (const Case& each : cases) {
        server.command(each.damage);
        const Finished finished = orvanectl({"get"});
        EXPECT_EQ(finished.status, 3);
        EXPECT_THAT(finished.error, HasSubstr(each.text));
        EXPECT_EQ(finished.output, "");
    }
}

TEST_F(Get, NamesASettingThatTheInstanceLacks) {
    server.command({"HDEL", StandInProvider::kInstance, "Theme"});
    const Finished finished = orvanectl({"get", "Theme"});
    EXPECT_EQ(finished.status, 3);
    EXPECT_THAT(finished.error, HasSubstr("the instance has no field \"Theme\""));
}

TEST_F(Get, TellsWhenTheReturnMessageIsMissing) {
    provider.behave({.hasReturnMessage = false});
    const Finished finished = orvanectl({"get"});
    EXPECT_EQ(finished.status, 3);
    EXPECT_THAT(finished.error, HasSubstr("the return message \"answer-1\" is missing"));
}

TEST_F(Get, EndsWith3WhenTheStoreDiesWhileItWaits) {
    provider.behave({.times = 0});
    const TemporaryFolder folder;
    ChildProcess child(words({"get"}), environment(), folder.file("out"), folder.file("err"));
    ASSERT_TRUE(waitUntil([this] { return provider.receivedCount() == 1; }));
    server.kill();
    EXPECT_EQ(child.wait(), 3);
    EXPECT_THAT(readFile(folder.file("err")),
                HasSubstr(server.address() + ": the connection was lost"));
}

TEST_F(Get, EndsWith3WhenTheStoreHangsWhileItWaits) {
    provider.behave({.times = 0});
    const TemporaryFolder folder;
    ChildProcess child(words({"get", "--timeout", "1"}), environment(), folder.file("out"),
                       folder.file("err"));
    ASSERT_TRUE(waitUntil([this] { return provider.receivedCount() == 1; }));
    server.pause();
    EXPECT_EQ(child.wait(), 3);
    EXPECT_THAT(readFile(folder.file("err")), HasSubstr("within 1 s"));
}

TEST_F(GetAlone, EndsWith3WhenNoProviderIsRegistered) {
    orvanectl({"provision"});
    server.command({"HSET", "SchemaType:OrvaneWebGUI.1.0.0.WebGUI", "instanceCollection", "c"});
    server.command({"RPUSH", "c", "i"});
    const Finished finished = orvanectl({"get"});
    EXPECT_EQ(finished.status, 3);
    EXPECT_THAT(finished.error, HasSubstr("is registered in the hash \"OvrCallbacks\""));
    EXPECT_THAT(finished.error, HasSubstr("start the provider"));
}

TEST_F(GetAlone, EndsWith3WhenTheStoreIsDown) {
    server.stop();
    const Finished finished = orvanectl({"get"});
    EXPECT_EQ(finished.status, 3);
    EXPECT_THAT(finished.error, HasSubstr("store " + server.address() + ": cannot connect: "));
    EXPECT_THAT(finished.error, HasSubstr("start redis-server"));
}

TEST_F(GetAlone, EndsWith3WhenTheStoreHangs) {
    server.pause();
    const Finished finished = orvanectl({"get"});
    EXPECT_EQ(finished.status, 3);
    EXPECT_THAT(finished.error, HasSubstr("no reply to HGET within 2 s"));
}

} // namespace
} // namespace test
