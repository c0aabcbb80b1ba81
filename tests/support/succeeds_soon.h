// A call to a device, which has a short time limit of its own: a busy machine may make it fail.
#pragma once

#include "tests/support/wait_until.h"

namespace test {

// Calls until the result is 0. False when it is not within the limit of waitUntil().
template <typename Call>
bool succeedsSoon(Call call) {
    return waitUntil([&call] { return call() == 0; });
}

} // namespace test
