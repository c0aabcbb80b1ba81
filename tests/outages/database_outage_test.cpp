// The settings database locked, full, read-only, moved or gone under the running daemon: the
// answers and log lines, the old row staying whole, and what brings the service back.
#include "tests/end_to_end/end_to_end.h"
#include "tests/support/mount_namespace.h"
#include "tests/support/wait_until.h"

#include <csignal>
#include <filesystem>
#include <gmock/gmock.h>

namespace {

using test::Answer;
using test::kWebGui;
using testing::AnyOf;
using testing::EndsWith;
using testing::HasSubstr;

// What the daemon logs for a change of language that the database rejects.
constexpr const char* kFailedChange =
    "[updateData]: Failed to call update_database_table_with_condition().\n"
    "[OrvaneWebGUI_Agent_UPDATE_00002]: Failed to call WebGUIAgent.updateData().\n"
    "[update]: Failed to call fnAgentUpdate().\n";
// And for a database that it could not open at its start.
constexpr const char* kFailedOpening =
    "[WebGUIAgent]: Failed to call open_database(). The return code: -1\n";
// The beginning of the database library's line for such a change.
constexpr const char* kFailedCall = "[update_database_table_with_condition]: webgui_tbl: ";

const Answer kSuccess{"Success", {}};
const Answer kInternalError{"InternalError", {}};

class DatabaseOutageTest : public test::EndToEnd {
protected:
    // No read changes a setting then.
    DatabaseOutageTest() { environment()["ManagingMode"] = "1"; }

    std::filesystem::path databaseFolder() const { return database().parent_path(); }

    Answer setLanguage(const std::string& language) {
        return ask("00002", requestObject({{"Language", language}}));
    }

    // The library logged the reason for the outage, once for all attempts. Where versions of SQLite
    // differ there are two wordings.
    void expectOneReason(const std::string& reason, const std::string& otherWording) const {
        const std::string lines = errors();
        EXPECT_THAT(lines, AnyOf(EndsWith(kFailedCall + reason + "\n"),
                                 EndsWith(kFailedCall + otherWording + "\n")));
        EXPECT_EQ(lines.find(kFailedCall), lines.rfind(kFailedCall)) << lines;
    }

    void expectOneReason(const std::string& reason) const { expectOneReason(reason, reason); }

    // A change is refused as documented and leaves no trace.
    void expectRefusedChange(const std::string& reason) { expectRefusedChange(reason, reason); }
    void expectRefusedChange(const std::string& reason, const std::string& otherWording) {
        const std::string before = field(kWebGui, "Language");
        EXPECT_EQ(setLanguage("refused"), kInternalError);
        EXPECT_THAT(output(), EndsWith(kFailedChange));
        expectOneReason(reason, otherWording);
        EXPECT_EQ(field(kWebGui, "Language"), before);
        EXPECT_EQ(ask("00001", kWebGui), kSuccess) << "reads go on";
    }

    void expectChangesAgain() {
        EXPECT_EQ(setLanguage("Dansk"), kSuccess);
        EXPECT_EQ(setting("Language"), "Dansk");
        EXPECT_EQ(field(kWebGui, "Language"), "Dansk");
        EXPECT_EQ(sql("PRAGMA integrity_check"), "ok");
    }

    void restartDaemon() {
        EXPECT_EQ(stopDaemon(), 0);
        std::filesystem::remove(folder().file("daemon.out"));
        std::filesystem::remove(folder().file("daemon.err"));
        startDaemon();
    }

