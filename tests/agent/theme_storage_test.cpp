// The theme in the table Misc: agent/theme_storage.cpp.
#include "agent/query_result.h"
#include "tests/agent/agent_fixture.h"

#include <type_traits>

namespace {

using agent_test::kCountThemes;
using agent_test::kReadTheme;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr char kUpdateToLight[] =
    "sqlite3_exec(\"UPDATE Misc SET Data = 'light' WHERE Key = 'Theme'\")";
constexpr char kInsertLight[] = "sqlite3_exec(\"INSERT INTO Misc VALUES ( 'Theme', 'light' )\")";
constexpr char kInsertDark[] = "sqlite3_exec(\"INSERT INTO Misc VALUES ( 'Theme', 'dark' )\")";
constexpr char kStoredThemes[] = "SELECT Data FROM Misc WHERE Key = 'Theme' ORDER BY rowid";

static_assert(noexcept(std::declval<WebGUIAgent&>().setTheme(std::string())));
static_assert(noexcept(std::declval<WebGUIAgent&>().getTheme()));

class Theme : public agent_test::AgentTest {
protected:
    static WebGUIAgent& agent() { return *G_WebGUIAgent; }

    // Returns the member: without the view, nothing else is left.
    std::string themeInMemory() {
        doubles::runSql("DROP VIEW View_Theme");
        std::string theme = agent().getTheme();
        errors();
        return theme;
    }

