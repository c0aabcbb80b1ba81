// A scratch database in memory for each statement.
#include "tests/doubles/settings_rows.h"

#include "tests/doubles/settings_database_double.h"

#include <memory>
#include <sqlite3.h>

namespace doubles::detail {

namespace {

struct Close {
    void operator()(sqlite3* connection) const { sqlite3_close_v2(connection); }
    void operator()(sqlite3_stmt* statement) const { sqlite3_finalize(statement); }
};
using Scratch = std::unique_ptr<sqlite3, Close>;
using Prepared = std::unique_ptr<sqlite3_stmt, Close>;

// Null if SQLite refuses it or it is not exactly one statement.
Prepared prepare(sqlite3* scratch, const std::string& statement) {
    sqlite3_stmt* prepared = nullptr;
    const char* rest = nullptr;
    const int code = sqlite3_prepare_v2(scratch, statement.c_str(), -1, &prepared, &rest);
    Prepared owner(prepared);
    const bool isWhole =
        code == SQLITE_OK && std::string(rest).find_first_not_of(" \t\r\n;") == std::string::npos;
    return isWhole ? std::move(owner) : nullptr;
}

std::optional<SettingsRows> run(sqlite3* scratch, const std::string& statement,
                                const std::vector<std::string>& values) {
    const Prepared prepared = prepare(scratch, statement);
    if (prepared == nullptr) {
        return std::nullopt;
    }
    for (std::size_t i = 0; i < values.size(); ++i) {
        sqlite3_bind_text(prepared.get(), static_cast<int>(i) + 1, values[i].c_str(), -1,
                          SQLITE_STATIC);
    }
    SettingsRows rows;
    int code = SQLITE_OK;
    while ((code = sqlite3_step(prepared.get())) == SQLITE_ROW) {
        std::vector<std::string>& row = rows.emplace_back();
        for (int i = 0; i < sqlite3_column_count(prepared.get()); ++i) {
            const void* const text = sqlite3_column_text(prepared.get(), i);
            row.emplace_back(text == nullptr ? "" : static_cast<const char*>(text));
        }
    }
    return code == SQLITE_DONE ? std::optional(std::move(rows)) : std::nullopt;
}

std::string repeated(const std::vector<std::string>& names, const std::string& text) {
    std::string list;
    for (const std::string& name : names) {
        list += (list.empty() ? "" : ", ") + (text.empty() ? name + " TEXT" : text);
    }
    return list;
}

} // namespace

std::optional<SettingsRows> runOnRows(SettingsRows& rows, const std::string& statement,
                                      const std::vector<std::string>& values) {
    sqlite3* opened = nullptr;
    sqlite3_open(":memory:", &opened);
    const Scratch scratch(opened);
    const std::vector<std::string>& names = settingsColumnNames();
    run(opened, "CREATE TABLE webgui_tbl (" + repeated(names, {}) + ")", {});
    for (std::vector<std::string> row : rows) {
        row.resize(names.size());
        run(opened, "INSERT INTO webgui_tbl VALUES (" + repeated(names, "?") + ")", row);
    }
    std::optional<SettingsRows> result = run(opened, statement, values);
    if (result) {
        rows = run(opened, "SELECT * FROM webgui_tbl", {}).value_or(SettingsRows());
    }
    return result;
}

} // namespace doubles::detail
