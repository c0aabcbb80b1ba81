// The double of the plugin host's two classes.
#include "tests/doubles/plugin_host_double.h"

#include "tests/doubles/recorder.h"

#include <algorithm>
#include <condition_variable>
#include <thread>

struct ovrComSupport::Threads {};
struct ovrBindCAPIToOssel::Subscription {};

namespace doubles {

namespace {

// Ends a worker. Bodies cannot name this type, so none can catch it by type.
struct TakeFromEmptyQueue {};

// The threads started at registration; guarded by the doubles' lock.
struct Running {
    std::vector<std::thread> threads;
    std::size_t alive = 0;   // bodies that have not returned
    std::size_t waiting = 0; // those inside a take
    bool ending = false;
    std::condition_variable_any changed;
};
Running& running() {
    static auto* const running = new Running;
    return *running;
}

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
    if (host().startsThreadsAtRegistration) {
        ++running().waiting;
        running().changed.notify_all();
        running().changed.wait(detail::mutex(),
                               [&queue] { return !queue.empty() || running().ending; });
        --running().waiting;
    }
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
    running().changed.notify_all();
}

void startThread(WorkerBody body, const std::string& name) {
    ++running().alive;
    running().threads.emplace_back([body, name] {
        runWorker(body, name);
        const detail::Lock lock(detail::mutex());
        --running().alive;
        running().changed.notify_all();
    });
}

void endThreads() {
    {
        const detail::Lock lock(detail::mutex());
        running().ending = true;
    }
    running().changed.notify_all();
    for (std::thread& thread : running().threads) {
        thread.join();
    }
    running().threads.clear();
    running().ending = false;
}

// The daemon must keep the name as long as it runs.
void readNameAgain() {
    if (host().name != nullptr && *host().name != host().registrationName) {
        detail::record("registration name", detail::arguments(*host().name));
    }
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
    readNameAgain();
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

void waitUntilWorkersAreIdle() {
    std::unique_lock lock(detail::mutex());
    running().changed.wait(lock, [] {
        return running().waiting == running().alive &&
               std::ranges::all_of(host().queues, [](const auto& queue) { return queue.empty(); });
    });
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
    if (host().startsThreadsAtRegistration) {
        doubles::startThread(body, name);
    }
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
    doubles::readNameAgain();
    if (host().duringWaitForExit) {
        host().duringWaitForExit();
    }
    doubles::endThreads();
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
    {
        const Lock lock(mutex());
        record("ovrHookFnRedisRegister", arguments(*name));
        host().name = name;
        host().registrationName = *name;
    }
    if (host().duringRegistration) {
        host().duringRegistration();
    }
}

// NOLINTEND(readability-convert-member-functions-to-static)
