// The command line of orvane-redfish.
#pragma once

#include "redfish/server/limits.h"

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <string>

namespace redfish {

// What the program was started with; the defaults are those of --help.
struct Options {
    // Numeric address.
    std::string listen = "0.0.0.0";
    // 0: a free one.
    std::uint16_t port = 8443;
    // Without TLS, on loopback only.
    bool isClear = false;
    // Folder of accounts, certificate and key.
    std::filesystem::path state = "/var/lib/orvane-redfish";
    // Folder of the web page; empty: no page is served.
    std::filesystem::path web;
    // Address of the object store; empty: as OSSEL_REDIS says.
    std::string store;
    // PEM; empty: a self-signed certificate in the state folder.
    std::filesystem::path certificate;
    std::filesystem::path key;
    // For the provider's answers.
    std::chrono::milliseconds timeout{10'000};
    // Event streams at once.
    std::size_t streams = 512;
    Limits limits;
};

// How the program goes on.
enum class Parsed : std::uint8_t {
    run,
    done,  // help or version was printed
    wrong, // an error was printed
};

// Reads the command line into `options`; prints help, version and errors itself.
Parsed parseOptions(int argc, const char* const* argv, Options& options);

} // namespace redfish
