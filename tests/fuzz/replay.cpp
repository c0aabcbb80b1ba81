// The main of a fuzz target in a build without libFuzzer: every file of the folders or of the
// list on the command line is one input.
#include "tests/fuzz/fuzz.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

namespace fs = std::filesystem;

namespace {

std::vector<fs::path> filesOf(const fs::path& path) {
    if (!fs::is_directory(path)) {
        return {path};
    }
    std::vector<fs::path> files;
    for (const fs::directory_entry& entry : fs::directory_iterator(path)) {
        files.push_back(entry.path());
    }
    std::ranges::sort(files);
    return files;
}

// False: it cannot be read.
bool replay(const fs::path& path) {
    std::ifstream file(path, std::ios::binary);
    if (!file) {
        std::fprintf(stderr, "cannot read %s\n", path.c_str());
        return false;
    }
    const std::vector<char> bytes{std::istreambuf_iterator<char>(file), {}};
    std::printf("%s\n", path.c_str()); // the last line printed names an input that ends the process
    std::fflush(stdout);
    LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
    return true;
}

} // namespace

// An exception of the target is a finding, and ends the program.
// NOLINTNEXTLINE(bugprone-exception-escape)
int main(int argc, char** argv) {
    int inputs = 0;
    for (int i = 1; i < argc; ++i) {
        for (const fs::path& path : filesOf(argv[i])) {
            if (!replay(path)) {
                return 1;
            }
            ++inputs;
        }
    }
    std::printf("%d inputs\n", inputs);
    return inputs > 0 ? 0 : 1;
}
