#include "tests/orvanectl/fixture.h"

#include "client/settings.h"

namespace test {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAreArray;
using Words = std::vector<std::string>;

Words linesOf(const std::string& text) {
    std::istringstream stream(text);
    Words lines;
    for (std::string line; std::getline(stream, line);) {
        lines.push_back(line);
    }
    return lines;
}

// What bash offers for the last of these words, split as bash splits them.
Words complete(const Words& line) {
    const char* const script = R"(source "$1"; shift; COMP_WORDS=(orvanectl "$@"); COMP_CWORD=$#
        _orvanectl; [[ ${#COMPREPLY[@]} -eq 0 ]] || printf '%s\n' "${COMPREPLY[@]}")";
    Words command{"bash", "-c", script, "bash", ORVANECTL_COMPLETION};
    command.insert(command.end(), line.begin(), line.end());
    const Finished finished = run(command);
    EXPECT_EQ(finished.error, "");
    return linesOf(finished.output);
}

TEST(Completion, RegistersItself) {
    const Finished finished =
        run({"bash", "-c", "source \"$1\"; complete -p orvanectl", "bash", ORVANECTL_COMPLETION});
    EXPECT_EQ(finished.output, "complete -F _orvanectl orvanectl\n");
}

TEST(Completion, IsInstalledUnderTheNameOfTheProgramWhereBashLooks) {
    const TemporaryFolder folder;
    const Finished finished = run({"cmake", "-DCMAKE_INSTALL_PREFIX=" + folder.path().string(),
                                   "-P", ORVANECTL_INSTALL_SCRIPT});
    EXPECT_EQ(finished.status, 0) << finished.error;
    EXPECT_EQ(readFile(folder.file("share/bash-completion/completions/orvanectl")),
              readFile(ORVANECTL_COMPLETION));
    EXPECT_TRUE(std::filesystem::exists(folder.file("bin/orvanectl")));
}

TEST(Completion, OffersTheCommands) {
    EXPECT_THAT(complete({""}),
                UnorderedElementsAreArray(
                    {"get", "set", "action", "status", "events", "watch", "request", "provision"}));
    EXPECT_THAT(complete({"st"}), ElementsAre("status"));
    EXPECT_THAT(complete({"--redis", "unix:/x", "--json", "wa"}), ElementsAre("watch"));
}

TEST(Completion, OffersExactlyTheOptionsOfEachCommandsHelp) {
    for (const std::string command :
         {"", "get", "set", "action", "status", "events", "watch", "request", "provision"}) {
        const Finished help =
            command.empty() ? run({ORVANECTL, "--help"}) : run({ORVANECTL, command, "--help"});
        Words options;
        for (const std::string& line : linesOf(help.output)) {
            const std::size_t begin = line.find("--");
            if (line.starts_with("  -") && begin != std::string::npos) {
                options.push_back(line.substr(begin, line.find_first_of(" :,", begin) - begin));
            }
        }
        EXPECT_GE(options.size(), 4U);
        EXPECT_THAT(command.empty() ? complete({"-"}) : complete({command, "-"}),
                    UnorderedElementsAreArray(options))
            << command;
    }
}

TEST(Completion, OffersEverySettingWithExactlyItsAllowedValues) {
    Words assignments;
    for (const client::Setting& setting : client::settings()) {
        const std::string name(setting.name);
        assignments.push_back(name + "=");
        Words allowed;
        for (const std::string_view value : setting.allowed) {
            std::string quoted;
            for (const char letter : value) {
                quoted += letter == ' ' ? std::string("\\ ") : std::string(1, letter);
            }
            allowed.push_back(quoted);
        }
        EXPECT_THAT(complete({"set", name, "="}), UnorderedElementsAreArray(allowed)) << name;
    }
    EXPECT_THAT(complete({"set", ""}), UnorderedElementsAreArray(assignments));
}

TEST(Completion, OffersValuesHoweverBashSplitsTheWord) {
    EXPECT_THAT(complete({"set", "Theme", "=", "da"}), ElementsAre("dark"));
    EXPECT_THAT(complete({"set", "Theme=da"}), ElementsAre("Theme=dark"));
    EXPECT_THAT(complete({"set", "Theme", "=", "dark", "Room"}), ElementsAre("RoomAverage="));
    EXPECT_THAT(complete({"set", "BacklightOff", "=", "Off\\ After\\ 1"}),
                ElementsAre("Off\\ After\\ 1\\ Minute"));
    EXPECT_THAT(complete({"set", "BacklightOff", "=", "\"Off After 1"}),
                ElementsAre("Off After 1 Minute"));
    EXPECT_THAT(complete({"set", "Language", "=", ""}), IsEmpty());
}

TEST(Completion, OffersTheNamesThatCanBeRead) {
    const Words offered = complete({"get", ""});
    EXPECT_EQ(offered.size(), client::settings().size() - 1);
    EXPECT_THAT(offered, testing::Not(Contains("EventUserName")));
    EXPECT_THAT(complete({"watch", "Th"}), ElementsAre("Theme"));
}

TEST(Completion, OffersTheActions) {
    EXPECT_THAT(complete({"action", ""}), ElementsAre("turn-off-lcd", "gui-ready"));
}

TEST(Completion, OffersNothingWhereOnlyTheUserKnows) {
    EXPECT_THAT(complete({"--redis", ""}), IsEmpty());
    EXPECT_THAT(complete({"events", "--since", ""}), IsEmpty());
    EXPECT_THAT(complete({"request", "000"}), IsEmpty());
}

} // namespace
} // namespace test
