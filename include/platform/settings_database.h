// libwebguidb.so: row-level access to the settings database.
//
// For every function:
//   values   bound, never part of an SQL text
//   throws   never
//   log      a failure writes one line to standard error
//   threads  any; one handle belongs to one thread at a time
#pragma once

#include <cstddef>

struct sqlite3;

// The handle. The caller zeroes it and fills `path`.
struct SettingsDatabase {
    sqlite3* connection; // set by open_database
    char path[256];      // NUL-terminated
    int ready;           // non-zero while the connection can be used
    int schemaLevel;     // below 2: there is no theme storage
};
static_assert(sizeof(SettingsDatabase) == (sizeof(void*) == 4 ? 268 : 272));
static_assert(offsetof(SettingsDatabase, path) == sizeof(void*));
static_assert(offsetof(SettingsDatabase, ready) == (sizeof(void*) == 4 ? 260 : 264));
static_assert(offsetof(SettingsDatabase, schemaLevel) == (sizeof(void*) == 4 ? 264 : 268));

// Values of SettingsColumn::type. Readers get texts whatever the type.
enum SettingsColumnType {
    kSettingsNumber = 0, // decimal
    kSettingsText = 1,
    kSettingsBoolean = 2, // "true" or "false"
};

// One value of a row; texts NUL-terminated.
struct SettingsColumn {
    int type; // a SettingsColumnType
    char name[24];
    char value[256];
};
static_assert(sizeof(SettingsColumn) == 284);
static_assert(offsetof(SettingsColumn, name) == 4);
static_assert(offsetof(SettingsColumn, value) == 28);

// A row to write, of at least one column. The columns are borrowed.
struct SettingsRow {
    unsigned int columnCount;
    SettingsColumn* columns;
};
static_assert(sizeof(SettingsRow) == 2 * sizeof(void*));
static_assert(offsetof(SettingsRow, columns) == sizeof(void*));

// The rows that a query found: rows[0] is the heading, rows[1] the first data row, each an array of
// columns in table order. The caller frees it with free_sql_tbl.
struct SettingsTable {
    unsigned int rowCount; // data rows
    SettingsColumn** rows;
};
static_assert(sizeof(SettingsTable) == 2 * sizeof(void*));
static_assert(offsetof(SettingsTable, rows) == sizeof(void*));

#pragma GCC visibility push(default)
extern "C" {

// Opens the file named in the handle. Mode 2 is the only one: it makes a missing file or folder
// with one row of defaults, brings an older file up to date, and sets a damaged one aside and
// replaces it.
//   result  0 opened, 1 opened and newly made, 2 opened and brought up to date;
//           -1 failed, with `connection` null and `ready` and `schemaLevel` 0
int open_database(SettingsDatabase* database, int mode);

// Closes it and empties the handle but for its path. Harmless after a failed or missing open, and
// for null. Returns 0.
int close_database(SettingsDatabase* database);

// Reads the rows that the condition selects: "where ...", with or without a leading blank; empty or
// null selects all.
//   returns  0: `result` is filled, NULL as an empty text, texts cut to 255 characters;
//            otherwise `result` is empty and owns nothing: the handle is not open, there is no such
//            table, or SQLite refuses the condition
int query_database_dat_with_condition(SettingsDatabase* database, const char* table,
                                      SettingsTable* result, const char* condition);

// Frees and empties it. Leaves an empty one alone; ignores null.
void free_sql_tbl(SettingsTable* table);

// Sets the row's columns in all rows that the condition selects; succeeds even if it selects none.
// Fails on an SQL error, such as an unknown column, and on a handle that is not open.
int update_database_table_with_condition(SettingsDatabase* database, const char* table,
                                         const SettingsRow* row, const char* condition);

// Adds a row. Fails as the update does.
int insert_database_table_entry_struct(SettingsDatabase* database, const char* table,
                                       const SettingsRow* row);

// Fills one column record. Copies both texts, silently cut to 23 and 255 characters; null counts as
// empty.
void tql_update_ssqlcol_struct(SettingsColumn* column, int type, const char* name,
                               const char* value);

} // extern "C"
#pragma GCC visibility pop
