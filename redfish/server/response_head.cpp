#include "redfish/server/response_head.h"

#include <array>
#include <boost/beast/http/status.hpp>
#include <ctime>

namespace redfish {

namespace {

namespace http = boost::beast::http;

// Formats the time once a second.
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
    const boost::beast::string_view reason = http::obsolete_reason(http::int_to_status(status));
    return {reason.data(), reason.size()};
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
