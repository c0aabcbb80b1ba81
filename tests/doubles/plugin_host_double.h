// The double of the plugin host: no thread is started by itself. A test calls the hook and
// the registered bodies when it wants to.
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

// What the daemon told the host, and what the host does.
struct Host {
    std::string callbackId;
    redisContext* context = nullptr;
    Hook hook = nullptr;
    std::string registrationName;
    std::vector<std::pair<WorkerBody, std::string>> threads;

    // What a take answers next, by fnTypes. A post is queued here, too.
    std::array<std::deque<RequestTriple>, 3> queues;

    // Runs inside ovrThreadWaitForExit.
    std::function<void()> duringWaitForExit;
};
Host& host();

// Calls the registered hook with copies of the texts.
void callHook(std::string msgId, std::string reqArg, std::string replyChannel);

// Runs a body until it returns or takes from an empty queue. A take from an empty queue
// throws a private type, as the real host does at an orderly stop.
struct WorkerEnd {
    bool endedByHost = false; // the take did not return
    void* result = nullptr;   // what the body returned, otherwise
};
WorkerEnd runWorker(WorkerBody body, const std::string& name = "OrvaneWebGUI");

// Runs the registered bodies, in order.
void runWorkers();

} // namespace doubles
