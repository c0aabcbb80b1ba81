// Power cuts after every single operation on the disk. Whatever was not synced is lost, kept, torn
// or reordered in many ways (disk_model.h); each time the database must open with a whole row, the
// last one that was acknowledged or the next.
#include "tests/platform/settings_database/power_cut.h"
#include "tests/platform/settings_database/recording_vfs.h"

#include <filesystem>
#include <memory>
#include <ostream>
#include <sqlite3.h>

namespace test {
namespace {

class PowerCutTest : public testing::Test {
protected:
    static void SetUpTestSuite() { installRecordingVfs(); }

    std::string path() const { return folder_.file(kCutFile); }
    const TemporaryFolder& folder() const { return folder_; }

    // The recording missed nothing: with everything kept, the disk matches the folder.
    void expectComplete(const DiskLog& log) const {
        Disk disk(log.start);
        for (const DiskOperation& operation : log.operations) {
            disk.apply(operation);
        }
        Image real = readImage(folder_.path());
        std::erase_if(real, [](const auto& entry) { return entry.first.ends_with("-shm"); });
        EXPECT_TRUE(disk.afterCut(allOrNothing(disk, true)) == real);
    }

private:
    TemporaryFolder folder_;
};

using PowerCut = PowerCutTest;

// A database that was made and closed, with the row "first".
class PowerCutOfAnExistingFile : public PowerCut {
protected:
    void SetUp() override {
        Database database(path());
        ASSERT_EQ(database.open(), 1);
        ASSERT_EQ(updateAll(database, "first"), 0);
    }
};

TEST_F(PowerCut, WhileTheFirstDatabaseIsMadeAndUsedLeavesTheRowThatWasAcknowledged) {
    Recording recording(folder().path());
    {
        Database database(path());
        ASSERT_EQ(database.open(), 1);
        recording.acknowledge();
        for (const char* value : {"first", "second"}) {
            ASSERT_EQ(updateAll(database, value), 0);
            recording.acknowledge();
        }
    }
    const DiskLog log = recording.finish();
    expectComplete(log);
    const Count count =
        sweep(log, {{kDefaultRow, kDefaultRow, rowOfAll("first"), rowOfAll("second")}, {0, 1}});
    EXPECT_EQ(count.faults, 0) << count.firstFault;
    EXPECT_GE(count.cuts, 20);
}

TEST_F(PowerCutOfAnExistingFile, OnAnyUpdateLeavesTheOldOrTheNewRow) {
    Recording recording(folder().path());
    {
        Database database(path());
        ASSERT_EQ(database.open(), 0);
        for (const char* value : {"second", "third"}) {
            ASSERT_EQ(updateAll(database, value), 0);
            recording.acknowledge();
        }
    }
    const DiskLog log = recording.finish();
    expectComplete(log);
    const Count count =
        sweep(log, {{rowOfAll("first"), rowOfAll("second"), rowOfAll("third")}, {0}});
    EXPECT_EQ(count.faults, 0) << count.firstFault;
    EXPECT_GE(count.cuts, 15);
}

TEST_F(PowerCutOfAnExistingFile, TwiceWhileItIsOpenedAgainLeavesTheOldOrTheNewRow) {
    Recording recording(folder().path());
    {
        Database database(path());
        ASSERT_EQ(database.open(), 0);
        ASSERT_EQ(updateAll(database, "second"), 0);
        recording.acknowledge();
    }
    const DiskLog log = recording.finish();
    const Count count = sweepTwice(log, {{rowOfAll("first"), rowOfAll("second")}, {0}});
    EXPECT_EQ(count.faults, 0) << count.firstFault;
    EXPECT_GE(count.cuts, 100);
}

// A full log, here after a few pages, is moved into the database and rewritten from its beginning.
TEST_F(PowerCutOfAnExistingFile, OnAFullLogThatIsMovedIntoTheDatabaseLosesNothing) {
    Database database(path());
    ASSERT_EQ(database.open(), 0);
    ASSERT_EQ(answerOf(database.handle()->connection, "PRAGMA wal_autocheckpoint = 4"), "4");
    ASSERT_EQ(updateAll(database, "second"), 0);
    Life life{{rowOfAll("second")}, {0}};
    Recording recording(folder().path());
    for (int i = 0; i < 10; ++i) {
        ASSERT_EQ(updateAll(database, std::to_string(i)), 0);
        recording.acknowledge();
        life.rows.push_back(rowOfAll(std::to_string(i)));
    }
    const DiskLog log = recording.finish();
    expectComplete(log);
    const Count count = sweep(log, life);
    EXPECT_EQ(count.faults, 0) << count.firstFault;
    EXPECT_GE(count.cuts, 50);
}

TEST_F(PowerCut, WhileAnOlderFileIsBroughtUpToDateLeavesTheOldOrTheNewTables) {
    std::filesystem::create_directories(std::filesystem::path(path()).parent_path());
    ASSERT_EQ(sqlite(path(), "CREATE TABLE webgui_tbl(Language, Extra, Name); INSERT INTO "
                             "webgui_tbl VALUES('Dansk','kept','Zolan CMS Web GUI Settings'),"
                             "('x','y','z')"),
              "");
    Recording recording(folder().path());
    {
        Database database(path());
        ASSERT_EQ(database.open(), 2);
        recording.acknowledge();
        ASSERT_EQ(updateAll(database, "new"), 0);
        recording.acknowledge();
    }
    const DiskLog log = recording.finish();
    expectComplete(log);
    const std::string upgraded = "Zolan CMS Web GUI Settings|true|Dansk|5|Never|Enabled|10 Minutes|"
                                 "Metric|YYYY-MM-DD|24 Hours|NO|false|24 Hours\n";
    const auto lost = [](Database& database, const std::string&) {
        sqlite3* connection = database.handle()->connection;
        const std::string extra = answerOf(
            connection, "SELECT group_concat(Extra) FROM (SELECT Extra FROM webgui_tbl_old_1)");
        const std::string other =
            answerOf(connection, "SELECT Language FROM webgui_tbl WHERE Name='z'");
        return extra == "kept,y" && other == "x" ? "" : "of the old rows is left " + extra + other;
    };
    const Count count = sweep(log, {{upgraded, upgraded, rowOfAll("new")}, {0, 2}, lost});
    EXPECT_EQ(count.faults, 0) << count.firstFault;
    EXPECT_GE(count.cuts, 30);
}

// Without a write-ahead log, here because someone reads the file in the old mode.
TEST_F(PowerCutOfAnExistingFile, OnAnUpdateWithARollbackJournalLeavesTheOldOrTheNewRow) {
    ASSERT_EQ(sqlite(path(), "PRAGMA journal_mode = DELETE"), "delete\n");
    sqlite3* opened = nullptr;
    ASSERT_EQ(sqlite3_open_v2(path().c_str(), &opened, SQLITE_OPEN_READWRITE, "unix"), SQLITE_OK);
    const std::unique_ptr<sqlite3, int (*)(sqlite3*)> reader(opened, sqlite3_close);
    ASSERT_EQ(answerOf(opened, "BEGIN; SELECT Language FROM webgui_tbl"), "first");
    Database database(path());
    ASSERT_EQ(database.open(), 0);
    ASSERT_EQ(answerOf(opened, "COMMIT"), "");
    ASSERT_EQ(answerOf(database.handle()->connection, "PRAGMA journal_mode"), "delete");
    Recording recording(folder().path());
    for (const char* value : {"second", "third"}) {
        ASSERT_EQ(updateAll(database, value), 0);
        recording.acknowledge();
    }
    const DiskLog log = recording.finish();
    expectComplete(log);
    const Count count =
        sweep(log, {{rowOfAll("first"), rowOfAll("second"), rowOfAll("third")}, {0}});
    EXPECT_EQ(count.faults, 0) << count.firstFault;
    EXPECT_GE(count.cuts, 20);
}

TEST_F(PowerCut, WhileADamagedFileIsSetAsideKeepsItAndMakesANewOne) {
    std::filesystem::create_directories(std::filesystem::path(path()).parent_path());
    const std::string damaged = "not a database at all";
    writeFile(path(), damaged);
    writeFile(path() + "-journal", std::string(1, '\0') + "used up");
    Recording recording(folder().path());
    testing::internal::CaptureStderr();
    {
        Database database(path());
        ASSERT_EQ(database.open(), 1);
        recording.acknowledge();
        ASSERT_EQ(updateAll(database, "new"), 0);
        recording.acknowledge();
    }
    const DiskLog log = recording.finish();
    expectComplete(log);
    const auto lost = [&damaged](Database&, const std::string& place) {
        for (const auto& [name, contents] : readImage(place)) {
            if (contents == damaged) {
                return "";
            }
        }
        return "the damaged file is gone";
    };
    const Count count = sweep(
        log, {{kDefaultRow, kDefaultRow, rowOfAll("new")}, {0, 1}, lost, /*mayFindDamage=*/true});
    testing::internal::GetCapturedStderr();
    EXPECT_EQ(count.faults, 0) << count.firstFault;
    EXPECT_GE(count.cuts, 20);
}

// ---- These tests can fail ----

struct Lie {
    const char* name;
    SyncManners manners;
    const char* pragma;
};

// For the test's name.
void PrintTo(const Lie& lie, std::ostream* out) {
    *out << lie.name;
}

class PowerCutOfALyingDevice : public PowerCutTest, public testing::WithParamInterface<Lie> {};

TEST_P(PowerCutOfALyingDevice, LosesUpdates) {
    Recording recording(folder().path(), GetParam().manners);
    {
        Database database(path());
        ASSERT_EQ(database.open(), 1);
        answerOf(database.handle()->connection, GetParam().pragma);
        recording.acknowledge();
        for (const char* value : {"first", "second"}) {
            ASSERT_EQ(updateAll(database, value), 0);
            recording.acknowledge();
        }
    }
    const DiskLog log = recording.finish();
    expectComplete(log);
    testing::internal::CaptureStderr();
    const Count count =
        sweep(log, {{kDefaultRow, kDefaultRow, rowOfAll("first"), rowOfAll("second")}, {0, 1}});
    testing::internal::GetCapturedStderr();
    EXPECT_GE(count.faults, 10);
}

INSTANTIATE_TEST_SUITE_P(
    Each, PowerCutOfALyingDevice,
    testing::Values(Lie{"AboutFiles", SyncManners::liesAboutFiles, ""},
                    Lie{"AboutFolders", SyncManners::liesAboutFolders, ""},
                    Lie{"NeverAsked", SyncManners::honest, "PRAGMA synchronous = OFF"},
                    Lie{"AskedTooLate", SyncManners::honest, "PRAGMA synchronous = NORMAL"}),
    [](const auto& test) { return test.param.name; });

} // namespace
} // namespace test
