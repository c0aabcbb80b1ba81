// orvanectl action: runs one of the two actions of the resource.
#include "client/names.h"
#include "orvanectl/commands.h"
#include "orvanectl/usage.h"

#include <memory>
#include <nlohmann/json.hpp>

namespace orvanectl {

namespace {

const std::map<std::string, std::string>& actions() {
    static const std::map<std::string, std::string> names{
        {"turn-off-lcd", client::kTurnOffLcd},
        {"gui-ready", client::kGuiReady},
    };
    return names;
}

int action(const Context& context, const std::string& name) {
    client::WebGui webGui = context.connect();
    const client::Answer answer = webGui.runAction(actions().at(name));
    if (context.options.json) {
        nlohmann::ordered_json json{{"action", name}};
        json.update(toJson(answer));
        context.output.print(json);
    } else {
        context.output.print(std::vector<Row>{{name, answer.text()}});
    }
    return statusOf(answer);
}

} // namespace

void addAction(CLI::App& app, Command& chosen) {
    CLI::App* const command =
        app.add_subcommand("action", "Run an action: turn-off-lcd or gui-ready");
    const auto name = std::make_shared<std::string>();
    command->add_option("NAME", *name, "Action to run")
        ->required()
        ->check(oneOf({"turn-off-lcd", "gui-ready"}, "action"));
    command->callback([&chosen, name] {
        chosen = [name](const Context& context) { return action(context, *name); };
    });
}

} // namespace orvanectl
