// A redis of the test's own with one connection of the library to it.
#pragma once

#include "platform/ossel.h"
#include "tests/support/redis_server.h"
#include "text.h"

#include <cstdlib>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <vector>

namespace test {

struct DisconnectOssel {
    void operator()(redisContext* context) const { osselRedisDisconnect(context); }
};
using OsselConnection = std::unique_ptr<redisContext, DisconnectOssel>;

inline OsselConnection connectTo(const std::string& address) {
    ::setenv("OSSEL_REDIS", address.c_str(), 1);
    return OsselConnection(osselRedisConnect());
}

// What the body writes to standard error.
template <typename Body>
std::string errorsOf(Body body) {
    testing::internal::CaptureStderr();
    body();
    return testing::internal::GetCapturedStderr();
}

inline FieldValuePair field(const std::string& name, const std::string& value) {
    FieldValuePair pair{};
    copyBounded(pair.name, name);
    copyBounded(pair.value, value);
    return pair;
}

// Slots as the callers hand them over, one after the other.
class Slots {
public:
    explicit Slots(const std::vector<std::string>& texts) : count_(texts.size()) {
        memory_ = std::make_unique<InstanceSlot[]>(count_);
        for (std::size_t i = 0; i < count_; ++i) {
            copyBounded(memory_[i], texts[i]);
        }
    }
    InstanceSlot* data() { return memory_.get(); }
    unsigned int count() const { return static_cast<unsigned int>(count_); }

private:
    std::size_t count_;
    std::unique_ptr<InstanceSlot[]> memory_;
};

class StoreTest : public testing::Test {
protected:
    StoreTest() : context(connectTo(redis.address())) {}
    void SetUp() override { ASSERT_NE(context, nullptr); }

    RedisServer redis;
    OsselConnection context;
};

} // namespace test
