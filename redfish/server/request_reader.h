// Reads one request from the bytes of a connection, within limits. Beast's parser does the work;
// it is included by the .cpp alone. Thread of the loop only.
#pragma once

#include "redfish/http/message.h"

#include <boost/beast/core/flat_buffer.hpp>
#include <cstddef>
#include <memory>
#include <span>

namespace redfish {

// Bytes of a connection that no request has consumed yet; kept from one request to the next.
using ReadBuffer = boost::beast::flat_buffer;

// One request: feed bytes with space() and add() until parse() returns true, then take
// failedStatus() or request().
class RequestReader {
public:
    // Starts with what `buffer` holds. Borrows `buffer`, which must outlive the reader and keeps
    // the bytes of the next request. The limits are in bytes.
    RequestReader(ReadBuffer& buffer, std::size_t maxHeaderBytes, std::size_t maxBodyBytes);
    ~RequestReader();
    RequestReader(const RequestReader&) = delete;
    RequestReader& operator=(const RequestReader&) = delete;

    // Room for the next bytes of the connection; never empty. Valid until the next call.
    std::span<char> space();
    // Takes over the first `count` bytes that were written to space().
    void add(std::size_t count) { buffer_.commit(count); }

    // Parses what has arrived. True once the request is complete or has failed.
    bool parse();
    // The status to refuse the request with: 400, 413 or 431; 0 for a good request.
    unsigned int failedStatus() const { return failedStatus_; }

    // True once, if the client waits for "100 Continue" before it sends the body.
    bool wantsContinue();

    // The complete request. Its views borrow from the reader.
    Request request() const;
    // Whether the client lets the connection live on after the response.
    bool keepsConnection() const;

private:
    // Beast's parser, kept out of this header.
    struct Parser;

    ReadBuffer& buffer_;
    std::unique_ptr<Parser> parser_;
    std::size_t maxHeaderBytes_;
    unsigned int failedStatus_ = 0;
    bool hasContinued_ = false;
};

} // namespace redfish
