// The words of one command to the store: texts never pass through a format and may hold any
// byte. Sending them is left to exchange.h.
//
// All words are borrowed and must outlive the command.
#pragma once

#include <array>
#include <cstddef>
#include <limits>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace ossel {

// The first word is the command's name.
using Command = std::span<const std::string_view>;

// A command whose number of words is known: `ShortCommand hget{"HGET", key, field};`
template <std::size_t Count>
class ShortCommand {
public:
    template <typename... Words>
    explicit ShortCommand(const Words&... words) : words_{std::string_view(words)...} {}

    operator Command() const { return words_; }

private:
    std::array<std::string_view, Count> words_;
};
template <typename... Words>
ShortCommand(const Words&...) -> ShortCommand<sizeof...(Words)>;

// A command that grows word by word. Throws std::length_error beyond what a server counts.
class LongCommand {
public:
    explicit LongCommand(std::size_t expectedWords) {
        if (expectedWords > static_cast<std::size_t>(std::numeric_limits<int>::max())) {
            throw std::length_error("too many words for one command");
        }
        words_.reserve(expectedWords);
    }

    void add(std::string_view word) { words_.push_back(word); }

    operator Command() const { return words_; }

private:
    std::vector<std::string_view> words_;
};

// The commands as they are sent, one behind the other.
std::string wireForm(std::span<const Command> commands);

} // namespace ossel
