// Turns received bytes into replies, whatever the pieces in which they arrive, and refuses those
// that would take more memory than an honest store ever asks for.
#pragma once

#include "redis/reply.h"

#include <array>
#include <cstddef>
#include <memory>
#include <span>
#include <string_view>

namespace redis {

// Limits of one reply, checked against what a header announces, before any memory is taken.
inline constexpr std::size_t kMaxReplyBytes = std::size_t{64} * 1024 * 1024;
inline constexpr std::size_t kMaxReplyElements = std::size_t{1024} * 1024; // of all its lists
inline constexpr std::size_t kMaxReplyDepth = 8;                           // of lists in lists
inline constexpr std::size_t kMaxReplyLineBytes = std::size_t{64} * 1024;

// One thread at a time.
class ReplyReader {
public:
    enum class Found : std::uint8_t { reply, incomplete, nonsense };

    // Free memory for the next bytes, at least a few KiB; valid until the next call of any member.
    std::span<char> room();
    // `count` bytes were put into room().
    void added(std::size_t count) { end_ += count; }

    // Takes the next whole reply. The memory of the previous content of `reply` is reused.
    // incomplete: more bytes are needed, `reply` is untouched. nonsense: the bytes are not a reply
    // or exceed a limit; problem() says how, and only clear() makes the reader usable again.
    Found next(Reply& reply);

    // True when nothing is left of what was received.
    bool isEmpty() const { return begin_ == end_ && depth_ == 0; }

    // What was received and belongs to no reply yet. Valid as room() is.
    std::string_view unread() const { return {buffer_.get() + begin_, end_ - begin_}; }

    const char* problem() const { return problem_; }

    // Discards what was received, for a new connection.
    void clear();

private:
    // A list that is being filled.
    struct Level {
        Reply* list;
        std::size_t filled;
        std::size_t count;
    };

    Found refuse(const char* problem);
    Reply& place();
    Found takeItem(Reply& item);
    Found takeText(Reply& item, std::size_t headingBytes, std::string_view length);
    Found takeList(Reply& item, std::string_view count);
    bool take(std::size_t bytes);

    std::unique_ptr<char[]> buffer_; // NOLINT(*-avoid-c-arrays): allocated without being touched
    std::size_t capacity_ = 0;
    std::size_t begin_ = 0; // of what is unread
    std::size_t end_ = 0;
    Reply pending_; // its lists never move while they are filled
    std::array<Level, kMaxReplyDepth> levels_{};
    std::size_t depth_ = 0;
    std::size_t replyBytes_ = 0;    // taken for the pending reply
    std::size_t replyElements_ = 0; // announced by its lists
    bool isOpened_ = false;         // the item taken last is a list that awaits its elements
    const char* problem_ = "";
};

} // namespace redis
