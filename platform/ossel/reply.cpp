// Reads flat replies without hiredis, whose reader allocates for each. Whatever is not plainly
// one of them is refused here, so that hiredis alone decides about everything unusual.
#include "platform/ossel/reply.h"

#include <algorithm>
#include <charconv>
#include <optional>

namespace ossel {

namespace {

constexpr std::string_view kLineEnd = "\r\n";

// Takes the line that the bytes begin with, and gives it without its end.
std::optional<std::string_view> takeLine(std::string_view& bytes) {
    const std::size_t end = bytes.find('\r');
    if (end == std::string_view::npos || !bytes.substr(end).starts_with(kLineEnd)) {
        return std::nullopt;
    }
    const std::string_view line = bytes.substr(0, end);
    bytes.remove_prefix(end + kLineEnd.size());
    return line;
}

// A number as a server writes it: no sign but a minus, no zero in front.
std::optional<long long> readNumber(std::string_view text) {
    const std::string_view digits = text.substr(text.starts_with('-') ? 1 : 0);
    if (digits.empty() || (digits.front() == '0' && text.size() > 1)) {
        return std::nullopt;
    }
    long long number = 0;
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, number);
    return error == std::errc() && stop == end ? std::optional(number) : std::nullopt;
}

std::optional<Reply> takeText(std::string_view& bytes, std::string_view length) {
    constexpr long long kNil = -1;
    const std::optional<long long> number = readNumber(length);
    if (number == kNil) {
        return Reply(REDIS_REPLY_NIL, 0, "");
    }
    if (!number || *number < 0 || static_cast<unsigned long long>(*number) > bytes.size()) {
        return std::nullopt;
    }
    const std::string_view text = bytes.substr(0, static_cast<std::size_t>(*number));
    if (!bytes.substr(text.size()).starts_with(kLineEnd)) {
        return std::nullopt;
    }
    bytes.remove_prefix(text.size() + kLineEnd.size());
    return Reply(REDIS_REPLY_STRING, 0, text);
}

std::optional<Reply> takeReply(std::string_view& bytes) {
    const std::optional<std::string_view> line = takeLine(bytes);
    if (!line || line->empty()) {
        return std::nullopt;
    }
    const std::string_view content = line->substr(1);
    switch (line->front()) {
    case '+':
        return Reply(REDIS_REPLY_STATUS, 0, content);
    case ':':
        if (const std::optional<long long> number = readNumber(content)) {
            return Reply(REDIS_REPLY_INTEGER, *number, "");
        }
        return std::nullopt;
    case '$':
        return takeText(bytes, content);
    default:
        return std::nullopt;
    }
}

} // namespace

bool readFlatReplies(std::string_view bytes, std::span<Reply> replies) {
    for (Reply& reply : replies) {
        std::optional<Reply> next = takeReply(bytes);
        if (!next) {
            return false;
        }
        reply = std::move(*next);
    }
    return bytes.empty();
}

} // namespace ossel
