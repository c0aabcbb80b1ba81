// Running a part of a test where it may mount file systems, or be another user, without any
// trace outside.
#pragma once

#include <functional>
#include <gtest/gtest.h>
#include <string>

namespace test {

enum class ChildEnd { passed, failed, refused };

// Runs `body` in a child process with mounts of its own. passed: no expectation failed in it;
// refused: this machine does not let us.
ChildEnd inMountNamespace(const std::function<void()>& body);

// Runs `body` in a child process as a user whom permission bits bind.
ChildEnd asOrdinaryUser(const std::function<void()>& body);

// For a body in a mount namespace; they throw where the system refuses.
void mountTmpfs(const std::string& folder, const std::string& options);
void makeReadOnly(const std::string& folder);
// Writes a file until its file system is full.
void fillUp(const std::string& file);

} // namespace test

// What a test does with the end of such a child.
#define EXPECT_PASSED(end)                                                                         \
    switch (end) {                                                                                 \
    case ::test::ChildEnd::refused:                                                                \
        GTEST_SKIP() << "this machine allows no mounts of our own";                                \
    case ::test::ChildEnd::failed:                                                                 \
        FAIL() << "see the expectations above";                                                    \
    case ::test::ChildEnd::passed:                                                                 \
        break;                                                                                     \
    }
