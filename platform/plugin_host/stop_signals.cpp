#include "platform/plugin_host/stop_signals.h"

#include <cerrno>
#include <sys/signalfd.h>
#include <system_error>
#include <unistd.h>

namespace plugin_host {

StopSignals::StopSignals() {
    ::sigemptyset(&caught_);
    for (Signal& signal : signals_) {
        ::sigaction(signal.number, nullptr, &signal.before);
        signal.isCaught = signal.before.sa_handler != SIG_IGN;
        if (signal.isCaught) {
            ::sigaddset(&caught_, signal.number);
        }
    }
    descriptor_.reset(::signalfd(-1, &caught_, SFD_CLOEXEC | SFD_NONBLOCK));
    if (!descriptor_.isOpen()) {
        throw std::system_error(errno, std::generic_category(), "signalfd");
    }
    ::pthread_sigmask(SIG_BLOCK, &caught_, &maskBefore_);
}

void StopSignals::takeFirst() {
    signalfd_siginfo taken{};
    if (::read(descriptor(), &taken, sizeof taken) < 0) {
        return;
    }
    hasTaken_ = true;
    for (const Signal& signal : signals_) {
        if (signal.isCaught) {
            std::signal(signal.number, SIG_DFL);
        }
    }
    ::pthread_sigmask(SIG_UNBLOCK, &caught_, nullptr);
}

StopSignals::~StopSignals() {
    if (!hasTaken_) {
        // The wait ends anyway: a signal that came too late to end it asks for nothing more.
        signalfd_siginfo late{};
        while (::read(descriptor(), &late, sizeof late) > 0) {
        }
    }
    for (const Signal& signal : signals_) {
        if (signal.isCaught) {
            ::sigaction(signal.number, &signal.before, nullptr);
        }
    }
    ::pthread_sigmask(SIG_SETMASK, &maskBefore_, nullptr);
}

} // namespace plugin_host
