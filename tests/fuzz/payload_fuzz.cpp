// The payload of a request: arbitrary bytes to the parser of the request channel, which has to
// agree with the JSON library's own tree on what a request is.
#include "platform/plugin_host/payload.h"
#include "tests/fuzz/fuzz.h"

#include <algorithm>
#include <nlohmann/json.hpp>

using fuzz::require;

namespace {

using Json = nlohmann::json;

bool isText(const Json& element) {
    return element.is_string() &&
           element.get_ref<const std::string&>().find('\0') == std::string::npos;
}

bool isRequest(const Json& tree) {
    return tree.is_array() && tree.size() == 3 && std::ranges::all_of(tree, isText);
}

void checkShown(std::string_view payload) {
    constexpr std::size_t kMaxLetters = 80 * 4 + 3;
    const std::string shown = plugin_host::shownPayload(payload);
    require(shown.size() <= kMaxLetters, "a shown payload is short", shown);
    require(std::ranges::all_of(shown, [](char c) { return c >= 0x20 && c < 0x7f; }),
            "a shown payload is printable ASCII", shown);
    require(payload.empty() == shown.empty(), "a payload is shown", shown);
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view payload = fuzz::asText(data, size);
    checkShown(payload);

    RequestTriple request("earlier", "texts", "remain");
    const char* const reason = plugin_host::parseRequest(payload, request);
    const auto& [msgId, reqArg, replyChannel] = request;
    const Json tree = Json::parse(payload, nullptr, false);
    // The library's own parser takes a NUL for the end and ignores what follows.
    const bool wanted = payload.size() <= plugin_host::kMaxPayloadBytes &&
                        payload.find('\0') == std::string_view::npos && isRequest(tree);
    require((reason == nullptr) == wanted, "the parser and the tree agree",
            reason == nullptr ? "accepted" : reason);
    if (wanted) {
        require(tree == Json({msgId, reqArg, replyChannel}), "the texts are those of the payload");
    } else {
        require(*reason != '\0', "a refusal has a reason");
    }
    return 0;
}
