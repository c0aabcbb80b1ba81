// Surviving the death of the X server.
//
// When a connection breaks, libx11 calls its error handler and then exit(); so the handler jumps
// out of libx11 instead. (The exit handler of libx11 1.8 is no help while a display is being
// opened, and afterwards lets libx11 unlock an unlocked mutex.) The remains of the Display must not
// be used again, not even to close it: its socket is closed, its memory, a few kilobytes, is kept.
#include "platform/lcd_panel/x_session.h"

#include <X11/Xlib.h>
#include <csetjmp>
#include <mutex>
#include <unistd.h>
#include <vector>

namespace lcdpanel {

namespace {

// Shared with the handlers, which run on the thread that made the call.
struct Exchange {
    std::jmp_buf wayOut{};
    Display* lost = nullptr;
    bool refused = false;
    Outcome outcome = Outcome::lost;
};
thread_local Exchange current;

[[noreturn]] int connectionLost(Display* display) {
    current.lost = display;
    std::longjmp(current.wayOut, 1); // NOLINT(cert-err52-cpp): the only way out
}

int requestRefused(Display* /*display*/, XErrorEvent* /*event*/) {
    current.refused = true;
    return 0;
}

void takeHandlers() {
    XSetIOErrorHandler(connectionLost);
    XSetErrorHandler(requestRefused);
}

// Keeps the remains of a Display reachable.
void bury(Display* lost) {
    static std::mutex mutex;
    static auto* const graveyard = new std::vector<Display*>;
    ::close(ConnectionNumber(lost));
    const std::lock_guard lock(mutex);
    graveyard->push_back(lost);
}

void setTimeOut(Display* display, int seconds) {
    int timeOut = 0;
    int interval = 0;
    int preferBlanking = 0;
    int allowExposures = 0;
    XGetScreenSaver(display, &timeOut, &interval, &preferBlanking, &allowExposures);
    XSetScreenSaver(display, seconds, interval, preferBlanking, allowExposures);
}

void make(const Change& change, Display* display) {
    switch (change.kind) {
    case Change::Kind::timeOut:
        setTimeOut(display, change.seconds);
        break;
    case Change::Kind::darken:
        XForceScreenSaver(display, ScreenSaverActive);
        break;
    case Change::Kind::light:
        XForceScreenSaver(display, ScreenSaverReset);
        break;
    }
    XSync(display, False);
}

// Below, no object with a destructor may live on the stack: the jump skips destructors.

// Leaves the outcome in `current`. A connection that breaks after the confirmation does no harm.
void talk(const char* name, const Change& change, const std::atomic<bool>& abandoned) {
    Display* display = XOpenDisplay(name);
    if (display == nullptr) {
        current.outcome = Outcome::noServer;
        return;
    }
    if (abandoned) {
        current.outcome = Outcome::abandoned;
    } else {
        make(change, display);
        current.outcome = current.refused ? Outcome::refused : Outcome::done;
    }
    XCloseDisplay(display);
}

void talkOrJump(const char* name, const Change& change, const std::atomic<bool>& abandoned) {
    if (setjmp(current.wayOut) == 0) { // NOLINT(cert-err52-cpp): the only way out
        talk(name, change, abandoned);
    }
}

} // namespace

const char* describe(Outcome outcome) {
    switch (outcome) {
    case Outcome::done:
        return "done";
    case Outcome::noServer:
        return "cannot connect to the X server";
    case Outcome::lost:
        return "the connection to the X server broke";
    case Outcome::refused:
        return "the X server refused the change";
    case Outcome::abandoned:
    case Outcome::late:
        return "the X server does not answer within 250 ms";
    case Outcome::stuck:
        return "the X server has not answered an earlier call yet";
    }
    return "";
}

Outcome changeScreenSaver(const std::string& display, const Change& change,
                          const std::atomic<bool>& abandoned) {
    static std::once_flag once;
    std::call_once(once, takeHandlers);

    current.lost = nullptr;
    current.refused = false;
    current.outcome = Outcome::lost;
    talkOrJump(display.c_str(), change, abandoned);
    if (current.lost != nullptr) {
        bury(current.lost);
    }
    return current.outcome;
}

} // namespace lcdpanel
