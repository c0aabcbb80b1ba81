// A key with an owner's token and a life: taken with SET NX PX, prolonged and given up by
// scripts that look at the token first. What it protects is left to client/webgui.cpp.
#include "client/lease.h"

#include "client/errors.h"
#include "client/uuid.h"

#include <utility>

namespace client {

namespace {

constexpr std::chrono::milliseconds kRetryPause{10};

constexpr const char* kProlongScript =
    "if redis.call('GET', KEYS[1]) == ARGV[1] then "
    "return redis.call('PEXPIRE', KEYS[1], ARGV[2]) end return 0";
constexpr const char* kReleaseScript = "if redis.call('GET', KEYS[1]) == ARGV[1] then "
                                       "return redis.call('DEL', KEYS[1]) end return 0";

} // namespace

Lease::Lease(StoreConnection& store, std::string key, std::chrono::milliseconds life,
             Deadline deadline, const Stop* stop)
    : store_(store), key_(std::move(key)), token_(makeUuid()), life_(life) {
    const Words take{"SET", key_, token_, "NX", "PX", std::to_string(life_.count())};
    while (store_.command(take).isNil()) {
        if (Clock::now() >= deadline) {
            throwHeld("is held by another client");
        }
        if (!pauseUntil(Clock::now() + kRetryPause, stop)) {
            throw Stopped("stopped while waiting for the lease \"" + key_ + "\"");
        }
    }
}

Lease::~Lease() {
    try {
        store_.command({"EVAL", kReleaseScript, "1", key_, token_});
    } catch (const std::exception&) {
        // It ends by itself.
        token_.clear();
    }
}

void Lease::prolong() {
    const Words words{"EVAL", kProlongScript, "1", key_, token_, std::to_string(life_.count())};
    if (store_.command(words).integer == 0) {
        throwHeld("was lost to another client");
    }
}

void Lease::throwHeld(const std::string& reason) {
    const long long left = store_.command({"PTTL", key_}).integer;
    const std::string advice = left == -1 ? "; it has no end: delete the key"
                                          : "; it ends by itself: try again in a moment";
    throw LeaseHeld("store " + store_.address().text() + ": the lease \"" + key_ + "\" " + reason +
                    advice);
}

} // namespace client
