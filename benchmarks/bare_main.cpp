// orvane_bench_bare: answers requests on a channel with the daemon's redis commands and nothing
// more, until SIGTERM.
#include "benchmarks/bare.h"

#include <CLI/CLI.hpp>
#include <iostream>

namespace {

int run(int argc, char** argv) {
    CLI::App app{"The least that answering a request costs"};
    bench::BareOptions options;
    app.add_option("--socket", options.socket, "unix socket of redis")->required();
    app.add_option("--channel", options.channel, "where requests come from")->required();
    app.add_option("--instance", options.instance, "key of the resource")->required();
    app.add_flag("--scale", options.scale, "compare the scale, as with managing mode 0");
    app.add_option("--unit", options.unit, "HOST:PORT of a cooling unit to ask first");
    app.add_option("--database", options.database, "settings database for updates");
    CLI11_PARSE(app, argc, argv);
    bench::Bare(options).serve();
}

} // namespace

int main(int argc, char** argv) {
    try {
        return run(argc, argv);
    } catch (const std::exception& error) {
        std::cerr << "orvane_bench_bare: " << error.what() << "\n";
        return 1;
    }
}
