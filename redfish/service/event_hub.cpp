// Each event becomes one frame, which all streams that want it share.
#include "redfish/service/event_hub.h"

#include "redfish/model/addresses.h"
#include "redfish/model/events.h"

#include <algorithm>
#include <charconv>
#include <utility>

namespace redfish {

std::optional<EventId> EventId::parse(const std::string& text) {
    EventId id;
    const char* const end = text.data() + text.size();
    const auto [dash, failure] = std::from_chars(text.data(), end, id.milliseconds);
    if (failure != std::errc()) {
        return std::nullopt;
    }
    if (dash == end) {
        return id;
    }
    const auto [last, second] = std::from_chars(dash + 1, end, id.number);
    if (*dash != '-' || second != std::errc() || last != end) {
        return std::nullopt;
    }
    return id;
}

// The queue of one client. It begins with a comment, which shows the client that it is connected.
class EventHub::Stream : public Feed {
public:
    Stream(Listener listener, std::size_t most) : listener_(std::move(listener)), most_(most) {
        static const Text kHello = makeText(": events follow\n\n");
        queue_.push_back(kHello);
    }

    Text take() override {
        if (queue_.empty()) {
            return nullptr;
        }
        Text text = std::move(queue_.front());
        queue_.pop_front();
        return text;
    }
    bool hasEnded() const override { return hasEnded_; }
    void onReady(std::function<void()> ready) override { ready_ = std::move(ready); }

    const Listener& listener() const { return listener_; }

    void push(const Entry& entry) {
        if (hasEnded_ || !listener_.filter.takes(entry.traits)) {
            return;
        }
        if (queue_.size() >= most_) {
            end(); // too slow; the client resumes with its last id
            return;
        }
        queue_.push_back(entry.frame);
        if (ready_) {
            ready_();
        }
    }

    // Remembered events do not count towards being too slow.
    void fill(const Entry& entry) {
        if (listener_.filter.takes(entry.traits)) {
            queue_.push_back(entry.frame);
            ++most_;
        }
    }

    void end() {
        hasEnded_ = true;
        queue_.clear();
        if (ready_) {
            ready_();
        }
    }

private:
    Listener listener_;
    std::size_t most_;
    std::deque<Text> queue_;
    std::function<void()> ready_;
    bool hasEnded_ = false;
};

EventHub::EventHub(EventHubLimits limits, MayStay mayStay)
    : limits_(limits), mayStay_(std::move(mayStay)) {}

EventHub::Entry EventHub::makeEntry(const client::Event& event, const std::string& instance) {
    Entry entry;
    entry.id = EventId::parse(event.id).value_or(EventId{});
    const std::size_t dot = event.messageId.find('.');
    const bool isOurs = !event.origin.empty() && event.origin == instance;
    entry.traits = {.messageId = event.messageId,
                    .registryPrefix = event.messageId.substr(0, dot),
                    .originResource = isOurs ? std::string(model::kWebGui) : std::string{},
                    .eventType = event.eventType,
                    .resourceType = isOurs ? "OrvaneWebGUI" : ""};
    entry.frame = makeText("id: " + event.id + "\ndata: " +
                           model::serialise(model::eventBody(event, instance)) + "\n\n");
    return entry;
}

void EventHub::dropGone() {
    std::erase_if(streams_, [](const std::weak_ptr<Stream>& each) { return each.expired(); });
}

std::shared_ptr<Feed> EventHub::open(Listener listener, const std::optional<EventId>& since) {
    if (streams() >= limits_.streams) {
        return nullptr;
    }
    auto stream = std::make_shared<Stream>(std::move(listener), limits_.queued);
    for (const Entry& entry : remembered_) {
        if (since && *since < entry.id) {
            stream->fill(entry);
        }
    }
    streams_.push_back(stream);
    return stream;
}

void EventHub::publish(const std::vector<client::Event>& events, bool isOld,
                       const std::string& instance) {
    for (const client::Event& event : events) {
        remembered_.push_back(makeEntry(event, instance));
        if (remembered_.size() > limits_.remembered) {
            remembered_.pop_front();
        }
        if (isOld) {
            continue;
        }
        for (const std::weak_ptr<Stream>& each : streams_) {
            if (const std::shared_ptr<Stream> stream = each.lock()) {
                mayStay_(stream->listener()) ? stream->push(remembered_.back()) : stream->end();
            }
        }
    }
    dropGone();
}

std::size_t EventHub::streams() {
    dropGone();
    return streams_.size();
}

} // namespace redfish
