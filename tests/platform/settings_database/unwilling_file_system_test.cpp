// Files that cannot be opened now but are not damaged: locked, not permitted, read-only, full. None
// of them is ever renamed.
#include "tests/platform/settings_database/database_fixture.h"

#include "tests/support/child_process.h"
#include "tests/support/mount_namespace.h"
#include "tests/support/wait_until.h"

#include <chrono>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

namespace test {
namespace {

using Clock = std::chrono::steady_clock;

class UnwillingTest : public DatabaseTest {
protected:
    // A database in the old journal mode that lacks a table.
    void makeOldDatabase() {
        sqlite(path(), "CREATE TABLE webgui_tbl(Name, Language); INSERT INTO webgui_tbl "
                       "VALUES('Zolan CMS Web GUI Settings','Dansk')");
    }

    // Fails to open: -1, an unusable handle, one line with the reason, the same files as before.
    void expectRefusal(const std::string& file, const std::string& reason) {
        const std::vector<std::string> before = files();
        Database database(file);
        testing::internal::CaptureStderr();
        EXPECT_EQ(database.open(), -1);
        const std::string line = testing::internal::GetCapturedStderr();
        EXPECT_EQ(database.handle()->connection, nullptr);
        EXPECT_EQ(database.handle()->ready, 0);
        EXPECT_EQ(database.handle()->schemaLevel, 0);
        EXPECT_EQ(countOf(line, '\n'), 1) << line;
        EXPECT_THAT(line, testing::StartsWith("[open_database]: Cannot open " + file + ": "));
        EXPECT_THAT(line, testing::HasSubstr(reason));
        EXPECT_EQ(files(), before);
    }

