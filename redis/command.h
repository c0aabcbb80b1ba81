// Commands to the store: their words, and the bytes in which they travel. Words never pass through
// a format string and may contain any byte.
#pragma once

#include <array>
#include <cstddef>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace redis {

// The words of one command, its name first. Borrowed, like the texts themselves.
using Command = std::span<const std::string_view>;

// A command with a fixed number of words: `ShortCommand hget{"HGET", key, field};` Borrows them.
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

// A command that grows word by word. Borrows the words.
class LongCommand {
public:
    // Throws std::length_error for more words than a server accepts.
    explicit LongCommand(std::size_t expectedWords);

    void add(std::string_view word) { words_.push_back(word); }

    operator Command() const { return words_; }

private:
    std::vector<std::string_view> words_;
};

// Appends the command to `bytes` in its form on the wire.
void appendCommand(std::string& bytes, Command command);
void appendCommand(std::string& bytes, std::span<const std::string> words);

} // namespace redis
