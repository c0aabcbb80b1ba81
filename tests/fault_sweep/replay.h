// A recorded run, and the reader that follows it call by call. The follower knows what the daemon
// has to call next after what became of the call before, and what it has to write.
#pragma once

#include "tests/doubles/fault.h"

#include <cstddef>
#include <stdexcept>
#include <string>
#include <vector>

namespace fault_sweep {

using Texts = std::vector<std::string>;

struct RecordedRun {
    std::vector<doubles::RecordedCall> calls;
    std::string output; // standard output
    std::string errors; // standard error
};

// What stands in quotes in a call.
Texts textsOf(const std::string& call);

std::string hexadecimal(int number);

// Reads a run. Whatever is not as it must be throws Difference.
class Replay {
public:
    struct Difference : std::runtime_error {
        using std::runtime_error::runtime_error;
    };

    explicit Replay(const RecordedRun& run) : run_(run) {}

    // The next call has to be one of this function, its first texts these.
    doubles::Fault take(const std::string& function, const Texts& texts = {});
    // As above; whether the call was done in full.
    bool done(const std::string& function, const Texts& texts = {}) {
        return !take(function, texts);
    }
    bool isNext(const std::string& function) const {
        return next_ < run_.calls.size() && run_.calls[next_].function == function;
    }
    // The first text of the call before.
    std::string lastText() const;

    // The call before has to have these texts and no more.
    void sameTexts(const Texts& texts) const;

    // A line that the run has to hold next.
    void line(const std::string& function, const std::string& text) {
        plainLine('[' + function + "]: " + text);
    }
    void plainLine(const std::string& text) { output_ += text + '\n'; }
    void errorLine(const std::string& text) { errors_ += text + '\n'; }

    // A run has nothing left, and has written exactly these lines.
    void end() const;

private:
    const RecordedRun& run_;
    std::size_t next_ = 0;
    std::string output_;
    std::string errors_;
};

} // namespace fault_sweep
