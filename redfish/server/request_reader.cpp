#include "redfish/server/request_reader.h"

#include "redfish/http/target.h"

#include <boost/beast/http/error.hpp>
#include <boost/beast/http/parser.hpp>
#include <boost/beast/http/string_body.hpp>
#include <boost/beast/http/verb.hpp>

namespace redfish {

namespace {

namespace http = boost::beast::http;

constexpr std::size_t kReadBytes = 4096;

Method methodOf(http::verb verb) {
    switch (verb) {
    case http::verb::get:
        return Method::get;
    case http::verb::head:
        return Method::head;
    case http::verb::post:
        return Method::post;
    case http::verb::patch:
        return Method::patch;
    case http::verb::put:
        return Method::put;
    case http::verb::delete_:
        return Method::remove;
    case http::verb::options:
        return Method::options;
    default:
        return Method::other;
    }
}

unsigned int statusOf(const boost::system::error_code& failure) {
    if (failure == http::error::header_limit) {
        return 431;
    }
    return failure == http::error::body_limit ? 413 : 400;
}

std::string_view textOf(boost::beast::string_view text) {
    return {text.data(), text.size()};
}

} // namespace

struct RequestReader::Parser : http::request_parser<http::string_body> {};

RequestReader::RequestReader(ReadBuffer& buffer, std::size_t maxHeaderBytes,
                             std::size_t maxBodyBytes)
    : buffer_(buffer), parser_(std::make_unique<Parser>()), maxHeaderBytes_(maxHeaderBytes) {
    parser_->eager(true);
    parser_->header_limit(static_cast<std::uint32_t>(maxHeaderBytes));
    parser_->body_limit(maxBodyBytes);
}

RequestReader::~RequestReader() = default;

std::span<char> RequestReader::space() {
    const auto free = buffer_.prepare(kReadBytes);
    return {static_cast<char*>(free.data()), free.size()};
}

bool RequestReader::parse() {
    while (buffer_.size() > 0 && !parser_->is_done()) {
        boost::system::error_code failure;
        buffer_.consume(parser_->put(buffer_.cdata(), failure));
        if (failure == http::error::need_more) {
            // An endless header: the parser counts only complete lines.
            if (!parser_->is_header_done() && buffer_.size() > maxHeaderBytes_) {
                failedStatus_ = 431;
                return true;
            }
            return false;
        }
        if (failure) {
            failedStatus_ = statusOf(failure);
            return true;
        }
    }
    if (parser_->is_done()) {
        if (!parseTarget(textOf(parser_->get().target()))) {
            failedStatus_ = 400;
        }
        return true;
    }
    return false;
}

bool RequestReader::wantsContinue() {
    if (hasContinued_ || !parser_->is_header_done()) {
        return false;
    }
    const std::string_view expected = textOf(parser_->get()[http::field::expect]);
    hasContinued_ = true;
    return expected == "100-continue";
}

Request RequestReader::request() const {
    const auto& message = parser_->get();
    std::optional<Target> target = parseTarget(textOf(message.target()));
    Request request;
    request.method = methodOf(message.method());
    request.path = std::move(target->path);
    request.query = std::move(target->query);
    request.body = message.body();
    // One walk over the fields instead of a search for each.
    for (const auto& field : message) {
        const std::string_view value = textOf(field.value());
        switch (field.name()) {
        case http::field::authorization:
            request.authorization = value;
            break;
        case http::field::if_match:
            request.ifMatch = value;
            break;
        case http::field::if_none_match:
            request.ifNoneMatch = value;
            break;
        case http::field::content_type:
            request.contentType = value;
            break;
        case http::field::accept:
            request.accept = value;
            break;
        case http::field::accept_encoding:
            request.acceptEncoding = value;
            break;
        default:
            if (boost::beast::iequals(field.name_string(), "X-Auth-Token")) {
                request.token = value;
            } else if (boost::beast::iequals(field.name_string(), "OData-Version")) {
                request.odataVersion = value;
            } else if (boost::beast::iequals(field.name_string(), "Last-Event-ID")) {
                request.lastEventId = value;
            }
        }
    }
    return request;
}

bool RequestReader::keepsConnection() const {
    return parser_->get().keep_alive();
}

} // namespace redfish
