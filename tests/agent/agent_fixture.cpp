// The fixture of the agent's tests: the agent, and functions of SQL that answer what a test wants.
#include "tests/agent/agent_fixture.h"

#include <sqlite3.h>
#include <utility>

namespace agent_test {

namespace {

void countNothing(sqlite3_context* /*context*/, int /*count*/, sqlite3_value** /*values*/) {}

void giveText(sqlite3_context* context) {
    const auto* const text = static_cast<const char*>(sqlite3_user_data(context));
    if (text == nullptr) {
        sqlite3_result_null(context);
    } else {
        sqlite3_result_text(context, text, -1, SQLITE_STATIC);
    }
}

void giveOne(sqlite3_context* context, int /*count*/, sqlite3_value** /*values*/) {
    sqlite3_result_int(context, 1);
}

} // namespace

std::string updateCall(const std::map<std::string, std::string>& changes) {
    const std::vector<std::string>& names = doubles::settingsColumnNames();
    const std::vector<std::string> values = doubles::defaultSettings();
    std::string row;
    for (std::size_t i = 0; i < names.size(); ++i) {
        if (names[i] == "Name" || names[i] == "HasAlert") {
            continue;
        }
        const bool isBoolean = names[i] == "InitBoot" || names[i] == "RoomAverage";
        const char* const type = names[i] == "Brightness" ? "0" : isBoolean ? "2" : "1";
        const auto change = changes.find(names[i]);
        row += (row.empty() ? "" : ", ") + names[i] + ':' + type + '=' +
               (change == changes.end() ? values[i] : change->second);
    }
    return "update_database_table_with_condition(\"webgui_tbl\", [" + row +
           "], \" where Name is 'Zolan CMS Web GUI Settings'\")";
}

Calls alertCheckThen(const Calls& rest) {
    Calls calls{kQuery, kPause, kFree, kReadTheme};
    calls.insert(calls.end(), rest.begin(), rest.end());
    return calls;
}

Calls repeated(int times, const Calls& calls) {
    Calls all;
    for (int i = 0; i < times; ++i) {
        all.insert(all.end(), calls.begin(), calls.end());
    }
    return all;
}

AgentTest::AgentTest() {
    doubles::ignore("tql_update_ssqlcol_struct");
    doubles::database().recordStatements = true;
}

AgentTest::~AgentTest() {
    delete std::exchange(G_WebGUIAgent, nullptr);
}

WebGUIAgent& AgentTest::start(const std::string& theme) {
    if (!theme.empty()) {
        doubles::database().statements.push_back("INSERT INTO Misc VALUES ('Theme', '" + theme +
                                                 "')");
    }
    doubles::database().recordStatements = true; // in case the test has reset the doubles
    doubles::database().statementsWithMemory.reset();
    delete std::exchange(G_WebGUIAgent, nullptr);
    G_WebGUIAgent = new WebGUIAgent;
    doubles::calls();
    output();
    errors();
    return *G_WebGUIAgent;
}

void AgentTest::answerCountWith(const char* text) {
    // Tests pass literals, which outlive the connection.
    ASSERT_EQ(sqlite3_create_function(doubles::settingsConnection(), "count", 0, SQLITE_UTF8,
                                      const_cast<char*>(text), nullptr, countNothing, giveText),
              SQLITE_OK);
}

void AgentTest::endMemoryAfter(int statements) {
    doubles::database().statementsWithMemory = statements;
}

void AgentTest::countRowByRow() {
    ASSERT_EQ(sqlite3_create_function(doubles::settingsConnection(), "count", 0, SQLITE_UTF8,
                                      nullptr, giveOne, nullptr, nullptr),
              SQLITE_OK);
}

} // namespace agent_test
