#include "redfish/http/media_type.h"

#include <algorithm>
#include <array>
#include <string>

namespace redfish {

namespace {

struct FileType {
    std::string_view extension;
    std::string_view type;
};
constexpr std::array kFileTypes{
    FileType{.extension = ".html", .type = "text/html; charset=utf-8"},
    FileType{.extension = ".js", .type = "text/javascript; charset=utf-8"},
    FileType{.extension = ".css", .type = "text/css; charset=utf-8"},
    FileType{.extension = ".json", .type = kJsonType},
    FileType{.extension = ".map", .type = kJsonType},
    FileType{.extension = ".webmanifest", .type = "application/manifest+json"},
    FileType{.extension = ".svg", .type = "image/svg+xml"},
    FileType{.extension = ".png", .type = "image/png"},
    FileType{.extension = ".jpg", .type = "image/jpeg"},
    FileType{.extension = ".webp", .type = "image/webp"},
    FileType{.extension = ".ico", .type = "image/x-icon"},
    FileType{.extension = ".woff2", .type = "font/woff2"},
    FileType{.extension = ".txt", .type = "text/plain; charset=utf-8"},
};
constexpr std::string_view kUnknownType = "application/octet-stream";

std::string_view withoutParameters(std::string_view type) {
    return type.substr(0, type.find(';'));
}

} // namespace

std::string_view typeOfExtension(std::string_view extension) {
    const auto* const found =
        std::find_if(kFileTypes.begin(), kFileTypes.end(),
                     [extension](const FileType& each) { return each.extension == extension; });
    return found == kFileTypes.end() ? kUnknownType : found->type;
}

bool isJson(std::string_view contentType) {
    const std::string_view type = withoutParameters(contentType);
    return type == "application/json" || type == "application/json ";
}

bool accepts(std::string_view accept, std::string_view contentType) {
    const std::string_view type = withoutParameters(contentType);
    const std::string anyOfKind = std::string(type.substr(0, type.find('/'))) + "/*";
    return accept.empty() || accept.find("*/*") != std::string_view::npos ||
           accept.find(type) != std::string_view::npos ||
           accept.find(anyOfKind) != std::string_view::npos;
}

} // namespace redfish
