// How the documents of this folder begin. For the sources of this folder alone.
#pragma once

#include "redfish/model/json.h"

#include <string>
#include <string_view>
#include <vector>

namespace redfish::model {

// A resource with the members that every resource has.
//   address  its last segment becomes the Id
//   type     with its version, without "#": "Role.v1_3_3.Role"
Json resource(std::string_view address, std::string_view type, std::string_view name,
              std::string_view description);

// A collection with links to its members.
//   type     without a version: "RoleCollection.RoleCollection"
//   members  addresses, in the order shown
Json collection(std::string_view address, std::string_view type, std::string_view name,
                std::string_view description, const std::vector<std::string>& members);

} // namespace redfish::model
