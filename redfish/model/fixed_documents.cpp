// The table of documents by address.
#include "redfish/model/addresses.h"
#include "redfish/model/services.h"

#include <algorithm>
#include <array>

namespace redfish::model {

namespace {

struct Row {
    std::string_view address;
    Json (*make)(const ServiceFacts& facts);
};

// Adapts a document that does not depend on the facts.
template <Json (*make)()>
Json constant(const ServiceFacts& /*facts*/) {
    return make();
}

// clang-format off
constexpr std::array kRows{
    Row{kVersions,          constant<versions>},
    Row{kServiceRoot,       serviceRoot},
    Row{kOdata,             constant<odata>},
    Row{kSessionService,    sessionService},
    Row{kAccountService,    accountService},
    Row{kRoles,             constant<roleCollection>},
    Row{kManagers,          constant<managers>},
    Row{kManager,           manager},
    Row{kEventService,      eventService},
    Row{kRegistries,        constant<registries>},
    Row{kRegistryFile,      constant<registryFile>},
    Row{kJsonSchemas,       constant<jsonSchemas>},
    Row{kWebGuiSchemaFile,  constant<webGuiSchemaFile>},
    Row{kManagerSchemaFile, constant<managerSchemaFile>},
};
// clang-format on

} // namespace

std::optional<Json> fixedDocument(std::string_view address, const ServiceFacts& facts) {
    const auto* const row = std::find_if(
        kRows.begin(), kRows.end(), [address](const Row& each) { return each.address == address; });
    if (row != kRows.end()) {
        return row->make(facts);
    }
    const std::string prefix = memberOf(kRoles, "");
    if (address.starts_with(prefix)) {
        if (const RoleEntry* const entry = findRole(address.substr(prefix.size()))) {
            return role(*entry);
        }
    }
    return std::nullopt;
}

std::vector<std::string> fixedAddresses() {
    std::vector<std::string> addresses;
    addresses.reserve(kRows.size() + roles().size());
    for (const Row& row : kRows) {
        addresses.emplace_back(row.address);
    }
    for (const RoleEntry& entry : roles()) {
        addresses.push_back(memberOf(kRoles, entry.id));
    }
    return addresses;
}

} // namespace redfish::model
