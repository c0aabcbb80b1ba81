// The double of the settings-database helpers. Conditions and names meet real SQL; the statements
// that the daemon runs itself go to a SQLite connection in memory.
#include "tests/doubles/settings_database_double.h"

#include "tests/doubles/recorder.h"
#include "tests/doubles/settings_rows.h"

#include "text.h"

#include <algorithm>
#include <new>
#include <sqlite3.h>

namespace doubles {

namespace {

sqlite3* g_connection = nullptr; // of the last open_database

const char* const kTables = "CREATE TABLE Misc (Key TEXT, Data TEXT);"
                            "CREATE VIEW View_Theme AS SELECT Key, Data FROM Misc;";

std::size_t indexOf(const std::string& column) {
    const auto found = std::ranges::find(settingsColumnNames(), column);
    return static_cast<std::size_t>(found - settingsColumnNames().begin());
}

// The type that the library reports for values of text columns.
int typeOf(const std::string& value) {
    return value == "true" || value == "false" ? kSettingsBoolean : kSettingsText;
}

void closeConnection() {
    sqlite3_close_v2(g_connection);
    g_connection = nullptr;
}

void openConnection() {
    closeConnection();
    if (database().connection == Connection::null) {
        return;
    }
    sqlite3_open(":memory:", &g_connection);
    if (database().connection == Connection::tables) {
        runSql(kTables);
    }
    for (const std::string& statement : database().statements) {
        runSql(statement);
    }
}

int levelLeft(Shape shape) {
    if (shape == Shape::levelOne) {
        return 1;
    }
    return shape == Shape::levelTwo ? 2 : 0;
}

// One row as the library returns it; the heading holds the names as values too.
SettingsColumn* makeRow(const std::vector<std::string>& values) {
    const std::vector<std::string>& names = settingsColumnNames();
    auto* const row =
        static_cast<SettingsColumn*>(detail::allocate(names.size() * sizeof(SettingsColumn)));
    for (std::size_t i = 0; i < names.size(); ++i) {
        const std::string value = i < values.size() ? values[i] : std::string();
        row[i].type = typeOf(value);
        copyBounded(row[i].name, names[i]);
        copyBounded(row[i].value, value);
    }
    return row;
}

std::string showRow(const SettingsRow* row) {
    std::string text;
    for (unsigned int i = 0; row != nullptr && i < row->columnCount; ++i) {
        const SettingsColumn& column = row->columns[i];
        text += (i == 0 ? "" : ", ") + std::string(boundedText(column.name)) + ':' +
                std::to_string(column.type) + '=' + std::string(boundedText(column.value));
    }
    return '[' + text + ']';
}

bool isOpen(const SettingsDatabase* handle) {
    return handle != nullptr && handle->connection != nullptr && handle->ready != 0;
}

std::string quoted(const std::string& name) {
    std::string text = "\"";
    for (const char letter : name) {
        text += letter == '"' ? "\"\"" : std::string(1, letter);
    }
    return text + '"';
}

std::string conditionOf(const char* condition) {
    return condition == nullptr ? "" : std::string(" ") + condition;
}

// The rows that a query finds; nothing if it fails.
std::optional<detail::SettingsRows> select(const SettingsDatabase* handle, const char* table,
                                           const char* condition) {
    if (!isOpen(handle) || table == nullptr) {
        return std::nullopt;
    }
    return database().found ? database().found
                            : detail::runOnRows(database().rows, "SELECT * FROM " + quoted(table) +
                                                                     conditionOf(condition));
}

// The rows that a query returns when it fails this way.
detail::SettingsRows rowsOf(const Fault& fault) {
    detail::SettingsRows rows;
    if (fault.shape == Shape::twoRows) {
        rows = database().rows;
        rows.push_back(defaultSettings());
    }
    return rows;
}

// The columns of a row to write, as a statement lists them.
struct Columns {
    std::string names;       // "A", "B"
    std::string marks;       // ?, ?
    std::string assignments; // "A" = ?, "B" = ?
    std::vector<std::string> values;
};

// Nothing if the row has no columns.
std::optional<Columns> columnsOf(const SettingsRow* row) {
    if (row == nullptr || row->columns == nullptr || row->columnCount == 0) {
        return std::nullopt;
    }
    Columns columns;
    for (unsigned int i = 0; i < row->columnCount; ++i) {
        const SettingsColumn& column = row->columns[i];
        const std::string comma = i == 0 ? "" : ", ";
        const std::string name = quoted(std::string(boundedText(column.name)));
        columns.names += comma + name;
        columns.marks += comma + '?';
        columns.assignments += comma + name + " = ?";
        columns.values.emplace_back(boundedText(column.value));
    }
    return columns;
}

} // namespace

namespace detail {

int onExecute(sqlite3* connection, const char* statement, RowCallback callback, void* user,
              char** message) {
    if (!database().recordStatements) {
        return execute(connection, statement, callback, user, message);
    }
    const Lock lock(mutex());
    const Fault fault = enterCall("sqlite3_exec", arguments(statement));
    if (database().statementsWithMemory && (*database().statementsWithMemory)-- == 0) {
        throw std::bad_alloc(); // as copying a text or a row does
    }
    if (!fault) {
        const int code = execute(connection, statement, callback, user, message);
        return code == SQLITE_OK ? code : refused(code);
    }
    if (fault.shape == Shape::afterRows && callback != nullptr) {
        execute(connection, statement, callback, user, nullptr);
    }
    *message = nullptr;
    if (fault.shape != Shape::noMessage) {
        *message = sqlite3_mprintf("%s", sqlite3_errstr(fault.code));
        handOut(*message);
    }
    return fault.code;
}

void resetDatabase() {
    closeConnection();
    database() = Database{};
    database().rows = {defaultSettings()};
}

} // namespace detail

Database& database() {
    static auto* const database = [] {
        auto* const fresh = new Database;
        fresh->rows = {defaultSettings()};
        return fresh;
    }();
    return *database;
}

const std::vector<std::string>& settingsColumnNames() {
    static const auto* const names = new std::vector<std::string>{
        "Name",        "InitBoot",    "Language",    "Brightness", "BacklightOff",
        "Screensaver", "Timer",       "Measurement", "DateFormat", "TimeFormat",
        "HasAlert",    "RoomAverage", "HiLoPeriod"};
    return *names;
}

std::vector<std::string> defaultSettings() {
    return {"Zolan CMS Web GUI Settings",
            "false",
            "English",
            "5",
            "Never",
            "Enabled",
            "5 Minutes",
            "Metric",
            "YYYY-MM-DD",
            "24",
            "NO",
            "true",
            "24 Hours"};
}

std::string setting(const std::string& column) {
    return database().rows.at(0).at(indexOf(column));
}

void setSetting(const std::string& column, const std::string& value) {
    database().rows.at(0).at(indexOf(column)) = value;
}

std::string runSql(const std::string& statement) {
    if (g_connection == nullptr) {
        return "(closed)";
    }
    std::string values;
    const auto collect = [](void* user, int count, char** row, char** /*names*/) {
        std::string& text = *static_cast<std::string*>(user);
        for (int i = 0; i < count; ++i) {
            text += (text.empty() ? "" : " ") + std::string(row[i] == nullptr ? "" : row[i]);
        }
        return 0;
    };
    if (detail::execute(g_connection, statement.c_str(), collect, &values, nullptr) != SQLITE_OK) {
        return std::string("error: ") + sqlite3_errmsg(g_connection);
    }
    return values;
}

bool databaseIsOpen() {
    return g_connection != nullptr;
}

sqlite3* settingsConnection() {
    return g_connection;
}

} // namespace doubles

