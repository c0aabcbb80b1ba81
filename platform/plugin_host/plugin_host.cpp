// The public classes: each member checks its arguments and passes them to the queues, the
// subscription or the wait.
#include "platform/plugin_host.h"

#include "platform/plugin_host/error_line.h"
#include "platform/plugin_host/request_queues.h"
#include "platform/plugin_host/subscription.h"
#include "platform/plugin_host/wait.h"

#include <utility>
#include <vector>

struct ovrComSupport::Threads {
    plugin_host::RequestQueues queues;
    std::vector<plugin_host::Worker> workers;
    plugin_host::Subscription* subscription = nullptr; // of the derived object, while it lives
};

struct ovrBindCAPIToOssel::Subscription : plugin_host::Subscription {};

ovrComSupport::ovrComSupport() : threads_(new Threads) {}

ovrComSupport::~ovrComSupport() {
    delete threads_;
}

void ovrComSupport::ovrAddRunningThread(void* (*body)(std::string), std::string name) {
    if (body == nullptr) {
        plugin_host::writeErrorLine("A thread without a body is not registered: ", name);
        return;
    }
    threads_->workers.push_back({body, std::move(name)});
}

void ovrComSupport::ovrThreadInstructionPost(lockType lock, RequestTriple* request,
                                             fnTypes function) {
    if (lock == lockTake) {
        RequestTriple unwanted;
        threads_->queues.take(request != nullptr ? *request : unwanted, function);
    } else if (lock == lockPost && request != nullptr) {
        threads_->queues.post(*request, function);
    } else {
        plugin_host::writeErrorLine("A post without a request is ignored");
    }
}

void ovrComSupport::ovrThreadWaitForExit() {
    const std::vector<plugin_host::Worker> workers = std::exchange(threads_->workers, {});
    if (!workers.empty()) {
        plugin_host::runWorkers(workers, threads_->queues, threads_->subscription);
    }
}

ovrBindCAPIToOssel::ovrBindCAPIToOssel() : subscription_(new Subscription) {
    threads_->subscription = subscription_;
}

ovrBindCAPIToOssel::~ovrBindCAPIToOssel() {
    threads_->subscription = nullptr;
    delete subscription_;
}

void ovrBindCAPIToOssel::ovrcbIdSet(std::string callbackId) {
    subscription_->setCallbackId(std::move(callbackId));
}

// NOLINTNEXTLINE(readability-convert-member-functions-to-static): a member by contract
void ovrBindCAPIToOssel::ovrRedisContextSet(redisContext* /*context*/) {
    // The host subscribes on a connection of its own: this one is the main thread's.
}

void ovrBindCAPIToOssel::ovrHookFnSet(void (*hook)(char* msgId, char* reqArg, char* replyChannel)) {
    subscription_->setHook(hook);
}

void ovrBindCAPIToOssel::ovrHookFnRedisRegister(char** name) {
    if (name == nullptr || *name == nullptr || **name == '\0') {
        plugin_host::writeErrorLine("A hook without a name is not registered");
        return;
    }
    subscription_->registerAs(*name);
}
