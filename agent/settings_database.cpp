// Opening the settings database, and running SQL on it without the row helpers.
#include "agent/query_result.h"
#include "agent/webgui_agent.h"
#include "log_line.h"
#include "text.h"

#include <array>
#include <cstdio>
#include <memory>
#include <sqlite3.h>
#include <stdexcept>

// NOLINTNEXTLINE(cert-err58-cpp): an empty map; without memory for it the daemon cannot run
QueryResult G_QueryResult;

namespace {

constexpr char kDatabasePath[] = "/var/database/webgui.db";
constexpr int kOpenMode = 2;
constexpr std::size_t kSqlTextSize = 1024;

struct SqliteFree {
    void operator()(char* text) const noexcept { sqlite3_free(text); }
};

// Called by SQLite for each row; 0 asks for the next one.
int collectRow(void*, int columnCount, char** values, char** columnNames) {
    for (int i = 0; i < columnCount; ++i) {
        // SQL NULL arrives as a null pointer and is kept as an empty text.
        G_QueryResult.values[{G_QueryResult.rowCount, columnNames[i]}] =
            values[i] == nullptr ? "" : values[i];
    }
    ++G_QueryResult.rowCount;
    return 0;
}

} // namespace

// Returns false if there is no database to read the settings from.
bool WebGUIAgent::openDatabase() {
    copyBounded(database_.path, kDatabasePath);
    const int code = open_database(&database_, kOpenMode);
    if (code >= 0 && code <= 2) {
        if (code == 0) {
            logLine("WebGUIAgent", "Database is ready ");
        }
        database_.schemaLevel = kSchemaLevelWithTheme;
        return true;
    }
    logLine("WebGUIAgent",
            "Failed to call open_database(). The return code: ", std::to_string(code));
    return database_.schemaLevel > 0;
}

// NOLINTNEXTLINE(readability-make-member-function-const): changes the database
int WebGUIAgent::Run_SQL(std::string sql, int collect) {
    if (database_.ready == 0) {
        throw std::runtime_error("Database is not ready");
    }
    std::array<char, kSqlTextSize> text{};
    std::snprintf(text.data(), text.size(), "%s", sql.c_str());
    if (collect != 0) {
        G_QueryResult.values.clear();
        G_QueryResult.rowCount = 0;
    }
    char* message = nullptr;
    const int code = sqlite3_exec(database_.connection, text.data(),
                                  collect != 0 ? collectRow : nullptr, nullptr, &message);
    const std::unique_ptr<char, SqliteFree> owner(message);
    if (code == SQLITE_OK) {
        return 0;
    }
    logErrorLine("Run_SQL", "Stopped due to failed to execute ", text.data(), " with return code ",
                 code);
    if (message != nullptr) {
        writeErrorLine("\tExtra Information: ", message);
    }
    throw std::runtime_error("failed ");
}

int WebGUIAgent::Transaction(unsigned int status) noexcept {
    constexpr std::array kStatements = {"BEGIN TRANSACTION", "COMMIT TRANSACTION",
                                        "ROLLBACK TRANSACTION"};
    if (status >= kStatements.size()) {
        logErrorLine("Transaction", "Unsupported transaction status ");
        return 0;
    }
    try {
        Run_SQL(kStatements[status], 0);
        return 1;
    } catch (const std::runtime_error&) {
        return 0; // Run_SQL has logged a failed statement
    }
}
