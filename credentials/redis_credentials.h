// User and password for the object store, from the file that OSSEL_REDIS_CREDENTIALS names.
// Sending them is left to each connection. No text that is made here holds the password.
#pragma once

#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <string>
#include <string_view>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

namespace redis_credentials {

inline constexpr const char* kVariable = "OSSEL_REDIS_CREDENTIALS";

struct Credentials {
    std::string user; // empty: none are asked for
    std::string password;
    std::string problem; // not empty: the file is of no use, and why

    bool areGiven() const { return !user.empty(); }
};

// The whole of a short regular file that nobody but its owner and group may read, nor anybody
// but its owner write. Otherwise empty, with the reason in `problem`.
inline std::string readSecret(const char* path, std::string& problem) {
    constexpr std::size_t kLongest = 1024;
    // O_NONBLOCK: a pipe in the place of the file must not hold the caller.
    const int file = ::open(path, O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    struct stat state {};
    if (file < 0 || ::fstat(file, &state) != 0) {
        problem = std::generic_category().message(errno);
    } else if (!S_ISREG(state.st_mode)) {
        problem = "no regular file";
    } else if ((state.st_mode & (S_IWGRP | S_IRWXO)) != 0) {
        problem = "open to others; chmod 640 or 600";
    }
    std::string text;
    if (problem.empty()) {
        text.resize(kLongest + 1);
        const ssize_t length = ::read(file, text.data(), text.size());
        text.resize(length < 0 ? 0 : static_cast<std::size_t>(length));
        if (length < 0 || text.size() > kLongest) {
            problem = length < 0 ? "cannot be read" : "longer than 1024 characters";
            text.clear();
        }
    }
    if (file >= 0) {
        ::close(file);
    }
    return text;
}

// Reads the file anew, so that a changed password serves the next connection. One line: user,
// blank, password. Without the variable, or with an empty one, there are none and no problem.
inline Credentials read() {
    Credentials credentials;
    const char* const path = std::getenv(kVariable);
    if (path == nullptr || *path == '\0') {
        return credentials;
    }
    std::string text = readSecret(path, credentials.problem);
    if (!text.empty() && text.back() == '\n') {
        text.pop_back();
    }
    const std::size_t blank = text.find(' ');
    if (!credentials.problem.empty()) {
        // Said already.
    } else if (blank == 0 || blank == std::string::npos || blank + 1 == text.size() ||
               text.find('\n') != std::string::npos) {
        credentials.problem = "not one line \"user password\"";
    } else {
        credentials.user = text.substr(0, blank);
        credentials.password = text.substr(blank + 1);
    }
    if (!credentials.problem.empty()) {
        credentials.problem = std::string(kVariable) + " \"" + path + "\": " + credentials.problem;
    }
    return credentials;
}

// What is said of a refusal: the first word of the server's answer alone, since the rest may
// repeat the command's arguments.
inline std::string refusal(std::string_view answer) {
    return "AUTH refused: " + std::string(answer.substr(0, answer.find(' ')));
}

} // namespace redis_credentials
