// What the daemon publishes through the store: UUIDs, return messages, messages on channels and
// events.
#include "platform/ossel.h"

#include "platform/ossel/boundary.h"
#include "platform/ossel/complaints.h"
#include "platform/ossel/exchange.h"
#include "redis/uuid.h"
#include "text.h"

#include <algorithm>
#include <array>
#include <cstdarg>
#include <cstring>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

namespace ossel {

namespace {

// A requester that has not fetched its message by then is gone.
constexpr std::string_view kReturnMessageSeconds = "60";
constexpr std::array<std::string_view, 5> kReturnMessageArguments = {
    "MessageArgs.0", "MessageArgs.1", "MessageArgs.2", "MessageArgs.3", "MessageArgs.4"};

constexpr std::string_view kEventsPrefix = "Events:";
constexpr std::string_view kEventsKept = "1000";

constexpr std::size_t kArgumentSlot = 1024;

bool generateUuid(char* text) {
    try {
        const auto uuid = redis::randomUuid();
        std::copy(uuid.begin(), uuid.end(), text);
        return true;
    } catch (const std::system_error& error) {
        complainNowAndThen(error.what());
        return false;
    }
}

bool storeReturnMessage(redisContext& context, const char* uuid, const char* messageId,
                        std::span<const char* const> arguments) {
    LongCommand hset(4 + 2 * arguments.size());
    hset.add("HSET");
    hset.add(uuid);
    hset.add("MessageId");
    hset.add(messageId);
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        hset.add(kReturnMessageArguments.at(i));
        hset.add(arguments[i]);
    }
    ShortCommand expire{"EXPIRE", uuid, kReturnMessageSeconds};
    const std::array<Command, 2> commands{hset, expire};
    std::array<Reply, 2> replies;
    return exchange(context, commands, replies, Repeat::harmless) &&
           isWanted(context, commands[0], replies[0], {Reply::Kind::integer}) &&
           isWanted(context, commands[1], replies[1], {Reply::Kind::integer});
}

bool publish(redisContext& context, const char* channel, const char* message) {
    ShortCommand command{"PUBLISH", channel, message};
    return bool(ask(context, command, {Reply::Kind::integer}, Repeat::never));
}

// One XADD. Owns the names of the arguments and borrows the event's texts.
class EventCommand {
public:
    EventCommand(std::string_view stream, const OsselEvent& event)
        : names_(static_cast<std::size_t>(event.argumentCount)),
          command_(kFixedWords + 2 * names_.size()) {
        for (const std::string_view word :
             {std::string_view("XADD"), stream, std::string_view("MAXLEN"), std::string_view("~"),
              kEventsKept, std::string_view("*")}) {
            command_.add(word);
        }
        addField("EventType", boundedText(event.eventType));
        addField("Kind", boundedText(event.kind));
        addField("Message", boundedText(event.message));
        addField("MessageId", boundedText(event.messageId));
        for (std::size_t i = 0; i < names_.size(); ++i) {
            const char* const slot = event.arguments + i * kArgumentSlot;
            names_[i] = "MessageArgs." + std::to_string(i);
            addField(names_[i], {slot, ::strnlen(slot, kArgumentSlot)});
        }
        if (const std::string_view origin = boundedText(event.origin); !origin.empty()) {
            addField("OriginOfCondition", origin);
        }
    }

    operator Command() { return command_; }

private:
    // XADD key MAXLEN ~ 1000 *, then five fields.
    static constexpr std::size_t kFixedWords = 6 + 5 * 2;

    void addField(std::string_view name, std::string_view value) {
        command_.add(name);
        command_.add(value);
    }

    std::vector<std::string> names_;
    LongCommand command_;
};

bool isWhole(const OsselEvent& event) {
    return event.argumentCount == 0 || (event.argumentCount > 0 && event.arguments != nullptr);
}

bool appendEvents(redisContext& context, const char* source, std::span<const OsselEvent> events) {
    if (!std::all_of(events.begin(), events.end(), isWhole)) {
        return false;
    }
    const std::string stream = std::string(kEventsPrefix) + source;
    if (events.size() == 1) {
        EventCommand xadd(stream, events.front());
        return bool(ask(context, xadd, {Reply::Kind::text}, Repeat::never));
    }
    std::vector<EventCommand> xadds;
    xadds.reserve(events.size());
    std::vector<Command> commands;
    for (const OsselEvent& event : events) {
        commands.push_back(xadds.emplace_back(stream, event));
    }
    return runTransaction(context, commands, Repeat::never);
}

} // namespace

} // namespace ossel

using namespace ossel;

int osselGenerateUUID(redisContext* context, char* uuid) {
    return resultCode([=] { return !anyNull(context, uuid) && generateUuid(uuid); });
}

// NOLINTNEXTLINE(cert-dcl50-cpp): the arguments are variadic by contract
int osselCreateReturnMessage(redisContext* context, const char* uuid, const char* messageId, ...) {
    if (anyNull(context, uuid, messageId)) {
        return kFailure;
    }
    // Room for one too many, to detect it.
    std::array<const char*, kReturnMessageArguments.size() + 1> arguments{};
    std::size_t count = 0;
    va_list list;
    va_start(list, messageId);
    // NOLINTNEXTLINE(clang-analyzer-valist.Uninitialized): va_start stands above
    for (const char* argument = va_arg(list, const char*);
         argument != nullptr && count < arguments.size(); argument = va_arg(list, const char*)) {
        arguments[count++] = argument;
    }
    va_end(list);
    return resultCode([&] {
        return count <= kReturnMessageArguments.size() &&
               storeReturnMessage(*context, uuid, messageId, {arguments.data(), count});
    });
}

int osselPublishToChannel(redisContext* context, const char* channel, const char* message) {
    return resultCode(
        [=] { return !anyNull(context, channel, message) && publish(*context, channel, message); });
}

int osselCreateEventObject(redisContext* context, const char* source, int /*kind*/,
                           const OsselEvent* events, int count) {
    return resultCode([=] {
        return !anyNull(context, source, events) && count > 0 &&
               appendEvents(*context, source, {events, static_cast<std::size_t>(count)});
    });
}
