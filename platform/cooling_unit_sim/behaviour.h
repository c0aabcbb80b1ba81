// What the unit does with a request, and the words that change it while it runs.
#pragma once

#include "platform/cooling_unit_sim/unit.h"

#include <chrono>
#include <string>

namespace sim {

struct Behaviour {
    enum class Kind { normal, silent, exception, slow };
    Kind kind = Kind::normal;
    unsigned int code = 0;             // of an exception
    std::chrono::milliseconds delay{}; // of slow

    // As `tell` prints it, e.g. "slow 500".
    std::string describe() const;
};

// The list of words, for --help and for error messages.
extern const char* const kControlWords;

struct Obeyed {
    bool done;
    std::string text; // one line: the state now, or why nothing changed
};

// Carries out one line of words. Changes nothing if it does not understand them.
Obeyed obey(const std::string& line, Behaviour& behaviour, Unit& unit);

} // namespace sim
