// Descriptors with an owner, and the sockets that the simulator opens.
#pragma once

#include "platform/cooling/unit_address.h"

#include <string>
#include <unistd.h>
#include <utility>

namespace sim {

class Descriptor {
public:
    Descriptor() = default;
    explicit Descriptor(int number) : number_(number) {}
    ~Descriptor() {
        if (number_ >= 0) {
            ::close(number_);
        }
    }
    Descriptor(Descriptor&& other) noexcept : number_(std::exchange(other.number_, -1)) {}
    Descriptor& operator=(Descriptor&& other) noexcept {
        std::swap(number_, other.number_);
        return *this;
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;

    int number() const { return number_; }
    bool isOpen() const { return number_ >= 0; }

private:
    int number_ = -1;
};

// All of these throw std::system_error, the text naming what could not be done. Listening
// sockets do not block.
Descriptor listenTcp(const cooling::UnitAddress& address);
Descriptor listenUnix(const std::string& path); // takes the place of a socket nobody serves
Descriptor connectUnix(const std::string& path);

// "127.0.0.1:1502" or "[::1]:1502", of a socket's own end or of its peer.
std::string ownAddress(const Descriptor& socket);
std::string peerAddress(const Descriptor& socket);

} // namespace sim
