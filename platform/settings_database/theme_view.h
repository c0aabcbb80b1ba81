// Whether the stored theme can be read back through View_Theme.
#pragma once

struct sqlite3;

namespace settings_database {

// Whether the database's view View_Theme gives the theme that the table Misc holds, whichever it
// is: `SELECT Data FROM View_Theme WHERE Key = 'Theme'` has one row with it. Tried on a copy of the
// definitions in memory; the database itself is only read.
// Throws SqlError where the database cannot be read, std::bad_alloc.
bool givesStoredTheme(sqlite3* connection);

} // namespace settings_database
