// What can go wrong on the way to an answer. Everything that this library throws is one of
// these; each text names the server, key or value concerned and what to do.
#pragma once

#include <stdexcept>

namespace client {

class Error : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// What the caller gave is not usable: an address, a name, a value. Nothing was sent.
class InvalidArgument : public Error {
public:
    using Error::Error;
};

// No connection, a lost one, or no reply to a command in time.
class StoreUnreachable : public Error {
public:
    using Error::Error;
};

// The store answered a command with an error, for instance on a key of another kind.
class StoreRefused : public Error {
public:
    using Error::Error;
};

// Something that should be in the store is missing or makes no sense.
class StoreContents : public Error {
public:
    using Error::Error;
};

// No provider is registered, or nobody listens where it should.
class NobodyThere : public Error {
public:
    using Error::Error;
};

// The provider took the request and did not answer in time.
class NoAnswer : public Error {
public:
    using Error::Error;
};

// Another client holds the lease and did not give it up in time.
class LeaseHeld : public Error {
public:
    using Error::Error;
};

// The caller's Stop was requested during a wait.
class Stopped : public Error {
public:
    using Error::Error;
};

} // namespace client
