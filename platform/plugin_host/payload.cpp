// The everyday payload is read in one pass; the JSON parser decides about every other. It reports
// events instead of building a tree, so that a payload of another form is refused at its first
// wrong element.
#include "platform/plugin_host/payload.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <nlohmann/json.hpp>

namespace plugin_host {

namespace {

using Json = nlohmann::json;

constexpr std::size_t kShownBytes = 80;
constexpr const char* kNul = "contains a NUL";

// True for letters that stand for themselves in a JSON text. A function object: called for each.
constexpr auto isPlain = [](char letter) {
    return letter >= ' ' && letter <= '~' && letter != '"' && letter != '\\';
};

// Takes the mark, blanks, and a quoted text without escapes.
bool takePlainText(std::string_view& rest, char mark, std::string& text) {
    if (!rest.starts_with(mark)) {
        return false;
    }
    rest.remove_prefix(std::min(rest.find_first_not_of(' ', 1), rest.size()));
    if (!rest.starts_with('"')) {
        return false;
    }
    const auto* const begin = rest.begin() + 1;
    const auto* const end = std::find_if_not(begin, rest.end(), isPlain);
    if (end == rest.end() || *end != '"') {
        return false;
    }
    text.assign(begin, end);
    rest.remove_prefix(static_cast<std::size_t>(end - rest.begin()) + 1);
    return true;
}

// False: not of the everyday form; the request is in any state.
bool readPlainRequest(std::string_view payload, RequestTriple& request) {
    auto& [msgId, reqArg, replyChannel] = request;
    return takePlainText(payload, '[', msgId) && takePlainText(payload, ',', reqArg) &&
           takePlainText(payload, ',', replyChannel) && payload == "]";
}

// Receives the parser's events, under the parser's names; false stops it.
class RequestReader {
public:
    explicit RequestReader(RequestTriple& request)
        : texts_{&std::get<0>(request), &std::get<1>(request), &std::get<2>(request)} {}

    const char* reason() const { return reason_; }

    bool null() { return refuseElement(); }
    bool boolean(bool) { return refuseElement(); }
    bool number_integer(std::int64_t) { return refuseElement(); }
    bool number_unsigned(std::uint64_t) { return refuseElement(); }
    bool number_float(double, const std::string&) { return refuseElement(); }
    bool binary(Json::binary_t&) { return refuseElement(); }
    bool start_object(std::size_t) { return refuseElement(); }
    bool key(std::string&) { return refuseElement(); }
    bool end_object() { return refuseElement(); }

    bool start_array(std::size_t) {
        if (inArray_) {
            return refuseElement();
        }
        inArray_ = true;
        return true;
    }

    bool string(std::string& text) {
        if (!inArray_) {
            return refuseElement();
        }
        if (count_ == texts_.size()) {
            return refuse("more than three elements");
        }
        if (text.find('\0') != std::string::npos) {
            return refuse(kNul);
        }
        *texts_[count_++] = text;
        return true;
    }

    bool end_array() { return count_ == texts_.size() || refuse("less than three elements"); }

    bool parse_error(std::size_t, const std::string&, const Json::exception&) {
        return refuse("no JSON in UTF-8");
    }

private:
    bool refuseElement() { return refuse(inArray_ ? "an element is no text" : "no array"); }

    bool refuse(const char* reason) {
        reason_ = reason;
        return false;
    }

    std::array<std::string*, 3> texts_;
    std::size_t count_ = 0;
    bool inArray_ = false;
    const char* reason_ = nullptr;
};

} // namespace

const char* parseRequest(std::string_view payload, RequestTriple& request) {
    if (payload.size() > kMaxPayloadBytes) {
        return "longer than 64 KiB";
    }
    if (readPlainRequest(payload, request)) {
        return nullptr;
    }
    if (payload.find('\0') != std::string_view::npos) {
        return kNul;
    }
    RequestReader reader(request);
    Json::sax_parse(payload.begin(), payload.end(), &reader);
    return reader.reason();
}

std::string shownPayload(std::string_view payload) {
    static constexpr std::string_view kDigits = "0123456789abcdef";
    std::string shown;
    for (const char letter : payload.substr(0, kShownBytes)) {
        const auto byte = static_cast<unsigned char>(letter);
        if (byte >= 0x20 && byte < 0x7f && letter != '\\') {
            shown += letter;
        } else {
            shown.append({'\\', 'x', kDigits[byte >> 4U], kDigits[byte & 0xfU]});
        }
    }
    return payload.size() > kShownBytes ? shown + "..." : shown;
}

} // namespace plugin_host
