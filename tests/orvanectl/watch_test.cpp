#include "tests/orvanectl/fixture.h"

#include <csignal>

namespace test {
namespace {

using testing::HasSubstr;

class Watch : public WithProvider {
protected:
    bool isBlocked() {
        return server.command({"INFO", "clients"}).find("blocked_clients:1") != std::string::npos;
    }

    TemporaryFolder folder;
};

TEST_F(Watch, ShowsTheSettingsAgainWhenAnEventNamesTheirInstance) {
    ChildProcess child(words({"watch", "Theme"}), environment(), folder.file("out"));
    ASSERT_TRUE(waitUntil([this] { return isBlocked(); }));
    EXPECT_EQ(readFile(folder.file("out")), "Theme  light\n");
    server.command({"XADD", "Events:Zolan Event", "*", "OriginOfCondition", "another instance"});
    EXPECT_EQ(orvanectl({"set", "Theme=dark"}).status, 0);
    EXPECT_TRUE(waitUntil(
        [this] { return readFile(folder.file("out")) == "Theme  light\n\nTheme  dark\n"; }));
    child.signal(SIGINT);
    EXPECT_EQ(child.wait(), 0);
    EXPECT_EQ(readFile(folder.file("out")), "Theme  light\n\nTheme  dark\n");
}

TEST_F(Watch, PrintsAJsonObjectALine) {
    ChildProcess child(words({"watch", "--json"}), environment(), folder.file("out"));
    ASSERT_TRUE(waitUntil([this] { return isBlocked(); }));
    orvanectl({"set", "Theme=dark"});
    const auto lineCount = [this] {
        const std::string text = readFile(folder.file("out"));
        return std::count(text.begin(), text.end(), '\n');
    };
    ASSERT_TRUE(waitUntil([&] { return lineCount() == 2; }));
    std::istringstream lines(readFile(folder.file("out")));
    std::string line;
    std::getline(lines, line);
    EXPECT_EQ(nlohmann::json::parse(line).at("Theme"), "light");
    std::getline(lines, line);
    EXPECT_EQ(nlohmann::json::parse(line).at("Theme"), "dark");
    EXPECT_EQ(nlohmann::json::parse(line).size(), 12U);
}

TEST_F(Watch, RedrawsTheScreenOfATerminal) {
    ChildProcess child({"script", "-qec", std::string(ORVANECTL) + " watch Theme", "/dev/null"},
                       environment(), folder.file("out"));
    ASSERT_TRUE(waitUntil([this] { return isBlocked(); }));
    orvanectl({"set", "Theme=dark"});
    const std::string clear = "\033[H\033[2J";
    EXPECT_TRUE(waitUntil([&] {
        return readFile(folder.file("out")) ==
               clear + "Theme  light\r\n" + clear + "Theme  dark\r\n";
    })) << readFile(folder.file("out"));
}

TEST_F(Watch, EndsQuietlyWhenItsReaderGoesAway) {
    const Finished finished =
        run({"bash", "-c", std::string(ORVANECTL) + " watch | head -1; echo ${PIPESTATUS[0]}"},
            environment());
    EXPECT_EQ(finished.output, "Language                English\n0\n");
    EXPECT_EQ(finished.error, "");
}

TEST_F(Watch, EndsWith3WhenTheStoreDies) {
    ChildProcess child(words({"watch"}), environment(), folder.file("out"), folder.file("err"));
    ASSERT_TRUE(waitUntil([this] { return isBlocked(); }));
    server.kill();
    EXPECT_EQ(child.wait(), 3);
    EXPECT_THAT(readFile(folder.file("err")), HasSubstr("the connection was lost"));
}

TEST_F(Watch, RefusesAnUnknownName) {
    EXPECT_EQ(orvanectl({"watch", "EventUserName"}).status, 2);
}

} // namespace
} // namespace test
