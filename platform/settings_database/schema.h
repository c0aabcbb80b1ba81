// The tables of the settings database, their defaults, and how a file of any older shape
// gets them. Files and connections are left to open_and_close.cpp.
#pragma once

struct sqlite3;

// The schema level of a database that bringUpToDate has seen: it stores the theme.
constexpr int kSchemaLevel = 2;

enum class SchemaChange { none, made, updated };

// Makes sure that the database has the settings table with its columns in their order and
// the row of the panel, the table Misc and the view View_Theme. What is missing is decided
// by looking at what is there. All changes are one transaction, so that a process that ends
// in mid-way leaves the old state.
//   result  none: nothing was missing; made: the database was empty; updated: otherwise
// Throws SqlError; nothing is changed then.
SchemaChange bringUpToDate(sqlite3* connection);
