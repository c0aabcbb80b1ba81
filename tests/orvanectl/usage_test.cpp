#include "tests/orvanectl/fixture.h"

#include <arpa/inet.h>
#include <sys/socket.h>
#include <unistd.h>

namespace test {
namespace {

// A port of the loopback interface that nobody listens on just now.
int freePort() {
    const int socket = ::socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof address;
    auto* const generic = reinterpret_cast<sockaddr*>(&address);
    EXPECT_EQ(::bind(socket, generic, length), 0);
    EXPECT_EQ(::getsockname(socket, generic, &length), 0);
    ::close(socket);
    return ntohs(address.sin_port);
}

using testing::HasSubstr;
using Usage = OrvanectlTest;

TEST_F(Usage, PrintsItsVersion) {
    const Finished finished = orvanectl({"--version"});
    EXPECT_EQ(finished.status, 0);
    EXPECT_EQ(finished.output, "orvanectl " ORVANECTL_VERSION "\n");
}

TEST_F(Usage, ListsCommandsOptionsAndExitStatusesInItsHelp) {
    const Finished finished = orvanectl({"--help"});
    EXPECT_EQ(finished.status, 0);
    for (const std::string word :
         {"get", "set", "action", "status", "events", "watch", "request", "provision", "--redis",
          "--timeout", "--json", "--version", "Exit status: 0 answered \"Success\"; 1 ",
          "2 wrong usage", "3 no store"}) {
        EXPECT_THAT(finished.output, HasSubstr(word));
    }
}

TEST_F(Usage, EveryCommandHasHelpWithTheExitStatuses) {
    for (const std::string command :
         {"get", "set", "action", "status", "events", "watch", "request", "provision"}) {
        const Finished finished = orvanectl({command, "--help"});
        EXPECT_EQ(finished.status, 0) << command;
        EXPECT_THAT(finished.output, HasSubstr("--redis ADDRESS")) << command;
        EXPECT_THAT(finished.output, HasSubstr("Exit status:")) << command;
    }
}

TEST_F(Usage, EndsWith2WhenTheCommandLineMakesNoSense) {
    const std::vector<std::vector<std::string>> lines{
        {},
        {"unknown"},
        {"get", "--unknown"},
        {"get", "--timeout", "0"},
        {"get", "--timeout", "soon"},
        {"get", "--timeout", "3601"},
        {"get", "--repeat", "0"},
        {"get", "--repeat", "-1"},
        {"get", "--redis"},
        {"request"},
        {"request", "00001"},
        {"request", "00001", "x", "y"},
        {"set"},
        {"action"},
        {"action", "self-destruct"},
        {"events", "--count", "0"},
        {"status", "extra"},
        {"get", "status", "status"},
    };
    for (const auto& line : lines) {
        const Finished finished = orvanectl(line);
        EXPECT_EQ(finished.status, 2) << testing::PrintToString(line);
        EXPECT_TRUE(finished.error.starts_with("orvanectl: ")) << finished.error;
        EXPECT_EQ(finished.error.find('\n'), finished.error.size() - 1) << finished.error;
        EXPECT_EQ(finished.output, "") << testing::PrintToString(line);
    }
}

TEST_F(Usage, NamesTheWordWhatIsAllowedAndWhatToDoNext) {
    const std::vector<std::pair<std::vector<std::string>, std::string>> cases{
        {{}, "no command given, e.g. `orvanectl status`; `orvanectl --help` lists all"},
        {{"unknown"}, "there is no command \"unknown\"; `orvanectl --help` lists all"},
        {{"get", "--unknown"}, "get: \"--unknown\" was not expected; see `orvanectl get --help`"},
        {{"get", "--timeout", "0"},
         "get: --timeout: \"0\" is not allowed; allowed are 0.001 to 3600"},
        {{"get", "--repeat", "many"},
         "get: --repeat: \"many\" is not allowed; allowed are 1 to 10000000"},
        {{"get", "--redis"}, "get: --redis needs a value; see `orvanectl get --help`"},
        {{"--timeout"}, "--timeout needs a value; see `orvanectl --help`"},
        {{"set"},
         "set: no setting given, e.g. `orvanectl set Theme=dark`; `orvanectl get` lists all 12"},
        {{"action"},
         "action: no action given, e.g. `orvanectl action turn-off-lcd`; `orvanectl action --help` "
         "lists all"},
        {{"action", "self-destruct"},
         "action: there is no action \"self-destruct\"; there are turn-off-lcd, gui-ready"},
        {{"request", "00001"},
         "request: a message id and a request argument are needed, e.g. `orvanectl request 00001 "
         "KEY`"},
        {{"request", "00001", "x", "y"},
         "request: \"y\" was not expected; see `orvanectl request --help`"},
    };
    for (const auto& [line, text] : cases) {
        EXPECT_EQ(orvanectl(line).error, "orvanectl: " + text + "\n");
    }
}

TEST_F(Usage, EndsWith2WhenTheAddressOfTheStoreMakesNoSense) {
    const Finished finished = orvanectl({"get", "--redis", "redis.local"});
    EXPECT_EQ(finished.status, 2);
    EXPECT_THAT(finished.error, HasSubstr("store address \"redis.local\": "));
    const Finished other = run(words({"get"}), {{"OSSEL_REDIS", "tcp:host"}});
    EXPECT_EQ(other.status, 2);
    EXPECT_THAT(other.error, HasSubstr("store address \"tcp:host\": "));
}

TEST_F(Usage, TakesTheAddressBeforeOrBehindTheCommand) {
    const std::map<std::string, std::string> elsewhere{{"OSSEL_REDIS", "unix:/nonexistent"}};
    EXPECT_EQ(run(words({"provision"}), elsewhere).status, 3);
    EXPECT_EQ(run(words({"provision", "--redis", server.address()}), elsewhere).status, 0);
    EXPECT_EQ(run(words({"--redis", server.address(), "provision"}), elsewhere).status, 0);
}

TEST_F(Usage, ReachesAStoreOverTcp) {
    const std::string port = std::to_string(freePort());
    const std::string address = "tcp:127.0.0.1:" + port;
    const Finished refused = orvanectl({"provision", "--redis", address});
    EXPECT_EQ(refused.status, 3);
    EXPECT_THAT(refused.error,
                HasSubstr("store " + address + ": cannot connect: Connection refused"));
    RedisServer tcp({"--port", port, "--bind", "127.0.0.1"});
    EXPECT_EQ(orvanectl({"provision", "--redis", address}).status, 0);
    EXPECT_EQ(tcp.command({"EXISTS", "OsselSchemaInstances"}), "1");
    EXPECT_EQ(server.command({"EXISTS", "OsselSchemaInstances"}), "0");
}

TEST_F(Usage, SaysSoWhenItsOutputCannotBeWritten) {
    const Finished finished =
        run({"sh", "-c", std::string(ORVANECTL) + " provision >/dev/full"}, environment());
    EXPECT_EQ(finished.status, 1);
    EXPECT_THAT(finished.error, HasSubstr("cannot write to standard output: No space left"));
}

TEST_F(Usage, EndsQuietlyWhenNobodyReadsItsOutput) {
    const Finished finished =
        run({"bash", "-c", std::string(ORVANECTL) + " provision | true; echo ${PIPESTATUS[0]}"},
            environment());
    EXPECT_EQ(finished.output, "0\n");
    EXPECT_EQ(finished.error, "");
}

} // namespace
} // namespace test
