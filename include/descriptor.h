// The owner of a file descriptor.
#pragma once

#include <unistd.h>
#include <utility>

// Closes its descriptor at the end of its life. Wraps the result of open(), socket() and the
// like as it is: a negative number owns nothing.
class Descriptor {
public:
    Descriptor() = default;
    explicit Descriptor(int number) : number_(number) {}
    ~Descriptor() { reset(); }
    Descriptor(Descriptor&& other) noexcept : number_(std::exchange(other.number_, -1)) {}
    Descriptor& operator=(Descriptor&& other) noexcept {
        reset(std::exchange(other.number_, -1));
        return *this;
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;

    int number() const { return number_; }
    bool isOpen() const { return number_ >= 0; }

    // Closes what it owns, and owns `number` from now on.
    void reset(int number = -1) noexcept {
        const int closing = std::exchange(number_, number);
        if (closing >= 0) {
            ::close(closing);
        }
    }

private:
    int number_ = -1;
};
