// The daemon itself, run to its end behind the double of the device libraries. What the script
// lines mean is said in tests/doubles/preload.cpp.
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

    // The calls that begin with this text.
    Lines callsOf(const std::string& beginning) const;
    // The position of the first call that begins so; the number of calls when there is none.
    std::size_t positionOf(const std::string& beginning) const;
    // The output without its first line, which holds an address.
    std::string outputAfterConstruction() const;
};

// Runs the daemon with this script and these changes to the environment. ManagingMode is not set
// unless it is given.
Life live(const Lines& script, const std::map<std::string, std::string>& environment = {});

// The calls of a start-up with the provisioned schema, up to the registration with the host.
Lines callsBeforeMain();
Lines callsOfLookup();
Lines callsOfRegistration();

// The calls that build and that remove the tree, and those of the last exit handlers.
Lines callsOfInit();
Lines callsOfCleanUp();
Lines callsOfExit();

Lines joined(std::initializer_list<Lines> parts);

} // namespace service_test
