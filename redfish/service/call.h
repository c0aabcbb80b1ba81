// What a handler gets to see of a request, and what a class of handlers hands to the router.
#pragma once

#include "redfish/http/message.h"
#include "redfish/model/query.h"
#include "redfish/security/authenticator.h"
#include "redfish/service/router.h"

#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace redfish {

// One authorised request. Copies may outlive the handler, but not the response.
struct Call {
    const Request& request;
    // The path as the model spells it (model/addresses.h); borrowed from the request.
    std::string_view address;
    // Last segment of the path where the route ends with "*"; otherwise empty.
    std::string member;
    // Who asks; `missing` on routes that are open to everyone.
    Identity identity;
    // $select and $expand of a GET, checked.
    model::Query query;
    // Finds the documents that $expand asks for, as the caller may see them.
    model::Lookup lookUp;
};

// Answers one call: passes the response to `Respond` exactly once, now or later.
// It may be called again before it has responded, for another request.
using Handle = std::function<void(const Call&, const Respond&)>;
// The rows that a class of handlers adds to the table.
using Routes = std::vector<Route<Handle>>;

// A member function as a Handle. `handlers` is borrowed and must outlive the routes.
//   method  void(const Call&, const Respond&); called on the loop's thread, like every Handle
template <typename Handlers, typename Method>
Handle handleBy(Handlers* handlers, Method method) {
    return [handlers, method](const Call& call, const Respond& respond) {
        (handlers->*method)(call, respond);
    };
}

} // namespace redfish
