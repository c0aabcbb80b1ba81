// The base of the agent's tests: an agent on the doubles, with the SQL that it runs in the record
// of the calls. What a test expects of them is left to the test.
#pragma once

#include "agent/webgui_agent.h"
#include "process_state.h"
#include "tests/doubles/platform_test.h"

#include <map>
#include <memory>
#include <string>
#include <vector>

struct sqlite3;

namespace agent_test {

using Calls = std::vector<std::string>;

// Calls as the record shows them.
inline constexpr char kQuery[] = "query_database_dat_with_condition(\"webgui_tbl\", "
                                 "\"where Name is 'Zolan CMS Web GUI Settings'\")";
inline constexpr char kPause[] = "usleep(200000)";
inline constexpr char kFree[] = "free_sql_tbl()";
inline constexpr char kReadTheme[] =
    "sqlite3_exec(\"SELECT Data from View_Theme WHERE Key = 'Theme'\")";
inline constexpr char kCountThemes[] =
    "sqlite3_exec(\"SELECT count(*) from Misc WHERE Key = 'Theme'\")";

// The row that an update writes: the default settings, but for these columns.
std::string updateCall(const std::map<std::string, std::string>& changes = {});

// What hasAlert does, then what follows it.
Calls alertCheckThen(const Calls& rest);

// Parts in order, each so many times.
Calls repeated(int times, const Calls& calls);

class AgentTest : public doubles::PlatformTest {
protected:
    AgentTest();
    ~AgentTest() override;
    AgentTest(const AgentTest&) = delete;
    AgentTest& operator=(const AgentTest&) = delete;

    // Makes the process-wide agent as start-up does; what that called and wrote is forgotten.
    // The theme row is there, with this value, unless it is empty.
    WebGUIAgent& start(const std::string& theme = "dark");

    // An aggregate without arguments that gives this text instead of the number of rows: what
    // `SELECT count(*)` then collects. Null: SQL NULL.
    static void answerCountWith(const char* text);

    // Lets memory run out in a statement of the agent's own: that many succeed before.
    static void endMemoryAfter(int statements);

    // A function instead of the aggregate: 1 for each row, and so nothing without a row.
    static void countRowByRow();
};

} // namespace agent_test
