// What holds for every request, whatever it says, whatever the store and the settings hold, and
// whichever call fails.
#pragma once

#include "platform/plugin_host.h"
#include "records.h"
#include "tests/doubles/platform_doubles.h"

#include <string>
#include <vector>

namespace fuzz {

using Pieces = std::vector<std::string>;

// Lines of standard output: "[name]: text". The text may hold line ends of a requester's own.
void checkLogLines(const Pieces& lines);

// Lines of standard error: the same, but for the two that are meant to look otherwise.
void checkErrorLines(const Pieces& lines);

// The hook alone has run: the request lies in the queue of its kind, as it was, or none does.
// Returns the kind; -1: it was refused.
int checkRouting(const RequestTriple& request);

// The state before a request, and what may have become of it afterwards.
class RequestWatch {
public:
    RequestWatch();

    // All has run. `served` is false when the worker could not connect.
    void checkOutcome(const RequestTriple& request, int kind, bool served,
                      const Pieces& lines) const;

private:
    void checkChanges(const RequestTriple& request, int kind, const std::string& uuid) const;

    std::map<std::string, doubles::Fields> hashes_;
    std::size_t events_;
    InstanceKeySet keys_;
    std::string schemaTypeId_;
};

} // namespace fuzz
