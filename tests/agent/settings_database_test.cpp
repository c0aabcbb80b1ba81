// Opening the settings database, and running SQL on it: agent/settings_database.cpp.
#include "agent/query_result.h"
#include "tests/agent/agent_fixture.h"

#include <limits>
#include <stdexcept>

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;
using testing::UnorderedElementsAre;

QueryPlace place(std::uint32_t row, const char* column) {
    return {row, column};
}

// --- Opening --------------------------------------------------------------------------

class OpenDatabase : public agent_test::AgentTest {};

TEST_F(OpenDatabase, NamesTheFileAndAsksForModeTwo) {
    const WebGUIAgent agent;
    EXPECT_THAT(doubles::callsOf("open_database"),
                ElementsAre("open_database(\"/var/database/webgui.db\", 2)"));
}

TEST_F(OpenDatabase, LogsThatTheDatabaseIsReadyForResultZeroOnly) {
    const std::pair<int, const char*> cases[] = {
        {0, "[WebGUIAgent]: Database is ready \n"}, {1, ""}, {2, ""}};
    for (const auto& [result, line] : cases) {
        doubles::database().openResult = result;
        const WebGUIAgent agent;
        EXPECT_EQ(output(), line) << result;
        EXPECT_EQ(errors(), "") << result;
        EXPECT_EQ(agent.getLanguage(), "English") << result;
    }
}

TEST_F(OpenDatabase, ForcesTheSchemaLevelToTwoWhateverAUsableOpenLeft) {
    for (const int result : {0, 1, 2}) {
        for (const int level : {0, 1, 3}) {
            doubles::database().openResult = result;
            doubles::database().schemaLevel = level;
            WebGUIAgent agent;
            doubles::calls();
            agent.setTheme("light");
            EXPECT_EQ(agent.getTheme(), "light") << result << ' ' << level;
        }
    }
}

TEST_F(OpenDatabase, ThatFailsLeavesAnEmptyAgentAndThePanelAlone) {
    for (const int result : {-1, 3, 255, std::numeric_limits<int>::min()}) {
        doubles::database().openResult = result;
        doubles::calls();
        {
            WebGUIAgent agent;
            EXPECT_EQ(output(), "[WebGUIAgent]: Failed to call open_database(). The return code: " +
                                    std::to_string(result) + "\n");
            EXPECT_EQ(agent.getName(), "");
            EXPECT_EQ(agent.getLanguage(), "");
            EXPECT_EQ(agent.getBacklightOff(), "");
            EXPECT_EQ(agent.getActiveAlarmScreensaver(), "");
            EXPECT_EQ(agent.getInactivityTimer(), "");
            EXPECT_EQ(agent.getMeasurementSystem(), "");
            EXPECT_EQ(agent.getDateFormat(), "");
            EXPECT_EQ(agent.getTimeFormat(), "");
            EXPECT_EQ(agent.getHiLoPeriod(), "");
            EXPECT_EQ(agent.getScreenBrightness(), 0);
            EXPECT_FALSE(agent.getInitialBoot());
            EXPECT_FALSE(agent.getRoomAverage());
            EXPECT_EQ(agent.getTheme(), "");
        }
        EXPECT_THAT(doubles::calls(), ElementsAre("open_database(\"/var/database/webgui.db\", 2)",
                                                  "close_database()"));
        output();
    }
}

TEST_F(OpenDatabase, ShowsTheReturnCodeInDecimalWhateverTheStream) {
    hexStream();
    for (const int result : {-1, 26}) {
        doubles::database().openResult = result;
        const WebGUIAgent agent;
        EXPECT_EQ(output(), "[WebGUIAgent]: Failed to call open_database(). The return code: " +
                                std::to_string(result) + "\n");
    }
}

TEST_F(OpenDatabase, ThatFailsWithASchemaLevelGoesOnAndKeepsThatLevel) {
    doubles::database().openResult = -1;
    doubles::database().ready = 1;
    doubles::database().schemaLevel = 1;
    WebGUIAgent agent;
    EXPECT_EQ(output(), "[WebGUIAgent]: Failed to call open_database(). The return code: -1\n");
    EXPECT_THAT(doubles::calls(),
                ElementsAre("open_database(\"/var/database/webgui.db\", 2)", agent_test::kQuery,
                            agent_test::kPause, agent_test::kFree, "xset_env_init()",
                            "LCDBrightnessSet(5)", "LCDBlankTimeOutSet(0)"));
    EXPECT_EQ(agent.getName(), "Zolan CMS Web GUI Settings");
    EXPECT_EQ(agent.getLanguage(), "English");
    agent.setTheme("light");
    EXPECT_EQ(output(), "[setTheme]: Database is not support Theme\n");
}

