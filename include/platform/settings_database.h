// libwebguidb.so: row-level access to the settings database. Values are always bound,
// never part of an SQL text. Failures beyond the result are said on standard error. One
// handle belongs to one thread at a time; nothing throws.
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

// One value of a row; texts NUL-terminated.
struct SettingsColumn {
    int type; // 0 number, 1 text, 2 boolean
    char name[24];
    char value[256];
};
static_assert(sizeof(SettingsColumn) == 284);
static_assert(offsetof(SettingsColumn, name) == 4);
static_assert(offsetof(SettingsColumn, value) == 28);

// A row to write; the columns are borrowed.
struct SettingsRow {
    unsigned int columnCount;
    SettingsColumn* columns;
};
static_assert(sizeof(SettingsRow) == 2 * sizeof(void*));
static_assert(offsetof(SettingsRow, columns) == sizeof(void*));

// The rows that a query found: rows[0] is the heading, rows[1] the first data row, each
// an array of columns in table order. free_sql_tbl frees it.
struct SettingsTable {
    unsigned int rowCount; // data rows
    SettingsColumn** rows;
};
static_assert(sizeof(SettingsTable) == 2 * sizeof(void*));
static_assert(offsetof(SettingsTable, rows) == sizeof(void*));

#pragma GCC visibility push(default)
extern "C" {

// Opens the file named in the handle, with mode 2: a missing file, or its folder, is made
// with one row of defaults, an older one brought up to date, a damaged one set aside and
// replaced.
//   result  0 opened, 1 opened and newly made, 2 opened and brought up to date;
//           -1 failed, with `ready` and `schemaLevel` 0
int open_database(SettingsDatabase* database, int mode);

// Closes it; harmless after a failed or missing open. Returns 0.
int close_database(SettingsDatabase* database);

// Reads the rows that the condition selects ("where ...", a leading blank or not).
//   result  0 success: `result` is filled, NULL as an empty text, whatever the storage
//           class, texts cut to 255 characters; otherwise `result` is empty and owns nothing
int query_database_dat_with_condition(SettingsDatabase* database, const char* table,
                                      SettingsTable* result, const char* condition);

// Frees and empties it; an empty one is left alone.
void free_sql_tbl(SettingsTable* table);

// Sets the row's columns in the rows that the condition selects. That there is none is
// success; an SQL error is a failure.
int update_database_table_with_condition(SettingsDatabase* database, const char* table,
                                         const SettingsRow* row, const char* condition);

// Adds a row. An SQL error is a failure.
int insert_database_table_entry_struct(SettingsDatabase* database, const char* table,
                                       const SettingsRow* row);

// Fills one column record; texts are copied, silently cut to 23 and 255 characters, a null
// one is empty.
void tql_update_ssqlcol_struct(SettingsColumn* column, int type, const char* name,
                               const char* value);

} // extern "C"
#pragma GCC visibility pop
