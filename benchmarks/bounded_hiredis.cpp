#include "benchmarks/bounded_hiredis.h"

#include "redis/reply_reader.h"

namespace bench {

namespace {

const redisReplyObjectFunctions* ownFunctions = nullptr;

// By all lists of the reply that is being read.
std::size_t announcedElements = 0;

// The type of the count differs: int in hiredis 0.14, std::size_t from 1.0 on.
template <typename Count>
void* createBoundedArray(const redisReadTask* task, Count count) {
    if (task->parent == nullptr) {
        announcedElements = 0;
    }
    announcedElements += static_cast<std::size_t>(count);
    return announcedElements > redis::kMaxReplyElements ? nullptr
                                                        : ownFunctions->createArray(task, count);
}

} // namespace

void boundReplies(redisContext& connection) {
    static redisReplyObjectFunctions bounded = [&connection] {
        ownFunctions = connection.reader->fn;
        redisReplyObjectFunctions functions = *connection.reader->fn;
        functions.createArray = createBoundedArray;
        return functions;
    }();
    connection.reader->fn = &bounded;
}

} // namespace bench
