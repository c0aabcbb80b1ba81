// webgui_tbl as real SQL sees it: one statement on the rows that the settings-database double
// holds.
#pragma once

#include <optional>
#include <string>
#include <vector>

namespace doubles::detail {

using SettingsRows = std::vector<std::vector<std::string>>;

// Runs one statement on a table webgui_tbl of text columns that holds `rows`, and writes back what
// the table holds afterwards.
//   values  bound to the parameters of the statement, in order
// Returns the rows that the statement gives, NULL as an empty text; nothing, and `rows` as they
// were, where SQLite refuses it or it is not exactly one statement.
std::optional<SettingsRows> runOnRows(SettingsRows& rows, const std::string& statement,
                                      const std::vector<std::string>& values = {});

} // namespace doubles::detail
