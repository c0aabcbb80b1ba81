// Which handler serves a path and a method, and who may ask it. What the handlers do is left
// to the service.
#pragma once

#include "redfish/http/message.h"
#include "redfish/security/privileges.h"

#include <string>
#include <string_view>
#include <vector>

namespace redfish {

// `Handle` is whatever the owner of the table calls.
template <typename Handle>
struct Route {
    std::string path; // ends with "/*" where any last segment will do
    Method method = Method::get;
    Privilege privilege = Privilege::login;
    Handle handle{};
};

bool matchesPath(std::string_view pattern, std::string_view path);

// "GET, HEAD, PATCH": HEAD goes along with GET.
std::string allowOf(const std::vector<Method>& methods);

template <typename Handle>
class Router {
public:
    struct Match {
        const Route<Handle>* route = nullptr; // null: none for this method
        std::string_view member;              // what the "*" stands for
        bool isPathKnown = false;
    };

    explicit Router(std::vector<Route<Handle>> routes) : routes_(std::move(routes)) {}

    // The first row whose path and method match; HEAD is asked of the row of GET.
    Match find(std::string_view path, Method method) const {
        Match match;
        const Method asked = method == Method::head ? Method::get : method;
        for (const Route<Handle>& route : routes_) {
            if (!matchesPath(route.path, path)) {
                continue;
            }
            match.isPathKnown = true;
            if (route.method == asked) {
                match.route = &route;
                match.member = route.path.ends_with("/*") ? path.substr(route.path.size() - 1)
                                                          : std::string_view{};
                return match;
            }
        }
        return match;
    }

    // The methods of a path, for the header Allow.
    std::string allow(std::string_view path) const {
        std::vector<Method> methods;
        for (const Route<Handle>& route : routes_) {
            if (matchesPath(route.path, path)) {
                methods.push_back(route.method);
            }
        }
        return allowOf(methods);
    }

private:
    std::vector<Route<Handle>> routes_;
};

} // namespace redfish
