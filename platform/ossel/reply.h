// Replies of the store, and the quick way to read them. Receiving them, and reading those that
// take the long way, is left to exchange.cpp.
#pragma once

#include <hiredis/hiredis.h>
#include <memory>
#include <span>
#include <string>
#include <string_view>

namespace ossel {

// The text of a string, a status or an error. Borrowed.
inline std::string_view textOf(const redisReply& reply) {
    return {reply.str, reply.len};
}

// One reply, or none. A flat one is held in the object itself, an array as hiredis made it.
class Reply {
public:
    Reply() = default;

    // A status, a text, a number or nil: one of REDIS_REPLY_... The text is copied.
    Reply(int type, long long integer, std::string_view text)
        : type_(type), integer_(integer), text_(text) {}

    // Owned from here on.
    explicit Reply(redisReply* tree) : type_(tree->type), integer_(tree->integer), tree_(tree) {}

    explicit operator bool() const { return type_ != 0; }
    int type() const { return type_; }
    long long integer() const { return integer_; }
    std::string_view text() const { return tree_ != nullptr ? textOf(*tree_) : text_; }

    // Of an array; borrowed.
    std::span<redisReply* const> elements() const {
        return tree_ != nullptr ? std::span<redisReply* const>(tree_->element, tree_->elements)
                                : std::span<redisReply* const>();
    }

private:
    struct Free {
        void operator()(redisReply* reply) const noexcept { freeReplyObject(reply); }
    };

    int type_ = 0;
    long long integer_ = 0;
    std::string text_;
    std::unique_ptr<redisReply, Free> tree_;
};

// Reads the replies where the bytes are exactly so many whole ones and each is a status, a
// number, a text or nil, which is the everyday case. False: they are not, and the replies hold
// anything.
bool readFlatReplies(std::string_view bytes, std::span<Reply> replies);

} // namespace ossel
