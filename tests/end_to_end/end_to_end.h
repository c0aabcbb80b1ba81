// The real daemon on a real store, seen from outside. It runs in a private view of its fixed paths,
// with all files in the test's own folder.
#pragma once

#include "tests/end_to_end/mailbox.h"
#include "tests/support/child_process.h"
#include "tests/support/redis_server.h"
#include "tests/support/stack.h"
#include "tests/support/temporary_folder.h"

#include <filesystem>
#include <gtest/gtest.h>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace test {

// Keys of the five instances, in the order of their numbers.
inline constexpr const char* kWebGui = "80000000-0000-0000-0000-008000000000";
inline constexpr const char* kActions = "80000000-0000-0000-0000-008000000001";
inline constexpr const char* kOem = "80000000-0000-0000-0000-008000000002";
inline constexpr const char* kTurnOffLcd = "80000000-0000-0000-0000-008000000003";
inline constexpr const char* kGuiReady = "80000000-0000-0000-0000-008000000004";

// Fields and values of a hash.
using Fields = std::vector<std::pair<std::string, std::string>>;

// Runs a store with the schema definitions; the test starts the daemon. At the end a daemon that is
// still running must stop on SIGTERM with status 0.
class EndToEnd : public ::testing::Test {
protected:
    explicit EndToEnd(std::vector<std::string> redisOptions = {});
    ~EndToEnd() override;
    void TearDown() override;

    // The command that runs the daemon's program; empty: it runs by itself.
    virtual std::vector<std::string> daemonWrapper() const { return {}; }

    // The daemon.
    void launchDaemon();             // starts it and returns at once
    void startDaemon();              // starts it and waits until it is up
    void waitUntilUp();              // of a daemon that was launched
    std::optional<int> stopDaemon(); // SIGTERM; its exit status
    ChildProcess& daemon() { return *daemon_; }
    std::string output() const { return readFile(folder_.file("daemon.out")); }
    std::string errors() const { return readFile(folder_.file("daemon.err")); }
    // What the daemon sees as "/tmp/..." and "/var/database/...".
    std::filesystem::path temporary(const std::string& name) const;
    std::filesystem::path database() const;
    void makeMarkerFolder() const { std::filesystem::create_directories(temporary("run")); }
    bool hasMarker() const { return std::filesystem::exists(temporary("run/Stidre.run")); }

    // The store.
    RedisServer& redis() { return *redis_; }
    std::string field(const std::string& key, const std::string& name);
    bool exists(const std::string& key) { return redis().command({"EXISTS", key}) == "1"; }
    std::string collectionKey();
    std::string schemaTypeId();

    // Requests. `ask` fails the test unless there is exactly one answer.
    Mailbox& mailbox();
    Answer ask(const std::string& msgId, const std::string& reqArg);
    // Stores a request object for the instance and returns its key.
    std::string requestObject(const Fields& fields, const std::string& target = kWebGui);
    // The same with all properties of "00003", these ones changed.
    std::string displayRequest(const std::map<std::string, std::string>& changes);

    // One value of the settings database, read by the sqlite3 command.
    std::string setting(const std::string& column) const;
    std::string storedTheme() const;
    std::string sql(const std::string& statement) const;

    Finished orvanectl(const std::vector<std::string>& arguments) const;

    const TemporaryFolder& folder() const { return folder_; }
    // For the next start of the daemon; the devices are absent unless said otherwise here.
    std::map<std::string, std::string>& environment() { return environment_; }
    // For the parts of this test's stack; the wrapper is the daemon's.
    StackValues stackValues() const;

private:
    TemporaryFolder folder_;
    std::unique_ptr<RedisServer> redis_;
    std::map<std::string, std::string> environment_;
    std::unique_ptr<StackPart> daemonPart_;
    std::unique_ptr<ChildProcess> daemon_;
    std::unique_ptr<Mailbox> mailbox_;
    int requestObjects_ = 0;
};

} // namespace test
