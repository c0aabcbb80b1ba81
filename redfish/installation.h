// The state folder: what an installation keeps from start to start, made at the first one.
#pragma once

#include "redfish/security/accounts.h"

#include <filesystem>
#include <optional>
#include <string>

namespace redfish {

inline constexpr const char* kFirstAccount = "admin";

// Makes the folder, for its owner only, where it is missing. Throws std::exception.
void prepareStateFolder(const std::filesystem::path& folder);

// The UUID of this installation, made up once. Throws std::exception.
std::string installationUuid(const std::filesystem::path& folder);

// Makes the account of the administrator where there is none at all, and gives its password,
// which is kept nowhere else. Throws std::exception.
std::optional<std::string> makeFirstAccount(Accounts& accounts);

// Tells the first password: on the terminal that the program runs on; where there is none, in a
// file of the folder that only its owner can read, so that it gets into no log.
void tellFirstPassword(const std::filesystem::path& folder, const std::string& password);

} // namespace redfish
