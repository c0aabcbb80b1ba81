// orvanectl: the command line of the WebGUI resource. Parses, runs the chosen command, and
// turns what it throws into an exit status; the commands lie in a file each.
#include "orvanectl/commands.h"
#include "orvanectl/interrupts.h"

#include <iostream>
#include <unistd.h>

namespace orvanectl {

namespace {

constexpr double kShortestTimeout = 0.001;
constexpr double kLongestTimeout = 3600;

constexpr const char* kFooter =
    "\nExit status: 0 answered \"Success\"; 1 answered otherwise, or the output could not be\n"
    "written; 2 usage; 3 nobody there: the store cannot be reached or does not lead to a\n"
    "provider, none listens, or there was no answer in time; 128 + number: ended by a signal.\n";

void addCommonOptions(CLI::App& app, Options& options) {
    app.add_option("--redis", options.redis,
                   "Address of the store, unix:PATH or tcp:HOST:PORT\n"
                   "(default: $OSSEL_REDIS, or unix:/run/redis/redis-server.sock)")
        ->type_name("ADDRESS");
    app.add_option("--timeout", options.timeoutSeconds,
                   "Seconds to wait for an answer (default: 10)")
        ->type_name("SECONDS")
        ->check(CLI::Range(kShortestTimeout, kLongestTimeout));
    app.add_flag("--json", options.json, "Print JSON, one value a line, for programs");
    app.footer(kFooter);
}

int complain(const std::string& text, int status) {
    std::cerr << "orvanectl: " + text + "\n";
    return status;
}

int endedBySignal() {
    return 128 + caughtSignal();
}

// Never throws: what went wrong is said on standard error and told by the status.
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
        throw client::InvalidArgument("\"" + text + "\": write NAME=VALUE");
    }
    return {text.substr(0, equals), text.substr(equals + 1)};
}

int runProgram(int argc, char** argv) {
    Options options;
    Command chosen;
    CLI::App app("Reads and changes the settings of the WebGUI resource, through its store.",
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
        return app.exit(error) == 0 ? kSuccess : kUsage;
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
