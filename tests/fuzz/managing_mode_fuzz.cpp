// The managing mode: arbitrary bytes in its file and in its environment variable. The first line
// of an input is the variable's text, unless it is a minus sign alone: then the variable is unset,
// and what follows is the file. An input without a line end has no file.
#include "requests/managing_mode.h"
#include "tests/doubles/platform_doubles.h"
#include "tests/fuzz/fuzz.h"

#include <algorithm>
#include <cstdlib>
#include <iostream>

using fuzz::require;

namespace {

constexpr char kVariable[] = "ManagingMode";
constexpr std::string_view kBlanks = " \t\n\v\f\r";

struct Input {
    bool isSet = false;
    std::string variable;
    bool hasFile = false;
    std::string file;
};

Input readInput(std::string_view text) {
    const std::size_t end = text.find('\n');
    const std::string_view first = text.substr(0, end);
    Input input;
    input.isSet = first != "-";
    input.variable = std::string(first.substr(0, first.find('\0')));
    input.hasFile = end != std::string_view::npos;
    input.file = input.hasFile ? text.substr(end + 1) : std::string_view();
    return input;
}

std::string firstWord(std::string_view file) {
    file.remove_prefix(std::min(file.find_first_not_of(kBlanks), file.size()));
    return std::string(file.substr(0, file.find_first_of(kBlanks)));
}

void checkVariable(const Input& input, int mode) {
    require(mode <= 2, "a mode is at most 2", std::to_string(mode));
    require(std::getenv(kVariable) == input.variable, "a variable that is set stays");
    require(doubles::calls().empty(), "a variable that is set keeps the file closed");
    const bool isPlain =
        !input.variable.empty() && input.variable.size() < 9 &&
        std::ranges::all_of(input.variable, [](char c) { return c >= '0' && c <= '9'; });
    if (isPlain) {
        require(mode == std::min(std::stoi(input.variable), 2), "a number is the mode",
                input.variable);
    }
}

void checkFile(const Input& input, int mode) {
    const std::string word = input.hasFile ? firstWord(input.file) : "";
    const int wanted = word == "Tinvale" ? 0 : word == "Varrow" ? 1 : 2;
    require(mode == wanted, "the first word is the mode", word);
    const char* const kept = std::getenv(kVariable);
    const std::string_view text = kept == nullptr ? "unset" : kept;
    require(text == (wanted == 2 ? "unset" : std::to_string(wanted)), "a known word is kept", text);
    require(doubles::calls().size() == 1, "the file is opened once");
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const Input input = readInput(fuzz::asText(data, size));
    doubles::reset();
    if (input.hasFile) {
        doubles::files().managingMode = input.file;
    }
    if (input.isSet) {
        ::setenv(kVariable, input.variable.c_str(), 1);
    } else {
        ::unsetenv(kVariable);
    }
    fuzz::Capture output(std::cout);
    fuzz::Capture errors(std::cerr);
    const int mode = getManagingMode();
    if (input.isSet) {
        checkVariable(input, mode);
    } else {
        checkFile(input, mode);
    }
    require(output.taken().empty() && errors.taken().empty(), "nothing is logged");
    ::unsetenv(kVariable);
    return 0;
}
