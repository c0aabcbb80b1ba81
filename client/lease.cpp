// A key with an owner's token and a life: taken with SET NX PX, given up by a script that
// compares the token first.
#include "client/lease.h"

#include "client/errors.h"
#include "redis/uuid.h"

#include <utility>

namespace client {

namespace {

constexpr std::chrono::milliseconds kRetryPause{10};

constexpr const char* kReleaseScript = "if redis.call('GET', KEYS[1]) == ARGV[1] then "
                                       "return redis.call('DEL', KEYS[1]) end return 0";

} // namespace

Lease::Lease(StoreConnection& store, std::string key, std::chrono::milliseconds life,
             Deadline deadline, const Stop* stop, std::vector<Words> reads)
    : store_(store), key_(std::move(key)), token_(redis::makeUuid()), life_(life) {
    std::vector<Words> commands{{"SET", key_, token_, "NX", "PX", std::to_string(life_.count())}};
    commands.insert(commands.end(), std::make_move_iterator(reads.begin()),
                    std::make_move_iterator(reads.end()));
    while (true) {
        replies_ = store_.exchange(commands);
        store_.check(commands.front(), replies_.front());
        if (!replies_.front().isNil()) {
            break;
        }
        if (Clock::now() >= deadline) {
            throwHeld("is held by another client");
        }
        if (!pauseUntil(Clock::now() + kRetryPause, stop)) {
            throw Stopped("stopped while waiting for the lease \"" + key_ + "\"");
        }
    }
    replies_.erase(replies_.begin());
}

Lease::~Lease() {
    try {
        if (!token_.empty()) {
            store_.command(release());
        }
    } catch (const std::exception&) {
        // It ends by itself.
        token_.clear();
    }
}

Words Lease::release() const {
    return {"EVAL", kReleaseScript, "1", key_, token_};
}

void Lease::throwHeld(const std::string& reason) {
    const long long left = store_.command({"PTTL", key_}).integer;
    const std::string advice = left == -1 ? "; it has no end: delete the key"
                                          : "; it ends by itself: try again in a moment";
    throw LeaseHeld("store " + store_.address().text() + ": the lease \"" + key_ + "\" " + reason +
                    advice);
}

} // namespace client
