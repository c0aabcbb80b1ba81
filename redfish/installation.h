// The state folder: what the first start creates and later starts find. At start, before the loop;
// all functions throw std::exception on failure.
#pragma once

#include "redfish/security/accounts.h"

#include <filesystem>
#include <optional>
#include <string>

namespace redfish {

// Name of the account that the first start creates.
inline constexpr const char* kFirstAccount = "admin";

// Creates the folder, accessible to its owner alone, unless it exists.
void prepareStateFolder(const std::filesystem::path& folder);

// The UUID of this installation, created on the first call and kept in the folder.
std::string installationUuid(const std::filesystem::path& folder);

// Creates the administrator's account if there is no account at all. Returns its random password,
// which is stored nowhere.
std::optional<std::string> makeFirstAccount(Accounts& accounts);

// Shows the first password on the terminal. Without a terminal it is written to a private file of
// the folder instead, so that it reaches no log.
void tellFirstPassword(const std::filesystem::path& folder, const std::string& password);

} // namespace redfish
