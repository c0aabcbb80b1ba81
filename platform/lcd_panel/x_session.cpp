// One exchange with an X server about its screen saver, over a connection of its own that
// the server may drop at any moment. The bound in time is screen_saver.cpp's.
//
// Libx11 ends the process when a connection breaks, unless it is told otherwise in time:
// - While a display is being opened nothing but a jump out of the error handler helps, since
//   libx11 calls exit() when that handler returns. The half-made Display cannot be closed by
//   XCloseDisplay; its socket is closed and its memory (some kilobytes) is kept.
// - Once a display is open its exit handler (libx11 1.8) lets the calls return.
#include "lcd_panel/x_session.h"

#include <X11/Xlib.h>
#include <csetjmp>
#include <memory>
#include <mutex>
#include <unistd.h>
#include <vector>

namespace lcdpanel {

namespace {

// What the handlers have seen; they run on the thread that made the call.
struct Trouble {
    bool opening = false;
    bool lost = false;
    bool refused = false;
    Display* halfMade = nullptr;
    std::jmp_buf wayOut{};
};
thread_local Trouble trouble;

void stayAlive(Display* /*display*/, void* /*nothing*/) {}

int connectionLost(Display* display) {
    trouble.lost = true;
    if (trouble.opening) {
        trouble.halfMade = display;
        std::longjmp(trouble.wayOut, 1); // NOLINT(cert-err52-cpp): the only way, see above
    }
    return 0;
}

int requestRefused(Display* /*display*/, XErrorEvent* /*event*/) {
    trouble.refused = true;
    return 0;
}

void takeHandlers() {
    XInitThreads();
    XSetIOErrorHandler(connectionLost);
    XSetErrorHandler(requestRefused);
}

// Keeps what is left of a Display that cannot be freed within reach.
void bury(Display* halfMade) {
    static std::mutex mutex;
    static auto* const graveyard = new std::vector<Display*>;
    ::close(ConnectionNumber(halfMade));
    const std::lock_guard lock(mutex);
    graveyard->push_back(halfMade);
}

// No object with a destructor lives here: the handler jumps over this frame's calls.
Display* openDisplay(const char* name) {
    trouble.opening = true;
    Display* display = nullptr;
    if (setjmp(trouble.wayOut) == 0) { // NOLINT(cert-err52-cpp): the only way, see above
        display = XOpenDisplay(name);
        trouble.opening = false;
        return display;
    }
    trouble.opening = false;
    return nullptr;
}

struct CloseDisplay {
    void operator()(Display* display) const { XCloseDisplay(display); }
};

bool broken() {
    return trouble.lost || trouble.refused;
}

void setTimeOut(Display* display, int seconds) {
    int timeOut = 0;
    int interval = 0;
    int preferBlanking = 0;
    int allowExposures = 0;
    XGetScreenSaver(display, &timeOut, &interval, &preferBlanking, &allowExposures);
    if (!broken()) {
        XSetScreenSaver(display, seconds, interval, preferBlanking, allowExposures);
    }
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

} // namespace

const char* describe(Outcome outcome) {
    switch (outcome) {
    case Outcome::done:
        return "done";
    case Outcome::noServer:
        return "no connection to an X server";
    case Outcome::lost:
        return "the connection to the X server broke";
    case Outcome::refused:
        return "the X server refused the change";
    case Outcome::abandoned:
    case Outcome::late:
        return "the X server does not answer within 250 ms";
    case Outcome::stuck:
        return "the X server has still not answered an earlier call";
    }
    return "";
}

Outcome changeScreenSaver(const std::string& display, const Change& change,
                          const std::atomic<bool>& abandoned) {
    static std::once_flag once;
    std::call_once(once, takeHandlers);

    trouble.lost = false;
    trouble.refused = false;
    trouble.halfMade = nullptr;
    const std::unique_ptr<Display, CloseDisplay> connection(openDisplay(display.c_str()));
    if (!connection) {
        if (trouble.halfMade != nullptr) {
            bury(trouble.halfMade);
        }
        return trouble.lost ? Outcome::lost : Outcome::noServer;
    }
    XSetIOErrorExitHandler(connection.get(), stayAlive, nullptr);
    if (abandoned) {
        return Outcome::abandoned;
    }
    make(change, connection.get());
    if (trouble.lost) {
        return Outcome::lost;
    }
    return trouble.refused ? Outcome::refused : Outcome::done;
}

} // namespace lcdpanel
