// The run marker. What a supervisor makes of it is left to the supervisor.
#include "service/run_marker.h"

#include <cstdio>
#include <unistd.h>

namespace {

constexpr char kRunMarker[] = "/tmp/run/Stidre.run";
constexpr int kAttempts = 6;
constexpr unsigned int kPauseSeconds = 2;

} // namespace

void createRunMarker() {
    for (int attempt = 0; attempt < kAttempts; ++attempt) {
        if (std::FILE* file = std::fopen(kRunMarker, "w+"); file != nullptr) {
            std::fclose(file);
            return;
        }
        // Meant: after the last attempt too.
        ::sleep(kPauseSeconds); // NOLINT(concurrency-mt-unsafe): nothing uses SIGALRM
    }
}
