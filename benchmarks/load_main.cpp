// orvane_bench_load: runs one load and prints its figures as one line of JSON; times are in
// microseconds unless named otherwise.
#include "benchmarks/load.h"

#include <CLI/CLI.hpp>
#include <ctime>
#include <iostream>

namespace {

double processorSeconds() {
    return static_cast<double>(std::clock()) / CLOCKS_PER_SEC;
}

void print(bench::LoadResult& result, double processor) {
    const auto measured = static_cast<double>(result.latencies.count());
    std::cout << "{\"sent\": " << result.sent << ", \"answered\": " << result.answered
              << ", \"refused\": " << result.refused << ", \"unasked\": " << result.unasked
              << ", \"measured\": " << result.latencies.count()
              << ", \"seconds\": " << result.seconds
              << ", \"rate\": " << (result.seconds > 0.0 ? measured / result.seconds : 0.0) << ", ";
    result.latencies.write(std::cout);
    std::cout << ", \"own_processor_seconds\": " << processor << "}\n";
}

int runLoad(const bench::LoadOptions& options) {
    bench::LoadGenerator generator(options);
    const double before = processorSeconds();
    bench::LoadResult result = generator.run();
    print(result, processorSeconds() - before);
    return result.answered == result.sent && result.unasked == 0 ? 0 : 1;
}

int run(int argc, char** argv) {
    CLI::App app{"Requests from one thread, each measured from publishing it to having read its "
                 "return message"};
    bench::LoadOptions options;
    app.add_option("--socket", options.socket, "unix socket of redis")->required();
    app.add_option("--channel", options.channel, "where requests are published")->required();
    app.add_option("--instance", options.instance, "key of the resource")->required();
    app.add_option("--clients", options.clients, "requests in flight")->check(CLI::Range(1, 4096));
    app.add_option("--requests", options.requests, "how many are measured");
    app.add_option("--seconds", options.seconds, "how long new ones are sent");
    app.add_option("--warm-up", options.warmUp, "requests before the measured ones");
    bool isLanguage = false;
    bool isBrightness = false;
    CLI::Option* const language =
        app.add_flag("--updates", isLanguage, "updates of the language instead of reads");
    app.add_flag("--brightness-updates", isBrightness,
                 "updates of the brightness, with all that goes with it, instead of reads")
        ->excludes(language);
    CLI11_PARSE(app, argc, argv);
    if (isLanguage || isBrightness) {
        options.kind =
            isLanguage ? bench::LoadKind::languageUpdates : bench::LoadKind::brightnessUpdates;
    }
    if (options.requests == 0 && options.seconds <= 0.0) {
        throw std::runtime_error("--requests or --seconds is needed");
    }
    return runLoad(options);
}

} // namespace

int main(int argc, char** argv) {
    try {
        return run(argc, argv);
    } catch (const std::exception& error) {
        std::cerr << "orvane_bench_load: " << error.what() << "\n";
        return 1;
    }
}
