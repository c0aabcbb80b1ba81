#include "client/subscription.h"

#include "client/connection.h"
#include "client/errors.h"

#include <utility>

namespace client {

namespace {

// A message or confirmation: its kind, its channel, its content.
bool isAbout(const Reply& reply, const char* kind, const std::string& channel) {
    return reply.elements.size() == 3 && reply.elements[0].text == kind &&
           reply.elements[1].text == channel;
}

} // namespace

Subscription::Subscription(Address address) : address_(std::move(address)) {}

void Subscription::announce(const std::string& channel) noexcept {
    try {
        if (wire_) {
            wire_->send({"SUBSCRIBE", channel}, Clock::now() + kStoreTimeout);
            announced_ = channel;
        }
    } catch (const std::exception&) {
        wire_.reset();
    }
}

void Subscription::subscribe(const std::string& channel) {
    if (wire_) {
        try {
            const bool isAnnounced = announced_ == channel;
            confirm(channel, isAnnounced);
            // Confirmed once, but the connection may have been lost since.
            if (!isAnnounced || !wire_->isStale()) {
                return;
            }
        } catch (const StoreUnreachable&) {
            // An idle connection may have been lost long ago; subscribing again is harmless.
        }
    }
    wire_ = std::make_unique<Wire>(address_, kStoreTimeout);
    confirm(channel, false);
}

void Subscription::confirm(const std::string& channel, bool isAnnounced) {
    const Deadline deadline = Clock::now() + kStoreTimeout;
    const Words words{"SUBSCRIBE", channel};
    announced_.clear();
    try {
        if (!isAnnounced) {
            wire_->send(words, deadline);
        }
        while (std::optional<Reply> reply = wire_->receive(deadline, nullptr)) {
            if (reply->isError()) {
                throwRefused(address_, words, reply->text);
            }
            if (isAbout(*reply, "subscribe", channel)) {
                return;
            }
        }
        throw StoreUnreachable(
            "store " + address_.text() +
            ": SUBSCRIBE is not confirmed; is the server overloaded or stopped?");
    } catch (const Error&) {
        wire_.reset();
        throw;
    }
}

void Subscription::unsubscribe(const std::string& channel) noexcept {
    try {
        if (wire_) {
            wire_->send({"UNSUBSCRIBE", channel}, Clock::now() + kStoreTimeout);
        }
    } catch (const std::exception&) {
        wire_.reset();
    }
}

std::optional<std::string> Subscription::next(const std::string& channel, Deadline deadline,
                                              const Stop* stop) {
    if (!wire_) {
        throw StoreUnreachable("store " + address_.text() + ": the subscription was lost");
    }
    while (std::optional<Reply> reply = wire_->receive(deadline, stop)) {
        if (isAbout(*reply, "message", channel)) {
            return std::move(reply->elements[2].text);
        }
    }
    return std::nullopt;
}

} // namespace client
