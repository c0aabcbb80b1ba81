// See redis_socket.h. Replies nest one level deep at most: none that is asked for goes deeper.
#include "benchmarks/redis_socket.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <cstring>
#include <stdexcept>
#include <sys/socket.h>
#include <sys/un.h>
#include <system_error>
#include <unistd.h>

namespace bench {

namespace {

constexpr std::size_t kBufferBytes = std::size_t{1} << 18U;
constexpr std::string_view kLineEnd = "\r\n";

[[noreturn]] void failWith(const std::string& what) {
    throw std::system_error(errno, std::generic_category(), what);
}

long long numberOf(std::string_view text) {
    long long number = 0;
    if (std::from_chars(text.data(), text.data() + text.size(), number).ec != std::errc()) {
        throw std::runtime_error("redis sent no number: " + std::string(text));
    }
    return number;
}

} // namespace

std::string commandBytes(std::initializer_list<std::string_view> words) {
    std::string bytes = "*" + std::to_string(words.size()) + "\r\n";
    for (const std::string_view word : words) {
        bytes += "$" + std::to_string(word.size()) + "\r\n";
        bytes.append(word).append(kLineEnd);
    }
    return bytes;
}

RedisSocket::RedisSocket(const std::string& path)
    : descriptor_(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0)), received_(kBufferBytes) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (descriptor_ < 0 || path.size() >= sizeof address.sun_path) {
        throw std::runtime_error("no socket for " + path);
    }
    path.copy(address.sun_path, path.size());
    // NOLINTNEXTLINE(cppcoreguidelines-pro-type-reinterpret-cast): how sockets are addressed
    const auto* const named = reinterpret_cast<const sockaddr*>(&address);
    if (::connect(descriptor_, named, sizeof address) != 0) {
        const int reason = errno;
        ::close(descriptor_);
        throw std::system_error(reason, std::generic_category(), path);
    }
}

RedisSocket::~RedisSocket() {
    ::close(descriptor_);
}

void RedisSocket::flush() {
    std::size_t sent = 0;
    while (sent < unsent_.size()) {
        const ssize_t count =
            ::send(descriptor_, unsent_.data() + sent, unsent_.size() - sent, MSG_NOSIGNAL);
        if (count < 0 && errno != EINTR) {
            failWith("send");
        }
        sent += count < 0 ? 0 : static_cast<std::size_t>(count);
    }
    unsent_.clear();
}

void RedisSocket::receive() {
    if (at_ > 0) {
        std::copy(received_.begin() + static_cast<std::ptrdiff_t>(at_),
                  received_.begin() + static_cast<std::ptrdiff_t>(end_), received_.begin());
        end_ -= at_;
        at_ = 0;
    }
    if (end_ == received_.size()) {
        received_.resize(2 * received_.size());
    }
    ssize_t count = -1;
    do {
        count = ::recv(descriptor_, received_.data() + end_, received_.size() - end_, 0);
    } while (count < 0 && errno == EINTR);
    if (count < 0) {
        failWith("recv");
    }
    if (count == 0) {
        throw std::runtime_error("redis has closed the connection");
    }
    end_ += static_cast<std::size_t>(count);
}

bool RedisSocket::line(std::string_view& text) {
    const std::string_view rest(received_.data() + at_, end_ - at_);
    const std::size_t length = rest.find(kLineEnd);
    if (length == std::string_view::npos) {
        return false;
    }
    text = rest.substr(0, length);
    at_ += length + kLineEnd.size();
    return true;
}

// A text, a status, an error or an integer; a text that is missing is empty.
bool RedisSocket::element(Reply& reply) {
    std::string_view head;
    if (!line(head) || head.empty()) {
        return false;
    }
    const std::string_view rest = head.substr(1);
    if (head.front() == ':') {
        reply.integer = numberOf(rest);
        reply.texts.emplace_back();
        return true;
    }
    if (head.front() != '$') {
        reply.texts.push_back(rest);
        return true;
    }
    const long long length = numberOf(rest);
    if (length < 0) {
        reply.texts.emplace_back();
        return true;
    }
    const auto bytes = static_cast<std::size_t>(length);
    if (end_ - at_ < bytes + kLineEnd.size()) {
        return false;
    }
    reply.texts.emplace_back(received_.data() + at_, bytes);
    at_ += bytes + kLineEnd.size();
    return true;
}

bool RedisSocket::parse(Reply& reply) {
    if (at_ == end_) {
        return false;
    }
    reply.kind = received_[at_];
    reply.texts.clear();
    if (reply.kind != '*') {
        return element(reply);
    }
    std::string_view head;
    if (!line(head)) {
        return false;
    }
    for (long long left = numberOf(head.substr(1)); left > 0; --left) {
        if (!element(reply)) {
            return false;
        }
    }
    return true;
}

bool RedisSocket::next(Reply& reply) {
    const std::size_t before = at_;
    if (parse(reply)) {
        return true;
    }
    at_ = before;
    return false;
}

const Reply& RedisSocket::ask(std::initializer_list<std::string_view> words) {
    append(commandBytes(words));
    flush();
    while (!next(asked_)) {
        receive();
    }
    if (asked_.kind == '-') {
        throw std::runtime_error("redis refused: " + std::string(asked_.texts.front()));
    }
    return asked_;
}

} // namespace bench
