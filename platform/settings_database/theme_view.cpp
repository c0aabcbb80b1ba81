// Tries the theme view instead of judging it by its name, kind or columns: a table of that name, or
// a view of another key, has the right columns and never gives the theme. The trial stores themes,
// so it takes place in memory: in the file it would need the write lock, and opening a good file
// writes nothing.
#include "platform/settings_database/theme_view.h"

#include "platform/settings_database/statement.h"

#include <algorithm>
#include <chrono>
#include <new>
#include <string>

namespace settings_database {

namespace {

constexpr const char* kThemes[] = {"dark", "light"};

// Far more than a view over two rows needs: the trial gives up on a view that never ends or that
// makes huge values.
constexpr std::chrono::seconds kMaxTrialTime{1};
constexpr int kStepsBetweenLooks = 1'000;
constexpr int kMaxTrialBytes = 64 * 1024;

using Clock = std::chrono::steady_clock;

// `end` must outlive the connection.
Connection openInMemory(const Clock::time_point& end) {
    sqlite3* opened = nullptr;
    const int code =
        sqlite3_open_v2(":memory:", &opened, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE, nullptr);
    Connection connection(opened);
    if (connection == nullptr) {
        throw std::bad_alloc();
    }
    if (code != SQLITE_OK) {
        throw SqlError(opened);
    }
    const auto isOver = [](void* user) {
        return Clock::now() > *static_cast<const Clock::time_point*>(user) ? 1 : 0;
    };
    sqlite3_limit(opened, SQLITE_LIMIT_LENGTH, kMaxTrialBytes);
    sqlite3_progress_handler(opened, kStepsBetweenLooks, isOver,
                             const_cast<Clock::time_point*>(&end)); // only read
    return connection;
}

// Tables and views without their rows, and a Misc that takes any row. What cannot be made here, a
// table of a missing module for example, is left out: a view on it gives nothing.
void copyDefinitions(sqlite3* from, sqlite3* to) {
    execute(to, "CREATE TABLE Misc (Key TEXT, Data TEXT)");
    Statement definitions(from, "SELECT sql FROM sqlite_master WHERE type IN ('table', 'view') AND "
                                "sql IS NOT NULL AND name <> 'Misc' COLLATE NOCASE");
    while (definitions.step()) {
        try {
            execute(to, std::string(definitions.text(0)));
        } catch (const SqlError& error) {
            if (error.primaryCode() == SQLITE_NOMEM) {
                throw;
            }
        }
    }
}

bool gives(sqlite3* trial, const char* theme) {
    Statement store(trial, "UPDATE Misc SET Data = ? WHERE Key = 'Theme'");
    store.bind(1, theme);
    store.step();
    Statement read(trial, "SELECT Data FROM View_Theme WHERE Key = 'Theme'");
    return read.step() && read.text(0) == theme && !read.step();
}

} // namespace

bool givesStoredTheme(sqlite3* connection) {
    const Clock::time_point end = Clock::now() + kMaxTrialTime;
    const Connection trial = openInMemory(end);
    copyDefinitions(connection, trial.get());
    try {
        execute(trial.get(), "INSERT INTO Misc VALUES ('Theme', ''), ('Other', 'other')");
        return std::ranges::all_of(
            kThemes, [&trial](const char* theme) { return gives(trial.get(), theme); });
    } catch (const SqlError& error) {
        if (error.primaryCode() == SQLITE_NOMEM) {
            throw;
        }
        return false;
    }
}

} // namespace settings_database
