// The table of routes: every address and method that the service serves, with the privilege
// that it asks for and its handler.
#include "redfish/model/addresses.h"
#include "redfish/service/service.h"

#include <algorithm>
#include <array>

namespace redfish {

namespace {

// The standard has these open to everyone, so that a client can find out where it is.
constexpr std::array kOpen{model::kVersions, model::kServiceRoot, model::kOdata};

std::string membersOf(std::string_view collection) {
    return std::string(collection) + "/*";
}

} // namespace

std::vector<Route<Service::Handle>> Service::makeRoutes() {
    using S = Service;
    const auto at = [](std::string_view address) { return std::string(address); };
    // The resource comes first: it is asked for most.
    // clang-format off
    //   address                         method          privilege                       handler
    std::vector<Route<Handle>> routes{
        {at(model::kWebGui),             Method::get,    Privilege::login,               &S::getWebGui},
        {at(model::kWebGui),             Method::patch,  Privilege::configureComponents, &S::patchWebGui},
        {at(model::kTurnOffLcdTarget),   Method::post,   Privilege::configureComponents, &S::turnOffLcd},
        {at(model::kGuiReadyTarget),     Method::post,   Privilege::configureComponents, &S::guiReady},
        {at(model::kSessionService),     Method::patch,  Privilege::configureManager,    &S::patchSessionService},
        {at(model::kSessions),           Method::get,    Privilege::login,               &S::getSessions},
        {at(model::kSessions),           Method::post,   Privilege::none,                &S::postSession},
        {membersOf(model::kSessions),    Method::get,    Privilege::login,               &S::getSession},
        {membersOf(model::kSessions),    Method::remove, Privilege::configureSelf,       &S::deleteSession},
        {at(model::kAccounts),           Method::get,    Privilege::login,               &S::getAccounts},
        {at(model::kAccounts),           Method::post,   Privilege::configureUsers,      &S::postAccount},
        {membersOf(model::kAccounts),    Method::get,    Privilege::login,               &S::getAccount},
        {membersOf(model::kAccounts),    Method::patch,  Privilege::configureSelf,       &S::patchAccount},
        {membersOf(model::kAccounts),    Method::remove, Privilege::configureUsers,      &S::deleteAccount},
        {at(model::kManager),            Method::get,    Privilege::login,               &S::getManager},
        {at(model::kEventStream),        Method::get,    Privilege::login,               &S::openStream},
        {at(model::kMetadata),           Method::get,    Privilege::none,                &S::getFile},
        {at(model::kMessageRegistry),    Method::get,    Privilege::login,               &S::getFile},
        {at(model::kWebGuiSchema),       Method::get,    Privilege::login,               &S::getFile},
        {at(model::kManagerSchema),      Method::get,    Privilege::login,               &S::getFile},
        {at(model::kWebGuiCsdlFile),     Method::get,    Privilege::none,                &S::getFile},
        {at(model::kManagerCsdlFile),    Method::get,    Privilege::none,                &S::getFile},
    };
    // clang-format on
    for (const std::string& address : model::fixedAddresses()) {
        const bool isOpen = std::find(kOpen.begin(), kOpen.end(), address) != kOpen.end();
        routes.push_back(
            {address, Method::get, isOpen ? Privilege::none : Privilege::login, &S::getFixed});
    }
    return routes;
}

} // namespace redfish
