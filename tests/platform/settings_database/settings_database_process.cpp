// Another process that uses a settings database, for tests that lock it or kill the writer.
//   settings_database_process COMMAND PATH [N]
//     open         opens and closes; the exit status is the result plus 10
//     open-killed  as open, but stops half-way through the N-th change of a file and dies
//     update-killed  opens, then sets every column to "new"; the N-th change from then on is fatal
//     write        sets every column to one text, then to another, forever
//     lock         holds BEGIN EXCLUSIVE until it is killed
//     lock-all     locks the file against readers too
#include "platform/settings_database.h"
#include "text.h"

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <sqlite3.h>
#include <string>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace {

constexpr int kNever = -1;
int changesLeft = kNever;

// Whether the next change is the last one.
bool isLastChange() {
    return changesLeft != kNever && --changesLeft == 0;
}

[[noreturn]] void die() {
    ::raise(SIGKILL);
    std::abort();
}

void dieAtTheLastChange() {
    if (isLastChange()) {
        die();
    }
}

ssize_t cutWrite(int file, const void* data, std::size_t size, off_t offset) {
    if (isLastChange()) {
        if (::pwrite(file, data, size / 2, offset) < 0) {
            std::perror("half a write");
        }
        die();
    }
    return ::pwrite(file, data, size, offset);
}

int cutTruncate(int file, off_t size) {
    dieAtTheLastChange();
    return ::ftruncate(file, size);
}

int cutUnlink(const char* path) {
    dieAtTheLastChange();
    return ::unlink(path);
}

// SQLite allows replacing its system calls by name.
void watchSqlite() {
    sqlite3_vfs* system = sqlite3_vfs_find(nullptr);
    const auto replace = [system](const char* name, auto* function) {
        system->xSetSystemCall(system, name, reinterpret_cast<sqlite3_syscall_ptr>(function));
    };
    replace("pwrite", cutWrite);
    replace("pwrite64", cutWrite);
    replace("ftruncate", cutTruncate);
    replace("unlink", cutUnlink);
}

int openAs10(SettingsDatabase& database) {
    const int result = open_database(&database, 2);
    close_database(&database);
    return result + 10;
}

std::vector<SettingsColumn> allColumns(const char* value) {
    std::vector<SettingsColumn> columns;
    for (const char* name :
         {"InitBoot", "Language", "Brightness", "BacklightOff", "Screensaver", "Timer",
          "Measurement", "DateFormat", "TimeFormat", "HasAlert", "RoomAverage", "HiLoPeriod"}) {
        tql_update_ssqlcol_struct(&columns.emplace_back(), 1, name, value);
    }
    return columns;
}

int update(SettingsDatabase& database, const char* value) {
    std::vector<SettingsColumn> columns = allColumns(value);
    const SettingsRow row{static_cast<unsigned int>(columns.size()), columns.data()};
    return update_database_table_with_condition(&database, "webgui_tbl", &row, "");
}

int updateKilled(SettingsDatabase& database, int changes) {
    if (open_database(&database, 2) < 0) {
        return 1;
    }
    changesLeft = changes;
    const int code = update(database, "new");
    close_database(&database);
    return code;
}

int writeForever(SettingsDatabase& database) {
    if (open_database(&database, 2) < 0) {
        return 1;
    }
    for (int i = 0; update(database, i % 2 == 0 ? "first" : "second") == 0; ++i) {
        std::fputs(".", stdout);
        std::fflush(stdout);
    }
    return 1;
}

int lock(const char* path, const char* sql) {
    sqlite3* connection = nullptr;
    if (sqlite3_open(path, &connection) != SQLITE_OK ||
        sqlite3_exec(connection, sql, nullptr, nullptr, nullptr) != SQLITE_OK) {
        return 1;
    }
    std::fputs("locked", stdout);
    std::fflush(stdout);
    for (;;) {
        ::pause();
    }
}

} // namespace

// The library's own changes of names: these override the C library's.
// NOLINTNEXTLINE(readability-inconsistent-declaration-parameter-name): libc's are reserved
extern "C" int rename(const char* from, const char* to) noexcept {
    dieAtTheLastChange();
    return ::renameat(AT_FDCWD, from, AT_FDCWD, to);
}
extern "C" int mkdir(const char* path, mode_t mode) noexcept {
    dieAtTheLastChange();
    return ::mkdirat(AT_FDCWD, path, mode);
}

int main(int count, char** arguments) {
    if (count < 3) {
        return 2;
    }
    const std::string command = arguments[1];
    const int changes = count > 3 ? parseDecimal(arguments[3]) : kNever;
    SettingsDatabase database{};
    copyBounded(database.path, arguments[2]);
    watchSqlite();
    if (command == "open" || command == "open-killed") {
        changesLeft = changes;
        return openAs10(database);
    }
    if (command == "update-killed") {
        return updateKilled(database, changes);
    }
    if (command == "write") {
        return writeForever(database);
    }
    if (command == "lock") {
        return lock(arguments[2], "BEGIN EXCLUSIVE");
    }
    if (command == "lock-all") {
        return lock(arguments[2], "PRAGMA locking_mode = EXCLUSIVE; BEGIN EXCLUSIVE; "
                                  "CREATE TABLE held(a); ");
    }
    return 2;
}
