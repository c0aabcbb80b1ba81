// Files of older shapes, made with the sqlite3 command: each is brought up to date and keeps its
// values.
#include "tests/platform/settings_database/database_fixture.h"

namespace test {
namespace {

constexpr const char* kAllColumns =
    "Name,InitBoot,Language,Brightness,BacklightOff,Screensaver,Timer,Measurement,DateFormat,"
    "TimeFormat,HasAlert,RoomAverage,HiLoPeriod";
constexpr const char* kRow = "'Zolan CMS Web GUI Settings','false','Dansk','3','5 Minutes',"
                             "'Disabled','1 Hour','Imperial','DD','12 Hours','YES','true','1 Week'";
constexpr const char* kRowText = "Zolan CMS Web GUI Settings|false|Dansk|3|5 Minutes|Disabled|"
                                 "1 Hour|Imperial|DD|12 Hours|YES|true|1 Week\n";
constexpr const char* kTheme = "CREATE TABLE Misc(Key TEXT, Data TEXT);"
                               "INSERT INTO Misc VALUES('Theme','light'),('Other','kept');"
                               "CREATE VIEW View_Theme AS SELECT Key, Data FROM Misc WHERE Key = "
                               "'Theme';";

class UpgradeTest : public DatabaseTest {
protected:
    void make(const std::string& sql) { ASSERT_EQ(sqlite(path(), sql), ""); }
    // Opens with the result 2, without a log line, and again with 0; then checks what must always
    // hold.
    void upgrade() {
        testing::internal::CaptureStderr();
        {
            Database database(path());
            EXPECT_EQ(database.open(), 2);
            EXPECT_EQ(database.handle()->ready, 1);
            EXPECT_EQ(database.handle()->schemaLevel, 2);
        }
        EXPECT_EQ(Database(path()).open(), 0);
        EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
        EXPECT_EQ(columnsOf(path(), "webgui_tbl"), kColumnNames);
        EXPECT_EQ(columnsOf(path(), "Misc"), "Key,Data\n");
        EXPECT_EQ(sqlite(path(), "PRAGMA integrity_check"), "ok\n");
        EXPECT_THAT(files(), testing::ElementsAre("webgui.db"));
    }
    std::string row() { return sqlite(path(), "SELECT * FROM webgui_tbl"); }
    std::string tables() {
        return sqlite(path(), "SELECT group_concat(name) FROM (SELECT name FROM sqlite_master "
                              "WHERE type IN ('table','view') ORDER BY name)");
    }
    static std::string settings() {
        return std::string("CREATE TABLE webgui_tbl(") + kAllColumns +
               ");INSERT INTO webgui_tbl VALUES(" + kRow + ");";
    }
};

using Upgrade = UpgradeTest;

TEST_F(Upgrade, AddsTheThemeStorage) {
    make(settings());
    upgrade();
    EXPECT_EQ(row(), kRowText);
    EXPECT_EQ(tables(), "Misc,View_Theme,webgui_tbl\n");
}

TEST_F(Upgrade, AddsAMissingViewAndKeepsTheTheme) {
    make(settings() + "CREATE TABLE Misc(Key TEXT, Data TEXT);"
                      "INSERT INTO Misc VALUES('Theme','light')");
    upgrade();
    EXPECT_EQ(sqlite(path(), "SELECT Data FROM View_Theme WHERE Key = 'Theme'"), "light\n");
}

TEST_F(Upgrade, AddsMissingColumnsWithTheirDefaults) {
    make(std::string("CREATE TABLE webgui_tbl(Name,InitBoot,Language,Brightness,BacklightOff,"
                     "Screensaver,Timer,Measurement,DateFormat,TimeFormat,HasAlert);"
                     "INSERT INTO webgui_tbl VALUES('Zolan CMS Web GUI Settings','false','Dansk',"
                     "'3','5 Minutes','Disabled','1 Hour','Imperial','DD','12 Hours','YES');") +
         kTheme);
    upgrade();
    EXPECT_EQ(row(), "Zolan CMS Web GUI Settings|false|Dansk|3|5 Minutes|Disabled|1 Hour|Imperial|"
                     "DD|12 Hours|YES|false|24 Hours\n");
    EXPECT_EQ(tables(), "Misc,View_Theme,webgui_tbl\n");
    EXPECT_EQ(sqlite(path(), "SELECT * FROM Misc"), "Theme|light\nOther|kept\n");
}

TEST_F(Upgrade, PutsColumnsInOrder) {
    make(std::string("CREATE TABLE webgui_tbl(HiLoPeriod,RoomAverage,HasAlert,TimeFormat,"
                     "DateFormat,Measurement,Timer,Screensaver,BacklightOff,Brightness,Language,"
                     "InitBoot,Name);INSERT INTO webgui_tbl(") +
         kAllColumns + ") VALUES(" + kRow + ");" + kTheme);
    upgrade();
    EXPECT_EQ(row(), kRowText);
    EXPECT_EQ(tables(), "Misc,View_Theme,webgui_tbl\n");
}

TEST_F(Upgrade, KeepsUnknownColumnsInABackup) {
    make(std::string("CREATE TABLE webgui_tbl_old_1(a); CREATE TABLE webgui_tbl(Extra,") +
         kAllColumns + ",\"odd \"\"one\"\"\");INSERT INTO webgui_tbl VALUES('e'," + kRow + ",7);" +
         kTheme);
    upgrade();
    EXPECT_EQ(row(), kRowText);
    EXPECT_EQ(tables(), "Misc,View_Theme,webgui_tbl,webgui_tbl_old_1,webgui_tbl_old_2\n");
    EXPECT_EQ(sqlite(path(), "SELECT Extra, Language, \"odd \"\"one\"\"\" FROM webgui_tbl_old_2"),
              "e|Dansk|7\n");
}

TEST_F(Upgrade, ReadsNamesOfColumnsWithoutCase) {
    make(std::string("CREATE TABLE WEBGUI_TBL(language,NAME);INSERT INTO WEBGUI_TBL "
                     "VALUES('Dansk','Zolan CMS Web GUI Settings');") +
         kTheme);
    upgrade();
    EXPECT_EQ(row(), "Zolan CMS Web GUI Settings|true|Dansk|5|Never|Enabled|10 Minutes|Metric|"
                     "YYYY-MM-DD|24 Hours|NO|false|24 Hours\n");
}

TEST_F(Upgrade, TurnsOtherStorageClassesIntoTextsWhenItRebuilds) {
    make(std::string("CREATE TABLE webgui_tbl(Name TEXT PRIMARY KEY, Brightness INTEGER, "
                     "InitBoot BOOLEAN) WITHOUT ROWID;"
                     "INSERT INTO webgui_tbl VALUES('Zolan CMS Web GUI Settings',4,'true');") +
         kTheme);
    upgrade();
    EXPECT_EQ(sqlite(path(), "SELECT Brightness, typeof(Brightness), InitBoot FROM webgui_tbl"),
              "4|text|true\n");
}

TEST_F(Upgrade, KeepsAllRows) {
    make(std::string("CREATE TABLE webgui_tbl(Language,Name);INSERT INTO webgui_tbl VALUES"
                     "('a','Zolan CMS Web GUI Settings'),('b','second'),('c','third');") +
         kTheme);
    upgrade();
    EXPECT_EQ(sqlite(path(), "SELECT Name,Language FROM webgui_tbl"),
              "Zolan CMS Web GUI Settings|a\nsecond|b\nthird|c\n");
}

TEST_F(Upgrade, AddsTheRowOfThePanel) {
    make(std::string("CREATE TABLE webgui_tbl(") + kAllColumns +
         ");INSERT INTO webgui_tbl(Name) VALUES('other');" + kTheme);
    upgrade();
    EXPECT_EQ(sqlite(path(), "SELECT * FROM webgui_tbl WHERE Name <> 'other'"), kDefaultRow);
    EXPECT_EQ(sqlite(path(), "SELECT count(*) FROM webgui_tbl"), "2\n");
}

TEST_F(Upgrade, AddsTheSettingsTable) {
    make(kTheme);
    upgrade();
    EXPECT_EQ(row(), kDefaultRow);
    EXPECT_EQ(sqlite(path(), "SELECT * FROM Misc"), "Theme|light\nOther|kept\n");
}

TEST_F(Upgrade, PutsTheColumnsOfMiscInOrder) {
    make(settings() + "CREATE TABLE Misc(Id, Data, Key);"
                      "INSERT INTO Misc VALUES(1,'light','Theme')");
    upgrade();
    EXPECT_EQ(sqlite(path(), "SELECT * FROM Misc"), "Theme|light\n");
    EXPECT_EQ(sqlite(path(), "SELECT Id FROM Misc_old_1"), "1\n");
}

TEST_F(Upgrade, ReplacesAViewThatTheThemeCannotBeReadFrom) {
    for (const char* view : {"SELECT Data FROM Misc", "SELECT Key, Data FROM gone", "SELECT 1"}) {
        SCOPED_TRACE(view);
        std::filesystem::remove(path());
        make(settings() +
             "CREATE TABLE Misc(Key, Data); INSERT INTO Misc VALUES('Theme','light');"
             "CREATE VIEW View_Theme AS " +
             view);
        upgrade();
        EXPECT_EQ(sqlite(path(), "SELECT * FROM View_Theme"), "Theme|light\n");
    }
}

// Each has the columns Key and Data, and yet loses the stored theme.
TEST_F(Upgrade, ReplacesAViewThatDoesNotGiveTheStoredTheme) {
    constexpr const char* kEndless = "WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i FROM n) "
                                     "SELECT 'Theme' AS Key, i AS Data FROM n WHERE i = 0";
    for (const char* view :
         {"SELECT Key, Data FROM Misc WHERE Key = 'Other'",
          "SELECT Key, Data FROM Misc WHERE Key = 'theme'", "SELECT 'Theme' AS Key, Data FROM Misc",
          "SELECT 'Theme' AS Key, 'light' AS Data", "SELECT Data AS Key, Key AS Data FROM Misc",
          "SELECT Key, upper(Data) AS Data FROM Misc", "SELECT Key, NULL AS Data FROM Misc",
          "SELECT Key, Data FROM elsewhere", "SELECT Key, zeroblob(900000000) AS Data FROM Misc",
          kEndless}) {
        SCOPED_TRACE(view);
        std::filesystem::remove(path());
        make(settings() +
             "CREATE TABLE Misc(Key, Data); CREATE TABLE elsewhere(Key, Data);"
             "INSERT INTO Misc VALUES('Theme','light'),('Other','kept');"
             "INSERT INTO elsewhere VALUES('Theme','light');"
             "CREATE VIEW View_Theme AS " +
             view);
        upgrade();
        EXPECT_EQ(sqlite(path(), "SELECT Data FROM View_Theme WHERE Key = 'Theme'"), "light\n");
        EXPECT_EQ(sqlite(path(), "SELECT * FROM Misc"), "Theme|light\nOther|kept\n");
        EXPECT_EQ(sqlite(path(), "SELECT * FROM elsewhere"), "Theme|light\n");
    }
}

TEST_F(Upgrade, LeavesAViewThatGivesTheStoredThemeAlone) {
    constexpr const char* kWithADefault =
        "SELECT Key, Data FROM Misc UNION ALL SELECT 'Theme', 'dark' WHERE NOT EXISTS "
        "(SELECT 1 FROM Misc WHERE Key = 'Theme')";
    for (const char* view :
         {"SELECT * FROM Misc", "SELECT DATA, KEY FROM main.MISC WHERE key IN ('Theme', 'Other')",
          "SELECT Key, Data FROM Inner_View",
          "SELECT m.Key, m.Data FROM Misc m LEFT JOIN elsewhere e ON e.Key = m.Key",
          kWithADefault}) {
        SCOPED_TRACE(view);
        std::filesystem::remove(path());
        make(settings() + "CREATE VIEW View_Theme AS " + view +
             "; CREATE TABLE elsewhere(Key, Data); CREATE TABLE Misc(Key, Data);"
             "CREATE VIEW Inner_View AS SELECT Key, Data FROM Misc;"
             "INSERT INTO Misc VALUES('Theme','a theme of another program')");
        const std::string before = sqlite(path(), ".dump");
        EXPECT_EQ(Database(path()).open(), 0);
        EXPECT_EQ(sqlite(path(), ".dump"), before);
    }
}

TEST_F(Upgrade, ReplacesATableWithTheColumnsOfTheViewAndKeepsItsRows) {
    make(settings() + "CREATE TABLE Misc(Key, Data); INSERT INTO Misc VALUES('Theme','light');"
                      "CREATE TABLE View_Theme(Key, Data);"
                      "INSERT INTO View_Theme VALUES('Theme','dark')");
    upgrade();
    EXPECT_EQ(sqlite(path(), "SELECT * FROM View_Theme"), "Theme|light\n");
    EXPECT_EQ(sqlite(path(), "SELECT * FROM View_Theme_old_1"), "Theme|dark\n");
    EXPECT_EQ(sqlite(path(), "UPDATE Misc SET Data = 'dark'; SELECT * FROM View_Theme"),
              "Theme|dark\n");
}

TEST_F(Upgrade, ReplacesATableInPlaceOfTheViewAndKeepsItsRows) {
    make(settings() + "CREATE TABLE View_Theme(Theme); INSERT INTO View_Theme VALUES('light')");
    upgrade();
    EXPECT_EQ(sqlite(path(), "SELECT type FROM sqlite_master WHERE name='View_Theme'"), "view\n");
    EXPECT_EQ(sqlite(path(), "SELECT * FROM View_Theme_old_1"), "light\n");
}

TEST_F(Upgrade, MakesATableOfAViewInItsPlace) {
    make(std::string("CREATE TABLE store(") + kAllColumns + ");INSERT INTO store VALUES(" + kRow +
         ");CREATE VIEW webgui_tbl AS SELECT * FROM store;" + kTheme);
    upgrade();
    EXPECT_EQ(row(), kRowText);
    EXPECT_EQ(sqlite(path(), "SELECT type FROM sqlite_master WHERE name='webgui_tbl'"), "table\n");
}

TEST_F(Upgrade, MakesATableOfABrokenViewInItsPlace) {
    make(std::string("CREATE VIEW webgui_tbl AS SELECT * FROM gone;") + kTheme);
    upgrade();
    EXPECT_EQ(row(), kDefaultRow);
}

TEST_F(Upgrade, KeepsOtherTablesAndViewsOnTheSettings) {
    make(std::string("CREATE TABLE mine(a); INSERT INTO mine VALUES(1);"
                     "CREATE TABLE webgui_tbl(Language,Name);"
                     "INSERT INTO webgui_tbl VALUES('a','Zolan CMS Web GUI Settings');"
                     "CREATE INDEX byName ON webgui_tbl(Name);"
                     "CREATE VIEW mine_view AS SELECT Language FROM webgui_tbl;") +
         kTheme);
    upgrade();
    EXPECT_EQ(sqlite(path(), "SELECT * FROM mine; SELECT * FROM mine_view"), "1\na\n");
}

TEST_F(Upgrade, LeavesAFileThatWillDoAlone) {
    make(settings() + "CREATE TABLE Misc(key VARCHAR(9) UNIQUE, data BLOB);"
                      "CREATE VIEW View_Theme AS SELECT 1 AS More, Data, Key FROM Misc");
    const std::string before = sqlite(path(), ".dump");
    EXPECT_EQ(Database(path()).open(), 0);
    EXPECT_EQ(sqlite(path(), ".dump"), before);
}

TEST_F(Upgrade, FailsAndChangesNothingWhereAnIndexHasTheNameOfATable) {
    make(settings() + "CREATE INDEX Misc ON webgui_tbl(Name)");
    const std::string before = sqlite(path(), ".dump");
    testing::internal::CaptureStderr();
    Database database(path());
    EXPECT_EQ(database.open(), -1);
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "[open_database]: Cannot open " + path() +
                  ": there is already an index named Misc (SQLite code 1)\n");
    EXPECT_EQ(database.handle()->connection, nullptr);
    EXPECT_EQ(sqlite(path(), ".dump"), before);
    EXPECT_EQ(damagedFile(), "");
}

} // namespace
} // namespace test