    // Locks the database until it is killed: against other writers, or against readers too.
    std::unique_ptr<test::ChildProcess> hold(const std::string& command) const {
        const std::string sign = folder().file("holder");
        auto holder = std::make_unique<test::ChildProcess>(
            std::vector<std::string>{ORVANE_BUILD_FOLDER "/tests/settings_database_process",
                                     command, database()},
            std::map<std::string, std::string>{}, sign);
        EXPECT_TRUE(test::waitUntil([&] { return test::readFile(sign) == "locked"; }));
        return holder;
    }
};

using DatabaseOutage = DatabaseOutageTest;

TEST_F(DatabaseOutage, LockedLongerThanAllTriesRefusesTheChangeAndTakesTheNextOne) {
    startDaemon();
    auto holder = hold("lock");
    expectRefusedChange("database is locked (SQLite code 5)");
    EXPECT_EQ(setting("Language"), "English");
    holder.reset();
    expectChangesAgain();
}

TEST_F(DatabaseOutage, LockedForAMomentOnlyDelaysTheChange) {
    startDaemon();
    auto holder = hold("lock");
    const std::string channel = mailbox().newReplyChannel();
    ASSERT_EQ(mailbox().send("00002", requestObject({{"Language", "Dansk"}}), channel), 1);
    ASSERT_TRUE(
        test::waitUntil([this] { return errors().find(kFailedCall) != std::string::npos; }));
    holder.reset();
    const auto& received = mailbox().received();
    ASSERT_TRUE(mailbox().collectUntil([&] { return received.contains(channel); }));
    EXPECT_EQ(mailbox().answer(received.at(channel).front()), kSuccess);
    EXPECT_EQ(setting("Language"), "Dansk");
    expectOneReason("database is locked (SQLite code 5)");
}

// Meant: the settings in memory keep a value that the database refused, and the next change writes
// the whole row.
TEST_F(DatabaseOutage, AValueThatWasRefusedGoesWithTheNextChangeOfAnotherSetting) {
    startDaemon();
    auto holder = hold("lock");
    EXPECT_EQ(setLanguage("Deutsch"), kInternalError);
    holder.reset();
    EXPECT_EQ(ask("00004", requestObject({{"InitialBoot", "false"}})), kSuccess);
    EXPECT_EQ(setting("Language"), "Deutsch");
    EXPECT_EQ(field(kWebGui, "Language"), "English");
    restartDaemon();
    EXPECT_EQ(field(kWebGui, "Language"), "Deutsch");
}

TEST_F(DatabaseOutage, LockedForReadersAtTheStartLeavesTheDaemonWithoutSettingsUntilARestart) {
    startDaemon();
    expectChangesAgain();
    EXPECT_EQ(stopDaemon(), 0);
    std::filesystem::remove(folder().file("daemon.out"));
    auto holder = hold("lock-all");
    startDaemon();
    EXPECT_THAT(output(), HasSubstr(kFailedOpening));
    EXPECT_THAT(errors(), EndsWith("database is locked (SQLite code 5)\n"));
    EXPECT_EQ(field(kWebGui, "Language"), "");
    holder.reset();
    EXPECT_EQ(setLanguage("refused"), kInternalError) << "the connection is not opened again";
    EXPECT_THAT(output(), EndsWith(kFailedChange));
    EXPECT_THAT(errors(), EndsWith(kFailedCall + std::string("the database is not open\n")));
    EXPECT_EQ(setting("Language"), "Dansk");
    restartDaemon();
    EXPECT_EQ(field(kWebGui, "Language"), "Dansk");
    expectChangesAgain();
}

TEST_F(DatabaseOutage, AFullDiskRefusesTheChangeUntilThereIsRoom) {
    EXPECT_PASSED(test::inMountNamespace([this] {
        std::filesystem::create_directories(databaseFolder());
        test::mountTmpfs(databaseFolder(), "size=256k");
        startDaemon();
        expectChangesAgain();
        test::fillUp(databaseFolder() / "filler");
        std::string last = "Dansk";
        // The log may have space for a few more.
        while (setLanguage(last + "+") == kSuccess) {
            last += "+";
        }
        EXPECT_THAT(output(), EndsWith(kFailedChange));
        expectOneReason("database or disk is full (SQLite code 13)");
        EXPECT_EQ(setting("Language"), last);
        EXPECT_EQ(field(kWebGui, "Language"), last);
        std::filesystem::remove(databaseFolder() / "filler");
        expectChangesAgain();
        EXPECT_EQ(stopDaemon(), 0);
    }));
}

// As the kernel does to a file system after an error of its medium.
TEST_F(DatabaseOutage, AFileSystemThatTurnsReadOnlyRefusesTheChangeUntilItIsWritable) {
    const std::string sign = folder().file("read-only");
    environment()["ORVANE_READ_ONLY_SIGN"] = sign;
    environment()["ASAN_OPTIONS"] = "verify_asan_link_order=0";
    environment().insert(test::preload(ORVANE_READ_ONLY_DOUBLE));
    startDaemon();
    test::writeFile(sign, "");
    // SQLite 3.46 of Debian 13 keeps the system's error until it is asked for it, 3.40 does not.
    expectRefusedChange("disk I/O error (SQLite code 778)",
                        "disk I/O error (SQLite code 778, Read-only file system)");
    EXPECT_EQ(setting("Language"), "English");
    std::filesystem::remove(sign);
    expectChangesAgain();
}

TEST_F(DatabaseOutage, AReadOnlyFolderAtTheStartLeavesTheDaemonWithoutSettingsUntilARestart) {
    startDaemon();
    expectChangesAgain();
    EXPECT_EQ(stopDaemon(), 0);
    std::filesystem::remove(folder().file("daemon.out"));
    EXPECT_PASSED(test::inMountNamespace([this] {
        test::makeReadOnly(databaseFolder());
        startDaemon();
        EXPECT_THAT(output(), HasSubstr(kFailedOpening));
        EXPECT_THAT(errors(), HasSubstr("[open_database]: Cannot open /var/database/webgui.db: "));
        EXPECT_EQ(setLanguage("refused"), kInternalError);
        EXPECT_THAT(output(), EndsWith(kFailedChange));
        EXPECT_EQ(stopDaemon(), 0);
    }));
    startDaemon();
    EXPECT_EQ(field(kWebGui, "Language"), "Dansk");
    expectChangesAgain();
}

TEST_F(DatabaseOutage, AFileThatIsMovedAwayRefusesTheChangeUntilItIsBack) {
    startDaemon();
    std::filesystem::rename(database(), databaseFolder() / "elsewhere");
    expectRefusedChange("the file was moved or deleted while it was open");
    std::filesystem::rename(databaseFolder() / "elsewhere", database());
    EXPECT_EQ(setting("Language"), "English");
    expectChangesAgain();
}

TEST_F(DatabaseOutage, AFileThatIsDeletedRefusesTheChangeUntilARestartMakesANewOne) {
    startDaemon();
    expectChangesAgain();
    std::filesystem::remove(database());
    expectRefusedChange("the file was moved or deleted while it was open");
    restartDaemon();
    EXPECT_EQ(field(kWebGui, "Language"), "English") << "a new database";
    expectChangesAgain();
}

TEST_F(DatabaseOutage, AFolderThatIsGoneRefusesTheChangeUntilARestart) {
    startDaemon();
    std::filesystem::remove_all(databaseFolder());
    expectRefusedChange("the file was moved or deleted while it was open");
    restartDaemon();
    expectChangesAgain();
}

} // namespace
