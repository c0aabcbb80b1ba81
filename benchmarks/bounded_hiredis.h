// The limits of redis/reply_reader.h for the programs that read with hiredis, whose own reader
// takes memory for as many elements as a reply announces. Works with hiredis 0.14 and 1.x.
#pragma once

#include <hiredis/hiredis.h>

namespace bench {

// Replies of this connection whose lists have more than redis::kMaxReplyElements elements together
// are an error from now on. The connection is borrowed. One thread.
void boundReplies(redisContext& connection);

} // namespace bench