using doubles::Fault;
using doubles::Shape;
using doubles::detail::arguments;
using doubles::detail::enter;
using doubles::detail::enterCall;
using doubles::detail::Lock;
using doubles::detail::mutex;
using doubles::detail::Plain;
using doubles::detail::record;
using doubles::detail::refused;
using doubles::detail::runOnRows;
using doubles::detail::SettingsRows;

extern "C" {

int open_database(SettingsDatabase* database, int mode) {
    const Lock lock(mutex());
    if (database == nullptr) {
        return -1;
    }
    const Fault fault = enterCall("open_database", arguments(database->path, mode));
    constexpr int kReadWriteAndCreate = 2;
    if (!fault && (mode != kReadWriteAndCreate || database->path[0] == '\0')) {
        database->connection = nullptr;
        database->ready = 0;
        database->schemaLevel = 0;
        return refused(-1);
    }
    const int result = fault.code != 0 ? fault.code : doubles::database().openResult;
    const bool usable = result >= 0 && result <= 2;
    const bool ready = usable && fault.shape != Shape::notReady;
    database->ready = doubles::database().ready.value_or(ready ? 1 : 0);
    database->schemaLevel =
        doubles::database().schemaLevel.value_or(usable ? 2 : doubles::levelLeft(fault.shape));
    if (usable || database->ready != 0) {
        doubles::openConnection();
    }
    database->connection = doubles::g_connection;
    return result;
}

int close_database(SettingsDatabase* database) {
    const Lock lock(mutex());
    record("close_database", "");
    if (database == nullptr) {
        return 0;
    }
    if (database->connection != nullptr && database->connection == doubles::g_connection) {
        doubles::closeConnection();
    }
    database->connection = nullptr;
    database->ready = 0;
    database->schemaLevel = 0;
    return 0;
}

int query_database_dat_with_condition(SettingsDatabase* database, const char* table,
                                      SettingsTable* result, const char* condition) {
    const Lock lock(mutex());
    const Fault fault = enterCall("query_database_dat_with_condition", arguments(table, condition));
    if (result == nullptr) {
        return refused();
    }
    *result = {0, nullptr};
    if (fault.shape == Shape::refused || fault.shape == Shape::nullArray) {
        return fault.code;
    }
    const std::optional<SettingsRows> found =
        fault ? doubles::rowsOf(fault) : doubles::select(database, table, condition);
    if (!found) {
        return refused();
    }
    const SettingsRows& rows = *found;
    result->rowCount = static_cast<unsigned int>(rows.size());
    // NOLINTNEXTLINE(bugprone-sizeof-expression): an array of pointers, one per row
    constexpr std::size_t kPointerSize = sizeof(SettingsColumn*);
    result->rows =
        static_cast<SettingsColumn**>(doubles::detail::allocate((rows.size() + 1) * kPointerSize));
    result->rows[0] = doubles::makeRow(doubles::settingsColumnNames());
    for (std::size_t i = 0; i < rows.size(); ++i) {
        result->rows[i + 1] = doubles::makeRow(rows[i]);
    }
    return 0;
}

void free_sql_tbl(SettingsTable* table) {
    const Lock lock(mutex());
    record("free_sql_tbl", "");
    if (table == nullptr || table->rows == nullptr) {
        return;
    }
    for (unsigned int i = 0; i <= table->rowCount; ++i) {
        std::free(table->rows[i]);
    }
    std::free(table->rows);
    *table = {0, nullptr};
}

int update_database_table_with_condition(SettingsDatabase* database, const char* table,
                                         const SettingsRow* row, const char* condition) {
    const Lock lock(mutex());
    const int code = enter("update_database_table_with_condition",
                           arguments(table, Plain{doubles::showRow(row)}, condition));
    const std::optional<doubles::Columns> columns = doubles::columnsOf(row);
    if (code != 0 || !doubles::isOpen(database) || table == nullptr || !columns) {
        return code != 0 ? code : refused();
    }
    const std::string statement = "UPDATE " + doubles::quoted(table) + " SET " +
                                  columns->assignments + doubles::conditionOf(condition);
    return runOnRows(doubles::database().rows, statement, columns->values) ? 0 : refused();
}

int insert_database_table_entry_struct(SettingsDatabase* database, const char* table,
                                       const SettingsRow* row) {
    const Lock lock(mutex());
    const int code =
        enter("insert_database_table_entry_struct", arguments(table, Plain{doubles::showRow(row)}));
    const std::optional<doubles::Columns> columns = doubles::columnsOf(row);
    if (code != 0 || !doubles::isOpen(database) || table == nullptr || !columns) {
        return code != 0 ? code : refused();
    }
    const std::string statement = "INSERT INTO " + doubles::quoted(table) + " (" + columns->names +
                                  ") VALUES (" + columns->marks + ")";
    return runOnRows(doubles::database().rows, statement, columns->values) ? 0 : refused();
}

void tql_update_ssqlcol_struct(SettingsColumn* column, int type, const char* name,
                               const char* value) {
    const Lock lock(mutex());
    record("tql_update_ssqlcol_struct", arguments(type, name, value));
    if (column == nullptr) {
        return;
    }
    column->type = type;
    copyBounded(column->name, name == nullptr ? "" : name);
    copyBounded(column->value, value == nullptr ? "" : value);
}

} // extern "C"
