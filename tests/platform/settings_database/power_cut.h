// A life of a settings database, with the power cut after each operation on the disk: the library
// opens the database again, and its contents are checked.
//
//   ORVANE_POWER_CUT_RANDOM  random outcomes for each cut (default 25)
//   ORVANE_POWER_CUT_SEED    their seed (default 1)
#pragma once

#include "tests/platform/settings_database/database_fixture.h"
#include "tests/platform/settings_database/disk_model.h"

#include <functional>
#include <set>
#include <string>
#include <vector>

struct sqlite3;

namespace test {

// The path of the database in the recorded folder. Neither folder above it exists at first.
inline constexpr const char* kCutFile = "made/deeper/webgui.db";

// A row with the same value in every setting, as the sqlite3 command prints it.
std::string rowOfAll(const std::string& value);

// Sets every setting to this value. Returns the library's result.
int updateAll(Database& database, const std::string& value);

// The last value that SQLite returns for this SQL text, or its error message.
std::string answerOf(sqlite3* connection, const std::string& sql);

// What a sweep knows about the recorded life.
struct Life {
    // The row at the beginning and after each acknowledged step.
    std::vector<std::string> rows;
    // What open_database may return after a cut.
    std::set<int> openings;
    // Further checks of the open database in this folder. Returns what is wrong, or an empty text.
    std::function<std::string(Database&, const std::string& folder)> alsoFaulty{};
    bool mayFindDamage = false;
};

struct Count {
    int cuts = 0;
    int tries = 0; // cuts, each with every outcome
    int faults = 0;
    std::string firstFault;
};

// Cuts the power after each operation, and once before the first. Each time the database must open,
// be whole, keep its commits as docs/settings-database.md says, and hold the row of the last
// acknowledged step or of the one after it. Prints the count.
Count sweep(const DiskLog& log, const Life& life);

// The same, with a second power cut while the database is opened after the first.
Count sweepTwice(const DiskLog& log, const Life& life);

} // namespace test
