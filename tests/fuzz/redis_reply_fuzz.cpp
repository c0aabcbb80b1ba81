// Replies of redis: whatever a server answers, each call of the object-store client keeps its
// contract, and the next honest answer is understood.
//
// An input is a sequence of at most 8 steps on one connection, separated by '~'. A step is a
// letter for the call (osselCalls in ossel_calls.cpp, from 'a'; '@' is osselRedisConnect), a letter
// for the manner (' ' plain, 'c' hangs up afterwards, 'p' in two pieces), and the server's bytes,
// escaped as in fuzz.h.
#include "platform/ossel.h"
#include "tests/fuzz/fuzz.h"
#include "tests/fuzz/ossel_calls.h"
#include "tests/fuzz/reply_server.h"

#include <algorithm>
#include <cstdlib>
#include <iostream>
#include <memory>

namespace {

using fuzz::require;

constexpr std::size_t kMaxSteps = 8;

struct Disconnect {
    void operator()(redisContext* context) const noexcept { osselRedisDisconnect(context); }
};
using Connection = std::unique_ptr<redisContext, Disconnect>;

fuzz::ReplyServer& server() {
    static fuzz::ReplyServer server;
    return server;
}

Connection connect() {
    ::setenv("OSSEL_REDIS", server().address().c_str(), 1);
    return Connection(osselRedisConnect());
}

void runStep(std::string_view step, redisContext* context) {
    const std::string_view bytes = step.size() > 2 ? step.substr(2) : std::string_view();
    const char manner = step.size() > 1 ? step[1] : ' ';
    const bool connects = step.starts_with('@');
    server().answer({fuzz::unescaped(bytes), manner == 'c', manner == 'p', connects});
    if (connects) {
        const Connection another(osselRedisConnect());
        return;
    }
    const auto calls = fuzz::osselCalls();
    const auto letter = static_cast<unsigned char>(step.empty() ? 'a' : step.front());
    calls[(letter - std::size_t{'a'}) % calls.size()](context);
}

// A call that may be repeated works as soon as the server does.
void requireHonestAnswer(redisContext* context) {
    server().answer({"$6\r\nhonest\r\n"});
    std::string value(256, '\0');
    require(osselGetHashField(context, "key", "field", value.data()) == 0,
            "the call after a bad answer works");
    require(value.starts_with(std::string_view("honest\0", 7)), "it gets its own answer", value);
}

// One line whatever the server sent: no control character but the tab, which log lines keep.
bool isErrorLine(const std::string& line) {
    return line.starts_with("ossel: ") && line.ends_with('\n') &&
           std::ranges::none_of(line.substr(0, line.size() - 1), [](char letter) {
               return (static_cast<unsigned char>(letter) < 0x20 && letter != '\t') ||
                      letter == '\x7f';
           });
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const fuzz::Capture output(std::cout);
    fuzz::Capture errors(std::cerr);
    server().answer({});
    const Connection context = connect();
    require(context != nullptr, "an honest server is connected to");
    const auto steps = fuzz::split(fuzz::asText(data, size), '~');
    for (std::size_t i = 0; i < std::min(steps.size(), kMaxSteps); ++i) {
        runStep(steps[i], context.get());
    }
    requireHonestAnswer(context.get());
    for (const std::string& line : errors.taken()) {
        require(isErrorLine(line), "a complaint is one line", line);
    }
    return 0;
}
