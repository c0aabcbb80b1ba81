// A recorded run, and the reader that follows it call by call. Its user knows which call and which
// line must come next, given the outcome of the last call.
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

// The quoted texts in a call.
Texts textsOf(const std::string& call);

std::string hexadecimal(int number);

// Reads a run; throws Difference where it deviates.
class Replay {
public:
    struct Difference : std::runtime_error {
        using std::runtime_error::runtime_error;
    };

    explicit Replay(const RecordedRun& run) : run_(run) {}

    // The next call must be of this function and begin with these texts.
    doubles::Fault take(const std::string& function, const Texts& texts = {});
    // The same; returns whether the call succeeded.
    bool done(const std::string& function, const Texts& texts = {}) {
        return !take(function, texts);
    }
    bool isNext(const std::string& function) const {
        return next_ < run_.calls.size() && run_.calls[next_].function == function;
    }
    // The first text of the last call.
    std::string lastText() const;

    // The last call must have exactly these texts.
    void sameTexts(const Texts& texts) const;

    // The next line of the run.
    void line(const std::string& function, const std::string& text) {
        plainLine('[' + function + "]: " + text);
    }
    void plainLine(const std::string& text) { output_ += text + '\n'; }
    void errorLine(const std::string& text) { errors_ += text + '\n'; }

    // The run must be at its end, with exactly the lines given so far.
    void end() const;

private:
    const RecordedRun& run_;
    std::size_t next_ = 0;
    std::string output_;
    std::string errors_;
};

} // namespace fault_sweep
