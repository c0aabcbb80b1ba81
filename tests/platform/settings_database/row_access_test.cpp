// Reading and writing rows, checked with the sqlite3 command.
#include "tests/platform/settings_database/database_fixture.h"

#include <algorithm>

namespace test {
namespace {

// An open, new database.
class RowTest : public DatabaseTest {
protected:
    void SetUp() override { ASSERT_EQ(database_.open(), 1); }
    SettingsDatabase* handle() { return database_.handle(); }
    Database& database() { return database_; }

    int query(SettingsTable& result, const char* table = kTable, const char* condition = "") {
        return query_database_dat_with_condition(handle(), table, &result, condition);
    }
    int update(const NamesAndValues& columns, const char* condition = kNameCondition,
               const char* table = kTable) {
        return update_database_table_with_condition(handle(), table, Row(columns).get(), condition);
    }
    int insert(const NamesAndValues& columns, const char* table = kTable) {
        return insert_database_table_entry_struct(handle(), table, Row(columns).get());
    }

private:
    Database database_{path()};
};

using QueryDatabase = RowTest;
using UpdateDatabase = RowTest;
using InsertDatabase = RowTest;

TEST_F(QueryDatabase, GivesTheHeadingAndTheRowInTableOrder) {
    Result result;
    ASSERT_EQ(query(result, kTable, kNameCondition), 0);
    ASSERT_EQ(result.rowCount, 1U);
    EXPECT_THAT(result.values(0, 13),
                testing::ElementsAre("Name", "InitBoot", "Language", "Brightness", "BacklightOff",
                                     "Screensaver", "Timer", "Measurement", "DateFormat",
                                     "TimeFormat", "HasAlert", "RoomAverage", "HiLoPeriod"));
    EXPECT_THAT(result.values(1, 13),
                testing::ElementsAre("Zolan CMS Web GUI Settings", "true", "English", "5", "Never",
                                     "Enabled", "10 Minutes", "Metric", "YYYY-MM-DD", "24 Hours",
                                     "NO", "false", "24 Hours"));
    EXPECT_STREQ(result.rows[1][12].name, "HiLoPeriod");
    EXPECT_EQ(result.rows[1][1].type, 2);
    EXPECT_EQ(result.rows[1][2].type, 1);
}

TEST_F(QueryDatabase, TakesAConditionWithAndWithoutALeadingBlank) {
    for (const std::string blank : {"", " ", "   "}) {
        SCOPED_TRACE("'" + blank + "'");
        Result result;
        ASSERT_EQ(query(result, kTable, (blank + kNameCondition).c_str()), 0);
        EXPECT_EQ(result.rowCount, 1U);
    }
}

TEST_F(QueryDatabase, GivesAllRowsWithoutACondition) {
    sqlite(path(), "INSERT INTO Misc VALUES('a','1'),('b','2'),('c','3'),('d','4'),('e','5')");
    for (const char* condition : {static_cast<const char*>(nullptr), "", " "}) {
        Result result;
        ASSERT_EQ(query(result, "Misc", condition), 0);
        ASSERT_EQ(result.rowCount, 5U);
        EXPECT_THAT(result.values(1, 2), testing::ElementsAre("a", "1"));
        EXPECT_THAT(result.values(5, 2), testing::ElementsAre("e", "5"));
    }
}

TEST_F(QueryDatabase, GivesTheHeadingAloneWhenNoRowMatches) {
    Result result;
    ASSERT_EQ(query(result, kTable, "where Name is 'nobody'"), 0);
    EXPECT_EQ(result.rowCount, 0U);
    EXPECT_EQ(result.values(0, 1).front(), "Name");
}

TEST_F(QueryDatabase, ReadsAViewToo) {
    sqlite(path(), "INSERT INTO Misc VALUES('Theme','dark')");
    Result result;
    ASSERT_EQ(query(result, "View_Theme", "where Key = 'Theme'"), 0);
    ASSERT_EQ(result.rowCount, 1U);
    EXPECT_THAT(result.values(1, 2), testing::ElementsAre("Theme", "dark"));
}

TEST_F(QueryDatabase, GivesEveryStorageClassAsText) {
    sqlite(path(), "CREATE TABLE classes(v, kind); INSERT INTO classes VALUES"
                   "(42,'integer'),(-9223372036854775808,'smallest'),(1.5,'real'),"
                   "(x'616263','blob'),(x'','empty blob'),(NULL,'null'),('','empty'),"
                   "('abc'||char(0)||'def','text with NUL'),('true','boolean'),('false','boolean'),"
                   "('TRUE','capitals')");
    Result result;
    ASSERT_EQ(query(result, "classes"), 0);
    ASSERT_EQ(result.rowCount, 11U);
    const struct {
        const char* value;
        int type;
    } wanted[] = {{"42", 0},   {"-9223372036854775808", 0},
                  {"1.5", 0},  {"abc", 1},
                  {"", 1},     {"", 1},
                  {"", 1},     {"abc", 1},
                  {"true", 2}, {"false", 2},
                  {"TRUE", 1}};
    for (unsigned int row = 1; row <= 11; ++row) {
        SCOPED_TRACE(result.rows[row][1].value);
        EXPECT_STREQ(result.rows[row][0].value, wanted[row - 1].value);
        EXPECT_EQ(result.rows[row][0].type, wanted[row - 1].type);
    }
}

TEST_F(QueryDatabase, CallsADeclaredNumberANumber) {
    sqlite(path(), "CREATE TABLE declared(a INTEGER, b REAL, c double precision, d DECIMAL(3), "
                   "e VARCHAR(9), f); INSERT INTO declared VALUES(NULL,'x','x','x','1','1')");
    Result result;
    ASSERT_EQ(query(result, "declared"), 0);
    const int wanted[] = {0, 0, 0, 0, 1, 1};
    for (int i = 0; i < 6; ++i) {
        SCOPED_TRACE(result.rows[0][i].value);
        EXPECT_EQ(result.rows[1][i].type, wanted[i]);
    }
}

TEST_F(QueryDatabase, CutsValuesAt255AndNamesAt23Characters) {
    sqlite(path(), "CREATE TABLE long(" + std::string(23, 'a') + ", " + std::string(24, 'b') +
                       "); INSERT INTO long VALUES('" + std::string(255, 'x') + "','" +
                       std::string(256, 'y') + "')");
    Result result;
    ASSERT_EQ(query(result, "long"), 0);
    EXPECT_EQ(result.rows[1][0].value, std::string(255, 'x'));
    EXPECT_EQ(result.rows[1][1].value, std::string(255, 'y'));
    EXPECT_EQ(result.rows[1][0].name, std::string(23, 'a'));
    EXPECT_EQ(result.rows[1][1].name, std::string(23, 'b'));
    EXPECT_EQ(result.rows[0][1].value, std::string(24, 'b'));
}

TEST_F(QueryDatabase, GrowsToManyRows) {
    sqlite(path(), "WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i+1 FROM n WHERE i<1000) "
                   "INSERT INTO Misc SELECT 'k', i FROM n");
    Result result;
    ASSERT_EQ(query(result, "Misc", "order by cast(Data as integer)"), 0);
    ASSERT_EQ(result.rowCount, 1000U);
    for (unsigned int row = 1; row <= 1000; ++row) {
        ASSERT_EQ(result.rows[row][1].value, std::to_string(row));
    }
}

TEST_F(QueryDatabase, QuotesTheNameOfTheTable) {
    sqlite(path(),
           R"(CREATE TABLE "odd ""name"" ; x"(a); INSERT INTO "odd ""name"" ; x" VALUES(7))");
    Result result;
    ASSERT_EQ(query(result, "odd \"name\" ; x"), 0);
    EXPECT_STREQ(result.rows[1][0].value, "7");
}

TEST_F(QueryDatabase, NoticesAColumnThatWasAddedMeanwhile) {
    sqlite(path(), "CREATE TABLE grows(a); INSERT INTO grows VALUES(1)");
    Result before;
    ASSERT_EQ(query(before, "grows"), 0);
    sqlite(path(), "ALTER TABLE grows ADD COLUMN b DEFAULT 2");
    Result after;
    ASSERT_EQ(query(after, "grows"), 0);
    EXPECT_THAT(after.values(0, 2), testing::ElementsAre("a", "b"));
    EXPECT_THAT(after.values(1, 2), testing::ElementsAre("1", "2"));
}

TEST_F(QueryDatabase, FailsWithAnEmptyResult) {
    const struct {
        const char* table;
        const char* condition;
        const char* line;
    } cases[] = {
        {"nowhere", "", "nowhere: no such table: nowhere (SQLite code 1)"},
        {kTable, "where Nope is 1", "webgui_tbl: no such column: Nope (SQLite code 1)"},
        {kTable, "where", "webgui_tbl: incomplete input (SQLite code 1)"},
        {nullptr, "", ": no table is named"},
    };
    for (const auto& each : cases) {
        SCOPED_TRACE(each.line);
        SettingsColumn* garbage = nullptr;
        SettingsTable result{9, &garbage};
        testing::internal::CaptureStderr();
        EXPECT_NE(query(result, each.table, each.condition), 0);
        EXPECT_EQ(testing::internal::GetCapturedStderr(),
                  std::string("[query_database_dat_with_condition]: ") + each.line + "\n");
        EXPECT_EQ(result.rowCount, 0U);
        EXPECT_EQ(result.rows, nullptr);
    }
    EXPECT_NE(query_database_dat_with_condition(handle(), kTable, nullptr, ""), 0);
}

TEST_F(QueryDatabase, RefusesASecondStatementInTheCondition) {
    testing::internal::CaptureStderr();
    Result result;
    EXPECT_NE(query(result, kTable, "where 1; DROP TABLE webgui_tbl"), 0);
    EXPECT_THAT(testing::internal::GetCapturedStderr(), testing::HasSubstr("not exactly one"));
    EXPECT_EQ(sqlite(path(), "SELECT count(*) FROM webgui_tbl"), "1\n");
}

TEST_F(UpdateDatabase, SetsTheNamedColumnsOfTheRowAlone) {
    sqlite(path(), "INSERT INTO webgui_tbl(Name,Language) VALUES('other','Dansk')");
    ASSERT_EQ(update({{"Language", "Deutsch"}, {"Brightness", "7"}}), 0);
    EXPECT_EQ(sqlite(path(), "SELECT Name,Language,Brightness,Timer FROM webgui_tbl"),
              "Zolan CMS Web GUI Settings|Deutsch|7|10 Minutes\nother|Dansk||\n");
}

TEST_F(UpdateDatabase, TakesAConditionWithAndWithoutALeadingBlankAndNone) {
    EXPECT_EQ(update({{"Timer", "a"}}, " where Name is 'Zolan CMS Web GUI Settings'"), 0);
    EXPECT_EQ(sqlite(path(), "SELECT Timer FROM webgui_tbl"), "a\n");
    EXPECT_EQ(update({{"Timer", "b"}}, "where Name is 'Zolan CMS Web GUI Settings'"), 0);
    EXPECT_EQ(sqlite(path(), "SELECT Timer FROM webgui_tbl"), "b\n");
    EXPECT_EQ(update({{"Timer", "c"}}, nullptr), 0);
    EXPECT_EQ(sqlite(path(), "SELECT Timer FROM webgui_tbl"), "c\n");
    EXPECT_EQ(update({{"Timer", "d"}}, ""), 0);
    EXPECT_EQ(sqlite(path(), "SELECT Timer FROM webgui_tbl"), "d\n");
}

TEST_F(UpdateDatabase, TakesNoMatchingRowForSuccess) {
    EXPECT_EQ(update({{"Timer", "x"}}, "where Name is 'nobody'"), 0);
    EXPECT_EQ(sqlite(path(), "SELECT * FROM webgui_tbl"), kDefaultRow);
}

TEST_F(UpdateDatabase, StoresEveryTextAsItIsAndAsText) {
    for (const std::string& value :
         {std::string("'; DROP TABLE webgui_tbl; --"), std::string("\"double\" 'single' `back`"),
          std::string("?1 :x @y $z"), std::string("Ünïcödé 日本"), std::string(), std::string("42"),
          std::string("line\nbreak\ttab"), std::string(255, 'v')}) {
        SCOPED_TRACE(value);
        ASSERT_EQ(update({{"Language", value}}), 0);
        Result result;
        ASSERT_EQ(query(result, kTable, kNameCondition), 0);
        EXPECT_EQ(result.rows[1][2].value, value);
        EXPECT_EQ(sqlite(path(), "SELECT Language FROM webgui_tbl"), value + "\n");
        EXPECT_EQ(sqlite(path(), "SELECT typeof(Language) FROM webgui_tbl"), "text\n");
    }
}

TEST_F(UpdateDatabase, StoresAValueThatFillsItsFieldWithoutANul) {
    Row row(NamesAndValues{{"Timer", "x"}});
    std::fill_n(row.column(0).value, sizeof row.column(0).value, 'w');
    ASSERT_EQ(update_database_table_with_condition(handle(), kTable, row.get(), nullptr), 0);
    EXPECT_EQ(sqlite(path(), "SELECT length(Timer) FROM webgui_tbl"), "256\n");
}

TEST_F(UpdateDatabase, QuotesTheNamesOfColumns) {
    sqlite(path(), R"(CREATE TABLE odd("a ""b"" ;c", "select"); INSERT INTO odd VALUES('','');)");
    ASSERT_EQ(update({{"a \"b\" ;c", "1"}, {"select", "2"}}, "", "odd"), 0);
    EXPECT_EQ(sqlite(path(), "SELECT * FROM odd"), "1|2\n");
}

TEST_F(UpdateDatabase, ChangesNothingOnAnSqlError) {
    testing::internal::CaptureStderr();
    EXPECT_NE(update({{"Timer", "x"}, {"Nope", "x"}}), 0);
    EXPECT_NE(update({{"Timer", "x"}}, "where Other is 1"), 0);
    EXPECT_NE(update({{"Timer", "x"}}, "", "nowhere"), 0);
    EXPECT_NE(update({{"Timer", "x"}}, "where 1; DROP TABLE webgui_tbl"), 0);
    const std::string lines = testing::internal::GetCapturedStderr();
    EXPECT_THAT(lines, testing::StartsWith("[update_database_table_with_condition]: webgui_tbl: "
                                           "no such column: Nope (SQLite code 1)\n"));
    EXPECT_EQ(std::count(lines.begin(), lines.end(), '\n'), 4);
    EXPECT_EQ(sqlite(path(), "SELECT * FROM webgui_tbl"), kDefaultRow);
}

TEST_F(UpdateDatabase, WritesAnEqualLineOnceUntilSomethingElseHappens) {
    const auto lines = [](const std::string& text) {
        return std::count(text.begin(), text.end(), '\n');
    };
    testing::internal::CaptureStderr();
    for (int i = 0; i < 16; ++i) {
        EXPECT_NE(update({{"Nope", "x"}}), 0);
    }
    EXPECT_EQ(lines(testing::internal::GetCapturedStderr()), 1);

    testing::internal::CaptureStderr();
    EXPECT_EQ(update({{"Timer", "x"}}), 0);
    EXPECT_NE(update({{"Nope", "x"}}), 0);
    EXPECT_NE(update({{"Nope2", "x"}}), 0);
    EXPECT_NE(update({{"Nope", "x"}}), 0);
    EXPECT_EQ(lines(testing::internal::GetCapturedStderr()), 3);
}

TEST_F(InsertDatabase, AddsARowAndLeavesTheOtherColumnsEmpty) {
    ASSERT_EQ(insert({{"Name", "second"}, {"Language", "'; DROP TABLE webgui_tbl; --"}}), 0);
    EXPECT_EQ(sqlite(path(), "SELECT Name, Language, Timer IS NULL FROM webgui_tbl"),
              "Zolan CMS Web GUI Settings|English|0\nsecond|'; DROP TABLE webgui_tbl; --|1\n");
}

TEST_F(InsertDatabase, FailsOnAnSqlErrorAndAddsNothing) {
    sqlite(path(), "CREATE TABLE once(a PRIMARY KEY); INSERT INTO once VALUES('x')");
    testing::internal::CaptureStderr();
    EXPECT_NE(insert({{"Name", "x"}, {"Nope", "x"}}), 0);
    EXPECT_NE(insert({{"Name", "x"}}, "nowhere"), 0);
    EXPECT_NE(insert({{"a", "x"}}, "once"), 0);
    EXPECT_THAT(testing::internal::GetCapturedStderr(),
                testing::EndsWith("[insert_database_table_entry_struct]: once: UNIQUE constraint "
                                  "failed: once.a (SQLite code 1555)\n"));
    EXPECT_EQ(sqlite(path(), "SELECT count(*) FROM webgui_tbl"), "1\n");
    EXPECT_EQ(sqlite(path(), "SELECT count(*) FROM once"), "1\n");
}

TEST_F(RowTest, ARowWithoutColumnsIsRefused) {
    SettingsColumn column{};
    const SettingsRow none{0, &column};
    const SettingsRow null{1, nullptr};
    testing::internal::CaptureStderr();
    for (const SettingsRow* row : {&none, &null, static_cast<const SettingsRow*>(nullptr)}) {
        EXPECT_NE(update_database_table_with_condition(handle(), kTable, row, ""), 0);
        EXPECT_NE(insert_database_table_entry_struct(handle(), kTable, row), 0);
    }
    testing::internal::GetCapturedStderr();
    EXPECT_EQ(sqlite(path(), "SELECT * FROM webgui_tbl"), kDefaultRow);
}

TEST_F(RowTest, AnEmptyTableNameIsRefused) {
    Result result;
    testing::internal::CaptureStderr();
    EXPECT_NE(query(result, ""), 0);
    EXPECT_NE(update({{"Timer", "x"}}, "", ""), 0);
    EXPECT_NE(insert({{"Timer", "x"}}, ""), 0);
    EXPECT_THAT(testing::internal::GetCapturedStderr(), testing::HasSubstr("no table is named"));
}

TEST_F(RowTest, AHandleThatIsNotReadyIsRefused) {
    database().close();
    SettingsDatabase never{};
    SettingsDatabase readyWithoutConnection{};
    readyWithoutConnection.ready = 1;
    const Row row(NamesAndValues{{"Timer", "x"}});
    for (SettingsDatabase* each :
         {handle(), &never, &readyWithoutConnection, static_cast<SettingsDatabase*>(nullptr)}) {
        Result result;
        testing::internal::CaptureStderr();
        EXPECT_NE(query_database_dat_with_condition(each, kTable, &result, ""), 0);
        EXPECT_NE(update_database_table_with_condition(each, kTable, row.get(), ""), 0);
        EXPECT_NE(insert_database_table_entry_struct(each, kTable, row.get()), 0);
        EXPECT_THAT(testing::internal::GetCapturedStderr(), testing::HasSubstr("is not open"));
        EXPECT_EQ(result.rows, nullptr);
    }
}

TEST(FreeSqlTable, EmptiesAResultAndLeavesAnEmptyOneAlone) {
    SettingsTable empty{};
    free_sql_tbl(&empty);
    free_sql_tbl(nullptr);
    EXPECT_EQ(empty.rows, nullptr);
}

TEST_F(RowTest, AFreedResultIsEmpty) {
    SettingsTable result{};
    ASSERT_EQ(query(result), 0);
    free_sql_tbl(&result);
    EXPECT_EQ(result.rowCount, 0U);
    EXPECT_EQ(result.rows, nullptr);
    free_sql_tbl(&result);
}

TEST(ColumnRecord, HoldsTypeNameAndValue) {
    SettingsColumn column{};
    tql_update_ssqlcol_struct(&column, 2, "InitBoot", "true");
    EXPECT_EQ(column.type, 2);
    EXPECT_STREQ(column.name, "InitBoot");
    EXPECT_STREQ(column.value, "true");
}

TEST(ColumnRecord, CutsTextsThatAreTooLong) {
    for (const std::size_t length : {22U, 23U, 24U, 100U}) {
        SettingsColumn column{};
        tql_update_ssqlcol_struct(&column, 1, std::string(length, 'n').c_str(), "");
        EXPECT_EQ(column.name, std::string(std::min<std::size_t>(length, 23), 'n'));
    }
    for (const std::size_t length : {254U, 255U, 256U, 5000U}) {
        SettingsColumn column{};
        tql_update_ssqlcol_struct(&column, 1, "", std::string(length, 'v').c_str());
        EXPECT_EQ(column.value, std::string(std::min<std::size_t>(length, 255), 'v'));
    }
}

TEST(ColumnRecord, TakesNullForEmptyAndNoRecordForNothing) {
    SettingsColumn column{};
    tql_update_ssqlcol_struct(&column, 1, "before", "before");
    tql_update_ssqlcol_struct(&column, 0, nullptr, nullptr);
    EXPECT_EQ(column.type, 0);
    EXPECT_STREQ(column.name, "");
    EXPECT_STREQ(column.value, "");
    tql_update_ssqlcol_struct(nullptr, 0, "a", "b");
}

} // namespace
} // namespace test
