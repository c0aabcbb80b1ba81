// orvane_bench_start FILE MARKER COMMAND...: becomes COMMAND, while a child process writes to FILE
// how many microseconds later MARKER existed.
#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <fstream>
#include <iostream>
#include <string>
#include <sys/inotify.h>
#include <sys/prctl.h>
#include <system_error>
#include <unistd.h>

namespace {

using Clock = std::chrono::steady_clock;

// Watches the folder in which the marker will appear.
int watch(const std::string& marker) {
    const int descriptor = ::inotify_init1(IN_CLOEXEC);
    const std::string folder = marker.substr(0, marker.rfind('/'));
    if (descriptor < 0 ||
        ::inotify_add_watch(descriptor, folder.c_str(), IN_CREATE | IN_MOVED_TO) < 0) {
        throw std::system_error(errno, std::generic_category(), folder);
    }
    return descriptor;
}

void waitForMarker(int descriptor, const std::string& marker) {
    std::array<char, 4096> events{};
    while (::access(marker.c_str(), F_OK) != 0) {
        if (::read(descriptor, events.data(), events.size()) < 0 && errno != EINTR) {
            throw std::system_error(errno, std::generic_category(), "inotify");
        }
    }
}

int becomeMeasured(char** arguments) {
    const std::string file = arguments[1];
    const std::string marker = arguments[2];
    const int descriptor = watch(marker);
    const Clock::time_point begin = Clock::now();
    const pid_t measured = ::getpid();
    const pid_t child = ::fork();
    if (child < 0) {
        throw std::system_error(errno, std::generic_category(), "fork");
    }
    if (child > 0) {
        ::execv(arguments[3], arguments + 3);
        throw std::system_error(errno, std::generic_category(), arguments[3]);
    }
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (::getppid() == measured) {
        waitForMarker(descriptor, marker);
        const std::chrono::duration<double, std::micro> taken = Clock::now() - begin;
        std::ofstream(file) << taken.count() << "\n";
    }
    return 0;
}

} // namespace

int main(int count, char** arguments) {
    if (count < 4) {
        std::cerr << "usage: orvane_bench_start FILE MARKER COMMAND...\n";
        return 2;
    }
    try {
        return becomeMeasured(arguments);
    } catch (const std::exception& error) {
        std::cerr << "orvane_bench_start: " << error.what() << "\n";
        return 1;
    }
}