TEST_F(OpenDatabase, ThatFailsWithSchemaLevelTwoHasThemeStorage) {
    doubles::database().openResult = -1;
    doubles::database().ready = 1;
    doubles::database().schemaLevel = 2;
    WebGUIAgent agent;
    output();
    agent.setTheme("light");
    EXPECT_EQ(agent.getTheme(), "light");
    EXPECT_EQ(output(), "");
}

TEST_F(OpenDatabase, ThatFailsWithANegativeSchemaLevelStops) {
    doubles::database().openResult = -1;
    doubles::database().schemaLevel = -1;
    const WebGUIAgent agent;
    EXPECT_EQ(agent.getName(), "");
    EXPECT_THAT(doubles::calls(), ElementsAre("open_database(\"/var/database/webgui.db\", 2)"));
}

TEST_F(OpenDatabase, IsFollowedByOneCloseAtTheEnd) {
    { const WebGUIAgent agent; }
    EXPECT_THAT(doubles::callsOf("close_database"), ElementsAre("close_database()"));
    EXPECT_FALSE(doubles::databaseIsOpen());
}

// --- Run_SQL --------------------------------------------------------------------------

class RunSql : public agent_test::AgentTest {
protected:
    // The exception's text; empty if there is none.
    static std::string failureOf(const std::string& sql, int collect = 0) {
        try {
            EXPECT_EQ(G_WebGUIAgent->Run_SQL(sql, collect), 0);
        } catch (const std::runtime_error& failure) {
            return failure.what();
        }
        return {};
    }
};

TEST_F(RunSql, StartsWithARecordWithoutRows) {
    const QueryResult fresh;
    EXPECT_THAT(fresh.values, IsEmpty());
    EXPECT_EQ(fresh.rowCount, 0U);
}

TEST_F(RunSql, PassesTheTextToTheDatabase) {
    start();
    EXPECT_EQ(failureOf("INSERT INTO Misc VALUES ('a', 'b')"), "");
    EXPECT_EQ(doubles::runSql("SELECT Data FROM Misc WHERE Key = 'a'"), "b");
    EXPECT_EQ(output() + errors(), "");
}

TEST_F(RunSql, RunsEachStatementOfAText) {
    start("");
    doubles::runSql("DELETE FROM Misc");
    EXPECT_EQ(failureOf("INSERT INTO Misc VALUES ('a', '1'); INSERT INTO Misc VALUES ('b', '2')"),
              "");
    EXPECT_EQ(doubles::runSql("SELECT count(*) FROM Misc"), "2");
}

TEST_F(RunSql, CollectsEachValueUnderItsRowAndColumn) {
    start();
    EXPECT_EQ(failureOf("SELECT 'x' AS a, 2 AS b UNION ALL SELECT 'y', 3.5", 1), "");
    EXPECT_EQ(G_QueryResult.rowCount, 2U);
    EXPECT_THAT(G_QueryResult.values,
                UnorderedElementsAre(Pair(place(0, "a"), "x"), Pair(place(0, "b"), "2"),
                                     Pair(place(1, "a"), "y"), Pair(place(1, "b"), "3.5")));
}

TEST_F(RunSql, AnyNonZeroFlagCollects) {
    start();
    EXPECT_EQ(failureOf("SELECT 1 AS a", -1), "");
    EXPECT_THAT(G_QueryResult.values, UnorderedElementsAre(Pair(place(0, "a"), "1")));
}

TEST_F(RunSql, CountsRowsOverAllStatementsOfOneText) {
    start();
    EXPECT_EQ(failureOf("SELECT 1 AS a; SELECT 2 AS a", 1), "");
    EXPECT_THAT(G_QueryResult.values,
                UnorderedElementsAre(Pair(place(0, "a"), "1"), Pair(place(1, "a"), "2")));
}

TEST_F(RunSql, ClearsTheCollectionBeforeEachCollectingQuery) {
    start();
    failureOf("SELECT 1 AS a UNION SELECT 2", 1);
    EXPECT_EQ(failureOf("SELECT 1 AS a WHERE 0", 1), "");
    EXPECT_THAT(G_QueryResult.values, IsEmpty());
    EXPECT_EQ(G_QueryResult.rowCount, 0U);
}

TEST_F(RunSql, KeepsTheCollectionWhenItDoesNotCollect) {
    start();
    failureOf("SELECT 1 AS a", 1);
    EXPECT_EQ(failureOf("SELECT 2 AS a", 0), "");
    EXPECT_THAT(G_QueryResult.values, UnorderedElementsAre(Pair(place(0, "a"), "1")));
    EXPECT_EQ(G_QueryResult.rowCount, 1U);
}

