// The names of the methods.
#include "redfish/http/message.h"

#include <array>

namespace redfish {

namespace {

constexpr std::array<std::string_view, 8> kMethodNames{"GET", "HEAD",   "POST",    "PATCH",
                                                       "PUT", "DELETE", "OPTIONS", ""};

} // namespace

std::string_view nameOf(Method method) {
    return kMethodNames.at(static_cast<std::size_t>(method));
}

bool isReading(Method method) {
    return method == Method::get || method == Method::head;
}

} // namespace redfish
