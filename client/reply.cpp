// Turns a reply of the C client library into a value of ours.
// Errors among the replies are kept as such; client/connection.cpp throws them.
#include "client/reply.h"

#include <hiredis/hiredis.h>

namespace client {

Reply makeReply(const redisReply& reply) {
    Reply result;
    switch (reply.type) {
    case REDIS_REPLY_NIL:
        break;
    case REDIS_REPLY_INTEGER:
        result.kind = Reply::Kind::integer;
        result.integer = reply.integer;
        break;
    case REDIS_REPLY_ARRAY:
        result.kind = Reply::Kind::list;
        for (std::size_t i = 0; i < reply.elements; ++i) {
            result.elements.push_back(makeReply(*reply.element[i]));
        }
        break;
    default:
        result.kind = reply.type == REDIS_REPLY_ERROR ? Reply::Kind::error : Reply::Kind::text;
        result.text.assign(reply.str, reply.len);
        break;
    }
    return result;
}

} // namespace client
