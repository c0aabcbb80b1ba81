// libovrhost.so: the plugin host. It receives the requests that the Redfish side
// publishes, calls the hook for each, and runs the worker threads of the daemon.
#pragma once

#include <string>
#include <tuple>

struct redisContext;

// What a thread wants of ovrThreadInstructionPost.
enum lockType {
    lockTake = 0, // wait for the next request of a kind and take it
    lockPost = 1, // deposit a request for the worker of a kind
};

// The kinds of request; each has a queue of its own, first in, first out.
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

    // Registers a thread. It starts inside ovrThreadWaitForExit and is ended by an
    // exception out of a take: a body is neither noexcept nor has it a catch (...).
    void ovrAddRunningThread(void* (*body)(std::string), std::string name);

    // lockPost copies the request and returns at once; any thread. lockTake waits and fills
    // the request; each post is taken exactly once. A take never returns without one.
    void ovrThreadInstructionPost(lockType lock, RequestTriple* request, fnTypes function);

    // Starts the registered threads and the hook's thread and blocks until an orderly stop
    // (SIGTERM, SIGINT) has let every worker finish what was accepted, or until every
    // worker has ended by itself. Main thread.
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

    // The id under which the provider directory lists this provider.
    void ovrcbIdSet(std::string callbackId);

    // The daemon's connection; borrowed. The host works on one of its own.
    void ovrRedisContextSet(redisContext* context);

    // The function to call for each request, on one thread of the host's own and only
    // inside ovrThreadWaitForExit. Its texts live until it returns.
    void ovrHookFnSet(void (*hook)(char* msgId, char* reqArg, char* replyChannel));

    // Enters the provider directory and subscribes at once to the channel *name: nothing
    // that is published from then on is lost.
    void ovrHookFnRedisRegister(char** name);

private:
    struct Subscription;
    Subscription* subscription_;
};
static_assert(sizeof(ovrBindCAPIToOssel) == 2 * sizeof(void*));

#pragma GCC visibility pop
