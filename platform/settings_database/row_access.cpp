// Reading and writing rows by column records.
#include "log_line.h"
#include "platform/settings_database.h"
#include "platform/settings_database/statement.h"
#include "text.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <mutex>
#include <new>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace settings_database {

namespace {

constexpr int kDone = 0;
constexpr int kFailed = 1;

// The line that was logged last. Callers repeat a call many times while the database is locked; an
// equal line is logged once, until a call succeeds or fails differently.
class LastFailure {
public:
    void log(const char* call, const std::string& text) {
        const std::scoped_lock lock(mutex_);
        const std::string line = std::string(call) + ": " + text;
        if (line != line_) {
            line_ = line;
            logErrorLine(call, text);
        }
    }
    void forget() {
        const std::scoped_lock lock(mutex_);
        line_.clear();
    }

private:
    std::mutex mutex_;
    std::string line_;
};

LastFailure& lastFailure() {
    static LastFailure failure;
    return failure;
}

// Keeps other threads off the connection, so that its error text belongs to this call.
class ConnectionLock {
public:
    explicit ConnectionLock(sqlite3* connection) : mutex_(sqlite3_db_mutex(connection)) {
        sqlite3_mutex_enter(mutex_);
    }
    ~ConnectionLock() { sqlite3_mutex_leave(mutex_); }
    ConnectionLock(const ConnectionLock&) = delete;
    ConnectionLock& operator=(const ConnectionLock&) = delete;

private:
    sqlite3_mutex* mutex_;
};

// Runs the body of a C function: checks the handle, and turns every exception into a failure and a
// line of log.
template <typename Body>
int runCall(const char* call, const SettingsDatabase* database, const char* table, Body body) {
    try {
        try {
            if (database == nullptr || database->ready == 0 || database->connection == nullptr) {
                throw std::runtime_error("the database is not open");
            }
            if (table == nullptr || *table == '\0') {
                throw std::runtime_error("no table is named");
            }
            const ConnectionLock lock(database->connection);
            body(database->connection);
            lastFailure().forget();
            return kDone;
        } catch (const std::exception& error) {
            const std::string name = table == nullptr ? "" : table;
            lastFailure().log(call, name + ": " + error.what());
        }
    } catch (const std::exception&) {
        return kFailed; // too little memory even for the line
    }
    return kFailed;
}

std::string withCondition(const std::string& sql, const char* condition) {
    return condition == nullptr ? sql : sql + ' ' + condition;
}

// ---- Reading ----

constexpr const char* kNumericWords[] = {"INT", "REAL", "FLOA", "DOUB", "NUM", "DEC"};

bool isNumericType(std::string_view declared) {
    const std::string type(declared);
    return std::ranges::any_of(kNumericWords, [&type](const char* word) {
        return ::strcasestr(type.c_str(), word) != nullptr;
    });
}

int typeOf(const Statement& statement, int column) {
    const int storage = statement.storageClass(column);
    if (storage == SQLITE_INTEGER || storage == SQLITE_FLOAT ||
        isNumericType(statement.declaredType(column))) {
        return kSettingsNumber;
    }
    const std::string_view value = statement.text(column);
    return value == "true" || value == "false" ? kSettingsBoolean : kSettingsText;
}

void fill(SettingsColumn& column, int type, std::string_view name, std::string_view value) {
    column.type = type;
    copyBounded(column.name, name);
    copyBounded(column.value, value);
}

constexpr std::size_t kRowPointerBytes = sizeof(void*);

// A result that grows row by row; freed unless it is handed over.
class TableBuilder {
public:
    TableBuilder() = default;
    ~TableBuilder() { free_sql_tbl(&table_); }
    TableBuilder(const TableBuilder&) = delete;
    TableBuilder& operator=(const TableBuilder&) = delete;

    void addHeading(const Statement& statement) {
        table_.rows = static_cast<SettingsColumn**>(std::calloc(capacity_, kRowPointerBytes));
        if (table_.rows == nullptr) {
            throw std::bad_alloc();
        }
        table_.rows[0] = newRow(statement);
        for (int i = 0; i < statement.columnCount(); ++i) {
            fill(table_.rows[0][i], kSettingsText, statement.columnName(i),
                 statement.columnName(i));
        }
    }

    void addRow(const Statement& statement) {
        reserveOne();
        table_.rows[table_.rowCount + 1] = newRow(statement);
        ++table_.rowCount;
        for (int i = 0; i < statement.columnCount(); ++i) {
            const int type = typeOf(statement, i);
            fill(table_.rows[table_.rowCount][i], type, statement.columnName(i), statement.text(i));
        }
    }

