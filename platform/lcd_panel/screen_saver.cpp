// Each change runs on a detached thread; the caller waits for it until the bound.
#include "platform/lcd_panel/screen_saver.h"

#include <atomic>
#include <condition_variable>
#include <csignal>
#include <memory>
#include <mutex>
#include <optional>
#include <system_error>
#include <thread>

namespace lcdpanel {

namespace {

// Shared by the caller and the thread; freed by whichever finishes last.
struct Exchange {
    std::string display;
    Change change;
    std::atomic<bool> abandoned = false;
    std::mutex mutex;
    std::condition_variable ended;
    std::optional<Outcome> outcome; // guarded by the mutex
};

std::atomic<bool> underWay = false;

void run(Exchange& exchange) {
    const Outcome outcome =
        changeScreenSaver(exchange.display, exchange.change, exchange.abandoned);
    underWay = false;
    const std::lock_guard lock(exchange.mutex);
    exchange.outcome = outcome;
    exchange.ended.notify_one();
}

// Blocks all signals of this thread while it lives: a thread started meanwhile inherits that and
// never takes a signal meant for the program.
class SignalsBlocked {
public:
    SignalsBlocked() {
        sigset_t all;
        ::sigfillset(&all);
        ::pthread_sigmask(SIG_SETMASK, &all, &before_);
    }
    ~SignalsBlocked() { ::pthread_sigmask(SIG_SETMASK, &before_, nullptr); }
    SignalsBlocked(const SignalsBlocked&) = delete;
    SignalsBlocked& operator=(const SignalsBlocked&) = delete;

private:
    sigset_t before_{};
};

void start(const std::shared_ptr<Exchange>& exchange) {
    const SignalsBlocked blocked;
    try {
        std::thread([exchange] { run(*exchange); }).detach();
    } catch (const std::system_error&) {
        underWay = false;
        throw;
    }
}

} // namespace

Outcome changeWithinBound(const std::string& display, const Change& change) {
    static std::mutex oneAtATime;
    const std::lock_guard turn(oneAtATime);
    if (underWay.exchange(true)) {
        return Outcome::stuck;
    }
    const auto exchange = std::make_shared<Exchange>();
    exchange->display = display;
    exchange->change = change;
    start(exchange);

    std::unique_lock lock(exchange->mutex);
    if (!exchange->ended.wait_for(lock, kScreenSaverBound,
                                  [&] { return exchange->outcome.has_value(); })) {
        exchange->abandoned = true;
        return Outcome::late;
    }
    return *exchange->outcome;
}

} // namespace lcdpanel
