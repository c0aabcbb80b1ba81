// Opening and closing the database, whether its file is missing, older or damaged.
#include "log_line.h"
#include "platform/settings_database.h"
#include "platform/settings_database/database_file.h"
#include "platform/settings_database/schema.h"
#include "platform/settings_database/statement.h"
#include "text.h"

#include <algorithm>
#include <exception>
#include <memory>
#include <new>
#include <stdexcept>
#include <string>
#include <system_error>

namespace settings_database {

namespace {

constexpr int kReadWriteAndCreate = 2; // the only mode that callers use

// Opening happens once and may wait for a tool that reads the file; callers repeat the calls
// that come later.
constexpr int kOpeningTimeoutMilliseconds = 2000;
constexpr int kCallTimeoutMilliseconds = 100;

constexpr int kFailed = -1;
constexpr int kOpened = 0;
constexpr int kMade = 1;
constexpr int kUpdated = 2;

// The file is not a usable database, and no later attempt will find otherwise.
class DamagedFile : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// A relative path keeps its meaning; SQLite's special names, such as ":memory:", lose theirs.
std::string fileName(const SettingsDatabase& database) {
    const std::string path(boundedText(database.path));
    if (path.empty()) {
        throw std::runtime_error("the path is empty");
    }
    return path.front() == '/' ? path : "./" + path;
}

Connection connect(const std::string& file) {
    sqlite3* opened = nullptr;
    // Serialised: the daemon's workers share one handle.
    const int code = sqlite3_open_v2(
        file.c_str(), &opened, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_FULLMUTEX,
        nullptr);
    Connection connection(opened);
    if (connection == nullptr) {
        throw std::bad_alloc();
    }
    if (code != SQLITE_OK) {
        throw SqlError(opened);
    }
    sqlite3_extended_result_codes(opened, 1);
    sqlite3_busy_timeout(opened, kOpeningTimeoutMilliseconds);
    return connection;
}

void checkWhole(sqlite3* connection) {
    Statement check(connection, "PRAGMA quick_check(1)");
    if (check.step() && check.text(0) != "ok") {
        std::string fault(check.text(0));
        std::replace(fault.begin(), fault.end(), '\n', ' ');
        throw DamagedFile(fault);
    }
    if (sqlite3_db_readonly(connection, "main") != 0) {
        throw SqlError(SQLITE_READONLY, "the file can only be read");
    }
}

// With a write-ahead log a commit is one append and one sync. If the log is not available,
// because someone is reading the file or the file system has no shared memory, SQLite keeps the
// rollback journal and syncs its folder too (EXTRA; the same as FULL for a log).
void makeCommitsDurable(sqlite3* connection) {
    execute(connection, "PRAGMA synchronous = EXTRA");
    try {
        execute(connection, "PRAGMA journal_mode = WAL");
    } catch (const SqlError& error) {
        if (error.primaryCode() != SQLITE_BUSY) {
            throw;
        }
    }
}

bool saysDamaged(const SqlError& error, const std::string& file) {
    switch (error.primaryCode()) {
    case SQLITE_CORRUPT:
    case SQLITE_NOTADB:
        return true;
    case SQLITE_ERROR:
    case SQLITE_READONLY:
        return hasForeignHeader(file);
    default:
        return false;
    }
}

// Opens the file and gives it its tables. Throws DamagedFile if it is damaged, any other exception
// if it cannot be opened.
Connection openWhole(const std::string& file, SchemaChange& change) {
    refuseOtherThanFile(file);
    makeFolderOf(file);
    Connection connection = connect(file);
    try {
        checkWhole(connection.get());
        makeCommitsDurable(connection.get());
        change = bringUpToDate(connection.get());
    } catch (const std::exception& error) {
        // Leave the log alone: the file may be about to be set aside.
        sqlite3_db_config(connection.get(), SQLITE_DBCONFIG_NO_CKPT_ON_CLOSE, 1, nullptr);
        const auto* sqlError = dynamic_cast<const SqlError*>(&error);
        if (sqlError != nullptr && saysDamaged(*sqlError, file)) {
            throw DamagedFile(error.what());
        }
        throw;
    }
    syncFolderOf(file);
    sqlite3_busy_timeout(connection.get(), kCallTimeoutMilliseconds);
    return connection;
}

void makeRoom(const std::string& file, const std::string& reason) {
    try {
        const std::string name = setAside(file).string();
        logErrorLine("open_database", file, " is damaged (", reason, "): kept as ", name,
                     ", starting with a new one");
    } catch (const std::system_error& error) {
        throw std::runtime_error("it is damaged (" + reason +
                                 ") and cannot be set aside: " + error.what());
    }
}

Connection openOrReplace(const std::string& file, SchemaChange& change) {
    std::string reason;
    try {
        return openWhole(file, change);
    } catch (const DamagedFile& damage) {
        reason = damage.what();
    }
    makeRoom(file, reason);
    return openWhole(file, change);
}

int resultOf(SchemaChange change) {
    switch (change) {
    case SchemaChange::none:
        return kOpened;
    case SchemaChange::made:
        return kMade;
    case SchemaChange::updated:
        break;
    }
    return kUpdated;
}

int open(SettingsDatabase& database, int mode) {
    close_database(&database);
    if (mode != kReadWriteAndCreate) {
        logErrorLine("open_database", "Unknown mode ", mode, "; only 2 is supported");
        return kFailed;
    }
    SchemaChange change = SchemaChange::none;
    database.connection = openOrReplace(fileName(database), change).release();
    database.ready = 1;
    database.schemaLevel = kSchemaLevel;
    return resultOf(change);
}

} // namespace

} // namespace settings_database

using namespace settings_database;

int open_database(SettingsDatabase* database, int mode) {
    if (database == nullptr) {
        return kFailed;
    }
    try {
        return open(*database, mode);
    } catch (const std::exception& error) {
        try {
            logErrorLine("open_database", "Cannot open ", boundedText(database->path), ": ",
                         error.what());
        } catch (const std::exception&) {
            return kFailed; // too little memory even for the line
        }
        return kFailed;
    }
}

int close_database(SettingsDatabase* database) {
    if (database != nullptr) {
        sqlite3_close_v2(database->connection);
        database->connection = nullptr;
        database->ready = 0;
        database->schemaLevel = 0;
    }
    return 0;
}
