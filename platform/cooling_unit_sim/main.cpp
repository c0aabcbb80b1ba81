// The command line of cooling-unit-sim: the simulated unit itself, and `tell`, which changes a
// running one.
#include "log_line.h"
#include "platform/cooling_unit_sim/behaviour.h"
#include "platform/cooling_unit_sim/control.h"
#include "platform/cooling_unit_sim/server.h"
#include "platform/cooling_unit_sim/unit.h"

#include <CLI/CLI.hpp>

#include <exception>
#include <string>
#include <vector>

namespace {

int simulate(const std::string& listen, const std::string& state, const std::string& control) {
    const auto address = cooling::parseUnitAddress(listen, 0);
    if (!address) {
        writeErrorLine("cooling-unit-sim: --listen ", listen, ": use ", cooling::kAllowedAddresses);
        return 1;
    }
    sim::Unit unit(state);
    sim::Server server(*address, control, unit);
    writeLine("cooling-unit-sim listens on ", server.address(), ", temperature scale ",
              sim::describeScale(unit.scale()));
    server.run();
    writeLine("cooling-unit-sim ends");
    return 0;
}

} // namespace

int main(int argc, char** argv) {
    try {
        CLI::App app("A cooling unit with its Modbus register, for a desk and for tests.");
        std::string listen = "127.0.0.1:1502";
        std::string state;
        std::string control;
        app.add_option("--listen", listen, "address and port; port 0 picks a free one")
            ->capture_default_str();
        app.add_option("--state", state,
                       "file that keeps the register; without one it starts metric");
        app.add_option("--control", control, "unix socket for `tell`");

        CLI::App* tell = app.add_subcommand("tell", "changes what a running simulator does");
        std::string socket;
        std::vector<std::string> words;
        tell->add_option("socket", socket, "the socket named by --control")->required();
        tell->add_option("words", words, sim::kControlWords)->required();

        CLI11_PARSE(app, argc, argv);
        return *tell ? sim::tell(socket, words) : simulate(listen, state, control);
    } catch (const std::exception& error) {
        writeErrorLine("cooling-unit-sim: ", error.what());
        return 1;
    }
}
