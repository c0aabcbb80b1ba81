// From an input to a database file.
//
// The first line of an input says what the rest is:
//   bytes     the file
//   wal       the -wal of a good file; journal: its -journal
//   mutate    changes of a good file, one a line: "OFFSET VALUE" sets a byte, "cut SIZE" shortens
//   it sql       SQL that makes the file
// Anything else is the file as it stands, the first line included.
#pragma once

#include <string>
#include <string_view>

namespace fuzz {

// What is known about the file before it is opened.
struct DatabaseInput {
    bool isMadeBySql = false; // it may hold any schema, triggers included
    bool mayBeEmpty = false;  // it may be a database without any table
};

// Writes the file, and what lies beside it.
//   good   the bytes of a database as the library leaves it
DatabaseInput writeDatabase(std::string_view input, const std::string& path,
                            const std::string& good);

// SQLite's limits for this process: memory, and steps until the next call of this function, after
// which every statement is interrupted.
void limitSqlite();

// True when one of the limits was met since limitSqlite.
bool sqliteLimitMet();

} // namespace fuzz
