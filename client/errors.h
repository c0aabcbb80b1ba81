// Every exception of this library. what() names the server, key or value concerned and what to do
// about it, in one line.
#pragma once

#include <stdexcept>

namespace client {

// The base of all, for callers that treat them alike.
class Error : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// The caller gave an unusable address, name or value, or OSSEL_REDIS_CREDENTIALS names an unusable
// file. Nothing was sent.
class InvalidArgument : public Error {
public:
    using Error::Error;
};

// No connection, a lost one, no reply in time, or one that is not redis's. A command that was sent
// may or may not have been executed.
class StoreUnreachable : public Error {
public:
    using Error::Error;
};

// The store answered a command with an error, such as WRONGTYPE for a key of another kind. The
// command was not executed.
class StoreRefused : public Error {
public:
    using Error::Error;
};

// Something in the store is missing or makes no sense: not provisioned, or written by others.
class StoreContents : public Error {
public:
    using Error::Error;
};

// No provider is registered, or nothing listens on its channel. Nothing will be done.
class NobodyThere : public Error {
public:
    using Error::Error;
};

// The provider accepted the request and did not answer in time. It may still carry it out.
class NoAnswer : public Error {
public:
    using Error::Error;
};

// Another client holds the lease and did not release it in time, or has taken over a lost one.
class LeaseHeld : public Error {
public:
    using Error::Error;
};

// The caller's Stop was requested before or during a wait.
class Stopped : public Error {
public:
    using Error::Error;
};

} // namespace client
