// Subscribes to a pattern, which client/subscription.h cannot do.
#include "tests/storms/observer.h"

#include "client/errors.h"
#include "client/wire.h"
#include "tests/support/wait_until.h"

#include <utility>

namespace storms {

namespace {

constexpr std::chrono::milliseconds kConnectTimeout{2000};
constexpr std::chrono::milliseconds kPause{1};
constexpr std::chrono::hours kEndless{24};

} // namespace

Observer::Observer(client::Address address)
    : address_(std::move(address)), thread_([this] { work(); }) {
    test::waitUntil([this] { return isListening_.load(); }, kConnectTimeout);
}

Observer::~Observer() {
    stop_.request();
    thread_.join();
}

std::map<std::string, int> Observer::answers() const {
    const std::lock_guard lock(mutex_);
    return answers_;
}

void Observer::work() {
    while (!stop_.isRequested()) {
        try {
            listen();
        } catch (const client::Error&) {
            client::pauseUntil(client::Clock::now() + kPause, &stop_);
        }
    }
}

// ["pmessage", pattern, channel, text]
void Observer::listen() {
    client::Wire wire(address_, kConnectTimeout);
    wire.send({"PSUBSCRIBE", "Reply:*"}, client::Clock::now() + kConnectTimeout);
    while (true) {
        const auto reply = wire.receive(client::Clock::now() + kEndless, &stop_);
        isListening_ = true;
        if (reply && reply->elements.size() == 4) {
            const std::lock_guard lock(mutex_);
            ++answers_[reply->elements[2].text];
        }
    }
}

} // namespace storms
