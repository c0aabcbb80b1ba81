// The run marker. The flags are those of fopen's mode "w+", plus O_NOFOLLOW: where others may write
// to the folder, a symbolic link must not have the daemon empty another file.
#include "service/run_marker.h"

#include <fcntl.h>
#include <unistd.h>

namespace {

constexpr char kRunMarker[] = "/tmp/run/Stidre.run";
constexpr int kOpenFlags = O_RDWR | O_CREAT | O_TRUNC | O_NOFOLLOW | O_CLOEXEC;
constexpr mode_t kPermissions = 0666; // less the umask
constexpr int kAttempts = 6;
constexpr unsigned int kPauseSeconds = 2;

} // namespace

void createRunMarker() {
    for (int attempt = 0; attempt < kAttempts; ++attempt) {
        if (const int file = ::open(kRunMarker, kOpenFlags, kPermissions); file >= 0) {
            ::close(file);
            return;
        }
        // Meant: after the last attempt too.
        ::sleep(kPauseSeconds); // NOLINT(concurrency-mt-unsafe): nothing uses SIGALRM
    }
}
