// The words of one command to the store, as pointers and lengths: texts never pass through
// a format and may hold any byte. Sending them is left to exchange.h.
//
// All words are borrowed and must outlive the command.
#pragma once

#include <array>
#include <cstddef>
#include <limits>
#include <stdexcept>
#include <string_view>
#include <vector>

namespace ossel {

// What hiredis takes: `count` words, the first is the command's name.
struct Command {
    const char** words = nullptr;
    const std::size_t* lengths = nullptr;
    int count = 0;

    std::string_view word(int index) const {
        return index < count ? std::string_view(words[index], lengths[index]) : std::string_view();
    }
};

// A command whose number of words is known: `ShortCommand hget{"HGET", key, field};`
template <std::size_t Count>
class ShortCommand {
public:
    template <typename... Words>
    explicit ShortCommand(const Words&... words)
        : ShortCommand(std::array<std::string_view, Count>{std::string_view(words)...}) {}

    operator Command() { return {words_.data(), lengths_.data(), static_cast<int>(Count)}; }

private:
    explicit ShortCommand(const std::array<std::string_view, Count>& words) {
        for (std::size_t i = 0; i < Count; ++i) {
            words_[i] = words[i].data();
            lengths_[i] = words[i].size();
        }
    }

    std::array<const char*, Count> words_{};
    std::array<std::size_t, Count> lengths_{};
};
template <typename... Words>
ShortCommand(const Words&...) -> ShortCommand<sizeof...(Words)>;

// A command that grows word by word. Throws std::length_error beyond what hiredis counts.
class LongCommand {
public:
    explicit LongCommand(std::size_t expectedWords) {
        if (expectedWords > static_cast<std::size_t>(std::numeric_limits<int>::max())) {
            throw std::length_error("too many words for one command");
        }
        words_.reserve(expectedWords);
        lengths_.reserve(expectedWords);
    }

    void add(std::string_view word) {
        words_.push_back(word.data());
        lengths_.push_back(word.size());
    }

    operator Command() { return {words_.data(), lengths_.data(), static_cast<int>(words_.size())}; }

private:
    std::vector<const char*> words_;
    std::vector<std::size_t> lengths_;
};

} // namespace ossel
