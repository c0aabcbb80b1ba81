// orvanectl events: follows the event stream, a line for each event, until it is stopped.
#include "client/events.h"

#include "client/names.h"
#include "orvanectl/commands.h"
#include "orvanectl/usage.h"

#include <memory>
#include <nlohmann/json.hpp>
#include <unistd.h>

namespace orvanectl {

namespace {

struct EventOptions {
    std::string since;
    unsigned long count = 0; // 0: without end
};

void print(const Context& context, const client::Event& event) {
    if (context.options.json) {
        context.output.print({{"id", event.id},
                              {"time", client::eventTime(event.id)},
                              {"EventType", event.eventType},
                              {"Kind", event.kind},
                              {"Message", event.message},
                              {"MessageId", event.messageId},
                              {"MessageArgs", event.arguments},
                              {"OriginOfCondition", event.origin}});
        return;
    }
    client::Answer message{.messageId = event.messageId, .arguments = event.arguments};
    context.output.print(std::vector<Row>{{event.id, client::eventTime(event.id), event.eventType,
                                           event.origin, event.message, message.text()}});
}

int follow(const Context& context, const EventOptions& options) {
    client::WebGui webGui = context.connect();
    context.stop.watchReaderOf(STDOUT_FILENO);
    client::EventStream stream(webGui.store(), client::kEventSource, options.since, &context.stop);
    unsigned long printed = 0;
    while (true) {
        for (const client::Event& event : stream.next()) {
            print(context, event);
            if (context.output.isClosed() || ++printed == options.count) {
                return kSuccess;
            }
        }
    }
}

int events(const Context& context, const EventOptions& options) {
    try {
        return follow(context, options);
    } catch (const client::Stopped&) {
        return kSuccess; // the normal end
    }
}

} // namespace

void addEvents(CLI::App& app, Command& chosen) {
    CLI::App* const command =
        app.add_subcommand("events", "Print events as they arrive, until Ctrl-C");
    const auto options = std::make_shared<EventOptions>();
    command
        ->add_option("--since", options->since,
                     "Start after the event with this id; 0: with the oldest one kept")
        ->type_name("ID");
    command->add_option("--count", options->count, "Stop after N events")
        ->type_name("N")
        ->check(numberBetween(1UL, 1'000'000'000UL, "1 to 1000000000"));
    command->callback([&chosen, options] {
        chosen = [options](const Context& context) { return events(context, *options); };
    });
}

} // namespace orvanectl
