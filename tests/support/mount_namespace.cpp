#include "tests/support/mount_namespace.h"

#include "tests/support/temporary_folder.h"

#include <gtest/gtest.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/wait.h>
#include <system_error>
#include <unistd.h>

namespace test {

namespace {

constexpr int kPassed = 0;
constexpr int kFailed = 1;
constexpr int kRefused = 77;

constexpr uid_t kNobody = 65534;

bool enterMountNamespace() {
    if (::geteuid() == 0) {
        return ::unshare(CLONE_NEWNS) == 0 &&
               ::mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0;
    }
    const std::string user = std::to_string(::getuid());
    if (::unshare(CLONE_NEWUSER | CLONE_NEWNS) != 0) {
        return false;
    }
    writeFile("/proc/self/setgroups", "deny");
    writeFile("/proc/self/uid_map", "0 " + user + " 1");
    return true;
}

bool becomeOrdinaryUser() {
    return ::geteuid() != 0 || ::setresuid(kNobody, kNobody, kNobody) == 0;
}

int statusOf(const std::function<void()>& body) {
    try {
        body();
        return testing::Test::HasFailure() ? kFailed : kPassed;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "in the child process: %s\n", error.what());
        return kFailed;
    }
}

[[noreturn]] void runChild(bool (*prepare)(), const std::function<void()>& body) {
    const int status = prepare() ? statusOf(body) : kRefused;
    std::fflush(nullptr);
    ::_exit(status);
}

ChildEnd runInChild(bool (*prepare)(), const std::function<void()>& body) {
    std::fflush(nullptr);
    const pid_t child = ::fork();
    if (child == 0) {
        runChild(prepare, body);
    }
    int status = 0;
    if (child < 0 || ::waitpid(child, &status, 0) != child || !WIFEXITED(status)) {
        return ChildEnd::failed;
    }
    switch (WEXITSTATUS(status)) {
    case kPassed:
        return ChildEnd::passed;
    case kRefused:
        return ChildEnd::refused;
    default:
        return ChildEnd::failed;
    }
}

void check(bool done, const std::string& what) {
    if (!done) {
        throw std::system_error(errno, std::generic_category(), what);
    }
}

} // namespace

ChildEnd inMountNamespace(const std::function<void()>& body) {
    return runInChild(enterMountNamespace, body);
}

ChildEnd asOrdinaryUser(const std::function<void()>& body) {
    return runInChild(becomeOrdinaryUser, body);
}

void mountTmpfs(const std::string& folder, const std::string& options) {
    check(::mount("tmpfs", folder.c_str(), "tmpfs", 0, options.c_str()) == 0, "mount tmpfs");
}

void makeReadOnly(const std::string& folder) {
    check(::mount(folder.c_str(), folder.c_str(), nullptr, MS_BIND, nullptr) == 0, "bind mount");
    // A user's own namespace may not drop what the file system below was mounted with.
    const unsigned long flags = MS_BIND | MS_REMOUNT | MS_RDONLY;
    if (::mount(nullptr, folder.c_str(), nullptr, flags, nullptr) != 0) {
        check(::mount(nullptr, folder.c_str(), nullptr, flags | MS_NOSUID | MS_NODEV, nullptr) == 0,
              "remount read-only");
    }
}

void fillUp(const std::string& file) {
    const int descriptor = ::open(file.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0644);
    check(descriptor >= 0, file);
    const std::array<char, 4096> block{};
    while (::write(descriptor, block.data(), block.size()) > 0) {
    }
    const bool isFull = errno == ENOSPC;
    ::close(descriptor);
    check(isFull, "fill up " + file);
}

} // namespace test
