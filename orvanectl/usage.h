// What orvanectl answers to a command line that it cannot run: one line that names the word, what
// is allowed, and what to do next.
#pragma once

#include <CLI/CLI.hpp>
#include <string>
#include <vector>

namespace orvanectl {

// The line for an error of the parser, without the program's name and the line end.
std::string explain(const CLI::ParseError& error, const CLI::App& app);

// Accepts a number from `low` to `high`; `allowed` names the range in help and errors.
template <typename Number>
CLI::Validator numberBetween(Number low, Number high, const std::string& allowed) {
    const CLI::Range range(low, high);
    return {[range, allowed](const std::string& text) {
                return range(text).empty()
                           ? std::string()
                           : "\"" + text + "\" is not allowed; allowed are " + allowed;
            },
            allowed};
}

// Accepts one of these texts; `what` names their kind in errors.
CLI::Validator oneOf(const std::vector<std::string>& texts, const std::string& what);

// The texts in one line: "a, b, c".
std::string joined(const std::vector<std::string>& texts);

} // namespace orvanectl
