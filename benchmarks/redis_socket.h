// A connection to redis that costs as little as possible: commands are appended to one buffer as
// ready bytes and sent together; replies are looked at where they were received.
#pragma once

#include <cstddef>
#include <initializer_list>
#include <string>
#include <string_view>
#include <vector>

namespace bench {

// The bytes of one command as they go over the wire.
std::string commandBytes(std::initializer_list<std::string_view> words);

// One reply. The texts are borrowed from the connection, until it receives again.
struct Reply {
    char kind = '\0';                    // ':' integer, '+' status, '-' error, '$' text, '*' array
    long long integer = 0;               // of an integer
    std::vector<std::string_view> texts; // one, or those of the array; integers in it are empty
};

// Errors are std::runtime_error and std::system_error; the connection is of no use then.
class RedisSocket {
public:
    explicit RedisSocket(const std::string& path);
    ~RedisSocket();
    RedisSocket(const RedisSocket&) = delete;
    RedisSocket& operator=(const RedisSocket&) = delete;

    int descriptor() const { return descriptor_; }

    void append(std::string_view bytes) { unsent_ += bytes; }
    // Sends all that was appended.
    void flush();

    // Receives what is there; blocks while nothing is.
    void receive();
    // Takes the next whole reply of what was received. False: there is none.
    bool next(Reply& reply);

    // Appends, sends and waits for the one reply; for what is not measured.
    const Reply& ask(std::initializer_list<std::string_view> words);

private:
    bool parse(Reply& reply);
    bool line(std::string_view& text);
    bool element(Reply& reply);

    int descriptor_ = -1;
    std::string unsent_;
    std::vector<char> received_;
    std::size_t end_ = 0; // of what was received
    std::size_t at_ = 0;  // of what was taken
    Reply asked_;
};

} // namespace bench
