#include "tests/support/temporary_folder.h"

#include <cstdlib>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace test {

namespace {

// In memory unless TMPDIR says otherwise: what is flushed there costs no wait for a disk, and all
// of these folders lose their contents with the test anyway.
std::filesystem::path parent() {
    constexpr const char* kInMemory = "/dev/shm";
    constexpr std::uintmax_t kPlenty = 256UL << 20U;
    std::error_code failure;
    const std::filesystem::space_info space = std::filesystem::space(kInMemory, failure);
    const bool isUsable = std::getenv("TMPDIR") == nullptr && !failure &&
                          space.available >= kPlenty && ::access(kInMemory, W_OK | X_OK) == 0;
    return isUsable ? kInMemory : std::filesystem::temp_directory_path();
}

} // namespace

TemporaryFolder::TemporaryFolder() {
    std::string name = parent() / "orvane-test-XXXXXX";
    if (::mkdtemp(name.data()) == nullptr) {
        throw std::runtime_error("cannot create " + name);
    }
    path_ = name;
}

TemporaryFolder::~TemporaryFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
}

std::string readFile(const std::filesystem::path& path) {
    const std::ifstream file(path, std::ios::binary);
    std::ostringstream text;
    text << file.rdbuf();
    return std::move(text).str();
}

void writeFile(const std::filesystem::path& path, const std::string& text) {
    std::ofstream(path, std::ios::binary) << text;
}

} // namespace test
