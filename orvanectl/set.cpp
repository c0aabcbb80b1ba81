// orvanectl set: changes settings, one request per message id.
#include "client/names.h"
#include "orvanectl/commands.h"
#include "orvanectl/usage.h"

#include <algorithm>
#include <memory>
#include <nlohmann/json.hpp>

namespace orvanectl {

namespace {

struct SetOptions {
    std::vector<std::string> assignments;
    std::string user;
    bool force = false;
};

void print(const Context& context, const std::vector<client::UpdateAnswer>& answers) {
    std::vector<Row> rows;
    nlohmann::ordered_json json = nlohmann::ordered_json::array();
    for (const client::UpdateAnswer& each : answers) {
        rows.push_back({each.messageId, each.answer.text(), joined(each.names)});
        nlohmann::ordered_json object{{"request", each.messageId}, {"names", each.names}};
        object.update(toJson(each.answer));
        json.push_back(object);
    }
    context.options.json ? context.output.print(json) : context.output.print(rows);
}

int set(const Context& context, const SetOptions& options) {
    client::SettingValues changes;
    for (const std::string& assignment : options.assignments) {
        changes.push_back(splitAssignment(assignment));
    }
    client::WebGui webGui = context.connect();
    const std::vector<client::UpdateAnswer> answers =
        webGui.updateSettings(changes, options.user, options.force).answers;
    print(context, answers);
    return statusOf(answers.back().answer);
}

} // namespace

void addSet(CLI::App& app, Command& chosen) {
    CLI::App* const command =
        app.add_subcommand("set", "Change settings; all others keep their values");
    const auto options = std::make_shared<SetOptions>();
    options->user = "orvanectl";
    // Not named "NAME=VALUE": CLI11 2.4 takes no name with a "=".
    command->add_option("SETTING", options->assignments, "Settings and their new values")
        ->type_name("NAME=VALUE")
        ->required();
    command->add_flag("--force", options->force, "Send the values without checking them");
    command
        ->add_option("--user", options->user,
                     "Author of the change, sent as EventUserName (default: orvanectl)")
        ->type_name("NAME");
    command->callback([&chosen, options] {
        chosen = [options](const Context& context) { return set(context, *options); };
    });
}

} // namespace orvanectl
