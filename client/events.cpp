// Follows the event stream with blocking reads, each after the entry read last.
// Printing is left to the programs.
#include "client/events.h"

#include "client/errors.h"
#include "client/names.h"

#include <array>
#include <cctype>
#include <charconv>
#include <ctime>
#include <utility>

namespace client {

namespace {

// The server is asked anew this often, so that one that hangs is noticed.
constexpr std::chrono::milliseconds kBlock{5000};
constexpr const char* kMostAtOnce = "100";

std::map<std::string, std::string> fieldsOf(const Reply& list) {
    std::map<std::string, std::string> fields;
    for (std::size_t i = 0; i + 1 < list.elements.size(); i += 2) {
        fields[list.elements[i].text] = list.elements[i + 1].text;
    }
    return fields;
}

Event makeEvent(const Reply& entry) {
    Event event;
    event.id = entry.elements.at(0).text;
    std::map<std::string, std::string> fields = fieldsOf(entry.elements.at(1));
    event.eventType = fields["EventType"];
    event.kind = fields["Kind"];
    event.message = fields["Message"];
    event.messageId = fields["MessageId"];
    event.origin = fields["OriginOfCondition"];
    for (int i = 0;; ++i) {
        const auto argument = fields.find("MessageArgs." + std::to_string(i));
        if (argument == fields.end()) {
            return event;
        }
        event.arguments.push_back(argument->second);
    }
}

bool isNumber(std::string_view text) {
    std::uint64_t number = 0;
    const auto [end, failure] = std::from_chars(text.data(), text.data() + text.size(), number);
    return failure == std::errc() && end == text.data() + text.size();
}

} // namespace

void checkEventId(const std::string& id) {
    const std::size_t dash = id.find('-');
    const bool hasNumber = dash != std::string::npos;
    if (!isNumber(std::string_view(id).substr(0, dash)) ||
        (hasNumber && !isNumber(std::string_view(id).substr(dash + 1)))) {
        throw InvalidArgument("\"" + id + "\" is no id of an event; write MILLISECONDS or " +
                              "MILLISECONDS-NUMBER, or 0 for all that are kept");
    }
}

std::string eventTime(const std::string& id) {
    std::int64_t milliseconds = 0;
    const auto [end, failure] = std::from_chars(id.data(), id.data() + id.size(), milliseconds);
    const std::time_t seconds = milliseconds / 1000;
    std::tm parts{};
    if (failure != std::errc() || milliseconds < 0 || ::gmtime_r(&seconds, &parts) == nullptr) {
        return {};
    }
    std::array<char, 64> text{};
    const std::size_t length = std::strftime(text.data(), text.size(), "%Y-%m-%dT%H:%M:%S", &parts);
    const std::string fraction = std::to_string(1000 + milliseconds % 1000);
    return std::string(text.data(), length) + "." + fraction.substr(1) + "Z";
}

EventStream::EventStream(StoreConnection& store, std::string source, std::string since,
                         const Stop* stop)
    : store_(store), key_(eventKey(source)), last_(std::move(since)), stop_(stop) {
    if (!last_.empty()) {
        checkEventId(last_);
        return;
    }
    // An id instead of "$": nothing that comes between two reads is missed.
    const Reply newest = store_.command({"XREVRANGE", key_, "+", "-", "COUNT", "1"});
    last_ = newest.elements.empty() ? "0" : newest.elements[0].elements.at(0).text;
}

std::vector<Event> EventStream::next() {
    const Words words{"XREAD",   "COUNT", kMostAtOnce, "BLOCK", std::to_string(kBlock.count()),
                      "STREAMS", key_,    last_};
    while (true) {
        const std::optional<Reply> reply =
            store_.blockingCommand(words, Clock::now() + kBlock + kStoreTimeout, stop_);
        if (!reply) {
            throw StoreUnreachable("store " + store_.address().text() +
                                   ": no reply to XREAD; is the server overloaded or stopped?");
        }
        if (reply->isNil()) {
            continue;
        }
        std::vector<Event> events;
        for (const Reply& entry : reply->elements.at(0).elements.at(1).elements) {
            events.push_back(makeEvent(entry));
            last_ = events.back().id;
        }
        return events;
    }
}

} // namespace client
