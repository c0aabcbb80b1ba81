// The parser's own texts name an option at best; its error classes say which case it is.
#include "orvanectl/usage.h"

#include "orvanectl/commands.h"

#include <algorithm>

namespace orvanectl {

namespace {

std::string chosenCommand(const CLI::App& app) {
    const auto chosen = app.get_subcommands();
    return chosen.empty() ? "" : chosen.front()->get_name();
}

std::string explainMissing(const std::string& command, const CLI::App& app) {
    if (command == "set") {
        return "no setting given, e.g. `orvanectl set Theme=dark`; `orvanectl get` lists all " +
               std::to_string(readableSettings().size());
    }
    if (command == "action") {
        return "no action given, e.g. `orvanectl action turn-off-lcd`; `orvanectl action --help` "
               "lists all";
    }
    if (command == "request") {
        return "a message id and a request argument are needed, e.g. `orvanectl request 00001 KEY`";
    }
    const std::vector<std::string> words = app.remaining();
    if (words.empty()) {
        return "no command given, e.g. `orvanectl status`; `orvanectl --help` lists all";
    }
    return "there is no command \"" + words.front() + "\"; `orvanectl --help` lists all";
}

// The word behind the last ": " of a text.
std::string lastPart(const std::string& text) {
    const std::size_t colon = text.rfind(": ");
    return colon == std::string::npos ? text : text.substr(colon + 2);
}

std::string helpOf(const std::string& command) {
    return "; see `orvanectl " + command + (command.empty() ? "" : " ") + "--help`";
}

std::string explainFor(const std::string& command, const CLI::ParseError& error,
                       const CLI::App& app) {
    const std::string text = error.what();
    if (dynamic_cast<const CLI::RequiredError*>(&error) != nullptr) {
        return explainMissing(command, app);
    }
    if (dynamic_cast<const CLI::ExtrasError*>(&error) != nullptr) {
        return "\"" + lastPart(text) + "\" was not expected" + helpOf(command);
    }
    if (dynamic_cast<const CLI::ArgumentMismatch*>(&error) != nullptr) {
        return text.substr(0, text.find(':')) + " needs a value" + helpOf(command);
    }
    // The name of a positional word stands before what its check says.
    return text.starts_with("NAME: ") ? lastPart(text) : text;
}

} // namespace

std::string explain(const CLI::ParseError& error, const CLI::App& app) {
    const std::string command = chosenCommand(app);
    return (command.empty() ? "" : command + ": ") + explainFor(command, error, app);
}

CLI::Validator oneOf(const std::vector<std::string>& texts, const std::string& what) {
    return {[texts, what](const std::string& text) {
                return std::find(texts.begin(), texts.end(), text) != texts.end()
                           ? std::string()
                           : "there is no " + what + " \"" + text + "\"; there are " +
                                 joined(texts);
            },
            joined(texts)};
}

std::string joined(const std::vector<std::string>& texts) {
    std::string result;
    for (const std::string& text : texts) {
        result += (result.empty() ? "" : ", ") + text;
    }
    return result;
}

} // namespace orvanectl
