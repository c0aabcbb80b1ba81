// The daemon itself, run to its end behind the double of the device libraries.
// tests/doubles/preload.cpp lists the script lines.
#pragma once

#include <map>
#include <string>
#include <vector>

namespace service_test {

using Lines = std::vector<std::string>;

struct Life {
    int status = -1;
    std::string output;
    std::string errors;
    Lines calls; // in order, from before `main` to the last exit handler

    // The calls that begin with this text, in order.
    Lines callsOf(const std::string& beginning) const;
    // The position of the first of them; the number of calls if there is none.
    std::size_t positionOf(const std::string& beginning) const;
    // The output without its first line, which contains an address.
    std::string outputAfterConstruction() const;
};

// Runs the daemon with this script and these changes to the environment, in which ManagingMode is
// unset unless given.
Life live(const Lines& script, const std::map<std::string, std::string>& environment = {});

// The calls of a start-up with the provisioned schema, up to registration with the host.
Lines callsBeforeMain();
Lines callsOfLookup();
Lines callsOfRegistration();

// The calls that build the tree, those that remove it, and those of the last exit handlers.
Lines callsOfInit();
Lines callsOfCleanUp();
Lines callsOfExit();

Lines joined(std::initializer_list<Lines> parts);

} // namespace service_test
