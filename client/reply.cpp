// Lets the C client library's parser fill a value of ours, without a copy of its own in between.
// Errors among the replies are kept as such; client/connection.cpp throws them.
#include "client/reply.h"

#include <exception>
#include <hiredis/hiredis.h>

namespace client {

namespace {

// The reply that a task of the parser stands for: the whole one, or an element of an array.
Reply& placeOf(const redisReadTask& task) {
    if (task.parent == nullptr) {
        return *static_cast<Reply*>(task.privdata);
    }
    return static_cast<Reply*>(task.parent->obj)->elements.at(static_cast<std::size_t>(task.idx));
}

// A null tells the parser that there was no memory.
template <typename Filling>
void* fill(const redisReadTask* task, Reply::Kind kind, Filling filling) noexcept {
    try {
        Reply& reply = placeOf(*task);
        reply.kind = kind;
        filling(reply);
        return &reply;
    } catch (const std::exception&) {
        return nullptr;
    }
}

void* createString(const redisReadTask* task, char* text, std::size_t length) {
    const bool isError = task->type == REDIS_REPLY_ERROR;
    return fill(task, isError ? Reply::Kind::error : Reply::Kind::text,
                [=](Reply& reply) { reply.text.assign(text, length); });
}

void* createArray(const redisReadTask* task, int count) {
    return fill(task, Reply::Kind::list,
                [=](Reply& reply) { reply.elements.resize(static_cast<std::size_t>(count)); });
}

void* createInteger(const redisReadTask* task, long long value) {
    return fill(task, Reply::Kind::integer, [=](Reply& reply) { reply.integer = value; });
}

void* createNil(const redisReadTask* task) {
    return fill(task, Reply::Kind::nil, [](Reply&) {});
}

void freeNothing(void* /*reply*/) {}

} // namespace

redisReplyObjectFunctions& replyBuilding() {
    static redisReplyObjectFunctions functions{createString, createArray, createInteger, createNil,
                                               freeNothing};
    return functions;
}

} // namespace client
