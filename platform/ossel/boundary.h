// The edge between the C functions and the C++ below them: null arguments and exceptions end here.
#pragma once

#include <exception>

namespace ossel {

constexpr int kSuccess = 0;
constexpr int kFailure = 1;

// Returns the body's result, or `failure` when it throws, as for lack of memory: the caller of a C
// function never sees an exception.
template <typename Result, typename Body>
Result atBoundary(Result failure, Body body) noexcept {
    try {
        return body();
    } catch (const std::exception&) {
        return failure;
    }
}

// The result code of a body that returns true on success.
template <typename Body>
int resultCode(Body body) noexcept {
    return atBoundary(kFailure, [&body] { return body() ? kSuccess : kFailure; });
}

template <typename... Pointers>
bool anyNull(const Pointers*... pointers) {
    return (... || (pointers == nullptr));
}

} // namespace ossel