TEST_F(RunSql, CollectsSqlNullAsAnEmptyText) {
    start();
    EXPECT_EQ(failureOf("SELECT NULL AS a", 1), "");
    EXPECT_THAT(G_QueryResult.values, UnorderedElementsAre(Pair(place(0, "a"), "")));
}

TEST_F(RunSql, KeepsTheLaterOfTwoColumnsOfOneName) {
    start();
    EXPECT_EQ(failureOf("SELECT 1 AS a, 2 AS a", 1), "");
    EXPECT_THAT(G_QueryResult.values, UnorderedElementsAre(Pair(place(0, "a"), "2")));
}

TEST_F(RunSql, CountsARowOfZeroColumns) {
    start();
    // With this setting SQLite calls back once, without columns, if a statement has no rows.
    failureOf("PRAGMA empty_result_callbacks = 1");
    EXPECT_EQ(failureOf("CREATE TABLE other (a)", 1), "");
    EXPECT_EQ(G_QueryResult.rowCount, 1U);
    EXPECT_THAT(G_QueryResult.values, IsEmpty());
}

TEST_F(RunSql, KeepsTheRowsBeforeAFailureAndStillFails) {
    start();
    EXPECT_EQ(failureOf("SELECT 1 AS a; SELEKT", 1), "failed ");
    EXPECT_EQ(G_QueryResult.rowCount, 1U);
}

TEST_F(RunSql, CutsTheTextTo1023Characters) {
    start("");
    doubles::runSql("DELETE FROM Misc");
    std::string sql = "INSERT INTO Misc VALUES ('a', '1');";
    sql.resize(1023, ' ');
    EXPECT_EQ(failureOf(sql + "INSERT INTO Misc VALUES ('b', '2')"), "");
    EXPECT_EQ(doubles::runSql("SELECT Key FROM Misc"), "a");
}

TEST_F(RunSql, RunsATextOf1023CharactersWhole) {
    start("");
    doubles::runSql("DELETE FROM Misc");
    std::string sql = "INSERT INTO Misc VALUES ('a', '1')";
    sql.insert(0, 1023 - sql.size(), ' ');
    EXPECT_EQ(failureOf(sql), "");
    EXPECT_EQ(doubles::runSql("SELECT Key FROM Misc"), "a");
    EXPECT_EQ(failureOf(' ' + sql), "failed "); // its last bracket is cut off
}

TEST_F(RunSql, ShowsTheCutTextWhenItFails) {
    start();
    const std::string sql = "SELECT '" + std::string(2000, 'x');
    EXPECT_EQ(failureOf(sql), "failed ");
    EXPECT_THAT(errors(), testing::StartsWith("[Run_SQL]: Stopped due to failed to execute " +
                                              sql.substr(0, 1023) + " with return code 1\n"));
}

TEST_F(RunSql, LogsToStandardErrorWhatFailedAndWhy) {
    for (const int collect : {0, 1}) {
        start();
        EXPECT_EQ(failureOf("SELEKT", collect), "failed ");
        EXPECT_EQ(errors(), "[Run_SQL]: Stopped due to failed to execute SELEKT with return code "
                            "1\n\tExtra Information: near \"SELEKT\": syntax error\n");
        EXPECT_EQ(output(), "");
    }
}

TEST_F(RunSql, ShowsTheReturnCodeInDecimalWhateverTheStream) {
    hexStream();
    start();
    doubles::runSql("CREATE TABLE strict (a NOT NULL)");
    EXPECT_EQ(failureOf("INSERT INTO strict VALUES (NULL)"), "failed ");
    EXPECT_EQ(errors(),
              "[Run_SQL]: Stopped due to failed to execute INSERT INTO strict VALUES (NULL) with "
              "return code 19\n\tExtra Information: NOT NULL constraint failed: strict.a\n");
}

TEST_F(RunSql, OmitsTheSecondLineWithoutAMessage) {
    doubles::database().connection = doubles::Connection::null;
    start("");
    EXPECT_EQ(failureOf("SELECT 1"), "failed ");
    EXPECT_EQ(errors(),
              "[Run_SQL]: Stopped due to failed to execute SELECT 1 with return code 21\n");
}

TEST_F(RunSql, FreesTheMessageOfAFailure) {
    start();
    const int before = doubles::liveBlocks();
    doubles::fail("sqlite3_exec", 5);
    EXPECT_EQ(failureOf("SELECT 1"), "failed ");
    EXPECT_EQ(doubles::liveBlocks(), before);
}

