// Ends the hook's thread before the workers, so that their queues are complete.
#include "platform/plugin_host/wait.h"

#include "platform/plugin_host/error_line.h"
#include "platform/plugin_host/event.h"
#include "platform/plugin_host/request_queues.h"
#include "platform/plugin_host/stop_signals.h"
#include "platform/plugin_host/subscription.h"

#include <array>
#include <atomic>
#include <pthread.h>
#include <thread>

namespace plugin_host {

namespace {

void nameThread(const std::string& name) {
    constexpr std::size_t kMaxLetters = 15; // the kernel's bound
    ::pthread_setname_np(::pthread_self(), name.substr(0, kMaxLetters).c_str());
}

// The workers that still run; the last one to end raises the event.
class Running {
public:
    explicit Running(std::size_t count) : count_(count) {}
    void oneEnded() {
        if (--count_ == 0) {
            allEnded_.raise();
        }
    }
    const Event& allEnded() const { return allEnded_; }

private:
    std::atomic<std::size_t> count_;
    Event allEnded_;
};

void runBody(const Worker& worker, Running& running) {
    nameThread(worker.name);
    try {
        worker.body(worker.name);
    } catch (const WorkerEnd&) {
        // The orderly end. Any other exception ends the process.
    }
    running.oneEnded();
}

void waitForEnd(StopSignals& signals, const Event& allEnded) {
    std::array<pollfd, 2> waited{
        {{signals.descriptor(), POLLIN, 0}, {allEnded.descriptor(), POLLIN, 0}}};
    pollAll(waited.data(), waited.size(), std::chrono::milliseconds(-1));
    if (waited[0].revents != 0) {
        signals.takeFirst();
    }
}

} // namespace

void runWorkers(const std::vector<Worker>& workers, RequestQueues& queues,
                Subscription* subscription) {
    StopSignals signals;
    Running running(workers.size());
    const Event stopHook;
    std::vector<std::thread> threads;
    threads.reserve(workers.size());
    for (const Worker& worker : workers) {
        threads.emplace_back([&worker, &running] { runBody(worker, running); });
    }
    std::thread hookThread;
    if (subscription != nullptr && subscription->isRegistered()) {
        hookThread = std::thread([subscription, &stopHook] {
            nameThread("ovr-hook");
            subscription->serve(stopHook);
        });
    }

    waitForEnd(signals, running.allEnded());
    stopHook.raise();
    if (hookThread.joinable()) {
        hookThread.join();
    }
    queues.end();
    for (std::thread& thread : threads) {
        thread.join();
    }
    const std::size_t skipped = queues.close();
    if (skipped > 0) {
        writeErrorLine("Requests whose worker is gone are skipped: ", std::to_string(skipped));
    }
}

} // namespace plugin_host
