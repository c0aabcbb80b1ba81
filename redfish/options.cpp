#include "redfish/options.h"

#include <CLI/CLI.hpp>

namespace redfish {

namespace {

void addLimits(CLI::App& app, Options& options) {
    app.add_option("--max-connections", options.limits.connections, "Connections at once")
        ->capture_default_str()
        ->check(CLI::Range(1, 100'000));
    app.add_option("--max-connections-per-address", options.limits.connectionsPerAddress,
                   "Connections of one address at once")
        ->capture_default_str()
        ->check(CLI::Range(1, 100'000));
    app.add_option("--max-streams", options.streams, "Event streams at once")
        ->capture_default_str()
        ->check(CLI::Range(1, 100'000));
    app.add_option("--request-rate", options.limits.requestsPerSecond,
                   "Average requests a second of one address; 0: no limit")
        ->capture_default_str()
        ->check(CLI::Range(0.0, 1e6));
    app.add_option("--request-burst", options.limits.burst,
                   "Requests that one address may send at once before the rate applies")
        ->capture_default_str()
        ->check(CLI::Range(1.0, 1e6));
}

} // namespace

Parsed parseOptions(int argc, const char* const* argv, Options& options) {
    CLI::App app{"Serves the WebGUI resource as Redfish over HTTPS."};
    app.name("orvane-redfish");
    app.set_version_flag("--version", ORVANE_REDFISH_VERSION);
    app.add_option("--listen", options.listen, "Address to listen on")
        ->capture_default_str()
        ->check(CLI::ValidIPV4 | CLI::IsMember({"::", "::1"}));
    app.add_option("--port", options.port, "Port to listen on; 0: a free one")
        ->capture_default_str();
    app.add_flag("--clear-text", options.isClear,
                 "Serve HTTP without TLS, on a loopback address only, for measurements");
    app.add_option("--state", options.state, "Folder of accounts, certificate and key")
        ->capture_default_str();
    app.add_option("--web", options.web, "Folder of the web page")->check(CLI::ExistingDirectory);
    app.add_option("--store", options.store,
                   "Object store, unix:PATH or tcp:HOST:PORT; default: OSSEL_REDIS");
    CLI::Option* const certificate =
        app.add_option("--certificate", options.certificate,
                       "Certificate with its chain (PEM); default: a self-signed one")
            ->check(CLI::ExistingFile);
    CLI::Option* const key = app.add_option("--key", options.key, "Key of the certificate (PEM)")
                                 ->check(CLI::ExistingFile);
    certificate->needs(key);
    key->needs(certificate);
    app.add_option_function<unsigned int>(
           "--timeout",
           [&options](unsigned int seconds) { options.timeout = std::chrono::seconds(seconds); },
           "Seconds to wait for the provider's answer")
        ->default_str("10")
        ->check(CLI::Range(1U, 300U));
    addLimits(app, options);
    app.failure_message([](const CLI::App*, const CLI::Error& error) {
        return "orvane-redfish: " + std::string(error.what()) +
               "; `orvane-redfish --help` lists the options\n";
    });
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? Parsed::done : Parsed::wrong;
    }
    return Parsed::run;
}

} // namespace redfish
