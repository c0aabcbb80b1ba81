// Finds the handler of a path and a method, and the privilege that it requires. Immutable after
// construction, so any thread may ask.
#pragma once

#include "redfish/http/message.h"
#include "redfish/model/roles.h"

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace redfish {

// One row of the table of routes. `Handle` is whatever the owner of the table calls.
template <typename Handle>
struct Route {
    // An address; with "/*" at the end any last segment matches.
    std::string path;
    // HEAD needs no row: it is served by the row of GET.
    Method method = Method::get;
    model::Privilege privilege = model::Privilege::login;
    // Called by the owner of the table, never by the router.
    Handle handle{};
};

// Whether a path matches the path of a route. "/a/*" matches "/a/b", but neither "/a/" nor
// "/a/b/c".
bool matchesPath(std::string_view pattern, std::string_view path);

// The value of an Allow header, "GET, HEAD, PATCH": HEAD comes with GET.
std::string allowOf(const std::vector<Method>& methods);

// Throws std::logic_error, naming the route: an earlier one takes all of its requests.
[[noreturn]] void refuseUnreachableRoute(Method method, const std::string& path);

// The table of routes, searched from the top.
template <typename Handle>
class Router {
public:
    // What find() found.
    struct Match {
        // Null: the path has no route for this method. Valid as long as the router.
        const Route<Handle>* route = nullptr;
        // What the "*" stands for; borrowed from the path.
        std::string_view member;
        // Whether the path has a route for any method.
        bool isPathKnown = false;
    };

    // The first row that matches wins, so a row that can never win is refused: throws
    // std::logic_error.
    explicit Router(std::vector<Route<Handle>> routes) : routes_(std::move(routes)) {
        for (std::size_t i = 0; i < routes_.size(); ++i) {
            for (std::size_t earlier = 0; earlier < i; ++earlier) {
                if (routes_[earlier].method == routes_[i].method &&
                    matchesPath(routes_[earlier].path, routes_[i].path)) {
                    refuseUnreachableRoute(routes_[i].method, routes_[i].path);
                }
            }
        }
    }

    // The first row whose path and method match; HEAD finds the row of GET.
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

    // The methods of a path as the value of an Allow header; empty for an unknown path.
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
    // In the order of search.
    std::vector<Route<Handle>> routes_;
};

} // namespace redfish
