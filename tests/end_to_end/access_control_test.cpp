// The daemon with the rights of packaging/redis/orvane-webgui.acl: they suffice for all its work
// and allow nothing else.
#include "tests/end_to_end/end_to_end.h"

#include "tests/support/wait_until.h"

#include <fstream>
#include <set>
#include <sstream>

namespace {

using test::kGuiReady;
using test::kTurnOffLcd;
using test::kWebGui;

constexpr const char* kUser = "orvane-webgui";
constexpr const char* kPassword = "Secret-of-the-test";

class AccessControl : public test::EndToEnd {
protected:
    AccessControl() : EndToEnd({"--aclfile", ORVANE_ACL_FILE}) {
        EXPECT_EQ(redis().command({"ACL", "SETUSER", kUser, std::string(">") + kPassword}), "OK");
        writeCredentials(std::string(kUser) + " " + kPassword + "\n");
    }

    void writeCredentials(const std::string& text) {
        const std::filesystem::path file = folder().path() / "credentials";
        std::ofstream(file) << text;
        std::filesystem::permissions(file, std::filesystem::perms::owner_read |
                                               std::filesystem::perms::owner_write);
        environment()["OSSEL_REDIS_CREDENTIALS"] = file;
    }

    // Asks the store whether the daemon's user may run this command, without running it.
    std::string wouldSay(std::vector<std::string> command) {
        command.insert(command.begin(), {"ACL", "DRYRUN", kUser});
        return redis().command(command);
    }

    static bool isDenied(const std::string& answer) {
        return answer.find("has no permissions to") != std::string::npos;
    }

