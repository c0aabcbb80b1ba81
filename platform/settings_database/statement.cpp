// Statements by SQLite's C interface.
#include "platform/settings_database/statement.h"

#include <cstring>
#include <new>
#include <system_error>

namespace settings_database {

namespace {

std::string describe(sqlite3* connection) {
    std::string text = sqlite3_errmsg(connection);
    const int code = sqlite3_extended_errcode(connection);
    const int systemError = sqlite3_system_errno(connection);
    text += " (SQLite code " + std::to_string(code);
    const bool isAboutFiles = (code & 0xff) == SQLITE_IOERR || (code & 0xff) == SQLITE_CANTOPEN;
    if (isAboutFiles && systemError != 0) {
        text += ", " + std::generic_category().message(systemError);
    }
    return text + ")";
}

} // namespace

SqlError::SqlError(sqlite3* connection)
    : std::runtime_error(describe(connection)), code_(sqlite3_extended_errcode(connection)) {}

Statement::Statement(sqlite3* connection, const std::string& sql) : connection_(connection) {
    const char* rest = nullptr;
    if (sqlite3_prepare_v2(connection, sql.c_str(), -1, &statement_, &rest) != SQLITE_OK) {
        throw SqlError(connection);
    }
    if (statement_ == nullptr || rest[std::strspn(rest, " \t\r\n;")] != '\0') {
        sqlite3_finalize(statement_);
        throw SqlError(SQLITE_MISUSE, "not exactly one statement: " + sql);
    }
}

void Statement::bind(int position, std::string_view text) {
    if (sqlite3_bind_text64(statement_, position, text.data(), text.size(), SQLITE_STATIC,
                            SQLITE_UTF8) != SQLITE_OK) {
        throw SqlError(connection_);
    }
}

bool Statement::step() {
    const int code = sqlite3_step(statement_);
    if (code != SQLITE_ROW && code != SQLITE_DONE) {
        throw SqlError(connection_);
    }
    return code == SQLITE_ROW;
}

std::string_view Statement::columnName(int column) const {
    const char* name = sqlite3_column_name(statement_, column);
    if (name == nullptr) {
        throw std::bad_alloc();
    }
    return name;
}

std::string_view Statement::declaredType(int column) const {
    const char* type = sqlite3_column_decltype(statement_, column);
    return type == nullptr ? std::string_view() : std::string_view(type);
}

std::string_view Statement::text(int column) const {
    const void* start = sqlite3_column_text(statement_, column);
    if (start == nullptr) { // NULL, or no memory to convert
        if (sqlite3_errcode(connection_) == SQLITE_NOMEM) {
            throw std::bad_alloc();
        }
        return "";
    }
    return static_cast<const char*>(start);
}

std::string execute(sqlite3* connection, const std::string& sql) {
    Statement statement(connection, sql);
    std::string value;
    while (statement.step()) {
        value = statement.columnCount() > 0 ? statement.text(0) : std::string_view();
    }
    return value;
}

std::string quoted(std::string_view identifier) {
    std::string text = "\"";
    for (const char letter : identifier) {
        text += letter;
        if (letter == '"') {
            text += letter;
        }
    }
    return text + '"';
}

std::string joined(const std::vector<std::string>& items) {
    std::string text;
    for (const std::string& item : items) {
        text += (text.empty() ? "" : ", ") + item;
    }
    return text;
}

} // namespace settings_database
