// Writes commands in the form in which the server reads them: arrays of texts with their lengths.
#include "platform/ossel/command.h"

#include <algorithm>
#include <charconv>

namespace ossel {

namespace {

constexpr std::string_view kLineEnd = "\r\n";
// A mark, the digits of a number, and the end of the line.
constexpr std::size_t kLongestHeading =
    1 + std::numeric_limits<std::size_t>::digits10 + 1 + kLineEnd.size();

std::size_t mostBytes(std::span<const Command> commands) {
    std::size_t bytes = 0;
    for (const Command command : commands) {
        bytes += kLongestHeading * (1 + command.size());
        for (const std::string_view word : command) {
            bytes += word.size() + kLineEnd.size();
        }
    }
    return bytes;
}

char* put(char* out, std::string_view text) {
    return std::copy(text.begin(), text.end(), out);
}

char* putHeading(char* out, char mark, std::size_t number) {
    *out++ = mark;
    return put(std::to_chars(out, out + kLongestHeading, number).ptr, kLineEnd);
}

} // namespace

std::string wireForm(std::span<const Command> commands) {
    std::string bytes(mostBytes(commands), '\0');
    char* out = bytes.data();
    for (const Command command : commands) {
        out = putHeading(out, '*', command.size());
        for (const std::string_view word : command) {
            out = putHeading(out, '$', word.size());
            out = put(put(out, word), kLineEnd);
        }
    }
    bytes.resize(static_cast<std::size_t>(out - bytes.data()));
    return bytes;
}

} // namespace ossel
