// One reply of the store as a value: it owns its texts, so that nothing of the C client
// library leaves this folder's lowest layer.
#pragma once

#include <string>
#include <vector>

struct redisReplyObjectFunctions;

namespace client {

struct Reply {
    enum class Kind { nil, text, integer, list, error };

    Kind kind = Kind::nil;
    std::string text; // of a text or an error
    long long integer = 0;
    std::vector<Reply> elements;

    bool isNil() const { return kind == Kind::nil; }
};

// Lets a reader of hiredis build replies of ours; its private data is the Reply that becomes the
// next one. They never free anything.
redisReplyObjectFunctions& replyBuilding();

} // namespace client
