// `cooling-unit-sim tell`.
#include "platform/cooling_unit_sim/control.h"

#include "log_line.h"
#include "platform/cooling_unit_sim/sockets.h"

#include <array>
#include <string_view>
#include <sys/socket.h>
#include <sys/time.h>
#include <system_error>

namespace sim {

namespace {

constexpr timeval kAnswerLimit{5, 0};

std::string readLine(const Descriptor& socket) {
    std::string text;
    std::array<char, 256> part{};
    while (text.find('\n') == std::string::npos) {
        const ssize_t length = ::recv(socket.number(), part.data(), part.size(), 0);
        if (length <= 0) {
            return "error no answer\n";
        }
        text.append(part.data(), static_cast<std::size_t>(length));
    }
    return text.substr(0, text.find('\n'));
}

} // namespace

int tell(const std::string& socketPath, const std::vector<std::string>& words) {
    std::string line;
    for (const std::string& word : words) {
        line += (line.empty() ? "" : " ") + word;
    }
    line += '\n';
    try {
        const Descriptor socket = connectUnix(socketPath);
        ::setsockopt(socket.number(), SOL_SOCKET, SO_RCVTIMEO, &kAnswerLimit, sizeof(kAnswerLimit));
        ::send(socket.number(), line.data(), line.size(), MSG_NOSIGNAL);
        const std::string answer = readLine(socket);
        if (answer.starts_with(kOk)) {
            writeLine(answer.substr(std::string_view(kOk).size()));
            return 0;
        }
        writeErrorLine("cooling-unit-sim: ", answer);
    } catch (const std::system_error& error) {
        writeErrorLine("cooling-unit-sim: ", error.what());
    }
    return 1;
}

} // namespace sim
