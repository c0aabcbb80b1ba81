// What the host has to say: one line to standard error for one event. It goes past the
// C++ streams, since std::cerr would flush std::cout, which is the daemon's own.
#pragma once

#include <string>
#include <string_view>
#include <unistd.h>

namespace plugin_host {

// Writes the parts, nothing added between them, as one line in one piece. Any thread.
template <typename... Parts>
void writeErrorLine(const Parts&... parts) {
    std::string line = "[ovrhost]: ";
    (line.append(std::string_view(parts)), ...);
    line += '\n';
    // A standard error that is closed or full is no reason to stop.
    [[maybe_unused]] const ssize_t written = ::write(STDERR_FILENO, line.data(), line.size());
}

} // namespace plugin_host
