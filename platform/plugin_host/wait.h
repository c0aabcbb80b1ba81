// What happens inside ovrThreadWaitForExit: the threads run, and end in order.
#pragma once

#include <string>
#include <vector>

namespace plugin_host {

class RequestQueues;
class Subscription;

struct Worker {
    void* (*body)(std::string);
    std::string name;
};

// Starts the workers and, where the provider is registered, the hook's thread. Returns when all of
// them have ended: after SIGTERM or SIGINT, or when every worker ended by itself.
//   subscription   null or not registered: no hook's thread
void runWorkers(const std::vector<Worker>& workers, RequestQueues& queues,
                Subscription* subscription);

} // namespace plugin_host
