#include "redis/command.h"

#include <algorithm>
#include <charconv>
#include <limits>
#include <stdexcept>

namespace redis {

namespace {

constexpr std::string_view kLineEnd = "\r\n";
// A mark, the digits of a number, the end of the line.
constexpr std::size_t kMaxHeadingBytes =
    1 + std::numeric_limits<std::size_t>::digits10 + 1 + kLineEnd.size();

char* put(char* out, std::string_view text) {
    return std::copy(text.begin(), text.end(), out);
}

char* putHeading(char* out, char mark, std::size_t number) {
    *out++ = mark;
    return put(std::to_chars(out, out + kMaxHeadingBytes, number).ptr, kLineEnd);
}

template <typename Words>
void append(std::string& bytes, const Words& words) {
    std::size_t most = kMaxHeadingBytes * (1 + words.size());
    for (const std::string_view word : words) {
        most += word.size() + kLineEnd.size();
    }
    const std::size_t before = bytes.size();
    bytes.resize(before + most);
    char* out = putHeading(bytes.data() + before, '*', words.size());
    for (const std::string_view word : words) {
        out = put(put(putHeading(out, '$', word.size()), word), kLineEnd);
    }
    bytes.resize(static_cast<std::size_t>(out - bytes.data()));
}

} // namespace

LongCommand::LongCommand(std::size_t expectedWords) {
    if (expectedWords > static_cast<std::size_t>(std::numeric_limits<int>::max())) {
        throw std::length_error("too many words for one command");
    }
    words_.reserve(expectedWords);
}

void appendCommand(std::string& bytes, Command command) {
    append(bytes, command);
}

void appendCommand(std::string& bytes, std::span<const std::string> words) {
    append(bytes, words);
}

} // namespace redis
