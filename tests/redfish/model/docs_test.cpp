// docs/redfish.md agrees with the code.
#include "redfish/model/addresses.h"
#include "redfish/model/messages.h"
#include "redfish/model/services.h"
#include "redfish/model/settings_change.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <fstream>
#include <set>

namespace {

using namespace redfish::model;

std::vector<std::string> linesOfPage() {
    std::ifstream page(ORVANE_SOURCE_FOLDER "/docs/redfish.md");
    std::vector<std::string> lines;
    for (std::string line; std::getline(page, line);) {
        lines.push_back(line);
    }
    return lines;
}

std::string page() {
    std::string text;
    for (const std::string& line : linesOfPage()) {
        text += line + "\n";
    }
    return text;
}

TEST(RedfishPage, HasEveryMessageWithItsStatusAndText) {
    const std::vector<std::string> lines = linesOfPage();
    for (const MessageEntry& entry : messages()) {
        EXPECT_THAT(lines, testing::Contains("| `" + std::string(entry.name) + "` | " +
                                             std::to_string(entry.status) + " | " +
                                             std::string(entry.severity) + " | " +
                                             std::string(entry.text) + " |"));
    }
}

TEST(RedfishPage, HasEveryAddress) {
    const std::string text = page();
    std::set<std::string> addresses{std::string(kMetadata),     std::string(kEventStream),
                                    std::string(kSessions),     std::string(kAccounts),
                                    std::string(kWebGui),       std::string(kMessageRegistry),
                                    std::string(kWebGuiSchema), std::string(kManagerSchema)};
    for (const std::string& address : fixedAddresses()) {
        addresses.insert(address);
    }
    for (const std::string& address : addresses) {
        // The page omits the common prefix, and shows a role by its last segment.
        const std::string part = address.starts_with(kRoles)
                                     ? address.substr(address.rfind('/'))
                                     : address.substr(std::min<std::size_t>(address.size(), 11));
        EXPECT_NE(text.find(part.empty() || part == "/" ? "`" + address + "`" : part + "`"),
                  std::string::npos)
            << address;
    }
}

TEST(RedfishPage, HasEverySettingWithItsValues) {
    const std::string text = page();
    for (const client::Setting* const setting : writableSettings()) {
        EXPECT_NE(text.find("`" + std::string(setting->name) + "`"), std::string::npos)
            << setting->name;
        if (setting->kind == client::Kind::text && setting->allowed.size() == 2) {
            EXPECT_NE(text.find("| `" + std::string(setting->name) + "` | text | `" +
                                std::string(setting->allowed[0]) + "`, `" +
                                std::string(setting->allowed[1]) + "` |"),
                      std::string::npos)
                << setting->name;
        }
    }
}

TEST(RedfishPage, HasThePrivilegesOfEveryRole) {
    const std::vector<std::string> lines = linesOfPage();
    for (const RoleEntry& entry : roles()) {
        std::string privileges;
        for (const Privilege each : entry.privileges) {
            privileges += (privileges.empty() ? "`" : ", `") + std::string(nameOf(each)) + "`";
        }
        EXPECT_THAT(lines,
                    testing::Contains("| `" + std::string(entry.id) + "` | " + privileges + " |"));
    }
}

} // namespace
