// orvanectl request: any message id and request argument, and the return message.
#include "orvanectl/commands.h"

#include <memory>
#include <nlohmann/json.hpp>

namespace orvanectl {

namespace {

struct RequestOptions {
    std::string messageId;
    std::string argument;
    std::vector<std::string> fields;
};

int request(const Context& context, const RequestOptions& options) {
    client::Request request{options.messageId, options.argument, {}};
    for (const std::string& field : options.fields) {
        request.fields.push_back(splitAssignment(field));
    }
    client::WebGui webGui = context.connect();
    const client::Answer answer = webGui.perform(request);
    if (context.options.json) {
        context.output.print(toJson(answer));
        return statusOf(answer);
    }
    std::vector<Row> rows{{"MessageId", answer.messageId}};
    for (std::size_t i = 0; i < answer.arguments.size(); ++i) {
        rows.push_back({"MessageArgs." + std::to_string(i), answer.arguments[i]});
    }
    context.output.print(rows);
    return statusOf(answer);
}

} // namespace

void addRequest(CLI::App& app, Command& chosen) {
    CLI::App* const command =
        app.add_subcommand("request", "Send any request and print its return message");
    const auto options = std::make_shared<RequestOptions>();
    command->add_option("MSGID", options->messageId, "Message id, e.g. 00001")->required();
    command
        ->add_option("REQARG", options->argument,
                     "Request argument, sent as is: the key of an instance or of a request object")
        ->required();
    command
        ->add_option("--field", options->fields,
                     "First store a request object with this field under REQARG; repeatable")
        ->type_name("NAME=VALUE")
        ->allow_extra_args(false);
    command->callback([&chosen, options] {
        chosen = [options](const Context& context) { return request(context, *options); };
    });
}

} // namespace orvanectl