    static void startWithSchemaLevel(int level) {
        doubles::database().openResult = -1;
        doubles::database().ready = 1;
        doubles::database().schemaLevel = level;
    }
};

class SetTheme : public Theme {};
class GetTheme : public Theme {};

// --- setTheme -------------------------------------------------------------------------

TEST_F(SetTheme, ChangesAnExistingRow) {
    start("dark");
    agent().setTheme("light");
    EXPECT_THAT(doubles::calls(), ElementsAre(kCountThemes, kUpdateToLight));
    EXPECT_EQ(doubles::runSql(kStoredThemes), "light");
    EXPECT_EQ(output() + errors(), "");
    EXPECT_EQ(themeInMemory(), "light");
}

TEST_F(SetTheme, CollectsTheCountAndNothingOfTheChange) {
    start("dark");
    agent().setTheme("light");
    ASSERT_EQ(G_QueryResult.rowCount, 1U);
    ASSERT_EQ(G_QueryResult.values.size(), 1U);
    EXPECT_EQ(G_QueryResult.values.begin()->second, "1");
}

TEST_F(SetTheme, AddsARowWhereThereIsNone) {
    start();
    doubles::runSql("DELETE FROM Misc");
    doubles::calls();
    agent().setTheme("light");
    EXPECT_THAT(doubles::calls(), ElementsAre(kCountThemes, kInsertLight));
    EXPECT_EQ(doubles::runSql(kStoredThemes), "light");
}

TEST_F(SetTheme, ChangesEveryRowOfTwo) {
    start("dark");
    doubles::runSql("INSERT INTO Misc VALUES ('Theme', 'other'), ('Else', 'stays')");
    agent().setTheme("light");
    EXPECT_EQ(doubles::runSql(kStoredThemes), "light light");
    EXPECT_EQ(doubles::runSql("SELECT Data FROM Misc WHERE Key = 'Else'"), "stays");
}

TEST_F(SetTheme, WritesAValueThatIsStoredAlready) {
    start("light");
    agent().setTheme("light");
    EXPECT_THAT(doubles::calls(), ElementsAre(kCountThemes, kUpdateToLight));
}

TEST_F(SetTheme, RefusesAnyOtherValue) {
    start("dark");
    for (const char* value : {"Dark", "LIGHT", "", "dark ", " dark", "darkk", "blue", "'; --"}) {
        agent().setTheme(value);
        EXPECT_EQ(output(), "[setTheme]: Invalided Theme value (" + std::string(value) + ") \n");
        EXPECT_EQ(errors(), "") << value;
        EXPECT_THAT(doubles::calls(), IsEmpty()) << value;
    }
    EXPECT_EQ(doubles::runSql(kStoredThemes), "dark");
    EXPECT_EQ(themeInMemory(), "dark");
}

TEST_F(SetTheme, IgnoresAValidValueBelowSchemaLevelTwo) {
    for (const int level : {0, 1}) {
        doubles::reset();
        startWithSchemaLevel(level);
        start();
        agent().setTheme("light");
        EXPECT_EQ(output(), "[setTheme]: Database is not support Theme\n") << level;
        EXPECT_EQ(errors(), "");
        EXPECT_THAT(doubles::calls(), IsEmpty());
        EXPECT_EQ(agent().getTheme(), ""); // not even in memory
        EXPECT_EQ(doubles::runSql(kStoredThemes), "dark");
        output();
    }
}

TEST_F(SetTheme, AsksForTheSchemaLevelBeforeAnythingElse) {
    doubles::database().openResult = -1;
    start(); // level 0, not ready
    agent().setTheme("blue");
    EXPECT_EQ(output(), "[setTheme]: Database is not support Theme\n");
}

TEST_F(SetTheme, NeedsAReadyDatabaseAndAsksThatBeforeTheValue) {
    doubles::database().ready = 0;
    start();
    for (const char* value : {"light", "blue"}) {
        agent().setTheme(value);
        EXPECT_EQ(output(), "[setTheme]: Database is not ready\n");
        EXPECT_EQ(errors(), "");
    }
    EXPECT_THAT(doubles::calls(), IsEmpty());
}

TEST_F(SetTheme, StopsWhenTheRowsCannotBeCounted) {
    start("dark");
    doubles::runSql("ALTER TABLE Misc RENAME TO Elsewhere");
    doubles::calls();
    agent().setTheme("light");
    EXPECT_EQ(errors(), "[Run_SQL]: Stopped due to failed to execute SELECT count(*) from Misc "
                        "WHERE Key = 'Theme' with return code 1\n"
                        "\tExtra Information: no such table: Misc\n"
                        "[setTheme: Stopped due to failed \n");
    EXPECT_EQ(output(), "");
    EXPECT_EQ(themeInMemory(), "dark");
}

TEST_F(SetTheme, KeepsTheOldValueWhenTheStatementFails) {
    start("dark");
    doubles::runSql("CREATE TRIGGER refuse BEFORE UPDATE ON Misc BEGIN SELECT RAISE(ABORT, 'no'); "
                    "END");
    agent().setTheme("light");
    EXPECT_EQ(errors(), "[Run_SQL]: Stopped due to failed to execute UPDATE Misc SET Data = "
                        "'light' WHERE Key = 'Theme' with return code 19\n"
                        "\tExtra Information: no\n"
                        "[setTheme]: Stopped due to failed to update Theme data \n");
    EXPECT_EQ(output(), "");
    EXPECT_EQ(doubles::runSql(kStoredThemes), "dark");
    EXPECT_EQ(themeInMemory(), "dark");
}

TEST_F(SetTheme, KeepsTheOldValueWhenTheRowCannotBeAdded) {
    start();
    doubles::runSql("DELETE FROM Misc");
    doubles::runSql("CREATE TRIGGER refuse BEFORE INSERT ON Misc BEGIN SELECT RAISE(ABORT, 'no'); "
                    "END");
    agent().setTheme("light");
    EXPECT_THAT(errors(),
                testing::EndsWith("[setTheme]: Stopped due to failed to update Theme data \n"));
    EXPECT_EQ(doubles::runSql(kStoredThemes), "");
    EXPECT_EQ(themeInMemory(), "dark");
}

TEST_F(SetTheme, TakesTheCountAsTheLibraryReadsANumber) {
    const std::pair<const char*, const char*> cases[] = {
        {"0", kInsertLight},       {"1", kUpdateToLight},   {"2", kUpdateToLight},
        {"-1", kUpdateToLight},    {" 5x", kUpdateToLight}, {"00", kInsertLight},
        {"0x10", kInsertLight},    {"+3", kUpdateToLight},  {"0.9", kInsertLight},
        {"7 of 9", kUpdateToLight}};
    for (const auto& [count, statement] : cases) {
        start("dark");
        answerCountWith(count);
        agent().setTheme("light");
        EXPECT_THAT(doubles::calls(), ElementsAre(kCountThemes, statement)) << count;
    }
}

using SetThemeDeathTest = SetTheme;

TEST_F(SetThemeDeathTest, EndsTheProcessWhenTheCountIsNotANumber) {
    for (const char* count : {"many", "", " ", "x5"}) {
        start("dark");
        answerCountWith(count);
        EXPECT_EXIT(agent().setTheme("light"), testing::KilledBySignal(SIGABRT),
                    "std::invalid_argument(.|\n)*stoul")
            << count;
    }
}

TEST_F(SetThemeDeathTest, EndsTheProcessWhenTheCountIsSqlNull) {
    start("dark");
    answerCountWith(nullptr);
    EXPECT_EXIT(agent().setTheme("light"), testing::KilledBySignal(SIGABRT),
                "std::invalid_argument(.|\n)*stoul");
}

TEST_F(SetThemeDeathTest, EndsTheProcessWhenTheCountIsOutOfRange) {
    start("dark");
    answerCountWith("99999999999999999999999999");
    EXPECT_EXIT(agent().setTheme("light"), testing::KilledBySignal(SIGABRT),
                "std::out_of_range(.|\n)*stoul");
}

TEST_F(SetThemeDeathTest, EndsTheProcessWhenMemoryRunsOutInEitherStatement) {
    for (const int statementsBefore : {0, 1}) {
        start("dark");
        endMemoryAfter(statementsBefore);
        EXPECT_EXIT(agent().setTheme("light"), testing::KilledBySignal(SIGABRT), "terminate called")
            << statementsBefore;
    }
}

TEST_F(SetTheme, AddsARowWhenNothingWasCollected) {
    start();
    doubles::runSql("DELETE FROM Misc");
    countRowByRow(); // no row, no value
    doubles::calls();
    agent().setTheme("light");
    EXPECT_THAT(doubles::calls(), ElementsAre(kCountThemes, kInsertLight));
    agent().setTheme("light");
    EXPECT_THAT(doubles::calls(), ElementsAre(kCountThemes, kUpdateToLight));
}

// --- getTheme -------------------------------------------------------------------------

TEST_F(GetTheme, ReturnsWhatTheViewHolds) {
    start("dark");
    doubles::runSql("UPDATE Misc SET Data = 'light'");
    doubles::calls();
    EXPECT_EQ(agent().getTheme(), "light");
    EXPECT_THAT(doubles::calls(), ElementsAre(kReadTheme));
    EXPECT_EQ(output() + errors(), "");
    EXPECT_EQ(themeInMemory(), "light");
}

TEST_F(GetTheme, ReturnsAnyStoredTextUnchecked) {
    start();
    for (const char* text : {"blue", "Dark", "", " "}) {
        doubles::runSql("UPDATE Misc SET Data = '" + std::string(text) + "'");
        EXPECT_EQ(agent().getTheme(), text);
    }
    doubles::runSql("UPDATE Misc SET Data = NULL");
    EXPECT_EQ(agent().getTheme(), "");
}

TEST_F(GetTheme, StoresTheDefaultWhereThereIsNoRow) {
    start();
    doubles::runSql("DELETE FROM Misc");
    doubles::calls();
    EXPECT_EQ(agent().getTheme(), "dark");
    EXPECT_THAT(doubles::calls(), ElementsAre(kReadTheme, kCountThemes, kInsertDark));
    EXPECT_EQ(doubles::runSql(kStoredThemes), "dark");
    doubles::calls();
    EXPECT_EQ(agent().getTheme(), "dark");
    EXPECT_THAT(doubles::calls(), ElementsAre(kReadTheme));
}

TEST_F(GetTheme, ReturnsTheDefaultEvenWhenItCannotBeStored) {
    start("light");
    doubles::runSql("DELETE FROM Misc");
    doubles::runSql("CREATE TRIGGER refuse BEFORE INSERT ON Misc BEGIN SELECT RAISE(ABORT, 'no'); "
                    "END");
    EXPECT_EQ(agent().getTheme(), "dark");
    EXPECT_THAT(errors(),
                testing::EndsWith("[setTheme]: Stopped due to failed to update Theme data \n"));
}

TEST_F(GetTheme, NeedsSchemaLevelTwo) {
    for (const int level : {0, 1}) {
        doubles::reset();
        startWithSchemaLevel(level);
        start("light");
        EXPECT_EQ(agent().getTheme(), "") << level;
        EXPECT_EQ(output(), "[getTheme]: Database is not support Theme\n");
        EXPECT_EQ(errors(), "");
        EXPECT_THAT(doubles::calls(), IsEmpty());
    }
}

TEST_F(GetTheme, NeedsAReadyDatabase) {
    doubles::database().ready = 0;
    start();
    EXPECT_EQ(agent().getTheme(), "");
    EXPECT_EQ(output(), "[getTheme]: Database is not ready\n");
    EXPECT_EQ(errors(), "");
    EXPECT_THAT(doubles::calls(), IsEmpty());
}

TEST_F(GetTheme, ReturnsTheMemberWhenTheQueryFails) {
    start("light");
    doubles::runSql("DROP VIEW View_Theme");
    EXPECT_EQ(agent().getTheme(), "light");
    EXPECT_EQ(errors(), "[Run_SQL]: Stopped due to failed to execute SELECT Data from View_Theme "
                        "WHERE Key = 'Theme' with return code 1\n"
                        "\tExtra Information: no such table: View_Theme\n"
                        "[getTheme]: Stopped due to failed \n");
    EXPECT_EQ(output(), "");
}

using GetThemeDeathTest = GetTheme;

TEST_F(GetThemeDeathTest, EndsTheProcessWhenMemoryRunsOutInTheQuery) {
    start("light");
    endMemoryAfter(0);
    EXPECT_EXIT(agent().getTheme(), testing::KilledBySignal(SIGABRT), "terminate called");
}

TEST_F(Theme, StatementsAreNeitherPacedNorRepeated) {
    start();
    doubles::runSql("DROP VIEW View_Theme");
    doubles::runSql("DROP TABLE Misc");
    doubles::calls();
    agent().setTheme("light");
    agent().getTheme();
    EXPECT_THAT(doubles::callsOf("usleep"), IsEmpty());
}

} // namespace
