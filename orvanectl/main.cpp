// orvanectl: the command line of the WebGUI resource. Parses, runs the chosen command, and turns
// exceptions into the exit status. Each command has a file of its name.
#include "orvanectl/commands.h"
#include "orvanectl/interrupts.h"
#include "orvanectl/usage.h"

#include <iostream>
#include <unistd.h>

namespace orvanectl {

namespace {

constexpr double kMinTimeoutSeconds = 0.001;
constexpr double kMaxTimeoutSeconds = 3600;

constexpr const char* kFooter =
    "\nExit status: 0 answered \"Success\"; 1 answered otherwise, or the output could not be\n"
    "written; 2 wrong usage, nothing was sent; 3 no store, no provider, or no answer in time;\n"
    "128 + number: ended by this signal.\n";

void addCommonOptions(CLI::App& app, Options& options) {
    app.add_option("--redis", options.redis,
                   "Object store, unix:PATH or tcp:HOST:PORT\n"
                   "(default: $OSSEL_REDIS, or unix:/run/redis/redis-server.sock)")
        ->type_name("ADDRESS");
    app.add_option("--timeout", options.timeoutSeconds,
                   "How long to wait for an answer (default: 10)")
        ->type_name("SECONDS")
        ->check(numberBetween(kMinTimeoutSeconds, kMaxTimeoutSeconds, "0.001 to 3600"));
    app.add_flag("--json", options.json, "Print JSON, one value per line");
    app.footer(kFooter);
}

int complain(const std::string& text, int status) {
    std::cerr << "orvanectl: " + text + "\n";
    return status;
}

int endedBySignal() {
    return 128 + caughtSignal();
}

// Never throws: reports errors on standard error and by the exit status.
int run(const Command& command, const Context& context) {
    try {
        return command(context);
    } catch (const client::Stopped&) {
        return caughtSignal() != 0 ? endedBySignal() : kSuccess;
    } catch (const client::AnsweredOtherwise& error) {
        return complain(error.what(), kAnsweredOtherwise);
    } catch (const client::InvalidArgument& error) {
        return complain(error.what(), kUsage);
    } catch (const client::Error& error) {
        return complain(error.what(), kNobodyThere);
    } catch (const std::exception& error) {
        return complain(error.what(), kAnsweredOtherwise);
    }
}

} // namespace

client::WebGui Context::connect() const {
    const std::chrono::duration<double> seconds(options.timeoutSeconds);
    return client::WebGui(client::chooseAddress(options.redis),
                          std::chrono::ceil<std::chrono::milliseconds>(seconds), &stop);
}

std::pair<std::string, std::string> splitAssignment(const std::string& text) {
    const std::size_t equals = text.find('=');
    if (equals == std::string::npos || equals == 0) {
        throw client::InvalidArgument("\"" + text + "\" is not NAME=VALUE; write e.g. Theme=dark");
    }
    return {text.substr(0, equals), text.substr(equals + 1)};
}

int runProgram(int argc, char** argv) {
    Options options;
    Command chosen;
    CLI::App app("Reads and changes the settings of the WebGUI resource through the object store.",
                 "orvanectl");
    app.set_version_flag("--version", "orvanectl " ORVANECTL_VERSION);
    app.require_subcommand(1);
    for (const auto add :
         {addGet, addSet, addAction, addStatus, addEvents, addWatch, addRequest, addProvision}) {
        add(app, chosen);
    }
    addCommonOptions(app, options);
    for (CLI::App* const command : app.get_subcommands({})) {
        addCommonOptions(*command, options);
    }
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        if (error.get_exit_code() == static_cast<int>(CLI::ExitCodes::Success)) {
            return app.exit(error); // prints the help or the version
        }
        return complain(explain(error, app), kUsage);
    }
    client::Stop stop;
    installInterrupts(stop);
    Output output;
    return run(chosen, {options, stop, output});
}

} // namespace orvanectl

int main(int argc, char** argv) {
    try {
        return orvanectl::runProgram(argc, argv);
    } catch (const std::exception& error) {
        std::cerr << "orvanectl: " << error.what() << '\n';
        return orvanectl::kAnsweredOtherwise;
    }
}
