// One SQLite statement, its texts and its errors. What is run, and what an error means, is
// left to the callers.
#pragma once

#include <sqlite3.h>

#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

// What SQLite said; `code` is its extended result code.
class SqlError : public std::runtime_error {
public:
    SqlError(int code, const std::string& text) : std::runtime_error(text), code_(code) {}
    // Of the last call on this connection; with the reason that the system gave, if any.
    explicit SqlError(sqlite3* connection);

    int primaryCode() const { return code_ & 0xff; }

private:
    int code_;
};

// A prepared statement. Every operation throws SqlError where SQLite refuses.
class Statement {
public:
    // A second statement behind the first is an error, so that no text is silently ignored.
    Statement(sqlite3* connection, const std::string& sql);
    ~Statement() { sqlite3_finalize(statement_); }
    Statement(const Statement&) = delete;
    Statement& operator=(const Statement&) = delete;

    // Binds a text to the parameter `position`, counted from 1. The text is borrowed until
    // the statement is gone; one without data is stored as NULL.
    void bind(int position, std::string_view text);

    // Goes to the next row; false when there is none.
    bool step();

    int columnCount() const { return sqlite3_column_count(statement_); }
    // The name of a column of the result, counted from 0.
    std::string_view columnName(int column) const;
    // The type that the table declares for it; empty where there is none.
    std::string_view declaredType(int column) const;
    // SQLITE_INTEGER, SQLITE_FLOAT, SQLITE_TEXT, SQLITE_BLOB or SQLITE_NULL; to be asked
    // before `text`, which may convert the value.
    int storageClass(int column) const { return sqlite3_column_type(statement_, column); }
    // The value as text up to its first NUL; valid until the next step.
    std::string_view text(int column) const;

private:
    sqlite3* connection_;
    sqlite3_stmt* statement_ = nullptr;
};

// Runs one statement to its end and gives the first column of its last row.
std::string execute(sqlite3* connection, const std::string& sql);

// A name as an identifier of an SQL text: in quotes, quotes in it doubled.
std::string quoted(std::string_view identifier);

// The items with ", " between them.
std::string joined(const std::vector<std::string>& items);
