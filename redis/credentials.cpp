// Refuses a file that others could read or replace: it holds a password.
#include "redis/credentials.h"

#include "descriptor.h"

#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <sys/stat.h>
#include <system_error>

namespace redis {

namespace {

constexpr std::size_t kMaxBytes = 1024;

// Why the opened file must not be used; empty: it may be.
std::string objectionTo(const Descriptor& file) {
    struct stat state {};
    if (!file.isOpen() || ::fstat(file.number(), &state) != 0) {
        return std::generic_category().message(errno);
    }
    if (!S_ISREG(state.st_mode)) {
        return "not a regular file";
    }
    return (state.st_mode & (S_IWGRP | S_IRWXO)) != 0 ? "open to others; chmod 640 or 600" : "";
}

std::string readSecret(const char* path, std::string& problem) {
    // O_NONBLOCK: a pipe in the place of the file must not block the caller.
    const Descriptor file(::open(path, O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    problem = objectionTo(file);
    if (!problem.empty()) {
        return {};
    }
    std::string text(kMaxBytes + 1, '\0');
    const ssize_t length = ::read(file.number(), text.data(), text.size());
    if (length < 0 || static_cast<std::size_t>(length) > kMaxBytes) {
        problem = length < 0 ? "cannot be read" : "longer than 1024 bytes";
        return {};
    }
    text.resize(static_cast<std::size_t>(length));
    return text;
}

void splitLine(std::string text, Credentials& credentials) {
    if (!text.empty() && text.back() == '\n') {
        text.pop_back();
    }
    const std::size_t blank = text.find(' ');
    if (blank == 0 || blank == std::string::npos || blank + 1 == text.size() ||
        text.find('\n') != std::string::npos) {
        credentials.problem = "not one line \"user password\"";
        return;
    }
    credentials.user = text.substr(0, blank);
    credentials.password = text.substr(blank + 1);
}

} // namespace

Credentials readCredentials() {
    Credentials credentials;
    const char* const path = std::getenv(kCredentialsVariable);
    if (path == nullptr || *path == '\0') {
        return credentials;
    }
    std::string text = readSecret(path, credentials.problem);
    if (credentials.problem.empty()) {
        splitLine(std::move(text), credentials);
    }
    if (!credentials.problem.empty()) {
        credentials.problem =
            std::string(kCredentialsVariable) + " \"" + path + "\": " + credentials.problem;
    }
    return credentials;
}

std::string describeRefusal(std::string_view answer) {
    return "AUTH refused: " + std::string(answer.substr(0, answer.find(' ')));
}

} // namespace redis
