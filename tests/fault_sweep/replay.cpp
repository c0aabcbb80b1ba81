// Following a recorded run.
#include "tests/fault_sweep/replay.h"

#include <algorithm>
#include <sstream>

namespace fault_sweep {

Texts textsOf(const std::string& call) {
    Texts texts;
    for (std::size_t at = call.find('"'); at != std::string::npos;) {
        const std::size_t end = call.find('"', at + 1);
        texts.push_back(call.substr(at + 1, end - at - 1));
        at = end == std::string::npos ? end : call.find('"', end + 1);
    }
    return texts;
}

std::string hexadecimal(int number) {
    std::ostringstream text;
    text << std::hex << number;
    return text.str();
}

doubles::Fault Replay::take(const std::string& function, const Texts& texts) {
    std::string wanted = function + '(';
    for (const std::string& text : texts) {
        wanted += '"' + text + "\" ";
    }
    if (next_ == run_.calls.size()) {
        throw Difference("the run ends where it has to call " + wanted);
    }
    const doubles::RecordedCall& call = run_.calls[next_++];
    const Texts found = textsOf(call.text);
    const bool same = call.function == function && found.size() >= texts.size() &&
                      std::equal(texts.begin(), texts.end(), found.begin());
    if (!same) {
        throw Difference("call " + std::to_string(next_) + " is " + call.text +
                         " where it has to be " + wanted);
    }
    return call.fault;
}

std::string Replay::lastText() const {
    const Texts texts = textsOf(run_.calls.at(next_ - 1).text);
    return texts.empty() ? std::string() : texts.front();
}

void Replay::sameTexts(const Texts& texts) const {
    const std::string& call = run_.calls.at(next_ - 1).text;
    if (textsOf(call) != texts) {
        std::string wanted;
        for (const std::string& text : texts) {
            wanted += " \"" + text + '"';
        }
        throw Difference("the texts of " + call + " have to be" + wanted);
    }
}

void Replay::end() const {
    if (next_ != run_.calls.size()) {
        throw Difference("a call too many: " + run_.calls[next_].text);
    }
    if (run_.output != output_) {
        throw Difference("standard output is\n" + run_.output + "and has to be\n" + output_);
    }
    if (run_.errors != errors_) {
        throw Difference("standard error is\n" + run_.errors + "and has to be\n" + errors_);
    }
}

} // namespace fault_sweep
