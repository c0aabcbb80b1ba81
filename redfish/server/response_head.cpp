// Writes the head of an answer as text.
#include "redfish/server/response_head.h"

#include <array>
#include <ctime>

namespace redfish {

namespace {

struct Reason {
    unsigned int status;
    std::string_view text;
};
constexpr std::array kReasons{
    Reason{.status = 200, .text = "OK"},
    Reason{.status = 201, .text = "Created"},
    Reason{.status = 204, .text = "No Content"},
    Reason{.status = 304, .text = "Not Modified"},
    Reason{.status = 400, .text = "Bad Request"},
    Reason{.status = 401, .text = "Unauthorized"},
    Reason{.status = 403, .text = "Forbidden"},
    Reason{.status = 404, .text = "Not Found"},
    Reason{.status = 405, .text = "Method Not Allowed"},
    Reason{.status = 406, .text = "Not Acceptable"},
    Reason{.status = 409, .text = "Conflict"},
    Reason{.status = 412, .text = "Precondition Failed"},
    Reason{.status = 413, .text = "Content Too Large"},
    Reason{.status = 415, .text = "Unsupported Media Type"},
    Reason{.status = 429, .text = "Too Many Requests"},
    Reason{.status = 431, .text = "Request Header Fields Too Large"},
    Reason{.status = 500, .text = "Internal Server Error"},
    Reason{.status = 501, .text = "Not Implemented"},
    Reason{.status = 503, .text = "Service Unavailable"},
    Reason{.status = 504, .text = "Gateway Timeout"},
};

// The text is made once a second.
const std::string& dateText(std::chrono::system_clock::time_point now) {
    static thread_local std::time_t last = 0;
    static thread_local std::string text;
    const std::time_t time = std::chrono::system_clock::to_time_t(now);
    if (time != last || text.empty()) {
        std::tm parts{};
        ::gmtime_r(&time, &parts);
        std::array<char, 64> buffer{};
        const std::size_t size =
            std::strftime(buffer.data(), buffer.size(), "%a, %d %b %Y %H:%M:%S GMT", &parts);
        text.assign(buffer.data(), size);
        last = time;
    }
    return text;
}

} // namespace

std::string_view reasonOf(unsigned int status) {
    for (const Reason& reason : kReasons) {
        if (reason.status == status) {
            return reason.text;
        }
    }
    return "Unknown";
}

void appendHead(std::string& text, const Response& response, bool keepsConnection,
                std::chrono::system_clock::time_point now) {
    text += "HTTP/1.1 ";
    text += std::to_string(response.status);
    text += ' ';
    text += reasonOf(response.status);
    text += "\r\nDate: ";
    text += dateText(now);
    for (const auto& [name, value] : response.headers) {
        text += "\r\n";
        text += name;
        text += ": ";
        text += value;
    }
    if (!response.contentType.empty()) {
        text += "\r\nContent-Type: ";
        text += response.contentType;
    }
    if (!response.feed && response.status != 304 && response.status != 204) {
        text += "\r\nContent-Length: ";
        text += std::to_string(response.body ? response.body->size() : 0);
    }
    text +=
        keepsConnection ? "\r\nConnection: keep-alive\r\n\r\n" : "\r\nConnection: close\r\n\r\n";
}

} // namespace redfish
