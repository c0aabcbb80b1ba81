// Runs SQL on the rows that the settings-database double holds.
#pragma once

#include <optional>
#include <string>
#include <vector>

namespace doubles::detail {

using SettingsRows = std::vector<std::vector<std::string>>;

// Runs one statement on a table webgui_tbl of text columns that holds `rows`, and writes back what
// the table holds afterwards.
//   values  bound to the parameters of the statement, in order
// Returns the rows of the result, NULL as an empty text. Returns nothing and leaves `rows` alone if
// SQLite refuses the statement or it is not exactly one.
std::optional<SettingsRows> runOnRows(SettingsRows& rows, const std::string& statement,
                                      const std::vector<std::string>& values = {});

} // namespace doubles::detail