TEST_F(RunSql, ThrowsWithoutALineWhenTheDatabaseIsNotReady) {
    doubles::database().ready = 0;
    start();
    failureOf("nothing");
    G_QueryResult.values = {{place(0, "kept"), "value"}};
    EXPECT_EQ(failureOf("SELECT 1 AS a", 1), "Database is not ready");
    EXPECT_EQ(output() + errors(), "");
    EXPECT_THAT(doubles::calls(), IsEmpty());
    EXPECT_THAT(G_QueryResult.values, UnorderedElementsAre(Pair(place(0, "kept"), "value")));
    G_QueryResult.values.clear();
}

TEST_F(RunSql, AnyNonZeroReadyFlagIsReady) {
    doubles::database().ready = -1;
    start();
    EXPECT_EQ(failureOf("SELECT 1"), "");
}

TEST(QueryResult, StartsWithRoomForTenValuesAtAFullLoadOfOne) {
    const QueryResult fresh;
    const std::unordered_map<int, int> ten(10);
    EXPECT_EQ(fresh.values.bucket_count(), ten.bucket_count());
    EXPECT_FLOAT_EQ(fresh.values.max_load_factor(), 1.0F);
    EXPECT_EQ(fresh.rowCount, 0U);
}

// --- Transaction ----------------------------------------------------------------------

class Transaction : public agent_test::AgentTest {};

TEST_F(Transaction, BeginsCommitsAndRollsBack) {
    WebGUIAgent& agent = start();
    EXPECT_EQ(agent.Transaction(0), 1);
    EXPECT_EQ(agent.Transaction(1), 1);
    EXPECT_EQ(agent.Transaction(0), 1);
    EXPECT_EQ(agent.Transaction(2), 1);
    EXPECT_THAT(doubles::calls(), ElementsAre("sqlite3_exec(\"BEGIN TRANSACTION\")",
                                              "sqlite3_exec(\"COMMIT TRANSACTION\")",
                                              "sqlite3_exec(\"BEGIN TRANSACTION\")",
                                              "sqlite3_exec(\"ROLLBACK TRANSACTION\")"));
    EXPECT_EQ(output() + errors(), "");
}

TEST_F(Transaction, KeepsOrUndoesTheStatementsBetween) {
    WebGUIAgent& agent = start("dark");
    agent.Transaction(0);
    agent.setTheme("light");
    agent.Transaction(2);
    EXPECT_EQ(doubles::runSql("SELECT Data FROM Misc"), "dark");
    agent.Transaction(0);
    agent.setTheme("light");
    agent.Transaction(1);
    EXPECT_EQ(doubles::runSql("SELECT Data FROM Misc"), "light");
}

TEST_F(Transaction, LeavesTheRecordOfTheLastQueryAlone) {
    WebGUIAgent& agent = start("dark");
    agent.getTheme();
    EXPECT_EQ(agent.Transaction(0), 1);
    EXPECT_THAT(G_QueryResult.values, UnorderedElementsAre(Pair(place(0, "Data"), "dark")));
    EXPECT_EQ(G_QueryResult.rowCount, 1U);
}

TEST_F(Transaction, RefusesAnotherStatusWithoutShowingIt) {
    WebGUIAgent& agent = start();
    for (const unsigned int status : {3U, 4U, std::numeric_limits<unsigned int>::max()}) {
        EXPECT_EQ(agent.Transaction(status), 0) << status;
        EXPECT_EQ(errors(), "[Transaction]: Unsupported transaction status \n") << status;
        EXPECT_EQ(output(), "") << status;
        EXPECT_THAT(doubles::calls(), IsEmpty()) << status;
    }
}

TEST_F(Transaction, AddsNoLineToThoseOfTheStatementThatFails) {
    WebGUIAgent& agent = start();
    EXPECT_EQ(agent.Transaction(1), 0);
    EXPECT_EQ(errors(), "[Run_SQL]: Stopped due to failed to execute COMMIT TRANSACTION with "
                        "return code 1\n\tExtra Information: cannot commit - no transaction is "
                        "active\n");
    EXPECT_EQ(output(), "");
}

TEST_F(Transaction, IsSilentWhenTheDatabaseIsNotReady) {
    doubles::database().ready = 0;
    WebGUIAgent& agent = start();
    for (const unsigned int status : {0U, 1U, 2U}) {
        EXPECT_EQ(agent.Transaction(status), 0) << status;
    }
    EXPECT_EQ(output() + errors(), "");
    EXPECT_THAT(doubles::calls(), IsEmpty());
}

using TransactionDeathTest = Transaction;

TEST_F(TransactionDeathTest, EndsTheProcessWhenMemoryRunsOut) {
    WebGUIAgent& agent = start();
    endMemoryAfter(0);
    EXPECT_EXIT(agent.Transaction(0), testing::KilledBySignal(SIGABRT), "terminate called");
}

} // namespace
