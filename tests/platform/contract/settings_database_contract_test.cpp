// The settings database: opening, and rows by column records.
#include "platform/settings_database.h"
#include "tests/platform/contract/side.h"
#include "text.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <initializer_list>
#include <string>
#include <utility>
#include <vector>

namespace contract {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr const char* kTable = "webgui_tbl";
constexpr const char* kPanel = "where Name is 'Zolan CMS Web GUI Settings'";

// A row to write, of texts.
class Row {
public:
    Row(std::initializer_list<std::pair<std::string, std::string>> values) {
        for (const auto& [name, value] : values) {
            tql_update_ssqlcol_struct(&columns_.emplace_back(), 1, name.c_str(), value.c_str());
        }
        row_ = {static_cast<unsigned int>(columns_.size()), columns_.data()};
    }
    Row(const Row&) = delete;
    Row& operator=(const Row&) = delete;
    const SettingsRow* get() const { return &row_; }

private:
    std::vector<SettingsColumn> columns_;
    SettingsRow row_{};
};

class Settings : public testing::Test {
protected:
    void SetUp() override {
        copyBounded(handle.path, file.path());
        ASSERT_THAT(open_database(&handle, 2), testing::AllOf(testing::Ge(0), testing::Le(2)));
    }
    void TearDown() override { close_database(&handle); }

    // One column of the rows that a condition selects; "(failed)" where the call fails.
    std::vector<std::string> values(unsigned int column, const char* condition) {
        SettingsTable table{};
        if (query_database_dat_with_condition(&handle, kTable, &table, condition) != 0) {
            return {"(failed)"};
        }
        std::vector<std::string> texts;
        for (unsigned int row = 1; row <= table.rowCount; ++row) {
            texts.emplace_back(table.rows[row][column].value);
        }
        free_sql_tbl(&table);
        return texts;
    }
    std::vector<std::string> languages(const char* condition) { return values(2, condition); }
    int update(const Row& row, const char* condition) {
        return update_database_table_with_condition(&handle, kTable, row.get(), condition);
    }

    // The call fails, and its result is empty and owns nothing.
    static void expectRefused(SettingsDatabase* database, const char* table,
                              const char* condition) {
        SettingsColumn* rows[] = {nullptr};
        SettingsTable result{9, rows};
        EXPECT_NE(query_database_dat_with_condition(database, table, &result, condition), 0);
        EXPECT_EQ(result.rowCount, 0U);
        EXPECT_EQ(result.rows, nullptr);
    }

