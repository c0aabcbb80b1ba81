// Follows the event stream with blocking reads, each after the entry read last.
#include "client/events.h"

#include "client/errors.h"
#include "client/names.h"

#include <array>
#include <cctype>
#include <charconv>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <utility>

namespace client {

namespace {

// The server is asked anew this often, so that one that hangs is noticed.
constexpr std::chrono::milliseconds kBlock{5000};
constexpr const char* kMaxAtOnce = "100";

// The first millisecond that a date of this form, with its four digits of a year, cannot tell.
constexpr std::int64_t kYear10000 = 253'402'300'800'000;

Event makeEvent(const Reply& entry) {
    Event event;
    event.id = entry.elements.at(0).text;
    std::map<std::string, std::string> fields = hashIn(entry.elements.at(1));
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

// By the calendar of the standard library: std::time_t ends in 2038 where it has 32 bits.
std::string eventTime(const std::string& id) {
    std::int64_t number = 0;
    const auto [end, failure] = std::from_chars(id.data(), id.data() + id.size(), number);
    if (failure != std::errc() || number < 0 || number >= kYear10000) {
        return {};
    }
    const std::chrono::sys_time<std::chrono::milliseconds> time{std::chrono::milliseconds(number)};
    const auto day = std::chrono::floor<std::chrono::days>(time);
    const std::chrono::year_month_day date(day);
    const std::chrono::hh_mm_ss clock(time - day);
    std::array<char, 64> text{};
    std::snprintf(text.data(), text.size(), "%04d-%02u-%02uT%02d:%02d:%02d.%03dZ",
                  static_cast<int>(date.year()), static_cast<unsigned int>(date.month()),
                  static_cast<unsigned int>(date.day()), static_cast<int>(clock.hours().count()),
                  static_cast<int>(clock.minutes().count()),
                  static_cast<int>(clock.seconds().count()),
                  static_cast<int>(clock.subseconds().count()));
    return text.data();
}

std::vector<Event> eventsSince(StoreConnection& store, const std::string& source,
                               const std::string& since, int most) {
    checkEventId(since);
    const Reply reply = store.command(
        {"XRANGE", eventKey(source), "(" + since, "+", "COUNT", std::to_string(most)});
    std::vector<Event> events;
    for (const Reply& entry : reply.elements) {
        events.push_back(makeEvent(entry));
    }
    return events;
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
    const Words words{"XREAD",   "COUNT", kMaxAtOnce, "BLOCK", std::to_string(kBlock.count()),
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
