// What orvane-redfish is told on its command line.
#pragma once

#include "redfish/server/limits.h"

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <string>

namespace redfish {

struct Options {
    std::string listen = "0.0.0.0";
    std::uint16_t port = 8443;
    bool isClear = false;
    std::filesystem::path state = "/var/lib/orvane-redfish";
    std::filesystem::path web;         // empty: no page is served
    std::string store;                 // address; empty: as the other programs choose it
    std::filesystem::path certificate; // empty: one of its own
    std::filesystem::path key;
    std::chrono::milliseconds timeout{10'000}; // for the provider's answers
    std::size_t streams = 512;
    Limits limits;
};

enum class Parsed : std::uint8_t { run, done, wrong };

// Reads the command line; prints help or what is wrong with it itself.
Parsed parseOptions(int argc, const char* const* argv, Options& options);

} // namespace redfish
