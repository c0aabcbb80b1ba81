// The handler only requests the stop: client/ ends its waits and tidies up.
#include "orvanectl/interrupts.h"

#include <atomic>
#include <csignal>

namespace orvanectl {

namespace {

std::atomic<client::Stop*> g_stop{nullptr};
std::atomic<int> g_signal{0};

void onSignal(int number) {
    g_signal = number;
    g_stop.load()->request();
}

} // namespace

void installInterrupts(client::Stop& stop) {
    g_stop = &stop;
    struct sigaction action {};
    action.sa_handler = onSignal;
    action.sa_flags = static_cast<int>(SA_RESETHAND);
    sigemptyset(&action.sa_mask);
    for (const int number : {SIGINT, SIGTERM, SIGHUP}) {
        ::sigaction(number, &action, nullptr);
    }
    std::signal(SIGPIPE, SIG_IGN);
}

int caughtSignal() {
    return g_signal;
}

} // namespace orvanectl
