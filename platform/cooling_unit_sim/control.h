// The asking end of the control socket. One connection carries one line of words there and
// one line back: "ok " or "error ", then a text.
#pragma once

#include <string>
#include <vector>

namespace sim {

constexpr const char* kOk = "ok ";
constexpr const char* kError = "error ";

// Sends the words to a running simulator and prints what it says, to standard output or
// error. The exit status: 0 when it obeyed, otherwise 1.
int tell(const std::string& socketPath, const std::vector<std::string>& words);

} // namespace sim