    void expectNoSecretIsSaid() {
        EXPECT_EQ(output().find(kPassword), std::string::npos);
        EXPECT_EQ(errors().find(kPassword), std::string::npos);
    }
};

TEST_F(AccessControl, TheDaemonDoesAllItsWorkAsItsOwnUser) {
    startDaemon();
    EXPECT_EQ(ask("00001", kWebGui).messageId, "Success");
    EXPECT_EQ(ask("00002", requestObject({{"Language", "Deutsch"}})).messageId, "Success");
    EXPECT_EQ(ask("00003", requestObject({{"Theme", "light"}})).messageId, "Success");
    EXPECT_EQ(ask("00004", requestObject({{"InitialBoot", "false"}})).messageId, "Success");
    EXPECT_EQ(field(kWebGui, "Language"), "Deutsch");
    EXPECT_EQ(redis().command({"XLEN", "Events:Zolan Event"}), "3");
    EXPECT_EQ(orvanectl({"action", "gui-ready"}).status, 3) << "orvanectl has rights of its own";
    environment().erase("OSSEL_REDIS_CREDENTIALS");
    EXPECT_EQ(orvanectl({"action", "gui-ready"}).status, 0);
    EXPECT_EQ(orvanectl({"action", "turn-off-lcd"}).status, 0);
    // A lost connection is re-established as the same user.
    EXPECT_NE(redis().command({"CLIENT", "KILL", "USER", kUser}), "0");
    ASSERT_TRUE(test::waitUntil([this] {
        return redis().command({"PUBSUB", "NUMSUB", "OrvaneWebGUI"}) == "OrvaneWebGUI 1";
    })) << errors();
    EXPECT_EQ(ask("00001", kWebGui).messageId, "Success");
    EXPECT_EQ(stopDaemon(), 0);
    for (const char* key : {kWebGui, kTurnOffLcd, kGuiReady, "OvrCallbacks", "OvrCallbackOwners"}) {
        EXPECT_FALSE(exists(key)) << key;
    }
    expectNoSecretIsSaid();
}

TEST_F(AccessControl, NothingThatTheDaemonDoesIsDenied) {
    redis().command({"ACL", "LOG", "RESET"});
    startDaemon();
    EXPECT_EQ(ask("00001", kWebGui).messageId, "Success");
    EXPECT_EQ(ask("00003", requestObject({{"Theme", "light"}})).messageId, "Success");
    EXPECT_EQ(stopDaemon(), 0);
    EXPECT_EQ(redis().command({"ACL", "LOG"}), "");
}

TEST_F(AccessControl, NoOtherCommandIsAllowed) {
    // Every client may use "hello", "quit" and "reset".
    const std::set<std::string> own{"hello",      "quit",    "reset",     "auth",        "ping",
                                    "client",     "multi",   "exec",      "eval",        "hget",
                                    "hset",       "hgetall", "hdel",      "del",         "set",
                                    "expire",     "lpos",    "rpush",     "lrange",      "lrem",
                                    "sadd",       "srem",    "smembers",  "sunionstore", "xadd",
                                    "sdiffstore", "publish", "subscribe", "unsubscribe"};
    std::istringstream names(redis().command({"COMMAND", "LIST"}));
    int denied = 0;
    for (std::string name; names >> name;) {
        std::istringstream info(redis().command({"COMMAND", "INFO", name}));
        std::string shown;
        int arity = 0;
        info >> shown >> arity;
        const std::vector<std::string> words(static_cast<std::size_t>(std::abs(arity)), "x");
        std::vector<std::string> command{name};
        command.insert(command.end(), words.begin() + 1, words.end());
        const std::string answer = wouldSay(command);
        if (own.contains(name) || answer.find("not found") != std::string::npos) {
            continue; // the next test covers commands with subcommands
        }
        EXPECT_TRUE(isDenied(answer)) << name << ": " << answer;
        ++denied;
    }
    EXPECT_GT(denied, 150);
}

TEST_F(AccessControl, NoOtherSubcommandIsAllowed) {
    const std::vector<std::vector<std::string>> commands{{"ACL", "LIST"},
                                                         {"ACL", "WHOAMI"},
                                                         {"CLIENT", "LIST"},
                                                         {"CLIENT", "KILL", "x"},
                                                         {"CLIENT", "PAUSE", "1"},
                                                         {"CLUSTER", "INFO"},
                                                         {"COMMAND", "COUNT"},
                                                         {"CONFIG", "GET", "x"},
                                                         {"CONFIG", "SET", "x", "y"},
                                                         {"FUNCTION", "LIST"},
                                                         {"LATENCY", "DOCTOR"},
                                                         {"MEMORY", "DOCTOR"},
                                                         {"MODULE", "LIST"},
                                                         {"OBJECT", "FREQ", "x"},
                                                         {"PUBSUB", "CHANNELS"},
                                                         {"PUBSUB", "NUMSUB", "x"},
                                                         {"SCRIPT", "FLUSH"},
                                                         {"SLOWLOG", "GET"},
                                                         {"XGROUP", "DESTROY", "x", "y"},
                                                         {"XINFO", "STREAM", "x"}};
    for (const std::vector<std::string>& command : commands) {
        const std::string answer = wouldSay(command);
        EXPECT_TRUE(isDenied(answer)) << command[0] << ' ' << command[1] << ": " << answer;
    }
    EXPECT_EQ(wouldSay({"CLIENT", "SETNAME", "x"}), "OK");
}

TEST_F(AccessControl, NoOtherKeyOrChannelIsAccessible) {
    const std::vector<std::vector<std::string>> commands{
        {"HSET", "OsselSchemaInstances", "x", "y"},
        {"DEL", "SchemaType:OrvaneWebGUI.1.0.0.WebGUI"},
        {"HGET", "80000000-0000-0000-0000-008000000005", "x"},
        {"HGET", "80000000-0000-0000-0000-000000000000", "x"},
        {"DEL", "TTL:80000000-0000-0000-0000-008000000009"},
        {"SET", "Lease:80000000-0000-0000-0000-008000000000", "x"},
        {"XADD", "Events:Other", "*", "x", "y"},
        {"HGETALL", "Users"},
        {"EVAL", "return 1", "1", "Users"},
        {"SUNIONSTORE", "WorkTree:x", "WorkTree:x", "Users"},
        {"PUBLISH", "Other", "x"},
        {"SUBSCRIBE", "Other"},
        {"SUBSCRIBE", "__keyspace@0__:x"}};
    for (const std::vector<std::string>& command : commands) {
        const std::string answer = wouldSay(command);
        EXPECT_TRUE(isDenied(answer)) << command[0] << ' ' << command[1] << ": " << answer;
    }
    EXPECT_EQ(wouldSay({"HGET", kWebGui, "Theme"}), "OK");
    EXPECT_EQ(wouldSay({"PUBLISH", "Reply:x", "y"}), "OK");
    EXPECT_EQ(wouldSay({"HSET", "1b4e28ba-2fa1-41d2-883f-0016d3cca427", "x", "y"}), "OK");
}

// A refused daemon does not start. It logs why, but not what the file holds.
TEST_F(AccessControl, AWrongPasswordIsRefusedAndNotLogged) {
    redis().command({"ACL", "SETUSER", kUser, "resetpass", ">another"});
    launchDaemon();
    EXPECT_EQ(daemon().wait(), 0);
    EXPECT_FALSE(hasMarker());
    EXPECT_NE(errors().find("AUTH refused: WRONGPASS"), std::string::npos) << errors();
    expectNoSecretIsSaid();
    const test::Finished client = orvanectl({"status"});
    EXPECT_EQ(client.status, 3);
    EXPECT_EQ((client.output + client.error).find(kPassword), std::string::npos);
}

TEST_F(AccessControl, AFileThatOthersMayReadIsRefused) {
    std::filesystem::permissions(environment()["OSSEL_REDIS_CREDENTIALS"],
                                 std::filesystem::perms::others_read,
                                 std::filesystem::perm_options::add);
    launchDaemon();
    EXPECT_EQ(daemon().wait(), 0);
    EXPECT_NE(errors().find("open to others"), std::string::npos) << errors();
    EXPECT_EQ(orvanectl({"get"}).status, 2);
}

TEST_F(AccessControl, AFileInAnotherFormatIsRefusedAndNotLogged) {
    for (const std::string text : {"", "onlyone\n", " Secret-of-the-test\n", "orvane-webgui \n",
                                   "user Secret-of-the-test\nmore\n"}) {
        writeCredentials(text);
        launchDaemon();
        EXPECT_EQ(daemon().wait(), 0);
        EXPECT_NE(errors().find("not one line"), std::string::npos) << errors();
        expectNoSecretIsSaid();
    }
}

} // namespace
