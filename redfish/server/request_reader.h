// Reads one request out of the bytes of a connection, within limits. Beast's parser does the
// reading; it is included by the .cpp only.
#pragma once

#include "redfish/http/message.h"

#include <cstddef>
#include <memory>
#include <span>
#include <vector>

namespace redfish {

// Bytes that have come and are not yet read as a request; kept from one request to the next.
class ReadBuffer {
public:
    bool empty() const { return begin_ == end_; }
    std::span<const char> data() const { return {bytes_.data() + begin_, end_ - begin_}; }
    void consume(std::size_t count);
    // Room for at least a few more; to be followed by commit().
    std::span<char> space();
    void commit(std::size_t count) { end_ += count; }

private:
    std::vector<char> bytes_;
    std::size_t begin_ = 0;
    std::size_t end_ = 0;
};

class RequestReader {
public:
    // `buffer` is borrowed.
    RequestReader(ReadBuffer& buffer, std::size_t mostHeaderBytes, std::size_t mostBodyBytes);
    ~RequestReader();
    RequestReader(const RequestReader&) = delete;
    RequestReader& operator=(const RequestReader&) = delete;

    // Where the next bytes of the connection go; add() tells how many have come.
    std::span<char> space() { return buffer_.space(); }
    void add(std::size_t count) { buffer_.commit(count); }

    // True when the request is complete, or cannot become one: see failedStatus().
    bool parse();
    // 0, or the status with which the request is refused.
    unsigned int failedStatus() const { return failedStatus_; }

    // True once: the other side waits for a sign before it sends the content.
    bool wantsContinue();

    // Of a complete request; its texts live as long as the reader.
    Request request() const;
    bool keepsConnection() const;

private:
    struct Parser;

    ReadBuffer& buffer_;
    std::unique_ptr<Parser> parser_;
    std::size_t mostHeaderBytes_;
    unsigned int failedStatus_ = 0;
    bool hasContinued_ = false;
};

} // namespace redfish
