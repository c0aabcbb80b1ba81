#include "tests/orvanectl/fixture.h"

#include <csignal>

namespace test {
namespace {

using testing::HasSubstr;

class Events : public OrvanectlTest {
protected:
    // Appends one event and gives its id.
    std::string append(const std::string& id, const std::string& message) {
        return server.command({"XADD", "Events:Zolan Event", id, "EventType", "ResourceUpdated",
                               "Kind", "MESSAGE", "Message", message, "MessageId",
                               "Orvane.1.0.Msg000", "MessageArgs.0", "WebGUI00",
                               "OriginOfCondition", StandInProvider::kInstance});
    }

    bool isBlocked() {
        return server.command({"INFO", "clients"}).find("blocked_clients:1") != std::string::npos;
    }
};

TEST_F(Events, PrintsALineForEachEventSinceAnId) {
    append("1700000000123-0", "first");
    append("1700000000124-0", "second");
    const Finished finished = orvanectl({"events", "--since", "0", "--count", "2"});
    EXPECT_EQ(finished.status, 0) << finished.error;
    EXPECT_EQ(finished.output,
              "1700000000123-0  2023-11-14T22:13:20.123Z  ResourceUpdated  "
              "80000000-0000-0000-0000-008000000000  first  Orvane.1.0.Msg000 (WebGUI00)\n"
              "1700000000124-0  2023-11-14T22:13:20.124Z  ResourceUpdated  "
              "80000000-0000-0000-0000-008000000000  second  Orvane.1.0.Msg000 (WebGUI00)\n");
    const Finished second = orvanectl({"events", "--since", "1700000000123-0", "--count", "1"});
    EXPECT_THAT(second.output, HasSubstr("second"));
    EXPECT_THAT(second.output, testing::Not(HasSubstr("first")));
}

TEST_F(Events, PrintsAJsonObjectALine) {
    append("1700000000123-0", "first");
    append("1700000000124-0", "second");
    const Finished finished = orvanectl({"events", "--json", "--since", "0", "--count", "2"});
    std::istringstream lines(finished.output);
    std::string line;
    ASSERT_TRUE(std::getline(lines, line));
    const auto json = nlohmann::json::parse(line);
    EXPECT_EQ(json, nlohmann::json::parse(R"({"id":"1700000000123-0",
        "time":"2023-11-14T22:13:20.123Z","EventType":"ResourceUpdated","Kind":"MESSAGE",
        "Message":"first","MessageId":"Orvane.1.0.Msg000","MessageArgs":["WebGUI00"],
        "OriginOfCondition":"80000000-0000-0000-0000-008000000000"})"));
    ASSERT_TRUE(std::getline(lines, line));
    EXPECT_EQ(nlohmann::json::parse(line).at("Message"), "second");
}

TEST_F(Events, BeginsWithWhatComesNext) {
    append("*", "before");
    const TemporaryFolder folder;
    ChildProcess child(words({"events", "--count", "2"}), environment(), folder.file("out"),
                       folder.file("err"));
    ASSERT_TRUE(waitUntil([this] { return isBlocked(); }));
    append("*", "third");
    append("*", "fourth");
    EXPECT_EQ(child.wait(), 0);
    EXPECT_THAT(readFile(folder.file("out")), testing::ContainsRegex("third.*\n.*fourth"));
    EXPECT_THAT(readFile(folder.file("out")), testing::Not(HasSubstr("before")));
}

TEST_F(Events, PrintsAnEventThatLacksFields) {
    server.command({"XADD", "Events:Zolan Event", "1-1", "Message", "only this"});
    const Finished finished = orvanectl({"events", "--since", "0", "--count", "1", "--json"});
    const auto json = nlohmann::json::parse(finished.output);
    EXPECT_EQ(json.at("Message"), "only this");
    EXPECT_EQ(json.at("EventType"), "");
    EXPECT_TRUE(json.at("MessageArgs").empty());
}

TEST_F(Events, RefusesWhatIsNoId) {
    for (const std::string id : {"$", "yesterday", "1-", "-1", "1-x", "1 "}) {
        const Finished finished = orvanectl({"events", "--since=" + id});
        EXPECT_EQ(finished.status, 2) << id;
        EXPECT_THAT(finished.error, HasSubstr("\"" + id + "\" is no id of an event"));
    }
}

TEST_F(Events, EndsWith3WhenTheStreamIsOfAnotherKind) {
    server.command({"SET", "Events:Zolan Event", "text"});
    for (const std::string since : {"", "0"}) {
        const Finished finished =
            since.empty() ? orvanectl({"events"}) : orvanectl({"events", "--since", since});
        EXPECT_EQ(finished.status, 3);
        EXPECT_THAT(finished.error, HasSubstr("\"Events:Zolan Event\" failed: WRONGTYPE"));
    }
}

TEST_F(Events, EndsWith3WhenTheStoreDies) {
    const TemporaryFolder folder;
    ChildProcess child(words({"events"}), environment(), folder.file("out"), folder.file("err"));
    ASSERT_TRUE(waitUntil([this] { return isBlocked(); }));
    server.kill();
    EXPECT_EQ(child.wait(), 3);
    EXPECT_THAT(readFile(folder.file("err")), HasSubstr("the connection was lost"));
}

TEST_F(Events, EndsQuietlyWhenItsReaderGoesAway) {
    append("*", "first");
    const Finished finished =
        run({"bash", "-c",
             std::string(ORVANECTL) + " events --since 0 | head -1; echo ${PIPESTATUS[0]}"},
            environment());
    EXPECT_THAT(finished.output, testing::ContainsRegex("first.*\n0\n$"));
    EXPECT_EQ(finished.error, "");
}

} // namespace
} // namespace test
