// The theme: stored in the table Misc of the settings database, written at once, read through
// View_Theme.
#include "agent/query_result.h"
#include "agent/webgui_agent.h"
#include "log_line.h"

#include <exception>
#include <stdexcept>
#include <utility>

namespace {

constexpr char kDefaultTheme[] = "dark";

// The value that a query for a single value has collected, or null.
const std::string* collectedValue() {
    return G_QueryResult.values.empty() ? nullptr : &G_QueryResult.values.begin()->second;
}

// A count that is not a number ends the process. Meant: std::terminate is called inside a handler,
// since only there does it print the exception, however the compiler has inlined the throwing code.
bool hasThemeRow() noexcept {
    const std::string* count = collectedValue();
    try {
        return count != nullptr && std::stoul(*count) > 0;
    } catch (...) {
        std::terminate();
    }
}

} // namespace

void WebGUIAgent::setTheme(std::string value) noexcept {
    constexpr std::string_view kName = "setTheme";
    if (database_.schemaLevel < kSchemaLevelWithTheme) {
        logLine(kName, "Database is not support Theme");
        return;
    }
    if (database_.ready == 0) {
        logLine(kName, "Database is not ready");
        return;
    }
    if (value != "dark" && value != "light") {
        logLine(kName, "Invalided Theme value (", value, ") ");
        return;
    }
    try {
        Run_SQL("SELECT count(*) from Misc WHERE Key = 'Theme'", 1);
    } catch (const std::runtime_error& failure) {
        // Meant: this one line has no bracket after the name.
        writeErrorLine("[setTheme: Stopped due to ", failure.what());
        return;
    }
    const std::string statement = hasThemeRow()
                                      ? "UPDATE Misc SET Data = '" + value + "' WHERE Key = 'Theme'"
                                      : "INSERT INTO Misc VALUES ( 'Theme', '" + value + "' )";
    try {
        Run_SQL(statement, 0);
    } catch (const std::runtime_error&) {
        logErrorLine(kName, "Stopped due to failed to update Theme data ");
        return;
    } catch (...) {
        // Not left to noexcept: unoptimised, GCC 14 loses the exception while the statement is
        // destroyed, and the process ends by SIGSEGV instead of with the exception's name.
        std::terminate();
    }
    theme_ = std::move(value);
}

std::string WebGUIAgent::getTheme() noexcept {
    constexpr std::string_view kName = "getTheme";
    if (database_.schemaLevel < kSchemaLevelWithTheme) {
        logLine(kName, "Database is not support Theme");
        return theme_;
    }
    if (database_.ready == 0) {
        logLine(kName, "Database is not ready");
        return theme_;
    }
    try {
        Run_SQL("SELECT Data from View_Theme WHERE Key = 'Theme'", 1);
    } catch (const std::runtime_error& failure) {
        logErrorLine(kName, "Stopped due to ", failure.what());
        return theme_;
    }
    if (const std::string* value = collectedValue(); value != nullptr) {
        theme_ = *value;
    } else {
        theme_ = kDefaultTheme;
        setTheme(kDefaultTheme);
    }
    return theme_;
}

// The last step of every reload.
void WebGUIAgent::adoptTheme() {
    if (database_.schemaLevel >= kSchemaLevelWithTheme) {
        theme_ = getTheme();
    }
}