    SettingsFile file;
    SettingsDatabase handle{};
};

TEST_F(Settings, AreReadyWithThemeStorageOnceTheyAreOpen) {
    EXPECT_NE(handle.connection, nullptr);
    EXPECT_NE(handle.ready, 0);
    EXPECT_EQ(handle.schemaLevel, 2);
    EXPECT_EQ(handle.path, file.path());
}

TEST_F(Settings, AreClosedAsOftenAsAsked) {
    for (int times = 0; times < 2; ++times) {
        EXPECT_EQ(close_database(&handle), 0);
        EXPECT_EQ(handle.connection, nullptr);
        EXPECT_EQ(handle.ready, 0);
        EXPECT_EQ(handle.schemaLevel, 0);
    }
    SettingsDatabase never{};
    EXPECT_EQ(close_database(&never), 0);
    EXPECT_EQ(close_database(nullptr), 0);
}

TEST_F(Settings, DoNotOpenWithoutAPathOrInAnotherMode) {
    for (const auto& [path, mode] :
         {std::pair(std::string(), 2), {file.path(), 0}, {file.path(), 3}}) {
        SettingsDatabase database{};
        database.ready = 9;
        database.schemaLevel = 9;
        copyBounded(database.path, path);
        EXPECT_EQ(open_database(&database, mode), -1) << mode;
        EXPECT_EQ(database.connection, nullptr);
        EXPECT_EQ(database.ready, 0);
        EXPECT_EQ(database.schemaLevel, 0);
        EXPECT_EQ(close_database(&database), 0);
    }
    EXPECT_EQ(open_database(nullptr, 2), -1);
}

TEST_F(Settings, GiveAHeadingAndEveryColumnInTableOrder) {
    const std::vector<std::string> names{"Name",         "InitBoot",    "Language", "Brightness",
                                         "BacklightOff", "Screensaver", "Timer",    "Measurement",
                                         "DateFormat",   "TimeFormat",  "HasAlert", "RoomAverage",
                                         "HiLoPeriod"};
    SettingsTable table{};
    ASSERT_EQ(query_database_dat_with_condition(&handle, kTable, &table, kPanel), 0);
    ASSERT_EQ(table.rowCount, 1U);
    for (std::size_t i = 0; i < names.size(); ++i) {
        EXPECT_EQ(table.rows[0][i].name, names[i]);
        EXPECT_EQ(table.rows[0][i].value, names[i]);
        EXPECT_EQ(table.rows[0][i].type, 1) << names[i];
        EXPECT_EQ(table.rows[1][i].name, names[i]);
        const bool isBoolean = names[i] == "InitBoot" || names[i] == "RoomAverage";
        EXPECT_EQ(table.rows[1][i].type, isBoolean ? 2 : 1) << names[i];
    }
    EXPECT_STREQ(table.rows[1][0].value, "Zolan CMS Web GUI Settings");
    free_sql_tbl(&table);
    EXPECT_EQ(table.rowCount, 0U);
    EXPECT_EQ(table.rows, nullptr);
    free_sql_tbl(&table);
    free_sql_tbl(nullptr);
}

TEST_F(Settings, AreSelectedByAConditionWithOrWithoutALeadingBlank) {
    ASSERT_EQ(update(Row{{"Language", "Dansk"}}, kPanel), 0);
    ASSERT_EQ(insert_database_table_entry_struct(
                  &handle, kTable, Row{{"Name", "other"}, {"Language", "Suomi"}}.get()),
              0);
    EXPECT_THAT(languages(kPanel), ElementsAre("Dansk"));
    EXPECT_THAT(languages(" where Name is 'other'"), ElementsAre("Suomi"));
    EXPECT_THAT(languages("where Name is 'nobody'"), IsEmpty());
    EXPECT_THAT(languages(""), ElementsAre("Dansk", "Suomi"));
    EXPECT_THAT(languages(nullptr), ElementsAre("Dansk", "Suomi"));
}

TEST_F(Settings, GiveNullAsAnEmptyText) {
    ASSERT_EQ(insert_database_table_entry_struct(&handle, kTable, Row{{"Name", "other"}}.get()), 0);
    EXPECT_THAT(languages("where Name is 'other'"), ElementsAre(""));
}

TEST_F(Settings, ChangeOnlyWhatIsNamedAndSelected) {
    ASSERT_EQ(insert_database_table_entry_struct(&handle, kTable, Row{{"Name", "other"}}.get()), 0);
    ASSERT_EQ(update(Row{{"Language", "Dansk"}, {"Brightness", "3"}}, kPanel), 0);
    EXPECT_THAT(languages(""), ElementsAre("Dansk", ""));
    EXPECT_THAT(values(3, kPanel), ElementsAre("3"));
    EXPECT_THAT(values(10, kPanel), ElementsAre("NO"));
    EXPECT_EQ(update(Row{{"Language", "Suomi"}}, "where Name is 'nobody'"), 0);
    EXPECT_THAT(languages(""), ElementsAre("Dansk", ""));
    EXPECT_EQ(update(Row{{"Language", "Suomi"}}, ""), 0);
    EXPECT_THAT(languages(""), ElementsAre("Suomi", "Suomi"));
}

TEST_F(Settings, TakeAnyTextAsAValue) {
    for (const std::string& text :
         {std::string("it's \"quoted\"; --"), std::string(255, 'x'), std::string("?1 :a @b")}) {
        ASSERT_EQ(update(Row{{"Language", text}}, kPanel), 0);
        EXPECT_THAT(languages(kPanel), ElementsAre(text));
    }
}

TEST_F(Settings, FailOnUnknownNamesAndOnWrongSql) {
    const Row good{{"Language", "Dansk"}};
    const std::vector<std::string> before = languages("");
    expectRefused(&handle, "absent", "");
    expectRefused(&handle, kTable, "where Absent is 'x'");
    expectRefused(&handle, kTable, "where");
    expectRefused(&handle, kTable, "where 1; select 1");
    EXPECT_NE(update_database_table_with_condition(&handle, "absent", good.get(), ""), 0);
    EXPECT_NE(update(Row{{"Absent", "x"}}, kPanel), 0);
    EXPECT_NE(update(Row{{"Language", "Dansk"}, {"Absent", "x"}}, kPanel), 0);
    EXPECT_NE(update(good, "where"), 0);
    EXPECT_NE(insert_database_table_entry_struct(&handle, "absent", good.get()), 0);
    EXPECT_NE(insert_database_table_entry_struct(&handle, kTable, Row{{"Absent", "x"}}.get()), 0);
    EXPECT_EQ(languages(""), before);
}

TEST_F(Settings, FailOnNullArgumentsAndOnARowWithoutColumns) {
    const Row good{{"Language", "Dansk"}};
    const SettingsRow empty{0, nullptr};
    const std::vector<std::string> before = languages("");
    expectRefused(nullptr, kTable, "");
    expectRefused(&handle, nullptr, "");
    EXPECT_NE(query_database_dat_with_condition(&handle, kTable, nullptr, ""), 0);
    EXPECT_NE(update_database_table_with_condition(nullptr, kTable, good.get(), ""), 0);
    EXPECT_NE(update_database_table_with_condition(&handle, nullptr, good.get(), ""), 0);
    EXPECT_NE(insert_database_table_entry_struct(nullptr, kTable, good.get()), 0);
    EXPECT_NE(insert_database_table_entry_struct(&handle, nullptr, good.get()), 0);
    for (const SettingsRow* const row : {static_cast<const SettingsRow*>(nullptr), &empty}) {
        EXPECT_NE(update_database_table_with_condition(&handle, kTable, row, ""), 0);
        EXPECT_NE(insert_database_table_entry_struct(&handle, kTable, row), 0);
    }
    EXPECT_EQ(languages(""), before);
}

TEST_F(Settings, FailWhileTheyAreClosed) {
    close_database(&handle);
    const Row good{{"Name", "other"}, {"Language", "Dansk"}};
    expectRefused(&handle, kTable, kPanel);
    EXPECT_NE(update(good, kPanel), 0);
    EXPECT_NE(insert_database_table_entry_struct(&handle, kTable, good.get()), 0);
    ASSERT_GE(open_database(&handle, 2), 0);
    EXPECT_THAT(values(0, ""), ElementsAre("Zolan CMS Web GUI Settings"));
}

TEST(SettingsColumns, AreCutTo23And255CharactersAndTakeNull) {
    SettingsColumn column{};
    tql_update_ssqlcol_struct(&column, 2, std::string(24, 'n').c_str(),
                              std::string(256, 'v').c_str());
    EXPECT_EQ(column.type, 2);
    EXPECT_EQ(column.name, std::string(23, 'n'));
    EXPECT_EQ(column.value, std::string(255, 'v'));
    tql_update_ssqlcol_struct(&column, 0, nullptr, nullptr);
    EXPECT_EQ(column.type, 0);
    EXPECT_STREQ(column.name, "");
    EXPECT_STREQ(column.value, "");
    tql_update_ssqlcol_struct(nullptr, 0, "name", "value");
}

} // namespace
} // namespace contract
