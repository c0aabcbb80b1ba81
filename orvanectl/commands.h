// The commands of the program. Each add...() adds its sub-command to the parser; when the user
// gives it, parsing sets `chosen`, which main.cpp runs.
#pragma once

#include "client/webgui.h"
#include "orvanectl/output.h"

#include <CLI/CLI.hpp>
#include <functional>

namespace orvanectl {

// Options that every command has.
struct Options {
    std::string redis; // empty: OSSEL_REDIS, or the default
    double timeoutSeconds = 10;
    bool json = false;
};

// What a running command works with.
struct Context {
    const Options& options;
    client::Stop& stop;
    Output& output;

    // Connects to nothing yet. Throws client::InvalidArgument.
    client::WebGui connect() const;
};

// Returns the exit status. Throws client::Error.
using Command = std::function<int(const Context&)>;

// `chosen` is borrowed until parsing is over.
void addProvision(CLI::App& app, Command& chosen);
void addGet(CLI::App& app, Command& chosen);
void addRequest(CLI::App& app, Command& chosen);
void addStatus(CLI::App& app, Command& chosen);
void addSet(CLI::App& app, Command& chosen);
void addAction(CLI::App& app, Command& chosen);
void addEvents(CLI::App& app, Command& chosen);
void addWatch(CLI::App& app, Command& chosen);

// Splits "NAME=VALUE" at the first "=". Throws client::InvalidArgument.
std::pair<std::string, std::string> splitAssignment(const std::string& text);

// Names of the settings that `get` and `watch` can show: all but the author of a change.
std::vector<std::string> readableSettings();
// Names and values to show: all that the instance holds, or the named ones.
using SettingRows = std::vector<std::pair<std::string, std::string>>;
// Throws client::InvalidArgument for a name that cannot be shown.
void checkReadable(const std::vector<std::string>& names);
// Throws client::StoreContents for a named setting that the instance lacks.
SettingRows selectSettings(const std::map<std::string, std::string>& fields,
                           const std::vector<std::string>& names);
void printSettings(const Context& context, const SettingRows& settings);

} // namespace orvanectl
