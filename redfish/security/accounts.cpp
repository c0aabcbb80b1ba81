#include "redfish/security/accounts.h"

#include "redfish/security/private_file.h"

#include <algorithm>
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <utility>

namespace redfish {

namespace {

constexpr std::size_t kMaxNameLength = 32;

bool isLetterOrDigit(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9');
}

Account accountFrom(const nlohmann::json& json) {
    const std::optional<model::Role> role = model::roleNamed(json.at("role").get<std::string>());
    Account account{.name = json.at("name").get<std::string>(),
                    .role = role.value_or(model::Role::readOnly),
                    .isEnabled = json.at("enabled").get<bool>(),
                    .hash = json.at("hash").get<std::string>()};
    if (!role || !isAccountName(account.name)) {
        throw std::runtime_error("an account has an invalid name or role");
    }
    return account;
}

} // namespace

bool isAccountName(std::string_view name) {
    return !name.empty() && name.size() <= kMaxNameLength && isLetterOrDigit(name.front()) &&
           std::all_of(name.begin(), name.end(), [](char c) {
               return isLetterOrDigit(c) || c == '.' || c == '-' || c == '_';
           });
}

Accounts::Accounts(std::filesystem::path file) : file_(std::move(file)) {
    if (std::filesystem::exists(file_)) {
        read();
    }
}

void Accounts::read() {
    const std::string text = readPrivateFile(file_);
    try {
        const nlohmann::json document = nlohmann::json::parse(text);
        for (const nlohmann::json& each : document.at("accounts")) {
            accounts_.push_back(accountFrom(each));
        }
    } catch (const std::exception& error) {
        throw std::runtime_error(file_.string() + ": cannot be understood (" + error.what() +
                                 "); repair it, or remove it to start with a new administrator");
    }
}

void Accounts::write(const std::vector<Account>& accounts) const {
    nlohmann::json list = nlohmann::json::array();
    for (const Account& account : accounts) {
        list.push_back({{"name", account.name},
                        {"role", nameOf(account.role)},
                        {"enabled", account.isEnabled},
                        {"hash", account.hash}});
    }
    writePrivateFile(file_, nlohmann::json{{"accounts", list}}.dump(2) + "\n");
}

const Account* Accounts::find(std::string_view name) const {
    const auto found = std::find_if(accounts_.begin(), accounts_.end(),
                                    [name](const Account& each) { return each.name == name; });
    return found == accounts_.end() ? nullptr : &*found;
}

void Accounts::put(const Account& account) {
    std::vector<Account> changed = accounts_;
    const auto found = std::find_if(changed.begin(), changed.end(),
                                    [&](const Account& each) { return each.name == account.name; });
    if (found == changed.end()) {
        changed.push_back(account);
    } else {
        *found = account;
    }
    write(changed);
    accounts_ = std::move(changed);
}

void Accounts::remove(std::string_view name) {
    std::vector<Account> changed = accounts_;
    std::erase_if(changed, [name](const Account& each) { return each.name == name; });
    write(changed);
    accounts_ = std::move(changed);
}

bool Accounts::hasOtherAdministrator(std::string_view name) const {
    return std::any_of(accounts_.begin(), accounts_.end(), [name](const Account& each) {
        return each.name != name && each.isEnabled && each.role == model::Role::administrator;
    });
}

} // namespace redfish
