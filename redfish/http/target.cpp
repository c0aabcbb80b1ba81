#include "redfish/http/target.h"

namespace redfish {

namespace {

int hexDigit(char c) {
    if (c >= '0' && c <= '9') {
        return c - '0';
    }
    if (c >= 'a' && c <= 'f') {
        return c - 'a' + 10;
    }
    return c >= 'A' && c <= 'F' ? c - 'A' + 10 : -1;
}

} // namespace

std::optional<std::string> percentDecode(std::string_view text) {
    std::string decoded;
    decoded.reserve(text.size());
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] != '%') {
            decoded += text[i];
            continue;
        }
        const int high = i + 2 < text.size() ? hexDigit(text[i + 1]) : -1;
        const int low = high >= 0 ? hexDigit(text[i + 2]) : -1;
        if (low < 0 || (high == 0 && low == 0)) {
            return std::nullopt;
        }
        decoded += static_cast<char>(high * 16 + low);
        i += 2;
    }
    return decoded;
}

std::optional<Target> parseTarget(std::string_view target) {
    const std::size_t mark = target.find('?');
    std::optional<std::string> path = percentDecode(target.substr(0, mark));
    if (!path || !path->starts_with('/')) {
        return std::nullopt;
    }
    if (path->find("/.") != std::string::npos) {
        for (const std::string_view segment : segmentsOf(*path)) {
            if (segment == "." || segment == "..") {
                return std::nullopt;
            }
        }
    }
    std::string query;
    if (mark != std::string_view::npos) {
        query = target.substr(mark + 1);
    }
    return Target{.path = std::move(*path), .query = std::move(query)};
}

std::optional<std::vector<std::pair<std::string, std::string>>> parseQuery(std::string_view query) {
    std::vector<std::pair<std::string, std::string>> parameters;
    while (!query.empty()) {
        const std::size_t end = query.find('&');
        const std::string_view each = query.substr(0, end);
        query.remove_prefix(end == std::string_view::npos ? query.size() : end + 1);
        if (each.empty()) {
            continue;
        }
        const std::size_t equals = each.find('=');
        std::optional<std::string> name = percentDecode(each.substr(0, equals));
        std::optional<std::string> value = percentDecode(
            equals == std::string_view::npos ? std::string_view{} : each.substr(equals + 1));
        if (!name || !value) {
            return std::nullopt;
        }
        parameters.emplace_back(std::move(*name), std::move(*value));
    }
    return parameters;
}

std::vector<std::string_view> segmentsOf(std::string_view path) {
    std::vector<std::string_view> segments;
    while (!path.empty() && path.front() == '/') {
        path.remove_prefix(1);
    }
    while (!path.empty() && path.back() == '/') {
        path.remove_suffix(1);
    }
    while (!path.empty()) {
        const std::size_t end = path.find('/');
        segments.push_back(path.substr(0, end));
        path.remove_prefix(end == std::string_view::npos ? path.size() : end + 1);
    }
    return segments;
}

std::string_view withoutTrailingSlash(std::string_view path) {
    if (path.size() > 1 && path.ends_with('/')) {
        path.remove_suffix(1);
    }
    return path;
}

} // namespace redfish
