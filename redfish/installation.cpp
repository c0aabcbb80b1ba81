#include "redfish/installation.h"

#include "redfish/security/passwords.h"
#include "redfish/security/private_file.h"
#include "redfish/security/random.h"
#include "redis/uuid.h"

#include <iostream>
#include <unistd.h>

namespace redfish {

void prepareStateFolder(const std::filesystem::path& folder) {
    if (!std::filesystem::exists(folder)) {
        std::filesystem::create_directories(folder);
        std::filesystem::permissions(folder, std::filesystem::perms::owner_all);
    }
}

std::string installationUuid(const std::filesystem::path& folder) {
    const std::filesystem::path file = folder / "uuid";
    if (!std::filesystem::exists(file)) {
        writePrivateFile(file, redis::makeUuid() + "\n");
    }
    const std::string text = readPrivateFile(file);
    return text.substr(0, text.find('\n'));
}

std::optional<std::string> makeFirstAccount(Accounts& accounts) {
    if (!accounts.all().empty()) {
        return std::nullopt;
    }
    std::string password = randomPassword();
    accounts.put({.name = kFirstAccount,
                  .role = model::Role::administrator,
                  .isEnabled = true,
                  .hash = hashPassword(password)});
    return password;
}

void tellFirstPassword(const std::filesystem::path& folder, const std::string& password) {
    if (::isatty(STDOUT_FILENO) == 1) {
        std::cout << "First start. Sign in as " << kFirstAccount << " with the password "
                  << password << "\nIt is shown only once; change it soon." << std::endl;
        return;
    }
    const std::filesystem::path file = folder / "first-password";
    writePrivateFile(file, password + "\n");
    std::cout << "First start. Sign in as " << kFirstAccount << "; the password is in "
              << file.string() << ": change it soon and remove the file" << std::endl;
}

} // namespace redfish
