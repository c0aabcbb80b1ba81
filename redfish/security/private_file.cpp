#include "redfish/security/private_file.h"

#include "descriptor.h"

#include <cerrno>
#include <fcntl.h>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace redfish {

namespace {

[[noreturn]] void fail(const std::filesystem::path& file, const std::string& what) {
    throw std::runtime_error(file.string() + ": " + what + ": " +
                             std::generic_category().message(errno));
}

void writeAll(const std::filesystem::path& file, int descriptor, std::string_view text) {
    while (!text.empty()) {
        const ssize_t count = ::write(descriptor, text.data(), text.size());
        if (count < 0 && errno != EINTR) {
            fail(file, "cannot be written");
        }
        text.remove_prefix(count < 0 ? 0 : static_cast<std::size_t>(count));
    }
    if (::fsync(descriptor) != 0) {
        fail(file, "cannot be written");
    }
}

} // namespace

void writePrivateFile(const std::filesystem::path& file, const std::string& text) {
    const std::filesystem::path fresh = file.string() + ".new";
    std::error_code ignored;
    std::filesystem::remove(fresh, ignored);
    {
        const Descriptor descriptor(
            ::open(fresh.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, 0600));
        if (!descriptor.isOpen()) {
            fail(fresh, "cannot be made");
        }
        writeAll(fresh, descriptor.number(), text);
    }
    if (::rename(fresh.c_str(), file.c_str()) != 0) {
        fail(file, "cannot be replaced");
    }
    const Descriptor folder(::open(file.parent_path().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!folder.isOpen() || ::fsync(folder.number()) != 0) {
        fail(file.parent_path(), "cannot be synced");
    }
}

std::string readPrivateFile(const std::filesystem::path& file) {
    struct stat status {};
    if (::stat(file.c_str(), &status) != 0) {
        fail(file, "cannot be read");
    }
    if ((status.st_mode & 077U) != 0) {
        throw std::runtime_error(file.string() +
                                 ": accessible to others than its owner; run chmod 600 on it");
    }
    std::ifstream stream(file);
    std::ostringstream text;
    text << stream.rdbuf();
    if (!stream) {
        throw std::runtime_error(file.string() + ": cannot be read");
    }
    return std::move(text).str();
}

} // namespace redfish
