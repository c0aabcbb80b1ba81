#include "tests/support/listener.h"

#include "text.h"

#include <arpa/inet.h>
#include <array>
#include <cerrno>
#include <netinet/in.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <system_error>
#include <unistd.h>

namespace test {

namespace {

sockaddr_un unixAddress(const std::filesystem::path& socket) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    copyBounded(address.sun_path, socket.native());
    return address;
}

sockaddr_in loopbackAddress() {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    return address;
}

} // namespace

Listener::Listener(int domain, const void* address, unsigned length, int backlog)
    : descriptor_(::socket(domain, SOCK_STREAM | SOCK_CLOEXEC, 0)),
      stopping_(::eventfd(0, EFD_CLOEXEC)) {
    if (!stopping_.isOpen() ||
        ::bind(descriptor(), static_cast<const sockaddr*>(address), length) != 0 ||
        ::listen(descriptor(), backlog) != 0) {
        throw std::system_error(errno, std::generic_category(), "cannot listen");
    }
}

Listener::Listener(const std::filesystem::path& socket, int backlog)
    : Listener(AF_UNIX, std::array{unixAddress(socket)}.data(), sizeof(sockaddr_un), backlog) {}

Listener Listener::onLoopback(int backlog) {
    const sockaddr_in address = loopbackAddress();
    return {AF_INET, &address, sizeof(address), backlog};
}

std::uint16_t Listener::port() const {
    sockaddr_in address{};
    socklen_t length = sizeof(address);
    ::getsockname(descriptor(), reinterpret_cast<sockaddr*>(&address), &length);
    return ntohs(address.sin_port);
}

int Listener::accept() const {
    return ::accept4(descriptor(), nullptr, nullptr, SOCK_CLOEXEC);
}

bool Listener::waitReadable(int descriptor) const {
    std::array<pollfd, 2> waited{pollfd{descriptor, POLLIN, 0}, pollfd{stopping(), POLLIN, 0}};
    return ::poll(waited.data(), waited.size(), -1) > 0 && waited[1].revents == 0;
}

void Listener::stop() const {
    ::eventfd_write(stopping(), 1);
}

} // namespace test
