// orvanectl provision: writes the schema definitions of client/provisioning.h.
#include "client/provisioning.h"
#include "orvanectl/commands.h"

#include <nlohmann/json.hpp>

namespace orvanectl {

namespace {

int provision(const Context& context) {
    client::WebGui webGui = context.connect();
    const std::vector<client::Definition> definitions = client::provision(webGui.store());
    std::vector<Row> rows;
    nlohmann::ordered_json json = nlohmann::ordered_json::array();
    for (const client::Definition& each : definitions) {
        rows.push_back({each.written ? "written" : "unchanged", each.key, each.field, each.value});
        json.push_back({{"key", each.key},
                        {"field", each.field},
                        {"value", each.value},
                        {"written", each.written}});
    }
    context.options.json ? context.output.print(json) : context.output.print(rows);
    return kSuccess;
}

} // namespace

void addProvision(CLI::App& app, Command& chosen) {
    CLI::App* const command = app.add_subcommand(
        "provision", "Write the schema that the provider looks up at its start; safe to repeat");
    command->callback([&chosen] { chosen = provision; });
}

} // namespace orvanectl
