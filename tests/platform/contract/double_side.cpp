// The contract tests' side of the doubles.
#include "tests/platform/contract/side.h"

#include "tests/doubles/platform_doubles.h"

#include <vector>

namespace contract {

struct Store::Parts {};

Store::Store() {
    doubles::reset();
    connection_ = osselRedisConnect();
}

Store::~Store() {
    disconnect();
}

void Store::disconnect() {
    osselRedisDisconnect(connection_);
    connection_ = nullptr;
}

// NOLINTBEGIN(readability-convert-member-functions-to-static): the host's side needs an object

bool Store::isFresh(const std::string& key) {
    return doubles::freshness().contains(key);
}

void Store::cacheETag(const std::string& key) {
    doubles::etags().insert(key);
}

bool Store::hasCachedETag(const std::string& key) {
    return doubles::etags().contains(key);
}

int Store::events(const std::string& source) {
    int count = 0;
    for (const doubles::RecordedEvent& event : doubles::events()) {
        count += event.source == source ? 1 : 0;
    }
    return count;
}

// NOLINTEND(readability-convert-member-functions-to-static)

struct SettingsFile::Parts {};

SettingsFile::SettingsFile() : path_("/var/database/webgui.db") {
    doubles::reset();
}

SettingsFile::~SettingsFile() = default;

struct Devices::Parts {};

Devices::Devices() {
    doubles::reset();
}

Devices::~Devices() = default;

struct Requester::Parts {
    std::vector<RequestTriple> requests;
};

// Inside the wait the hook gets every request, and then the workers run.
Requester::Requester() : parts_(std::make_unique<Parts>()) {
    doubles::reset();
    doubles::host().duringWaitForExit = [this] {
        for (const auto& [msgId, reqArg, replyChannel] : parts_->requests) {
            doubles::callHook(msgId, reqArg, replyChannel);
        }
        doubles::runWorkers();
    };
}

Requester::~Requester() = default;

void Requester::request(const RequestTriple& request) {
    parts_->requests.push_back(request);
}

// A take from an empty queue ends the worker, asked or not.
void Requester::stop() {}

} // namespace contract
