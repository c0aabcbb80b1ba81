// A life of a settings database, cut at every point: the power goes after each thing that was asked
// of the disk, the database is opened again by the library, and what it holds is judged.
//
//   ORVANE_POWER_CUT_RANDOM  random ways to survive for each cut (default 25)
//   ORVANE_POWER_CUT_SEED    where they begin (default 1)
#pragma once

#include "tests/platform/settings_database/database_fixture.h"
#include "tests/platform/settings_database/disk_model.h"

#include <functional>
#include <set>
#include <string>
#include <vector>

struct sqlite3;

namespace test {

// Where the database lies in the recorded folder: neither folder above it exists at first.
inline constexpr const char* kCutFile = "made/deeper/webgui.db";

// A row in which every setting says the same, as the sqlite3 command prints it.
std::string rowOfAll(const std::string& value);

// Gives every setting this value; the library's result.
int updateAll(Database& database, const std::string& value);

// The last value that SQLite gives for the text, or its complaint.
std::string answerOf(sqlite3* connection, const std::string& sql);

// What a sweep is told of the recorded life.
struct Life {
    // The row at the beginning and after each acknowledged step.
    std::vector<std::string> rows;
    // What open_database may give after a cut.
    std::set<int> openings;
    // More that may be wrong with the open database in this folder; empty: nothing is.
    std::function<std::string(Database&, const std::string& folder)> alsoFaulty{};
    bool mayFindDamage = false;
};

struct Count {
    int cuts = 0;
    int tries = 0; // cuts, each in every way to survive
    int faults = 0;
    std::string firstFault;
};

// Cuts the power after each operation, and once before the first. After each the database must
// open, be whole, keep its commits as docs/settings-database.md says, and hold the row of the
// last acknowledged step or of the one after it. Prints the count.
Count sweep(const DiskLog& log, const Life& life);

// The same, but while the database is opened after such a cut the power goes once more.
Count sweepTwice(const DiskLog& log, const Life& life);

} // namespace test
