// libovrhost.so: the plugin host. It receives the requests that the Redfish side publishes, calls
// the hook for each, and runs the daemon's worker threads.
#pragma once

#include <string>
#include <tuple>

struct redisContext;

// What ovrThreadInstructionPost is to do.
enum lockType {
    lockTake = 0, // wait for the next request of a kind and take it
    lockPost = 1, // queue a request for the worker of a kind
};

// The kinds of request. Each has its own queue, first in, first out.
enum fnTypes {
    fnCreate = 0,
    fnRead = 1,
    fnUpdate = 2,
};
static_assert(sizeof(lockType) == 4 && sizeof(fnTypes) == 4);

// msgId, reqArg, replyChannel.
using RequestTriple = std::tuple<std::string, std::string, std::string>;

#pragma GCC visibility push(default)

// Runs the worker threads and hands requests to them.
class ovrComSupport {
public:
    ovrComSupport();
    ~ovrComSupport();
    ovrComSupport(const ovrComSupport&) = delete;
    ovrComSupport& operator=(const ovrComSupport&) = delete;

    // Registers a thread. It starts inside ovrThreadWaitForExit, and an exception out of a take
    // ends it: a body must not be noexcept or contain a catch (...).
    void ovrAddRunningThread(void* (*body)(std::string), std::string name);

    // lockPost copies the request and returns at once; any thread. lockTake waits for a request and
    // fills it in; it never returns without one. Each post is taken exactly once.
    void ovrThreadInstructionPost(lockType lock, RequestTriple* request, fnTypes function);

    // Starts the registered threads and the hook's thread. Blocks until, after SIGTERM or SIGINT,
    // the workers have finished what was accepted, or until every worker has ended by itself. Main
    // thread.
    void ovrThreadWaitForExit();

private:
    friend class ovrBindCAPIToOssel;
    struct Threads;
    Threads* threads_;
};
static_assert(sizeof(ovrComSupport) == sizeof(void*), "no virtual function, no other member");

// Binds the process to the object store: callback id, connection, hook function.
// All members are called by the main thread.
class ovrBindCAPIToOssel : public ovrComSupport {
public:
    ovrBindCAPIToOssel();
    ~ovrBindCAPIToOssel();
    ovrBindCAPIToOssel(const ovrBindCAPIToOssel&) = delete;
    ovrBindCAPIToOssel& operator=(const ovrBindCAPIToOssel&) = delete;

    // Sets the id under which the provider directory lists this provider.
    void ovrcbIdSet(std::string callbackId);

    // Sets the daemon's connection, borrowed. The host uses a connection of its own.
    void ovrRedisContextSet(redisContext* context);

    // Sets the function to call for each request, on a thread of the host's and only inside
    // ovrThreadWaitForExit. The texts live until it returns.
    void ovrHookFnSet(void (*hook)(char* msgId, char* reqArg, char* replyChannel));

    // Enters the provider in the directory and subscribes at once to the channel *name, so that
    // nothing published from then on is lost. `name` is borrowed and must outlive
    // ovrThreadWaitForExit.
    void ovrHookFnRedisRegister(char** name);

private:
    struct Subscription;
    Subscription* subscription_;
};
static_assert(sizeof(ovrBindCAPIToOssel) == 2 * sizeof(void*));

#pragma GCC visibility pop
