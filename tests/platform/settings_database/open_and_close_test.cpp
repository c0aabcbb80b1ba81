// Opening missing and present files, and closing.
#include "tests/platform/settings_database/database_fixture.h"

#include <filesystem>
#include <sqlite3.h>

namespace test {
namespace {

using OpenDatabase = DatabaseTest;
using CloseDatabase = DatabaseTest;

TEST_F(OpenDatabase, MakesAMissingFileWithTablesAndDefaults) {
    Database database(path());
    EXPECT_EQ(database.open(), 1);
    EXPECT_NE(database.handle()->connection, nullptr);
    EXPECT_EQ(database.handle()->ready, 1);
    EXPECT_EQ(database.handle()->schemaLevel, 2);
    database.close();
    EXPECT_EQ(columnsOf(path(), "webgui_tbl"), kColumnNames);
    EXPECT_EQ(sqlite(path(), "SELECT * FROM webgui_tbl"), kDefaultRow);
    EXPECT_EQ(columnsOf(path(), "Misc"), "Key,Data\n");
    EXPECT_EQ(columnsOf(path(), "View_Theme"), "Key,Data\n");
    EXPECT_EQ(sqlite(path(), "SELECT count(*) FROM Misc"), "0\n");
    EXPECT_EQ(sqlite(path(), "SELECT DISTINCT type FROM pragma_table_info('webgui_tbl') UNION "
                             "SELECT DISTINCT type FROM pragma_table_info('Misc')"),
              "TEXT\n");
}

TEST_F(OpenDatabase, TheViewShowsTheThemeAlone) {
    Database database(path());
    ASSERT_EQ(database.open(), 1);
    sqlite(path(), "INSERT INTO Misc VALUES('Theme','light'),('Other','x')");
    EXPECT_EQ(sqlite(path(), "SELECT * FROM View_Theme"), "Theme|light\n");
}

TEST_F(OpenDatabase, MakesMissingFolders) {
    const std::string nested = folder().file("var/lib/panel/webgui.db");
    Database database(nested);
    EXPECT_EQ(database.open(), 1);
    EXPECT_EQ(sqlite(nested, "SELECT count(*) FROM webgui_tbl"), "1\n");
}

// On some file systems SQLite itself writes one byte to claim a new file.
TEST_F(OpenDatabase, TakesAFileOfOneByteForAMissingOne) {
    writeFile(path(), "S");
    Database database(path());
    EXPECT_EQ(database.open(), 1);
    EXPECT_EQ(sqlite(path(), "SELECT * FROM webgui_tbl"), kDefaultRow);
    EXPECT_EQ(damagedFile(), "");
}

TEST_F(OpenDatabase, TakesAFileOfTwoBytesForADamagedOne) {
    writeFile(path(), "SQ");
    Database database(path());
    EXPECT_EQ(database.open(), 1);
    EXPECT_EQ(sqlite(path(), "SELECT * FROM webgui_tbl"), kDefaultRow);
    EXPECT_EQ(readFile(folder().file(damagedFile())), "SQ");
}

TEST_F(OpenDatabase, TakesAZeroLengthFileForAMissingOne) {
    writeFile(path(), "");
    Database database(path());
    EXPECT_EQ(database.open(), 1);
    EXPECT_EQ(sqlite(path(), "SELECT * FROM webgui_tbl"), kDefaultRow);
    EXPECT_EQ(damagedFile(), "");
}

TEST_F(OpenDatabase, OpensAPresentFileUnchangedAndSilently) {
    ASSERT_EQ(Database(path()).open(), 1);
    sqlite(path(), "UPDATE webgui_tbl SET Language='Deutsch', HasAlert='YES'");
    const std::string before = sqlite(path(), ".dump");
    testing::internal::CaptureStderr();
    testing::internal::CaptureStdout();
    Database database(path());
    EXPECT_EQ(database.open(), 0);
    EXPECT_EQ(database.handle()->ready, 1);
    EXPECT_EQ(database.handle()->schemaLevel, 2);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    EXPECT_EQ(sqlite(path(), ".dump"), before);
}

TEST_F(OpenDatabase, IgnoresALogThatAnotherDatabaseLeftBehind) {
    Database other(folder().file("other.db"));
    ASSERT_EQ(other.open(), 1);
    sqlite(folder().file("other.db"), "UPDATE webgui_tbl SET Language='stale'");
    std::filesystem::copy_file(folder().file("other.db-wal"), path() + "-wal");
    Database database(path());
    EXPECT_EQ(database.open(), 1);
    EXPECT_EQ(sqlite(path(), "SELECT * FROM webgui_tbl"), kDefaultRow);
}

TEST_F(OpenDatabase, FollowsALinkToAFileThatIsNotThereYet) {
    std::filesystem::create_symlink(folder().file("elsewhere.db"), path());
    Database database(path());
    EXPECT_EQ(database.open(), 1);
    EXPECT_EQ(sqlite(folder().file("elsewhere.db"), "SELECT count(*) FROM webgui_tbl"), "1\n");
}

TEST_F(OpenDatabase, CommitsThroughASyncedLog) {
    Database database(path());
    ASSERT_EQ(database.open(), 1);
    sqlite3_stmt* statement = nullptr;
    ASSERT_EQ(sqlite3_prepare_v2(database.handle()->connection,
                                 "SELECT (SELECT journal_mode FROM pragma_journal_mode), "
                                 "(SELECT synchronous FROM pragma_synchronous), "
                                 "(SELECT timeout FROM pragma_busy_timeout)",
                                 -1, &statement, nullptr),
              SQLITE_OK);
    ASSERT_EQ(sqlite3_step(statement), SQLITE_ROW);
    const void* mode = sqlite3_column_text(statement, 0);
    EXPECT_STREQ(static_cast<const char*>(mode), "wal");
    EXPECT_GE(sqlite3_column_int(statement, 1), 2);
    EXPECT_EQ(sqlite3_column_int(statement, 2), 100);
    sqlite3_finalize(statement);
}

TEST_F(OpenDatabase, RefusesEveryModeButTwoAndNamesIt) {
    for (const int mode : {-1, 0, 1, 3, 77}) {
        SCOPED_TRACE(mode);
        Database database(path());
        testing::internal::CaptureStderr();
        EXPECT_EQ(open_database(database.handle(), mode), -1);
        EXPECT_EQ(testing::internal::GetCapturedStderr(), "[open_database]: Unknown mode " +
                                                              std::to_string(mode) +
                                                              "; only 2 is supported\n");
        EXPECT_EQ(database.handle()->connection, nullptr);
        EXPECT_EQ(database.handle()->ready, 0);
        EXPECT_EQ(database.handle()->schemaLevel, 0);
    }
    EXPECT_TRUE(files().empty());
}

TEST_F(OpenDatabase, RefusesAnEmptyPathAndNoHandle) {
    Database database("");
    testing::internal::CaptureStderr();
    EXPECT_EQ(database.open(), -1);
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "[open_database]: Cannot open : the path is empty\n");
    EXPECT_EQ(open_database(nullptr, 2), -1);
}

TEST_F(OpenDatabase, TakesEveryPathForAFile) {
    const std::filesystem::path before = std::filesystem::current_path();
    std::filesystem::current_path(folder().path());
    EXPECT_EQ(Database(":memory:").open(), 1);
    EXPECT_EQ(Database("file:x?mode=ro").open(), 1);
    std::filesystem::current_path(before);
    EXPECT_THAT(files(), testing::ElementsAre(":memory:", "file:x?mode=ro"));
}

TEST_F(OpenDatabase, TakesAPathThatFillsItsField) {
    const std::string start = folder().file("");
    const std::string name = start + std::string(255 - start.size(), 'n');
    ASSERT_EQ(name.size(), 255U);
    Database database(name);
    EXPECT_EQ(database.open(), 1);
    EXPECT_TRUE(std::filesystem::exists(name));
}

TEST_F(OpenDatabase, ClosesAHandleThatIsStillOpen) {
    Database database(path());
    EXPECT_EQ(database.open(), 1);
    EXPECT_EQ(database.open(), 0);
    EXPECT_EQ(database.handle()->ready, 1);
}

TEST_F(CloseDatabase, LeavesOneWholeFile) {
    Database database(path());
    ASSERT_EQ(database.open(), 1);
    EXPECT_EQ(close_database(database.handle()), 0);
    EXPECT_EQ(database.handle()->connection, nullptr);
    EXPECT_EQ(database.handle()->ready, 0);
    EXPECT_THAT(files(), testing::ElementsAre("webgui.db"));
}

TEST_F(CloseDatabase, IsHarmlessAfterAFailedOrMissingOpenAndTwice) {
    SettingsDatabase never{};
    EXPECT_EQ(close_database(&never), 0);
    EXPECT_EQ(close_database(nullptr), 0);
    Database failed(folder().path());
    testing::internal::CaptureStderr();
    EXPECT_EQ(failed.open(), -1);
    testing::internal::GetCapturedStderr();
    EXPECT_EQ(close_database(failed.handle()), 0);
    Database database(path());
    ASSERT_EQ(database.open(), 1);
    EXPECT_EQ(close_database(database.handle()), 0);
    EXPECT_EQ(close_database(database.handle()), 0);
}

} // namespace
} // namespace test
