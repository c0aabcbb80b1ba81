// The tables of the settings database, their defaults, and how a file of any older shape gets them.
#pragma once

struct sqlite3;

namespace settings_database {

// The schema level of a database that bringUpToDate has seen: it stores the theme.
constexpr int kSchemaLevel = 2;

enum class SchemaChange { none, made, updated };

// Ensures that the database has the settings table with its columns in order, the row of the panel,
// the table Misc, and a view View_Theme that gives the theme stored in it. It goes by what is
// there, not by a version number. All changes are one transaction: a process that dies half-way
// leaves the old state.
//   result  none: nothing was missing; made: the database was empty; updated: otherwise
// Throws SqlError and changes nothing.
SchemaChange bringUpToDate(sqlite3* connection);

} // namespace settings_database
