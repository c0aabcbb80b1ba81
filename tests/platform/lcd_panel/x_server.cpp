#include "tests/platform/lcd_panel/x_server.h"

#include "tests/support/wait_until.h"

#include <X11/Xlib.h>
#include <X11/extensions/scrnsaver.h>
#include <csignal>
#include <filesystem>
#include <regex>
#include <sstream>
#include <stdexcept>
#include <unistd.h>

namespace test {

namespace {

// A display number of this process's own, far above the lowest free one, which another test's
// server would take while ours is down.
std::string ownDisplay() {
    static int servers = 0;
    constexpr int kFirst = 100;
    constexpr int kNumbers = 50000;
    constexpr int kServersPerProcess = 4;
    return ":" + std::to_string(kFirst + (::getpid() * kServersPerProcess + servers++) % kNumbers);
}

} // namespace

XServer::XServer() : display_(ownDisplay()) {
    start();
    if (readFile(folder_.file("display")).empty()) {
        throw std::runtime_error("no X server: " + readFile(folder_.file("log")));
    }
}

XServer::~XServer() {
    resume();
    process_->signal(SIGTERM);
    process_->wait();
}

std::string XServer::socketPath() const {
    return "/tmp/.X11-unix/X" + display_.substr(1);
}

// Without -noreset the server would reset its screen saver whenever its last client disconnects.
void XServer::start() {
    const std::vector<std::string> command{"Xvfb", display_,   "-displayfd", "1", "-nolisten",
                                           "tcp",  "-noreset", "-screen",    "0", "64x64x24"};
    std::filesystem::remove(folder_.file("display"));
    process_ = std::make_unique<ChildProcess>(command, std::map<std::string, std::string>{},
                                              folder_.file("display"), folder_.file("log"));
    waitUntil([this] { return readFile(folder_.file("display")).ends_with('\n'); });
}

void XServer::kill() {
    process_->signal(SIGKILL);
    process_->wait();
    std::filesystem::remove(socketPath());
    std::filesystem::remove("/tmp/.X" + display_.substr(1) + "-lock");
}

void XServer::pause() const {
    process_->signal(SIGSTOP);
}

void XServer::resume() const {
    process_->signal(SIGCONT);
}

std::string XServer::xset(const std::string& words) const {
    std::vector<std::string> command{"xset", "-display", display_};
    std::istringstream text(words);
    for (std::string word; text >> word;) {
        command.push_back(word);
    }
    return run(command).output;
}

std::string XServer::screenSaver() const {
    const std::string all = xset("q");
    const std::regex form("prefer blanking:\\s+(\\w+)\\s+allow exposures:\\s+(\\w+)\\s+"
                          "timeout:\\s+(\\d+)\\s+cycle:\\s+(\\d+)");
    std::smatch found;
    if (!std::regex_search(all, found, form)) {
        return "xset said: " + all;
    }
    return "timeout " + found[3].str() + " cycle " + found[4].str() + " blanking " +
           found[1].str() + " exposures " + found[2].str();
}

bool XServer::isDark() const {
    Display* display = XOpenDisplay(display_.c_str());
    if (display == nullptr) {
        throw std::runtime_error("no display " + display_);
    }
    XScreenSaverInfo info{};
    XScreenSaverQueryInfo(display, DefaultRootWindow(display), &info);
    XCloseDisplay(display);
    return info.state == ScreenSaverOn;
}

} // namespace test
