// The double of the plugin host. It starts no thread unless told to: the test itself calls the hook
// and the registered bodies.
#pragma once

#include "platform/plugin_host.h"

#include <array>
#include <deque>
#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace doubles {

using WorkerBody = void* (*)(std::string);
using Hook = void (*)(char* msgId, char* reqArg, char* replyChannel);

// What the daemon passed to the host, and what the host does.
struct Host {
    std::string callbackId;
    redisContext* context = nullptr;
    Hook hook = nullptr;
    char** name = nullptr;        // as given; read again at the wait and at each request
    std::string registrationName; // what it pointed to at registration
    std::vector<std::pair<WorkerBody, std::string>> threads;

    // What takes return next, by fnTypes. Posts are queued here too.
    std::array<std::deque<RequestTriple>, 3> queues;

    // Run inside ovrHookFnRedisRegister, at its end, and inside ovrThreadWaitForExit.
    std::function<void()> duringRegistration;
    std::function<void()> duringWaitForExit;

    // Each body runs on a thread of its own from its registration to the end of
    // ovrThreadWaitForExit; a take waits for a request.
    bool startsThreadsAtRegistration = false;
};
Host& host();

// Calls the registered hook with copies of the texts. A registration name that has changed since
// the registration, or is gone, is recorded as a call of its own.
void callHook(std::string msgId, std::string reqArg, std::string replyChannel);

// Runs a body until it returns or takes from an empty queue. Such a take throws a private type, as
// the real host does at an orderly stop.
struct WorkerEnd {
    bool endedByHost = false; // the take did not return
    void* result = nullptr;   // what the body returned, otherwise
};
WorkerEnd runWorker(WorkerBody body, const std::string& name = "OrvaneWebGUI");

// Runs the registered bodies, in order.
void runWorkers();

// Waits until the threads that were started at registration have served every request.
void waitUntilWorkersAreIdle();

} // namespace doubles
