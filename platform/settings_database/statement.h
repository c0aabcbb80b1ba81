// A SQLite connection and its statements, with failures as exceptions.
#pragma once

#include <sqlite3.h>

#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace settings_database {

struct CloseConnection {
    void operator()(sqlite3* connection) const { sqlite3_close_v2(connection); }
};
using Connection = std::unique_ptr<sqlite3, CloseConnection>;

// SQLite's message; `code` is its extended result code.
class SqlError : public std::runtime_error {
public:
    SqlError(int code, const std::string& text) : std::runtime_error(text), code_(code) {}
    // The error of the last call on this connection, with the system's reason if there is one.
    explicit SqlError(sqlite3* connection);

    int primaryCode() const { return code_ & 0xff; }

private:
    int code_;
};

// A prepared statement. Every operation throws SqlError where SQLite refuses it.
class Statement {
public:
    // A second statement behind the first is an error: no text is silently ignored.
    Statement(sqlite3* connection, const std::string& sql);
    ~Statement() { sqlite3_finalize(statement_); }
    Statement(const Statement&) = delete;
    Statement& operator=(const Statement&) = delete;

    // Binds a text to the parameter `position`, counted from 1. The text must outlive the
    // statement; one without data is stored as NULL.
    void bind(int position, std::string_view text);

    // Advances to the next row; false after the last one.
    bool step();

    int columnCount() const { return sqlite3_column_count(statement_); }
    // The name of a column of the result, counted from 0.
    std::string_view columnName(int column) const;
    // The type that the table declares for it; empty if it declares none.
    std::string_view declaredType(int column) const;
    // SQLITE_INTEGER, SQLITE_FLOAT, SQLITE_TEXT, SQLITE_BLOB or SQLITE_NULL. Call it before
    // `text`, which may convert the value.
    int storageClass(int column) const { return sqlite3_column_type(statement_, column); }
    // The value as text up to its first NUL; valid until the next step.
    std::string_view text(int column) const;

private:
    sqlite3* connection_;
    sqlite3_stmt* statement_ = nullptr;
};

// Runs one statement to its end. Returns the first column of its last row, or an empty text.
std::string execute(sqlite3* connection, const std::string& sql);

// A name as an identifier of an SQL text: in quotes, quotes in it doubled.
std::string quoted(std::string_view identifier);

// The items with ", " between them.
std::string joined(const std::vector<std::string>& items);

} // namespace settings_database