    SettingsTable handOver() {
        const SettingsTable table = table_;
        table_ = {};
        return table;
    }

private:
    static SettingsColumn* newRow(const Statement& statement) {
        const auto columns = static_cast<std::size_t>(statement.columnCount());
        void* row = std::calloc(columns, sizeof(SettingsColumn));
        if (row == nullptr) {
            throw std::bad_alloc();
        }
        return static_cast<SettingsColumn*>(row);
    }

    void reserveOne() {
        const std::size_t used = std::size_t{1} + table_.rowCount; // the heading too
        if (used < capacity_) {
            return;
        }
        void* larger = std::realloc(table_.rows, 2 * capacity_ * kRowPointerBytes);
        if (larger == nullptr) {
            throw std::bad_alloc();
        }
        table_.rows = static_cast<SettingsColumn**>(larger);
        capacity_ *= 2;
    }

    SettingsTable table_{};
    std::size_t capacity_ = 2; // the usual answer: the heading and one row
};

// ---- Writing ----

std::span<const SettingsColumn> columnsOf(const SettingsRow* row) {
    if (row == nullptr || row->columns == nullptr || row->columnCount == 0) {
        throw std::runtime_error("the row has no columns");
    }
    return {row->columns, row->columnCount};
}

// With a write-ahead log SQLite keeps writing to a file that has lost its name, where nobody will
// find it again.
void refuseMovedFile(sqlite3* connection) {
    int isMoved = 0;
    if (sqlite3_file_control(connection, "main", SQLITE_FCNTL_HAS_MOVED, &isMoved) == SQLITE_OK &&
        isMoved != 0) {
        throw std::runtime_error("the file was moved or deleted while it was open");
    }
}

// Runs a statement whose parameters are the values of the columns, in order, as texts.
void runWithValues(sqlite3* connection, const std::string& sql,
                   std::span<const SettingsColumn> columns) {
    refuseMovedFile(connection);
    Statement statement(connection, sql);
    int position = 0;
    for (const SettingsColumn& column : columns) {
        statement.bind(++position, boundedText(column.value));
    }
    while (statement.step()) {
        // Only a condition that asks for rows gives any; ignore them.
    }
}

} // namespace

} // namespace settings_database

using namespace settings_database;

int query_database_dat_with_condition(SettingsDatabase* database, const char* table,
                                      SettingsTable* result, const char* condition) {
    if (result == nullptr) {
        return kFailed;
    }
    *result = {};
    return runCall("query_database_dat_with_condition", database, table, [&](sqlite3* connection) {
        Statement statement(connection, withCondition("SELECT * FROM " + quoted(table), condition));
        TableBuilder rows;
        // Step before the heading: the first step notices columns that were added since.
        bool isRow = statement.step();
        rows.addHeading(statement);
        for (; isRow; isRow = statement.step()) {
            rows.addRow(statement);
        }
        *result = rows.handOver();
    });
}

void free_sql_tbl(SettingsTable* table) {
    if (table == nullptr || table->rows == nullptr) {
        return;
    }
    for (std::size_t i = 0; i <= table->rowCount; ++i) {
        std::free(table->rows[i]);
    }
    std::free(table->rows);
    *table = {};
}

int update_database_table_with_condition(SettingsDatabase* database, const char* table,
                                         const SettingsRow* row, const char* condition) {
    return runCall(
        "update_database_table_with_condition", database, table, [&](sqlite3* connection) {
            const std::span<const SettingsColumn> columns = columnsOf(row);
            std::vector<std::string> settings;
            for (const SettingsColumn& column : columns) {
                settings.push_back(quoted(boundedText(column.name)) + " = ?");
            }
            runWithValues(
                connection,
                withCondition("UPDATE " + quoted(table) + " SET " + joined(settings), condition),
                columns);
        });
}

int insert_database_table_entry_struct(SettingsDatabase* database, const char* table,
                                       const SettingsRow* row) {
    return runCall("insert_database_table_entry_struct", database, table, [&](sqlite3* connection) {
        const std::span<const SettingsColumn> columns = columnsOf(row);
        std::vector<std::string> names;
        for (const SettingsColumn& column : columns) {
            names.push_back(quoted(boundedText(column.name)));
        }
        const std::vector<std::string> parameters(columns.size(), "?");
        runWithValues(connection,
                      "INSERT INTO " + quoted(table) + " (" + joined(names) + ") VALUES (" +
                          joined(parameters) + ")",
                      columns);
    });
}

void tql_update_ssqlcol_struct(SettingsColumn* column, int type, const char* name,
                               const char* value) {
    if (column != nullptr) {
        fill(*column, type, name == nullptr ? "" : name, value == nullptr ? "" : value);
    }
}
