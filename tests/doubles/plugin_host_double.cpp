// The double of the plugin host's two classes. When the hook and the workers run is left
// to the test.
#include "tests/doubles/plugin_host_double.h"

#include "tests/doubles/recorder.h"

struct ovrComSupport::Threads {};
struct ovrBindCAPIToOssel::Subscription {};

namespace doubles {

namespace {

// Ends a worker; no body can name it, so none can catch it by type.
struct TakeFromEmptyQueue {};

const char* nameOf(fnTypes function) {
    switch (function) {
    case fnCreate:
        return "fnCreate";
    case fnRead:
        return "fnRead";
    case fnUpdate:
        return "fnUpdate";
    }
    return "unknown";
}

void take(RequestTriple* request, fnTypes function) {
    const detail::Lock lock(detail::mutex());
    detail::record("ovrThreadInstructionPost", std::string("lockTake, ") + nameOf(function));
    std::deque<RequestTriple>& queue = host().queues.at(function);
    if (queue.empty()) {
        throw TakeFromEmptyQueue{};
    }
    *request = std::move(queue.front());
    queue.pop_front();
}

void post(const RequestTriple& request, fnTypes function) {
    const detail::Lock lock(detail::mutex());
    const auto& [msgId, reqArg, replyChannel] = request;
    detail::record("ovrThreadInstructionPost", "lockPost, {" +
                                                   detail::arguments(msgId, reqArg, replyChannel) +
                                                   "}, " + nameOf(function));
    host().queues.at(function).push_back(request);
}

} // namespace

namespace detail {

void resetHost() {
    host() = Host{};
}

} // namespace detail

Host& host() {
    static auto* const host = new Host;
    return *host;
}

void callHook(std::string msgId, std::string reqArg, std::string replyChannel) {
    host().hook(msgId.data(), reqArg.data(), replyChannel.data());
}

WorkerEnd runWorker(WorkerBody body, const std::string& name) {
    try {
        return {false, body(name)};
    } catch (const TakeFromEmptyQueue&) {
        return {true, nullptr};
    }
}

void runWorkers() {
    for (const auto& [body, name] : host().threads) {
        runWorker(body, name);
    }
}

} // namespace doubles

using doubles::host;
using doubles::detail::arguments;
using doubles::detail::Lock;
using doubles::detail::mutex;
using doubles::detail::record;

ovrComSupport::ovrComSupport() : threads_(new Threads) {
    record("ovrComSupport", "");
}

ovrComSupport::~ovrComSupport() {
    record("~ovrComSupport", "");
    delete threads_;
}

// NOLINTBEGIN(readability-convert-member-functions-to-static): the contract has them as members

void ovrComSupport::ovrAddRunningThread(void* (*body)(std::string), std::string name) {
    const Lock lock(mutex());
    record("ovrAddRunningThread", arguments(name));
    host().threads.emplace_back(body, name);
}

void ovrComSupport::ovrThreadInstructionPost(lockType lock, RequestTriple* request,
                                             fnTypes function) {
    if (lock == lockTake) {
        doubles::take(request, function);
    } else {
        doubles::post(*request, function);
    }
}

void ovrComSupport::ovrThreadWaitForExit() {
    record("ovrThreadWaitForExit", "");
    if (host().duringWaitForExit) {
        host().duringWaitForExit();
    }
}

// NOLINTEND(readability-convert-member-functions-to-static)

ovrBindCAPIToOssel::ovrBindCAPIToOssel() : subscription_(new Subscription) {
    record("ovrBindCAPIToOssel", "");
}

ovrBindCAPIToOssel::~ovrBindCAPIToOssel() {
    record("~ovrBindCAPIToOssel", "");
    delete subscription_;
}

// NOLINTBEGIN(readability-convert-member-functions-to-static): as above

void ovrBindCAPIToOssel::ovrcbIdSet(std::string callbackId) {
    const Lock lock(mutex());
    record("ovrcbIdSet", arguments(callbackId));
    host().callbackId = callbackId;
}

void ovrBindCAPIToOssel::ovrRedisContextSet(redisContext* context) {
    const Lock lock(mutex());
    record("ovrRedisContextSet", arguments(context));
    host().context = context;
}

void ovrBindCAPIToOssel::ovrHookFnSet(void (*hook)(char* msgId, char* reqArg, char* replyChannel)) {
    const Lock lock(mutex());
    record("ovrHookFnSet", hook == nullptr ? "null" : "hook");
    host().hook = hook;
}

void ovrBindCAPIToOssel::ovrHookFnRedisRegister(char** name) {
    const Lock lock(mutex());
    record("ovrHookFnRedisRegister", arguments(*name));
    host().registrationName = *name;
}

// NOLINTEND(readability-convert-member-functions-to-static)
