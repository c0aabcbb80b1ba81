// Uses the older form of the server's protocol, in which invalidation messages are redirected to a
// second connection.
#include "client/invalidation.h"

#include "client/connection.h"
#include "client/errors.h"

#include <algorithm>

namespace client {

namespace {

constexpr const char* kChannel = "__redis__:invalidate";
// How often the tracking connection is checked: when it is lost, the messages end in silence.
constexpr std::chrono::milliseconds kLook{100};
// Consecutive messages are reported as one, up to this many.
constexpr int kMaxInARow = 1000;

} // namespace

Invalidations::Invalidations(const Address& address, const std::vector<std::string>& prefixes)
    : name_(address.text()), news_(address, kStoreTimeout), tracker_(address, kStoreTimeout) {
    const std::string id = std::to_string(ask(news_, {"CLIENT", "ID"}).integer);
    ask(news_, {"SUBSCRIBE", kChannel});
    Words track{"CLIENT", "TRACKING", "ON", "REDIRECT", id, "BCAST"};
    for (const std::string& prefix : prefixes) {
        track.emplace_back("PREFIX");
        track.push_back(prefix);
    }
    ask(tracker_, track);
}

Reply Invalidations::ask(Wire& wire, const Words& words) {
    const Deadline deadline = Clock::now() + kStoreTimeout;
    wire.send(words, deadline);
    const std::optional<Reply> reply = wire.receive(deadline, nullptr);
    if (!reply) {
        throw StoreUnreachable("store " + name_ + ": no reply to " + words.front() +
                               "; is the server overloaded or stopped?");
    }
    if (reply->isError()) {
        throw StoreRefused("store " + name_ + ": " + words.front() + " failed: " + reply->text);
    }
    return *reply;
}

bool Invalidations::next(Deadline deadline, const Stop* stop) {
    while (true) {
        const Deadline look = std::min(deadline, Clock::now() + kLook);
        const bool isTold = news_.receive(look, stop).has_value();
        for (int i = 0; isTold && i < kMaxInARow; ++i) {
            if (!news_.receive(Clock::now(), stop)) {
                break;
            }
        }
        if (tracker_.isStale()) {
            throw StoreUnreachable("store " + name_ + ": the tracking connection was lost");
        }
        if (isTold || Clock::now() >= deadline) {
            return isTold;
        }
    }
}

} // namespace client
