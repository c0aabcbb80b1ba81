#include "redfish/service/router.h"

#include <algorithm>
#include <stdexcept>

namespace redfish {

bool matchesPath(std::string_view pattern, std::string_view path) {
    if (!pattern.ends_with("/*")) {
        return pattern == path;
    }
    const std::string_view folder = pattern.substr(0, pattern.size() - 1);
    return path.size() > folder.size() && path.starts_with(folder) &&
           path.find('/', folder.size()) == std::string_view::npos;
}

std::string allowOf(const std::vector<Method>& methods) {
    std::string text;
    for (const Method method :
         {Method::get, Method::head, Method::post, Method::patch, Method::put, Method::remove}) {
        const Method listed = method == Method::head ? Method::get : method;
        if (std::find(methods.begin(), methods.end(), listed) != methods.end()) {
            text += (text.empty() ? "" : ", ") + std::string(nameOf(method));
        }
    }
    return text;
}

void refuseUnreachableRoute(Method method, const std::string& path) {
    throw std::logic_error("an earlier route takes all requests of " + std::string(nameOf(method)) +
                           " " + path);
}

} // namespace redfish
