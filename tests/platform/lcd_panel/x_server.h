// An Xvfb of the test's own, on a display that it finds free.
#pragma once

#include "tests/support/child_process.h"
#include "tests/support/temporary_folder.h"

#include <memory>
#include <string>

namespace test {

class XServer {
public:
    // Accepts connections when the constructor returns.
    XServer();
    ~XServer();
    XServer(const XServer&) = delete;
    XServer& operator=(const XServer&) = delete;

    const std::string& display() const { return display_; } // ":7"
    std::string socketPath() const;

    void start();        // restart, on the same display
    void kill();         // SIGKILL; waits for the end and cleans up
    void pause() const;  // SIGSTOP
    void resume() const; // SIGCONT

    // Runs xset on this display. Returns its output.
    std::string xset(const std::string& words) const;
    // "timeout 60 cycle 600 blanking yes exposures yes", by `xset q`.
    std::string screenSaver() const;
    // Whether the panel is dark now, according to the screen saver extension.
    bool isDark() const;

private:
    TemporaryFolder folder_;
    std::string display_;
    std::unique_ptr<ChildProcess> process_;
};

} // namespace test