    // Starts a process that locks the file; it holds the lock when this returns.
    std::unique_ptr<ChildProcess> lock(const std::string& command) {
        const std::string output = locks_.file("output");
        writeFile(output, "");
        auto process =
            std::make_unique<ChildProcess>(std::vector<std::string>{processPath(), command, path()},
                                           std::map<std::string, std::string>{}, output);
        EXPECT_TRUE(waitUntil([&] { return readFile(output) == "locked"; }));
        return process;
    }

private:
    TemporaryFolder locks_;
};

using LockedFile = UnwillingTest;
using UnwillingFileSystem = UnwillingTest;

TEST_F(LockedFile, IsRefusedAfterABoundedWaitAndOpensAfterwards) {
    makeOldDatabase();
    const std::unique_ptr<ChildProcess> holder = lock("lock");
    const Clock::time_point start = Clock::now();
    expectRefusal(path(), "database is locked");
    EXPECT_GE(Clock::now() - start, std::chrono::milliseconds(1500));
    EXPECT_LT(Clock::now() - start, std::chrono::seconds(5));
    holder->signal(SIGKILL);
    holder->wait();
    EXPECT_EQ(Database(path()).open(), 2);
    EXPECT_EQ(sqlite(path(), "SELECT Language FROM webgui_tbl"), "Dansk\n");
}

bool isOpenHere(const std::string& file) {
    std::error_code ignored;
    for (const auto& each : std::filesystem::directory_iterator("/proc/self/fd")) {
        if (std::filesystem::read_symlink(each.path(), ignored) == file) {
            return true;
        }
    }
    return false;
}

// How often a thread has waited for something, from its file in /proc.
long waitsOf(const std::string& status) {
    const std::string text = readFile(status);
    const std::string name = "\nvoluntary_ctxt_switches:";
    const std::size_t at = text.find(name);
    return at == std::string::npos ? -1 : std::stol(text.substr(at + name.size()));
}

// The lock goes while SQLite pauses between two tries for it.
TEST_F(LockedFile, IsOpenedWhenTheLockGoesInTime) {
    makeOldDatabase();
    const std::unique_ptr<ChildProcess> holder = lock("lock");
    const std::string opener = "/proc/self/task/" + std::to_string(::gettid()) + "/status";
    std::thread releaser([&] {
        EXPECT_TRUE(waitUntil([this] { return isOpenHere(path()); }));
        const long before = waitsOf(opener);
        EXPECT_TRUE(waitUntil([&] { return waitsOf(opener) > before + 3; }));
        holder->signal(SIGKILL);
    });
    EXPECT_EQ(Database(path()).open(), 2);
    releaser.join();
}

TEST_F(LockedFile, WithALogIsRefusedToo) {
    ASSERT_EQ(Database(path()).open(), 1);
    const std::unique_ptr<ChildProcess> holder = lock("lock-all");
    expectRefusal(path(), "database is locked");
    holder->signal(SIGKILL);
    holder->wait();
    EXPECT_EQ(Database(path()).open(), 0);
}

TEST_F(LockedFile, CanBeReadWhileAnotherProcessWrites) {
    ASSERT_EQ(Database(path()).open(), 1);
    const std::unique_ptr<ChildProcess> holder = lock("lock");
    Database database(path());
    EXPECT_EQ(database.open(), 0);
    Result result;
    EXPECT_EQ(query_database_dat_with_condition(database.handle(), kTable, &result, ""), 0);
    EXPECT_EQ(result.rowCount, 1U);
}

TEST_F(LockedFile, FailsAnUpdateSoonWithOneLineAndTakesItAfterwards) {
    Database database(path());
    ASSERT_EQ(database.open(), 1);
    const std::unique_ptr<ChildProcess> holder = lock("lock");
    const Row row(NamesAndValues{{"Timer", "x"}});
    const auto update = [&] {
        return update_database_table_with_condition(database.handle(), kTable, row.get(), "");
    };
    testing::internal::CaptureStderr();
    const Clock::time_point start = Clock::now();
    for (int i = 0; i < 4; ++i) {
        EXPECT_NE(update(), 0);
    }
    EXPECT_GE(Clock::now() - start, std::chrono::milliseconds(4 * 50));
    EXPECT_LT(Clock::now() - start, std::chrono::milliseconds(4 * 400));
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "[update_database_table_with_condition]: webgui_tbl: database is locked "
              "(SQLite code 5)\n");
    holder->signal(SIGKILL);
    holder->wait();
    EXPECT_EQ(update(), 0);
    EXPECT_EQ(sqlite(path(), "SELECT Timer FROM webgui_tbl"), "x\n");
}

TEST_F(UnwillingFileSystem, RefusesWhatIsNoFile) {
    std::filesystem::create_directory(path());
    expectRefusal(path(), "Is a directory");
    std::filesystem::remove(path());
    ASSERT_EQ(::mkfifo(path().c_str(), 0600), 0);
    expectRefusal(path(), "Invalid argument");
}

TEST_F(UnwillingFileSystem, RefusesAFileInPlaceOfTheFolder) {
    writeFile(folder().file("file"), "x");
    expectRefusal(folder().file("file") + "/webgui.db", "Not a directory");
}

TEST_F(UnwillingFileSystem, RefusesAFileWithoutPermission) {
    makeOldDatabase();
    std::filesystem::permissions(folder().path(), std::filesystem::perms(0755));
    std::filesystem::permissions(path(), std::filesystem::perms(0));
    EXPECT_PASSED(asOrdinaryUser([this] { expectRefusal(path(), "Permission denied"); }));
    EXPECT_EQ(sqlite(path(), "SELECT Language FROM webgui_tbl"),
              ::geteuid() == 0 ? "Dansk\n" : "Error: unable to open database file\n");
}

TEST_F(UnwillingFileSystem, RefusesAFileThatMayOnlyBeRead) {
    makeOldDatabase();
    std::filesystem::permissions(folder().path(), std::filesystem::perms(0555));
    std::filesystem::permissions(path(), std::filesystem::perms(0444));
    EXPECT_PASSED(asOrdinaryUser([this] { expectRefusal(path(), "can only be read"); }));
    std::filesystem::permissions(folder().path(), std::filesystem::perms(0755));
}

TEST_F(UnwillingFileSystem, RefusesAFolderThatMayNotBeEntered) {
    std::filesystem::create_directory(folder().file("closed"));
    std::filesystem::permissions(folder().path(), std::filesystem::perms(0755));
    std::filesystem::permissions(folder().file("closed"), std::filesystem::perms(0));
    EXPECT_PASSED(asOrdinaryUser(
        [this] { expectRefusal(folder().file("closed/webgui.db"), "Permission denied"); }));
    EXPECT_PASSED(asOrdinaryUser(
        [this] { expectRefusal(folder().file("closed/deeper/webgui.db"), "Permission denied"); }));
    std::filesystem::permissions(folder().file("closed"), std::filesystem::perms(0755));
}

TEST_F(UnwillingFileSystem, RefusesAReadOnlyFolderWhateverIsInIt) {
    EXPECT_PASSED(inMountNamespace([this] {
        writeFile(folder().file("damaged.db"), "not a database at all");
        makeOldDatabase();
        ASSERT_EQ(Database(folder().file("new.db")).open(), 1);
        makeReadOnly(folder().path());
        expectRefusal(path(), "can only be read");
        expectRefusal(folder().file("new.db"), "");
        expectRefusal(folder().file("missing.db"), "unable to open database file");
        expectRefusal(folder().file("deeper/missing.db"), "Read-only file system");
        expectRefusal(folder().file("damaged.db"),
                      "it is damaged (file is not a database (SQLite code 26)) and cannot be set "
                      "aside");
    }));
}

TEST_F(UnwillingFileSystem, MakesAFileOnAFullDiskOnceThereIsSpace) {
    EXPECT_PASSED(inMountNamespace([this] {
        mountTmpfs(folder().path(), "size=128k");
        fillUp(folder().file("filler"));
        Database database(path());
        testing::internal::CaptureStderr();
        EXPECT_EQ(database.open(), -1);
        EXPECT_EQ(countOf(testing::internal::GetCapturedStderr(), '\n'), 1);
        EXPECT_EQ(damagedFile(), "");
        std::filesystem::remove(folder().file("filler"));
        EXPECT_EQ(database.open(), 1);
        EXPECT_EQ(sqlite(path(), "SELECT * FROM webgui_tbl"), kDefaultRow);
    }));
}

TEST_F(UnwillingFileSystem, UpdatesAnOlderFileOnAFullDiskOnceThereIsSpace) {
    EXPECT_PASSED(inMountNamespace([this] {
        mountTmpfs(folder().path(), "size=128k");
        makeOldDatabase();
        fillUp(folder().file("filler"));
        Database database(path());
        testing::internal::CaptureStderr();
        EXPECT_EQ(database.open(), -1);
        EXPECT_EQ(countOf(testing::internal::GetCapturedStderr(), '\n'), 1);
        EXPECT_EQ(damagedFile(), "");
        EXPECT_EQ(columnsOf(path(), "webgui_tbl"), "Name,Language\n");
        std::filesystem::remove(folder().file("filler"));
        EXPECT_EQ(database.open(), 2);
        EXPECT_EQ(sqlite(path(), "SELECT Language FROM webgui_tbl"), "Dansk\n");
    }));
}

TEST_F(UnwillingFileSystem, KeepsADamagedFileOnAFullDisk) {
    EXPECT_PASSED(inMountNamespace([this] {
        mountTmpfs(folder().path(), "size=128k");
        writeFile(path(), "not a database at all");
        fillUp(folder().file("filler"));
        Database database(path());
        testing::internal::CaptureStderr();
        EXPECT_EQ(database.open(), -1);
        testing::internal::GetCapturedStderr();
        EXPECT_EQ(readFile(folder().file(damagedFile())), "not a database at all");
        std::filesystem::remove(folder().file("filler"));
        EXPECT_EQ(database.open(), 1);
        EXPECT_EQ(readFile(folder().file(damagedFile())), "not a database at all");
    }));
}

TEST_F(UnwillingFileSystem, FailsAnUpdateOnAFullDiskAndKeepsTheRow) {
    EXPECT_PASSED(inMountNamespace([this] {
        mountTmpfs(folder().path(), "size=256k");
        Database database(path());
        ASSERT_EQ(database.open(), 1);
        fillUp(folder().file("filler"));
        const Row row(NamesAndValues{{"Timer", "x"}});
        testing::internal::CaptureStderr();
        int code = 0;
        // The log may have space for a few more.
        for (int i = 0; i < 100 && code == 0; ++i) {
            const Row next(NamesAndValues{{"Timer", std::to_string(i)}});
            code = update_database_table_with_condition(database.handle(), kTable, next.get(), "");
        }
        EXPECT_NE(code, 0);
        EXPECT_THAT(testing::internal::GetCapturedStderr(), testing::HasSubstr("is full"));
        std::filesystem::remove(folder().file("filler"));
        EXPECT_EQ(update_database_table_with_condition(database.handle(), kTable, row.get(), ""),
                  0);
        EXPECT_EQ(sqlite(path(), "SELECT Timer FROM webgui_tbl"), "x\n");
        EXPECT_EQ(sqlite(path(), "PRAGMA integrity_check"), "ok\n");
    }));
}

// ---- A file that is gone while it is open ----

using GoneFile = UnwillingTest;

int setTimer(Database& database, const char* value) {
    const Row row(NamesAndValues{{"Timer", value}});
    return update_database_table_with_condition(database.handle(), kTable, row.get(), "");
}

// SQLite itself would keep writing to a file that has lost its name.
TEST_F(GoneFile, RefusesChangesThatNobodyWouldFind) {
    Database database(path());
    ASSERT_EQ(database.open(), 1);
    std::filesystem::remove(path());
    testing::internal::CaptureStderr();
    EXPECT_NE(setTimer(database, "lost"), 0);
    const Row row(NamesAndValues{{"Name", "another"}});
    EXPECT_NE(insert_database_table_entry_struct(database.handle(), kTable, row.get()), 0);
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "[update_database_table_with_condition]: webgui_tbl: the file was moved or deleted "
              "while it was open\n"
              "[insert_database_table_entry_struct]: webgui_tbl: the file was moved or deleted "
              "while it was open\n");
}

