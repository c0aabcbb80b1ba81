#include "tests/orvanectl/fixture.h"

#include <csignal>

namespace test {
namespace {

using testing::HasSubstr;
using Set = WithProvider;

std::map<std::string, std::string> withoutTarget(std::map<std::string, std::string> object) {
    EXPECT_EQ(object["OriginalObjID"], StandInProvider::kInstance);
    object.erase("OriginalObjID");
    return object;
}

// How often clients have tried to take a lease, which is a SET.
int leasesAskedFor(RedisServer& server) {
    const std::string stats = server.command({"INFO", "commandstats"});
    const std::string name = "cmdstat_set:calls=";
    const std::size_t at = stats.find(name);
    return at == std::string::npos ? 0 : std::stoi(stats.substr(at + name.size()));
}

// The requests with this message id.
std::vector<ReceivedRequest> only(const std::vector<ReceivedRequest>& all, const std::string& id) {
    std::vector<ReceivedRequest> chosen;
    for (const ReceivedRequest& each : all) {
        if (each.messageId == id) {
            chosen.push_back(each);
        }
    }
    return chosen;
}

TEST_F(Set, SendsAllPropertiesOfTheRequestAndKeepsThoseNotNamed) {
    const Finished finished = orvanectl({"set", "Theme=dark", "ScreenBrightness=7"});
    EXPECT_EQ(finished.status, 0) << finished.error;
    EXPECT_EQ(finished.output, "00003  Success  ScreenBrightness, Theme\n");
    const auto received = only(provider.received(), "00003");
    ASSERT_EQ(received.size(), 1U);
    const std::map<std::string, std::string> expected{
        {"ScreenBrightness", "7"},
        {"BacklightOff", "Never"},
        {"ActiveAlarmScreensaver", "Enabled"},
        {"InactivityTimer", "5 Minutes"},
        {"MeasurementSystem", "Metric"},
        {"DateFormat", "YYYY-MM-DD"},
        {"TimeFormat", "24 Hour"},
        {"RoomAverage", "false"},
        {"HiLoPeriod", "24 Hours"},
        {"Theme", "dark"},
        {"EventUserName", "orvanectl"},
    };
    EXPECT_EQ(withoutTarget(received[0].object), expected);
    EXPECT_GT(received[0].objectLife, 10'000);
    EXPECT_EQ(field("Theme"), "dark");
    EXPECT_EQ(keysLike("Request:") + keysLike("Lease:"), "");
}

TEST_F(Set, SendsOneRequestPerMessageIdInAscendingOrder) {
    const Finished finished =
        orvanectl({"set", "InitialBoot=false", "Theme=dark", "Language=Deutsch"});
    EXPECT_EQ(finished.status, 0) << finished.error;
    EXPECT_EQ(finished.output, "00002  Success  Language\n"
                               "00003  Success  Theme\n"
                               "00004  Success  InitialBoot\n");
    std::vector<std::string> ids;
    for (const auto& each : provider.received()) {
        if (each.messageId != "00001") {
            ids.push_back(each.messageId);
        }
    }
    EXPECT_THAT(ids, testing::ElementsAre("00002", "00003", "00004"));
    const auto received = provider.received();
    EXPECT_EQ(withoutTarget(only(received, "00002").at(0).object),
              (std::map<std::string, std::string>{{"Language", "Deutsch"}}));
    EXPECT_EQ(withoutTarget(only(received, "00004").at(0).object),
              (std::map<std::string, std::string>{{"InitialBoot", "false"}}));
}

TEST_F(Set, PrintsTheAnswersAsJson) {
    provider.behave("00003", {.messageId = "InvalidObject", .arguments = {"x"}});
    const Finished finished = orvanectl({"set", "--json", "Theme=dark", "Language=Deutsch"});
    EXPECT_EQ(finished.status, 1);
    const auto json = nlohmann::json::parse(finished.output);
    ASSERT_EQ(json.size(), 2U);
    EXPECT_EQ(json[0].at("request"), "00002");
    EXPECT_EQ(json[0].at("MessageId"), "Success");
    EXPECT_EQ(json[1].at("names"), nlohmann::json({"Theme"}));
    EXPECT_EQ(json[1].at("MessageId"), "InvalidObject");
    EXPECT_EQ(json[1].at("MessageArgs"), nlohmann::json({"x"}));
}

TEST_F(Set, StopsAtTheFirstRequestThatIsNotAnsweredSuccess) {
    provider.behave("00002", {.messageId = "InternalError"});
    const Finished finished = orvanectl({"set", "Theme=dark", "Language=Deutsch"});
    EXPECT_EQ(finished.status, 1);
    EXPECT_EQ(finished.output, "00002  InternalError  Language\n");
    EXPECT_TRUE(only(provider.received(), "00003").empty());
}

TEST_F(Set, ChecksEverythingBeforeAnythingIsSent) {
    struct Case {
        std::string assignment;
        std::string text;
    };
    const std::vector<Case> cases{
        {"ScreenBrightness=0",
         "ScreenBrightness: \"0\" is not allowed; allowed are \"1\", \"2\", "},
        {"ScreenBrightness=8", "\"6\", \"7\""},
        {"ScreenBrightness=07", "is not allowed"},
        {"ScreenBrightness=", "is not allowed"},
        {"BacklightOff=never",
         "allowed are \"Never\", \"Off After 1 Minute\", \"Off After 2 Minutes\""},
        {"Theme=blue", "allowed are \"dark\", \"light\""},
        {"MeasurementSystem=metric", "allowed are \"Imperial\", \"Metric\""},
        {"RoomAverage=1", "allowed are \"true\", \"false\""},
        {"InitialBoot=True", "allowed are \"true\", \"false\""},
        {"HasAlert=YES",
         "there is no setting \"HasAlert\"; there are Language, ScreenBrightness, "},
        {"theme=dark", "there is no setting \"theme\""},
        {"DateFormat=" + std::string(256, 'x'), "DateFormat: the value has 256 bytes; at most 255"},
        {"Language=again", "Language is given twice"},
        {"Theme", "\"Theme\" is not NAME=VALUE; write e.g. "},
    };
    for (const Case& each : cases) {
        const Finished finished = orvanectl({"set", "Language=x", each.assignment});
        EXPECT_EQ(finished.status, 2) << each.assignment;
        EXPECT_THAT(finished.error, HasSubstr(each.text));
        EXPECT_EQ(finished.output, "");
    }
    EXPECT_EQ(orvanectl({"set", "Language=x", "--user", std::string(256, 'u')}).status, 2);
    EXPECT_EQ(provider.receivedCount(), 0U);
}

TEST_F(Set, TakesAnyTextWhereThereIsNoList) {
    for (const std::string value :
         {"", " ", "a=b", "[x,y]", "{a}", "-1", "%d %s", "\"q\"", "\xc3\xa4\xff", "a\nb"}) {
        const Finished finished = orvanectl({"set", "Language=" + value});
        EXPECT_EQ(finished.status, 0) << value << finished.error;
        EXPECT_EQ(field("Language"), value);
    }
    const std::string longest(255, 'x');
    EXPECT_EQ(orvanectl({"set", "DateFormat=" + longest}).status, 0);
    EXPECT_EQ(field("DateFormat"), longest);
}

TEST_F(Set, SendsAnyValueWithForceButNoUnknownName) {
    EXPECT_EQ(orvanectl({"set", "--force", "ScreenBrightness=9", "Theme=blue"}).status, 0);
    EXPECT_EQ(field("ScreenBrightness"), "9");
    EXPECT_EQ(field("Theme"), "blue");
    EXPECT_EQ(orvanectl({"set", "--force", "HasAlert=YES"}).status, 2);
}

TEST_F(Set, TellsWhoMakesTheChange) {
    server.command({"HSET", StandInProvider::kInstance, "EventUserName", "before"});
    orvanectl({"set", "Theme=dark"});
    EXPECT_EQ(field("EventUserName"), "orvanectl");
    orvanectl({"set", "Theme=dark", "--user", "Ada"});
    EXPECT_EQ(field("EventUserName"), "Ada");
    orvanectl({"set", "EventUserName=Bob"});
    EXPECT_EQ(field("EventUserName"), "Bob");
}

TEST_F(Set, ReadsFirstSoThatTheValuesItKeepsAreFresh) {
    const std::string key = std::string("TTL:") + StandInProvider::kInstance;
    server.command({"SET", key, "1", "EX", "100"});
    orvanectl({"set", "Theme=dark"});
    EXPECT_TRUE(only(provider.received(), "00001").empty());
    server.command({"DEL", key});
    orvanectl({"set", "Theme=light"});
    EXPECT_EQ(only(provider.received(), "00001").size(), 1U);
}

TEST_F(Set, NeverSendsAnEmptyTextForAValueThatIsMissing) {
    server.command({"HDEL", StandInProvider::kInstance, "HiLoPeriod"});
    const Finished finished = orvanectl({"set", "Theme=dark"});
    EXPECT_EQ(finished.status, 3);
    EXPECT_THAT(finished.error, HasSubstr("has no field \"HiLoPeriod\" that could be kept"));
    EXPECT_TRUE(only(provider.received(), "00003").empty());
    EXPECT_EQ(orvanectl({"set", "Theme=dark", "HiLoPeriod=1 Hour"}).status, 0);
    EXPECT_EQ(field("HiLoPeriod"), "1 Hour");
    EXPECT_EQ(keysLike("Lease:"), "");
}

TEST_F(Set, LeavesNothingBehindWhenThereIsNoAnswer) {
    provider.behave("00003", {.times = 0});
    const Finished finished = orvanectl({"set", "Theme=dark", "--timeout", "0.2"});
    EXPECT_EQ(finished.status, 3);
    EXPECT_THAT(finished.error, HasSubstr("no answer on channel \"OrvaneWebGUI\""));
    EXPECT_EQ(keysLike("Request:") + keysLike("Lease:"), "");
}

TEST_F(Set, EndsWith1WhenTheReadBeforeItIsAnsweredOtherwise) {
    provider.behave("00001", {.messageId = "InternalError"});
    const Finished finished = orvanectl({"set", "Theme=dark"});
    EXPECT_EQ(finished.status, 1);
    EXPECT_THAT(finished.error, HasSubstr("was answered InternalError"));
    EXPECT_TRUE(only(provider.received(), "00003").empty());
}

TEST_F(Set, HoldsTheLeaseLongerThanItWaitsAndGivesItUp) {
    provider.behave("00003", {.times = 0});
    ChildProcess child(words({"set", "Theme=dark", "--timeout", "1"}), environment(), "/dev/null",
                       "/dev/null");
    ASSERT_TRUE(waitUntil([this] { return !only(provider.received(), "00003").empty(); }));
    const std::string lease = std::string("Lease:") + StandInProvider::kInstance;
    const int life = std::stoi(server.command({"PTTL", lease}));
    EXPECT_GT(life, 1000);
    EXPECT_LE(life, 6000);
    EXPECT_EQ(child.wait(), 3);
    EXPECT_EQ(server.command({"EXISTS", lease}), "0");
}

TEST_F(Set, GoesOnWhenTheLeaseOfAKilledClientEnds) {
    provider.behave("00003", {.times = 0});
    ChildProcess victim(words({"set", "Theme=dark", "--timeout", "1"}), environment(), "/dev/null",
                        "/dev/null");
    ASSERT_TRUE(waitUntil([this] { return !only(provider.received(), "00003").empty(); }));
    victim.signal(SIGKILL);
    victim.wait();
    const std::string lease = std::string("Lease:") + StandInProvider::kInstance;
    const int life = std::stoi(server.command({"PTTL", lease}));
    EXPECT_GT(life, 0);
    EXPECT_LE(life, 6000);
    EXPECT_GT(std::stoi(server.command({"PTTL", keysLike("Request:")})), 0);
    provider.behave("00003", {});
    // It has an end. Here that comes as soon as the next client has tried for it in vain.
    const int before = leasesAskedFor(server);
    ChildProcess next(words({"set", "Theme=dark"}), environment(), "/dev/null");
    ASSERT_TRUE(waitUntil([&] { return leasesAskedFor(server) > before + 1; }));
    server.command({"PEXPIRE", lease, "1"});
    EXPECT_EQ(next.wait(), 0);
    EXPECT_EQ(field("Theme"), "dark");
}

TEST_F(Set, EndsWith3WhenTheLeaseIsNotGivenUpInTime) {
    server.command({"SET", std::string("Lease:") + StandInProvider::kInstance, "somebody"});
    const Finished finished = orvanectl({"set", "Theme=dark", "--timeout", "0.01"});
    EXPECT_EQ(finished.status, 3);
    EXPECT_THAT(finished.error,
                HasSubstr("is held by another client; it has no end: delete the key"));
    EXPECT_EQ(server.command({"GET", std::string("Lease:") + StandInProvider::kInstance}),
              "somebody");
}

TEST_F(Set, TwoProgramsAtTheSameTimeLoseNoChange) {
    provider.behave("00003", {.work = std::chrono::milliseconds(5)});
    for (int round = 0; round < 10; ++round) {
        const std::string value = std::to_string(round);
        ChildProcess one(words({"set", "HiLoPeriod=" + value}), environment(), "/dev/null");
        ChildProcess other(words({"set", "DateFormat=" + value}), environment(), "/dev/null");
        EXPECT_EQ(one.wait(), 0);
        EXPECT_EQ(other.wait(), 0);
        EXPECT_EQ(field("HiLoPeriod"), value);
        EXPECT_EQ(field("DateFormat"), value);
    }
}

} // namespace
} // namespace test
