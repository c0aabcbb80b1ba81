// Uses write(2) rather than a stream, to tell a closed pipe from a full disk.
#include "orvanectl/output.h"

#include <algorithm>
#include <cerrno>
#include <nlohmann/json.hpp>
#include <system_error>
#include <unistd.h>

namespace orvanectl {

namespace {

// Columns that a UTF-8 text takes: its bytes without the continuation bytes.
std::size_t widthOf(const std::string& text) {
    return static_cast<std::size_t>(std::count_if(text.begin(), text.end(), [](char byte) {
        return (static_cast<unsigned char>(byte) & 0xc0U) != 0x80U;
    }));
}

} // namespace

void Output::print(const std::string& text) {
    std::size_t written = 0;
    while (written < text.size() && !closed_) {
        const ssize_t count = ::write(STDOUT_FILENO, text.data() + written, text.size() - written);
        if (count >= 0) {
            written += static_cast<std::size_t>(count);
        } else if (errno == EPIPE) {
            closed_ = true;
        } else if (errno != EINTR) {
            throw std::system_error(errno, std::generic_category(),
                                    "cannot write to standard output");
        }
    }
}

void Output::print(const nlohmann::ordered_json& json) {
    print(json.dump(-1, ' ', false, nlohmann::ordered_json::error_handler_t::replace) + "\n");
}

void Output::print(const std::vector<Row>& rows) {
    std::vector<std::size_t> widths;
    for (const Row& row : rows) {
        widths.resize(std::max(widths.size(), row.size()));
        for (std::size_t i = 0; i < row.size(); ++i) {
            widths[i] = std::max(widths[i], widthOf(row[i]));
        }
    }
    std::string text;
    for (const Row& row : rows) {
        std::string line;
        for (std::size_t i = 0; i < row.size(); ++i) {
            line += row[i];
            if (i + 1 < row.size()) {
                line.append(widths[i] - widthOf(row[i]) + 2, ' ');
            }
        }
        line.erase(line.find_last_not_of(' ') + 1);
        text += line + "\n";
    }
    print(text);
}

bool Output::isTerminal() {
    return ::isatty(STDOUT_FILENO) == 1;
}

int statusOf(const client::Answer& answer) {
    return answer.isSuccess() ? kSuccess : kAnsweredOtherwise;
}

nlohmann::ordered_json toJson(const client::Answer& answer) {
    return {{"MessageId", answer.messageId}, {"MessageArgs", answer.arguments}};
}

} // namespace orvanectl
