// Makes database files of all kinds and bounds what SQLite may do with them.
#include "tests/fuzz/database_input.h"

#include "tests/fuzz/fuzz.h"
#include "tests/support/temporary_folder.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <sqlite3.h>

namespace fuzz {

namespace {

constexpr sqlite3_int64 kMaxMemory = 64 << 20;
constexpr int kStepsPerCount = 1000;
constexpr int kMaxCounts = 500;

int g_counts = 0;
bool g_noMemory = false;

int countSteps(void* /*unused*/) {
    return ++g_counts > kMaxCounts ? 1 : 0;
}

// Every connection of the process is counted, the library's own included.
int watchConnection(sqlite3* connection, const char** /*message*/, const void* /*routines*/) {
    sqlite3_progress_handler(connection, kStepsPerCount, countSteps, nullptr);
    return SQLITE_OK;
}

void noteError(void* /*unused*/, int code, const char* /*message*/) {
    g_noMemory = g_noMemory || (code & 0xff) == SQLITE_NOMEM;
}

// Files beside the one that is made are not the input's business.
int refuseOtherFiles(void* /*unused*/, int action, const char* /*one*/, const char* /*two*/,
                     const char* /*database*/, const char* /*trigger*/) {
    return action == SQLITE_ATTACH || action == SQLITE_DETACH ? SQLITE_DENY : SQLITE_OK;
}

void runSql(const std::string& path, const std::string& sql) {
    sqlite3* connection = nullptr;
    require(sqlite3_open(path.c_str(), &connection) == SQLITE_OK, "a file can be made");
    sqlite3_set_authorizer(connection, refuseOtherFiles, nullptr);
    // "VACUUM INTO" writes another file.
    if (::strcasestr(sql.c_str(), "vacuum") == nullptr) {
        sqlite3_exec(connection, sql.c_str(), nullptr, nullptr, nullptr);
    }
    sqlite3_close(connection);
}

std::string mutated(std::string bytes, std::string_view changes) {
    for (const std::string_view line : split(changes, '\n')) {
        const std::string text(line);
        if (text.starts_with("cut ")) {
            const std::size_t size = std::strtoul(text.c_str() + 4, nullptr, 10);
            bytes.resize(std::min(size, bytes.size()));
            continue;
        }
        char* rest = nullptr;
        const std::size_t offset = std::strtoul(text.c_str(), &rest, 10);
        if (rest != text.c_str() && offset < bytes.size()) {
            bytes[offset] = static_cast<char>(std::strtoul(rest, nullptr, 10));
        }
    }
    return bytes;
}

// One byte is nothing to SQLite, too: it may have written it itself to take possession.
bool mayBeEmpty(std::string_view bytes) {
    return bytes.size() <= 1 || bytes.starts_with("SQLite format 3");
}

} // namespace

DatabaseInput writeDatabase(std::string_view input, const std::string& path,
                            const std::string& good) {
    const std::size_t end = input.find('\n');
    const std::string_view kind = input.substr(0, end);
    const std::string rest(end == std::string_view::npos ? "" : input.substr(end + 1));
    if (kind == "sql") {
        runSql(path, rest);
        return {true, true};
    }
    std::string file(input);
    if (kind == "bytes") {
        file = rest;
    } else if (kind == "mutate") {
        file = mutated(good, rest);
    } else if (kind == "wal" || kind == "journal") {
        test::writeFile(path + '-' + std::string(kind), rest);
        file = good;
    }
    test::writeFile(path, file);
    return {false, mayBeEmpty(file)};
}

void limitSqlite() {
    static const bool isSet = [] {
        sqlite3_config(SQLITE_CONFIG_LOG, noteError, nullptr); // before its first use
        sqlite3_hard_heap_limit64(kMaxMemory);
        return sqlite3_auto_extension(reinterpret_cast<void (*)()>(watchConnection)) == SQLITE_OK;
    }();
    require(isSet, "SQLite has its limits");
    g_counts = 0;
    g_noMemory = false;
}

bool sqliteLimitMet() {
    return g_counts > kMaxCounts || g_noMemory;
}

} // namespace fuzz
