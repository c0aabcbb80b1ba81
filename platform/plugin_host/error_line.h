// The host's lines on standard error. They bypass std::cerr, which would flush std::cout, the
// daemon's own.
#pragma once

#include "log_line.h"

#include <new>
#include <string>
#include <string_view>
#include <unistd.h>

namespace plugin_host {

// Writes the parts as one line in one piece, nothing added between them, control characters made
// visible as in every line of log. Any thread.
template <typename... Parts>
void writeErrorLine(const Parts&... parts) {
    LineBuffer line;
    const auto put = [&line](std::string_view text) {
        line.sputn(text.data(), static_cast<std::streamsize>(text.size()));
    };
    try {
        put("[ovrhost]: ");
        (put(parts), ...);
    } catch (const std::bad_alloc&) {
        // The text ends early; there is always room left for the line end.
    }
    const std::string& text = line.finish();
    // A standard error that is closed or full is no reason to stop.
    [[maybe_unused]] const ssize_t written = ::write(STDERR_FILENO, text.data(), text.size());
}

} // namespace plugin_host
