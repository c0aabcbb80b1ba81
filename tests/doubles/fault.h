// How one call of a device library or of the C library fails, and the record of one call. Which
// function may fail in which way is left to those who ask for it.
#pragma once

#include <string>

namespace doubles {

enum class Shape {
    kNone,       // it does not fail
    kRefused,    // no effect: the code, a null pointer, false; in the C library `errno` is the code
    kEmptyText,  // done, with an empty text or an empty file
    kEmptyArray, // done, with memory for an array and a count of 0
    kNullArray,  // done, with a null array
    kTwoRows,    // done, with one row more than there is
    kNotReady,   // done, with a handle that is not ready
    kLevelOne,   // the code, with the schema level 1 left in the handle
    kLevelTwo,   // the code, with the schema level 2 left in the handle
    kUnreadable, // done, with a file whose reads fail
    kNoMessage,  // the code, without a message
    kAfterRows,  // the code, after the rows were delivered
};

struct Fault {
    Shape shape = Shape::kNone;
    int code = 0;

    explicit operator bool() const { return shape != Shape::kNone; }
    bool operator==(const Fault&) const = default;
};

// One recorded call. `fault` is also set where the call failed by itself, as a look-up of what is
// not there does.
struct RecordedCall {
    std::string function;
    std::string text;     // as calls() shows it
    bool canFail = false; // counted by failCall and failAnyNth
    Fault fault;
};

} // namespace doubles
