// A reply of the store as a value.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace redis {

struct Reply {
    enum class Kind : std::uint8_t { none, nil, integer, text, status, error, list };

    Kind kind = Kind::none;
    long long integer = 0;
    std::string text; // of a text, a status or an error; any bytes
    std::vector<Reply> elements;

    // False: there is no reply.
    explicit operator bool() const { return kind != Kind::none; }
    bool isNil() const { return kind == Kind::nil; }
    bool isError() const { return kind == Kind::error; }
};

} // namespace redis