TEST_F(GoneFile, CanStillBeRead) {
    Database database(path());
    ASSERT_EQ(database.open(), 1);
    std::filesystem::remove(path());
    Result result;
    EXPECT_EQ(query_database_dat_with_condition(database.handle(), kTable, &result, ""), 0);
    EXPECT_EQ(result.rowCount, 1U);
}

TEST_F(GoneFile, TakesChangesAgainWhenItIsBack) {
    Database database(path());
    ASSERT_EQ(database.open(), 1);
    std::filesystem::rename(path(), folder().file("elsewhere"));
    testing::internal::CaptureStderr();
    EXPECT_NE(setTimer(database, "too early"), 0);
    testing::internal::GetCapturedStderr();
    std::filesystem::rename(folder().file("elsewhere"), path());
    EXPECT_EQ(setTimer(database, "back"), 0);
    EXPECT_EQ(sqlite(path(), "SELECT Timer FROM webgui_tbl"), "back\n");
}

TEST_F(GoneFile, ReplacedByAnotherOneIsGoneToo) {
    Database database(path());
    ASSERT_EQ(database.open(), 1);
    ASSERT_EQ(Database(folder().file("other.db")).open(), 1);
    std::filesystem::rename(folder().file("other.db"), path());
    testing::internal::CaptureStderr();
    EXPECT_NE(setTimer(database, "lost"), 0);
    testing::internal::GetCapturedStderr();
}

} // namespace
} // namespace test
