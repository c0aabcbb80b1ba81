// Tables are compared by their columns and rebuilt, never altered; docs/settings-database.md has
// the rules for its users.
#include "platform/settings_database/schema.h"

#include "platform/settings_database/statement.h"
#include "platform/settings_database/theme_view.h"

#include <algorithm>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <strings.h>
#include <vector>

namespace settings_database {

namespace {

struct ColumnDefault {
    const char* column;
    const char* value;
};

// The columns in the order that readers count on, with the values of a new panel. The first one
// selects the row.
constexpr ColumnDefault kSettings[] = {
    {"Name", "Zolan CMS Web GUI Settings"},
    {"InitBoot", "true"},
    {"Language", "English"},
    {"Brightness", "5"},
    {"BacklightOff", "Never"},
    {"Screensaver", "Enabled"},
    {"Timer", "10 Minutes"},
    {"Measurement", "Metric"},
    {"DateFormat", "YYYY-MM-DD"},
    {"TimeFormat", "24 Hours"},
    {"HasAlert", "NO"},
    {"RoomAverage", "false"},
    {"HiLoPeriod", "24 Hours"},
};
constexpr ColumnDefault kMisc[] = {
    {"Key", ""},
    {"Data", ""},
};

struct Table {
    const char* name;
    std::span<const ColumnDefault> columns;
};
constexpr Table kSettingsTable = {"webgui_tbl", kSettings};
constexpr Table kMiscTable = {"Misc", kMisc};
constexpr const char* kThemeView = "View_Theme";

using Names = std::vector<std::string>;

// SQLite compares names of tables and columns without case.
bool isSameName(const std::string& left, const char* right) {
    return ::strcasecmp(left.c_str(), right) == 0;
}

bool contains(const Names& names, const char* name) {
    return std::any_of(names.begin(), names.end(),
                       [name](const std::string& each) { return isSameName(each, name); });
}

// "table" or "view"; empty if neither has that name.
std::string kindOf(sqlite3* connection, std::string_view name) {
    Statement statement(connection, "SELECT type FROM sqlite_master WHERE type IN ('table', "
                                    "'view') AND name = ? COLLATE NOCASE");
    statement.bind(1, name);
    return statement.step() ? std::string(statement.text(0)) : std::string();
}

// The columns that a reader of `name` gets; nothing if it cannot be read, for example a view whose
// table is gone.
std::optional<Names> columnsOf(sqlite3* connection, const char* name) {
    try {
        const Statement statement(connection, "SELECT * FROM " + quoted(name));
        Names names;
        for (int i = 0; i < statement.columnCount(); ++i) {
            names.emplace_back(statement.columnName(i));
        }
        return names;
    } catch (const SqlError& error) {
        if (error.primaryCode() != SQLITE_ERROR) {
            throw;
        }
        return std::nullopt;
    }
}

bool hasShape(sqlite3* connection, const Table& table) {
    const std::optional<Names> names = columnsOf(connection, table.name);
    return names && kindOf(connection, table.name) == "table" &&
           std::equal(names->begin(), names->end(), table.columns.begin(), table.columns.end(),
                      [](const std::string& name, const ColumnDefault& wanted) {
                          return isSameName(name, wanted.column);
                      });
}

bool hasRow(sqlite3* connection) {
    Statement statement(connection, "SELECT 1 FROM webgui_tbl WHERE Name = ?");
    statement.bind(1, kSettings[0].value);
    return statement.step();
}

bool isUpToDate(sqlite3* connection) {
    return hasShape(connection, kSettingsTable) && hasRow(connection) &&
           hasShape(connection, kMiscTable) && givesStoredTheme(connection);
}

bool isEmpty(sqlite3* connection) {
    return execute(connection, "SELECT count(*) FROM sqlite_master") == "0";
}

void createTable(sqlite3* connection, const Table& table) {
    Names columns;
    for (const ColumnDefault& each : table.columns) {
        columns.push_back(quoted(each.column) + " TEXT");
    }
    execute(connection, "CREATE TABLE " + quoted(table.name) + " (" + joined(columns) + ")");
}

// The first name of the form <name>_old_<n> that is not taken.
std::string freeBackupName(sqlite3* connection, const std::string& name) {
    for (int n = 1;; ++n) {
        std::string backup = name + "_old_" + std::to_string(n);
        if (kindOf(connection, backup).empty()) {
            return backup;
        }
    }
}

// Copies the rows of the backup: known columns by their names, the others as defaults.
void copyRows(sqlite3* connection, const Table& table, const std::string& backup,
              const Names& oldColumns) {
    Names targets;
    Names sources;
    std::vector<const char*> defaults;
    for (const ColumnDefault& each : table.columns) {
        targets.push_back(quoted(each.column));
        if (contains(oldColumns, each.column)) {
            sources.push_back(targets.back());
        } else {
            sources.emplace_back("?");
            defaults.push_back(each.value);
        }
    }
    Statement statement(connection, "INSERT INTO " + quoted(table.name) + " (" + joined(targets) +
                                        ") SELECT " + joined(sources) + " FROM " + quoted(backup));
    int position = 0;
    for (const char* value : defaults) {
        statement.bind(++position, value);
    }
    statement.step();
}

// Makes the table anew with its columns in order and moves the rows over. Keeps the old table as a
// backup if it has columns that the new one lacks.
void rebuild(sqlite3* connection, const Table& table, const std::string& kind) {
    const std::optional<Names> oldColumns = columnsOf(connection, table.name);
    const std::string backup = freeBackupName(connection, table.name);
    if (oldColumns) {
        execute(connection,
                "CREATE TABLE " + quoted(backup) + " AS SELECT * FROM " + quoted(table.name));
    }
    execute(connection, "DROP " + kind + " " + quoted(table.name));
    createTable(connection, table);
    if (!oldColumns) {
        return;
    }
    copyRows(connection, table, backup, *oldColumns);
    const bool everyColumnIsKnown =
        std::all_of(oldColumns->begin(), oldColumns->end(), [&table](const std::string& name) {
            return std::any_of(
                table.columns.begin(), table.columns.end(),
                [&name](const ColumnDefault& known) { return isSameName(name, known.column); });
        });
    if (everyColumnIsKnown) {
        execute(connection, "DROP TABLE " + quoted(backup));
    }
}

void giveShape(sqlite3* connection, const Table& table) {
    const std::string kind = kindOf(connection, table.name);
    if (kind.empty()) {
        createTable(connection, table);
    } else if (!hasShape(connection, table)) {
        rebuild(connection, table, kind);
    }
}

void giveRow(sqlite3* connection) {
    if (hasRow(connection)) {
        return;
    }
    Names parameters(std::size(kSettings), "?");
    Statement statement(connection, "INSERT INTO webgui_tbl VALUES (" + joined(parameters) + ")");
    int position = 0;
    for (const ColumnDefault& each : kSettings) {
        statement.bind(++position, each.value);
    }
    statement.step();
}

void giveThemeView(sqlite3* connection) {
    if (givesStoredTheme(connection)) {
        return;
    }
    const std::string name = quoted(kThemeView);
    const std::string kind = kindOf(connection, kThemeView);
    if (kind == "table") {
        execute(connection, "CREATE TABLE " + quoted(freeBackupName(connection, kThemeView)) +
                                " AS SELECT * FROM " + name);
    }
    if (!kind.empty()) {
        execute(connection, "DROP " + kind + " " + name);
    }
    execute(connection,
            "CREATE VIEW " + name + " AS SELECT Key, Data FROM Misc WHERE Key = 'Theme'");
}

// Rolls back unless it was committed.
class Transaction {
public:
    explicit Transaction(sqlite3* connection) : connection_(connection) {
        execute(connection, "BEGIN IMMEDIATE");
    }
    ~Transaction() {
        if (sqlite3_get_autocommit(connection_) == 0) {
            sqlite3_exec(connection_, "ROLLBACK", nullptr, nullptr, nullptr);
        }
    }
    Transaction(const Transaction&) = delete;
    Transaction& operator=(const Transaction&) = delete;

    void commit() { execute(connection_, "COMMIT"); }

private:
    sqlite3* connection_;
};

} // namespace

SchemaChange bringUpToDate(sqlite3* connection) {
    if (isUpToDate(connection)) {
        return SchemaChange::none;
    }
    Transaction transaction(connection);
    // Check again under the lock: another process may have been faster.
    if (isUpToDate(connection)) {
        return SchemaChange::none;
    }
    const bool wasEmpty = isEmpty(connection);
    giveShape(connection, kSettingsTable);
    giveRow(connection);
    giveShape(connection, kMiscTable);
    giveThemeView(connection);
    transaction.commit();
    return wasEmpty ? SchemaChange::made : SchemaChange::updated;
}

} // namespace settings_database
