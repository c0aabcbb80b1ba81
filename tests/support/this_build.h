// How a test starts a program of this build: by itself, or, in a cross build, through the emulator.
#pragma once

#include <sstream>
#include <string>
#include <utility>
#include <vector>

namespace test {

inline std::vector<std::string> commandOf(const std::string& program) {
    std::istringstream emulator(ORVANE_EMULATOR);
    std::vector<std::string> words;
    for (std::string word; emulator >> word;) {
        words.push_back(word);
    }
    words.push_back(program);
    return words;
}

// The variable that loads libraries in front of the program's own, and not into the emulator.
inline std::pair<std::string, std::string> preload(const std::string& libraries) {
    if (std::string(ORVANE_EMULATOR).empty()) {
        return {"LD_PRELOAD", libraries};
    }
    return {"QEMU_SET_ENV", "LD_PRELOAD=" + libraries};
}

} // namespace test
