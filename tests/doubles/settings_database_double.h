// The double of the settings-database helpers: rows in memory, and a SQLite connection in memory
// for the statements that the daemon runs itself.
#pragma once

#include "platform/settings_database.h"

#include <optional>
#include <string>
#include <vector>

namespace doubles {

// What open_database leaves in `connection` of the handle.
enum class Connection {
    tables,   // Misc (Key, Data), empty, and View_Theme over it
    noTables, // every statement on them fails
    null,
};

struct Database {
    int openResult = 0;
    std::optional<int> ready;       // default: 1 for the results 0 to 2, otherwise 0
    std::optional<int> schemaLevel; // default: 2 for the results 0 to 2, otherwise 0
    Connection connection = Connection::tables;
    std::vector<std::string> statements;     // run on the new connection
    bool recordStatements = false;           // the daemon's own are recorded and can fail too
    std::optional<int> statementsWithMemory; // the statement after so many throws std::bad_alloc

    // The rows of webgui_tbl, the one table; values in the order of settingsColumnNames().
    std::vector<std::vector<std::string>> rows;

    // What a query finds instead, whatever its condition: rows that no library would return.
    std::optional<std::vector<std::vector<std::string>>> found;
};
Database& database();

// Name, InitBoot, Language, Brightness, BacklightOff, Screensaver, Timer, Measurement,
// DateFormat, TimeFormat, HasAlert, RoomAverage, HiLoPeriod.
const std::vector<std::string>& settingsColumnNames();

// The one row after reset(): "Zolan CMS Web GUI Settings", "false", "English", "5",
// "Never", "Enabled", "5 Minutes", "Metric", "YYYY-MM-DD", "24", "NO", "true", "24 Hours".
std::vector<std::string> defaultSettings();

// One value of the first row, by column name.
std::string setting(const std::string& column);
void setSetting(const std::string& column, const std::string& value);

// Runs one statement on the open connection. Returns all values, joined by blanks; "(closed)"
// without a connection, "error: " and the message on failure.
std::string runSql(const std::string& statement);
bool databaseIsOpen();
sqlite3* settingsConnection(); // the one that is open, borrowed, or null

} // namespace doubles
