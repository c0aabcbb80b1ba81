// A provider on the plugin host: three workers that answer every request on its reply channel with
// `<kind>:<reqArg>`. Arguments change what a worker or the start does. Each event is one line on
// standard output.
#include "platform/plugin_host.h"

#include <hiredis/hiredis.h>

#include <array>
#include <atomic>
#include <cstdlib>
#include <iostream>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <unistd.h>

namespace {

// How a worker behaves: answer, slow (2 ms per request), return (at once), one (a single
// answer), throw (on its first request), hang (on its first request).
struct Options {
    std::array<std::string, 3> worker{"answer", "answer", "answer"}; // by fnTypes
    std::string callbackId = "type-1";
    bool isRegistering = true;
    bool isAwaitingGo = false; // waits for an element of the list `go` before the wait
    bool isLingering = false;  // waits for an element of the list `end` after the wait
    bool isEarly = false;      // leaves without waiting
    int posts = 0;             // of its own, before the wait
};

// As in the daemon the binding is there before main. NOLINTBEGIN(cert-err58-cpp)
Options options;
ovrBindCAPIToOssel binding;
// NOLINTEND(cert-err58-cpp)
std::atomic<bool> isWaiting = false;
const std::thread::id kMain = std::this_thread::get_id();

void say(const std::string& line) {
    const std::string whole = line + '\n';
    if (::write(STDOUT_FILENO, whole.data(), whole.size()) < 0) {
        std::abort();
    }
}

struct Disconnect {
    void operator()(redisContext* context) const { redisFree(context); }
};
using Redis = std::unique_ptr<redisContext, Disconnect>;

Redis connect() {
    const char* const address = std::getenv("OSSEL_REDIS");
    return Redis(redisConnectUnix(address == nullptr ? "" : address + sizeof "unix:" - 1));
}

void awaitElement(const char* list) {
    const Redis redis = connect();
    freeReplyObject(redisCommand(redis.get(), "BLPOP %s 0", list));
}

void publish(const std::string& channel, const std::string& text) {
    const Redis redis = connect();
    freeReplyObject(redisCommand(redis.get(), "PUBLISH %s %s", channel.c_str(), text.c_str()));
}

// Prints a line when the locals of a worker are destroyed.
struct Guard {
    std::string kind;
    ~Guard() { say("end of " + kind); }
};

void* work(const char* kind, fnTypes function) {
    const std::string behaviour = options.worker.at(function);
    const Guard guard{kind};
    RequestTriple request;
    while (behaviour != "return") {
        binding.ovrThreadInstructionPost(lockTake, &request, function);
        if (behaviour == "throw") {
            throw std::runtime_error("a worker fails");
        }
        while (behaviour == "hang") {
            ::pause();
        }
        if (behaviour == "slow") {
            ::usleep(2000);
        }
        publish(std::get<2>(request), std::string(kind) + ':' + std::get<1>(request));
        if (behaviour == "one") {
            break;
        }
    }
    return nullptr;
}

void* create(std::string name) {
    say("name " + name);
    return work("create", fnCreate);
}
void* read(std::string) {
    return work("read", fnRead);
}
void* update(std::string) {
    return work("update", fnUpdate);
}

void hook(char* msgId, char* reqArg, char* replyChannel) {
    if (!isWaiting) {
        say("hook outside the wait");
    }
    if (std::this_thread::get_id() == kMain) {
        say("hook on the main thread");
    }
    RequestTriple request(msgId, reqArg, replyChannel);
    const std::string id = msgId;
    binding.ovrThreadInstructionPost(lockPost, &request,
                                     id == "00000"   ? fnCreate
                                     : id == "00001" ? fnRead
                                                     : fnUpdate);
}

void readArguments(int count, char** arguments) {
    for (int i = 1; i < count; ++i) {
        const std::string argument = arguments[i];
        const std::size_t equals = argument.find('=');
        const std::string name = argument.substr(0, equals);
        const std::string value =
            equals == std::string::npos ? std::string() : argument.substr(equals + 1);
        if (name == "create") {
            options.worker[fnCreate] = value;
        } else if (name == "read") {
            options.worker[fnRead] = value;
        } else if (name == "update") {
            options.worker[fnUpdate] = value;
        } else if (name == "id") {
            options.callbackId = value;
        } else if (name == "posts") {
            options.posts = std::stoi(value);
        } else {
            options.isRegistering = options.isRegistering && name != "unregistered";
            options.isAwaitingGo = options.isAwaitingGo || name == "go";
            options.isLingering = options.isLingering || name == "linger";
            options.isEarly = options.isEarly || name == "early";
        }
    }
}

} // namespace

int main(int count, char** arguments) {
    readArguments(count, arguments);
    binding.ovrAddRunningThread(create, "Provider");
    binding.ovrAddRunningThread(read, "Provider");
    binding.ovrAddRunningThread(update, "Provider");
    binding.ovrcbIdSet(options.callbackId);
    binding.ovrRedisContextSet(nullptr);
    binding.ovrHookFnSet(hook);
    std::string name = "Provider";
    char* address = name.data();
    if (options.isRegistering) {
        binding.ovrHookFnRedisRegister(&address);
    }
    for (int i = 0; i < options.posts; ++i) {
        RequestTriple request("00001", "own" + std::to_string(i), "replies");
        binding.ovrThreadInstructionPost(lockPost, &request, fnRead);
    }
    say("registered");
    if (options.isAwaitingGo) {
        awaitElement("go");
    }
    if (options.isEarly) {
        std::exit(0);
    }
    isWaiting = true;
    binding.ovrThreadWaitForExit();
    isWaiting = false;
    say("returned");
    if (options.isLingering) {
        awaitElement("end");
    }
    std::exit(0);
}
