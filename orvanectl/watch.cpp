// orvanectl watch: shows the settings, and again whenever an event names their instance.
#include "client/discovery.h"
#include "client/events.h"
#include "client/names.h"
#include "orvanectl/commands.h"

#include <algorithm>
#include <memory>
#include <nlohmann/json.hpp>
#include <unistd.h>

namespace orvanectl {

namespace {

constexpr const char* kClearScreen = "\033[H\033[2J";

void draw(const Context& context, client::WebGui& webGui, const std::vector<std::string>& names,
          bool isFirst) {
    const SettingRows settings = selectSettings(webGui.fields(), names);
    if (Output::isTerminal() && !context.options.json) {
        context.output.print(std::string(kClearScreen));
    } else if (!isFirst && !context.options.json) {
        context.output.print(std::string("\n"));
    }
    printSettings(context, settings);
}

int follow(const Context& context, const std::vector<std::string>& names) {
    checkReadable(names);
    client::WebGui webGui = context.connect();
    context.stop.watchReaderOf(STDOUT_FILENO);
    // The stream first: a change between it and the first drawing is drawn again.
    client::EventStream stream(webGui.store(), client::kEventSource, {}, &context.stop);
    draw(context, webGui, names, true);
    while (!context.output.isClosed()) {
        const std::vector<client::Event> events = stream.next();
        const std::string instance = client::findInstance(webGui.store());
        if (std::any_of(events.begin(), events.end(),
                        [&](const client::Event& event) { return event.origin == instance; })) {
            draw(context, webGui, names, false);
        }
    }
    return kSuccess;
}

int watch(const Context& context, const std::vector<std::string>& names) {
    try {
        return follow(context, names);
    } catch (const client::Stopped&) {
        return kSuccess; // the normal end
    }
}

} // namespace

void addWatch(CLI::App& app, Command& chosen) {
    CLI::App* const command =
        app.add_subcommand("watch", "Show the settings, and again after each change, until Ctrl-C");
    const auto names = std::make_shared<std::vector<std::string>>();
    command->add_option("NAME", *names, "Settings to show");
    command->callback([&chosen, names] {
        chosen = [names](const Context& context) { return watch(context, *names); };
    });
}

} // namespace orvanectl
