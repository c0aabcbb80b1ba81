// How the documents of this folder begin. For its own sources.
#pragma once

#include "redfish/model/json.h"

#include <string>
#include <string_view>
#include <vector>

namespace redfish::model {

// A resource with the members that every resource has. `type` is "Role.v1_3_3.Role"; the id is
// the last segment of the address.
Json resource(std::string_view address, std::string_view type, std::string_view name,
              std::string_view description);

// A collection of the type "RoleCollection.RoleCollection" with the members of these addresses.
Json collection(std::string_view address, std::string_view type, std::string_view name,
                std::string_view description, const std::vector<std::string>& members);

} // namespace redfish::model
