#include "redis/reply_reader.h"

#include <algorithm>
#include <charconv>
#include <optional>
#include <utility>

namespace redis {

namespace {

constexpr std::size_t kBufferBytes = std::size_t{16} * 1024; // kept for the life of a reader
constexpr std::size_t kMinRoomBytes = std::size_t{4} * 1024;
constexpr std::size_t kFirstElements = 16; // memory for elements is taken as they arrive
constexpr std::size_t kMaxKeptElements = 64;
constexpr std::size_t kLineEndBytes = 2;

// As a server writes it: no sign but a minus, no leading zero.
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

void set(Reply& item, Reply::Kind kind, long long integer, std::string_view text) {
    item.kind = kind;
    item.integer = integer;
    item.text.assign(text);
    item.elements.clear();
}

} // namespace

std::span<char> ReplyReader::room() {
    if (begin_ == end_) {
        begin_ = 0;
        end_ = 0;
        if (capacity_ != kBufferBytes) {
            buffer_ = std::make_unique_for_overwrite<char[]>(kBufferBytes);
            capacity_ = kBufferBytes;
        }
    } else if (capacity_ - end_ < kMinRoomBytes) {
        const std::string_view kept = unread();
        if (capacity_ - kept.size() >= std::max(kMinRoomBytes, capacity_ / 2)) {
            std::copy(kept.begin(), kept.end(), buffer_.get());
        } else {
            auto larger = std::make_unique_for_overwrite<char[]>(2 * capacity_);
            std::copy(kept.begin(), kept.end(), larger.get());
            buffer_ = std::move(larger);
            capacity_ *= 2;
        }
        end_ = kept.size();
        begin_ = 0;
    }
    return {buffer_.get() + end_, capacity_ - end_};
}

void ReplyReader::clear() {
    *this = ReplyReader();
}

ReplyReader::Found ReplyReader::refuse(const char* problem) {
    problem_ = problem;
    return Found::nonsense;
}

// Where the next item belongs. A list grows only while it is the innermost one, so that the lists
// around it stay where they are.
Reply& ReplyReader::place() {
    if (depth_ == 0) {
        return pending_;
    }
    const Level& level = levels_[depth_ - 1];
    std::vector<Reply>& elements = level.list->elements;
    if (level.filled == elements.size()) {
        elements.resize(std::min(level.count, std::max(kFirstElements, 2 * level.filled)));
    }
    return elements[level.filled];
}

ReplyReader::Found ReplyReader::next(Reply& reply) {
    while (begin_ != end_) {
        isOpened_ = false;
        if (const Found found = takeItem(place()); found != Found::reply) {
            return found;
        }
        if (isOpened_) {
            continue;
        }
        while (depth_ > 0 && ++levels_[depth_ - 1].filled == levels_[depth_ - 1].count) {
            --depth_;
        }
        if (depth_ == 0) {
            replyBytes_ = 0;
            replyElements_ = 0;
            if (reply.elements.capacity() > kMaxKeptElements ||
                reply.text.capacity() > kBufferBytes) {
                reply = Reply();
            }
            std::swap(reply, pending_);
            return Found::reply;
        }
    }
    return Found::incomplete;
}

// False: the pending reply has become too long.
bool ReplyReader::take(std::size_t bytes) {
    begin_ += bytes;
    replyBytes_ += bytes;
    return replyBytes_ <= kMaxReplyBytes;
}

ReplyReader::Found ReplyReader::takeItem(Reply& item) {
    const std::string_view rest = unread();
    const std::size_t lineEnd = rest.find('\r');
    if (std::min(lineEnd, rest.size()) > kMaxReplyLineBytes) {
        return refuse("a line of a reply is longer than 64 KiB");
    }
    if (lineEnd == std::string_view::npos || lineEnd + 1 == rest.size()) {
        return Found::incomplete;
    }
    if (lineEnd == 0 || rest[lineEnd + 1] != '\n') {
        return refuse("not a reply of redis");
    }
    const std::string_view content = rest.substr(1, lineEnd - 1);
    const std::size_t lineBytes = lineEnd + kLineEndBytes;
    switch (rest.front()) {
    case '$':
        return takeText(item, lineBytes, content);
    case '+':
        set(item, Reply::Kind::status, 0, content);
        break;
    case '-':
        set(item, Reply::Kind::error, 0, content);
        break;
    case ':':
        if (const std::optional<long long> number = readNumber(content)) {
            set(item, Reply::Kind::integer, *number, {});
            break;
        }
        return refuse("a number in a reply is unreadable");
    case '*':
        if (const Found found = takeList(item, content); found != Found::reply) {
            return found;
        }
        break;
    default:
        return refuse("not a reply of redis");
    }
    return take(lineBytes) ? Found::reply : refuse("a reply is longer than 64 MiB");
}

ReplyReader::Found ReplyReader::takeText(Reply& item, std::size_t headingBytes,
                                         std::string_view length) {
    const std::optional<long long> number = readNumber(length);
    if (!number || *number < -1) {
        return refuse("a length in a reply is unreadable");
    }
    if (*number == -1) {
        set(item, Reply::Kind::nil, 0, {});
        return take(headingBytes) ? Found::reply : refuse("a reply is longer than 64 MiB");
    }
    const auto announced = static_cast<unsigned long long>(*number);
    if (announced > kMaxReplyBytes - std::min(replyBytes_ + headingBytes, kMaxReplyBytes)) {
        return refuse("a reply is longer than 64 MiB");
    }
    const auto textBytes = static_cast<std::size_t>(announced);
    const std::string_view rest = unread().substr(headingBytes);
    if (rest.size() < textBytes + kLineEndBytes) {
        return Found::incomplete;
    }
    if (rest.substr(textBytes, kLineEndBytes) != "\r\n") {
        return refuse("a text in a reply has another length than announced");
    }
    set(item, Reply::Kind::text, 0, rest.substr(0, textBytes));
    return take(headingBytes + textBytes + kLineEndBytes) ? Found::reply
                                                          : refuse("a reply is longer than 64 MiB");
}

ReplyReader::Found ReplyReader::takeList(Reply& item, std::string_view count) {
    const std::optional<long long> number = readNumber(count);
    if (!number || *number < -1) {
        return refuse("a count in a reply is unreadable");
    }
    if (*number <= 0) {
        set(item, *number < 0 ? Reply::Kind::nil : Reply::Kind::list, 0, {});
        return Found::reply;
    }
    const auto announced = static_cast<unsigned long long>(*number);
    if (announced > kMaxReplyElements - replyElements_) {
        return refuse("a reply has more than 1,048,576 elements");
    }
    if (depth_ == kMaxReplyDepth) {
        return refuse("a reply has lists in more than 8 levels");
    }
    const auto elements = static_cast<std::size_t>(announced);
    replyElements_ += elements;
    item.kind = Reply::Kind::list;
    item.integer = 0;
    item.text.clear();
    if (item.elements.size() > elements) {
        item.elements.resize(elements);
    }
    levels_[depth_++] = {&item, 0, elements};
    isOpened_ = true;
    return Found::reply;
}

} // namespace redis
