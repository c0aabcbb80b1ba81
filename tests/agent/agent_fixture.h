// The base of the agent's tests: an agent on the doubles, which also record the SQL that it runs.
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

// Calls as the doubles record them.
inline constexpr char kQuery[] = "query_database_dat_with_condition(\"webgui_tbl\", "
                                 "\"where Name is 'Zolan CMS Web GUI Settings'\")";
inline constexpr char kPause[] = "usleep(200000)";
inline constexpr char kFree[] = "free_sql_tbl()";
inline constexpr char kReadTheme[] =
    "sqlite3_exec(\"SELECT Data from View_Theme WHERE Key = 'Theme'\")";
inline constexpr char kCountThemes[] =
    "sqlite3_exec(\"SELECT count(*) from Misc WHERE Key = 'Theme'\")";

// The call that writes the default settings with these columns changed.
std::string updateCall(const std::map<std::string, std::string>& changes = {});

// The calls of hasAlert, followed by `rest`.
Calls alertCheckThen(const Calls& rest);

// `calls`, repeated.
Calls repeated(int times, const Calls& calls);

class AgentTest : public doubles::PlatformTest {
protected:
    AgentTest();
    ~AgentTest() override;
    AgentTest(const AgentTest&) = delete;
    AgentTest& operator=(const AgentTest&) = delete;

    // Creates the process-wide agent as start-up does, then clears the record and the output.
    // Unless `theme` is empty, the database holds it.
    WebGUIAgent& start(const std::string& theme = "dark");

    // Makes `SELECT count(*)` return this text instead of the number of rows; null means SQL NULL.
    static void answerCountWith(const char* text);

    // Lets memory run out in the agent's own SQL, after that many statements.
    static void endMemoryAfter(int statements);

    // Makes count(*) return 1 per row instead of one total, and so nothing without rows.
    static void countRowByRow();
};

} // namespace agent_test
