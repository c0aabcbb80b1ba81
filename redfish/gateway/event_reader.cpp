#include "redfish/gateway/event_reader.h"

#include "client/discovery.h"
#include "client/errors.h"
#include "client/names.h"

#include <utility>

namespace redfish {

namespace {

constexpr std::chrono::milliseconds kReconnectPause{500};
// More than the store keeps, which is about a thousand.
constexpr int kMaxKept = 2000;

} // namespace

EventReader::EventReader(client::Address store, Gateway& gateway, Post post, Received received)
    : address_(std::move(store)), gateway_(gateway), post_(guard_.guard(std::move(post))),
      received_(std::move(received)), thread_([this] { run(); }) {}

EventReader::~EventReader() {
    stop_.request();
    thread_.join();
}

void EventReader::run() {
    client::StoreConnection store(address_);
    while (!stop_.isRequested()) {
        try {
            readOn(store);
        } catch (const std::exception&) {
            client::pauseUntil(client::Clock::now() + kReconnectPause, &stop_);
        }
    }
}

void EventReader::readOn(client::StoreConnection& store) {
    if (last_.empty()) {
        const std::vector<client::Event> kept =
            client::eventsSince(store, client::kEventSource, "0", kMaxKept);
        tell(store, kept, true);
        last_ = kept.empty() ? "0" : kept.back().id;
    }
    client::EventStream stream(store, client::kEventSource, last_, &stop_);
    while (true) {
        std::vector<client::Event> events = stream.next();
        std::string newest = events.back().id;
        tell(store, std::move(events), false);
        last_ = std::move(newest);
    }
}

void EventReader::tell(client::StoreConnection& store, std::vector<client::Event> events,
                       bool isOld) {
    if (instance_.empty()) {
        try {
            instance_ = client::findInstance(store);
        } catch (const client::StoreContents&) {
            // No provider is running: pass its earlier events on without an origin.
            instance_.clear();
        }
    }
    post_([this, events = std::move(events), isOld, instance = instance_] {
        gateway_.forget();
        received_(events, isOld, instance);
    });
}

} // namespace redfish
