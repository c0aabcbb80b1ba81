// The listening end of a test's own server: a socket, and a bell that ends every wait at it. The
// thread that serves belongs to whoever has the listener.
#pragma once

#include "descriptor.h"

#include <cstdint>
#include <filesystem>

namespace test {

class Listener {
public:
    static constexpr int kBacklog = 8;

    // On a unix socket, or on a free TCP port of 127.0.0.1. Throws std::system_error.
    explicit Listener(const std::filesystem::path& socket, int backlog = kBacklog);
    static Listener onLoopback(int backlog = kBacklog);

    int descriptor() const { return descriptor_.number(); }
    std::uint16_t port() const; // of a TCP listener

    // The next client; the caller closes it. Blocks: wait for descriptor() first.
    int accept() const;

    // Waits until something is to be read from the descriptor; false as soon as stop() was called.
    bool waitReadable(int descriptor) const;
    // Readable once stop() was called, for a poll over more descriptors.
    int stopping() const { return stopping_.number(); }
    // Ends all waits, now and later. Any thread.
    void stop() const;

private:
    Listener(int domain, const void* address, unsigned length, int backlog);

    Descriptor descriptor_;
    Descriptor stopping_; // eventfd
};

} // namespace test
