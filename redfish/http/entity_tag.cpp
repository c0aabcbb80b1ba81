#include "redfish/http/entity_tag.h"

#include "redfish/crypto/digest.h"
#include "redfish/crypto/encoding.h"

#include <span>

namespace redfish {

namespace {

constexpr std::size_t kTagBytes = 16;

std::string_view withoutBlanks(std::string_view text) {
    while (text.starts_with(' ')) {
        text.remove_prefix(1);
    }
    while (text.ends_with(' ')) {
        text.remove_suffix(1);
    }
    return text;
}

} // namespace

std::string entityTag(std::string_view bytes) {
    const Digest digest = sha256(bytes);
    return "\"" + toHex(std::span(digest).first(kTagBytes)) + "\"";
}

bool isListed(std::string_view header, std::string_view entityTag, Comparison comparison) {
    while (!header.empty()) {
        const std::size_t end = header.find(',');
        std::string_view each = withoutBlanks(header.substr(0, end));
        header.remove_prefix(end == std::string_view::npos ? header.size() : end + 1);
        if (comparison == Comparison::weak && each.starts_with("W/")) {
            each.remove_prefix(2);
        }
        if (each == "*" || each == entityTag) {
            return true;
        }
    }
    return false;
}

} // namespace redfish
