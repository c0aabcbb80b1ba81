// The members that every document begins with, and the collections.
#include "redfish/model/addresses.h"
#include "redfish/model/document.h"
#include "redfish/model/services.h"

#include <algorithm>
#include <iterator>

namespace redfish::model {

namespace {

std::vector<std::string> addressesOf(std::string_view collection,
                                     const std::vector<std::string>& ids) {
    std::vector<std::string> addresses;
    std::transform(ids.begin(), ids.end(), std::back_inserter(addresses),
                   [collection](const std::string& id) { return memberOf(collection, id); });
    return addresses;
}

} // namespace

Json resource(std::string_view address, std::string_view type, std::string_view name,
              std::string_view description) {
    return {{"@odata.id", address},
            {"@odata.type", "#" + std::string(type)},
            {"Id", address.substr(address.rfind('/') + 1)},
            {"Name", name},
            {"Description", description}};
}

Json collection(std::string_view address, std::string_view type, std::string_view name,
                std::string_view description, const std::vector<std::string>& members) {
    Json links = Json::array();
    std::transform(members.begin(), members.end(), std::back_inserter(links), linkTo);
    return {{"@odata.id", address}, {"@odata.type", "#" + std::string(type)},
            {"Name", name},         {"Description", description},
            {"Members", links},     {"Members@odata.count", members.size()}};
}

Json sessions(const std::vector<std::string>& ids) {
    return collection(kSessions, "SessionCollection.SessionCollection", "Sessions",
                      "The sessions that are open.", addressesOf(kSessions, ids));
}

Json accounts(const std::vector<std::string>& userNames) {
    return collection(kAccounts, "ManagerAccountCollection.ManagerAccountCollection", "Accounts",
                      "The accounts that may sign in.", addressesOf(kAccounts, userNames));
}

Json roleCollection() {
    std::vector<std::string> members;
    for (const RoleEntry& each : roles()) {
        members.push_back(memberOf(kRoles, each.id));
    }
    return collection(kRoles, "RoleCollection.RoleCollection", "Roles",
                      "The roles that an account may have.", members);
}

Json managers() {
    return collection(kManagers, "ManagerCollection.ManagerCollection", "Managers",
                      "The controller of the cooling unit.", {std::string(kManager)});
}

Json registries() {
    return collection(kRegistries, "MessageRegistryFileCollection.MessageRegistryFileCollection",
                      "Registries", "The registry of the messages of this service.",
                      {std::string(kRegistryFile)});
}

Json jsonSchemas() {
    return collection(kJsonSchemas, "JsonSchemaFileCollection.JsonSchemaFileCollection",
                      "JSON schemas", "The schemas defined by this product.",
                      {std::string(kManagerSchemaFile), std::string(kWebGuiSchemaFile)});
}

} // namespace redfish::model
