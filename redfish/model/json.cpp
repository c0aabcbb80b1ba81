#include "redfish/model/json.h"

namespace redfish::model {

std::string serialise(const Json& document) {
    return document.dump(-1, ' ', false, Json::error_handler_t::replace);
}

Json linkTo(std::string_view address) {
    return {{"@odata.id", address}};
}

} // namespace redfish::model
