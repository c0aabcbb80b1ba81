// The client's end of the control socket. A connection carries one line of words and one line back:
// "ok " or "error ", then a text.
#pragma once

#include <string>
#include <vector>

namespace sim {

constexpr const char* kOk = "ok ";
constexpr const char* kError = "error ";

// Sends the words to a running simulator and prints its answer to standard output, or to standard
// error if it refused. Returns the exit status: 0 if it obeyed, otherwise 1.
int tell(const std::string& socketPath, const std::vector<std::string>& words);

} // namespace sim
