// The edge between the C functions and the C++ below them: null arguments and exceptions end
// here, in one place. What a call does is left to the body that is passed in.
#pragma once

#include <exception>

namespace ossel {

constexpr int kSuccess = 0;
constexpr int kFailure = 1;

// Runs the body and gives its result; `failure` when it throws, as for lack of memory. The
// caller of a C function never sees an exception.
template <typename Result, typename Body>
Result atBoundary(Result failure, Body body) noexcept {
    try {
        return body();
    } catch (const std::exception&) {
        return failure;
    }
}

// The result code of a body that tells with true that it succeeded.
template <typename Body>
int resultCode(Body body) noexcept {
    return atBoundary(kFailure, [&body] { return body() ? kSuccess : kFailure; });
}

template <typename... Pointers>
bool anyNull(const Pointers*... pointers) {
    return (... || (pointers == nullptr));
}

} // namespace ossel
