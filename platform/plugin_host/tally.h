// A counting semaphore on which a thread sleeps without a time-out. The system's own: the standard
// library's spins before it sleeps, and a condition variable takes its mutex once more per wait.
#pragma once

#include <cerrno>
#include <semaphore.h>
#include <system_error>

namespace plugin_host {

class Tally {
public:
    Tally() {
        if (::sem_init(&count_, 0, 0) != 0) {
            throw std::system_error(errno, std::generic_category(), "sem_init");
        }
    }
    ~Tally() { ::sem_destroy(&count_); }
    Tally(const Tally&) = delete;
    Tally& operator=(const Tally&) = delete;

    void addOne() noexcept { ::sem_post(&count_); }

    // Waits for one and takes it.
    void takeOne() noexcept {
        while (::sem_wait(&count_) != 0) { // a signal came
        }
    }

private:
    sem_t count_{};
};

} // namespace plugin_host
