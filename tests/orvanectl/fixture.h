// What the tests of orvanectl share: a store of their own, and running the program on it.
#pragma once

#include "tests/client/stand_in_provider.h"
#include "tests/support/child_process.h"
#include "tests/support/wait_until.h"

#include <algorithm>
#include <gmock/gmock.h>
#include <nlohmann/json.hpp>
#include <sstream>

namespace test {

class OrvanectlTest : public testing::Test {
protected:
    static std::vector<std::string> words(const std::vector<std::string>& arguments) {
        std::vector<std::string> all{ORVANECTL};
        all.insert(all.end(), arguments.begin(), arguments.end());
        return all;
    }

    std::map<std::string, std::string> environment() const {
        return {{"OSSEL_REDIS", server.address()}};
    }

    Finished orvanectl(const std::vector<std::string>& arguments) const {
        return run(words(arguments), environment());
    }

    // All keys, sorted.
    std::vector<std::string> keys() {
        std::istringstream text(server.command({"KEYS", "*"}));
        std::vector<std::string> result;
        for (std::string key; text >> key;) {
            result.push_back(key);
        }
        std::sort(result.begin(), result.end());
        return result;
    }

    // Keys whose name begins so; none has a blank in it.
    std::string keysLike(const std::string& begin) { return server.command({"KEYS", begin + "*"}); }

    std::string field(const std::string& name) {
        return server.command({"HGET", StandInProvider::kInstance, name});
    }

    RedisServer server;
};

// With a provider that answers.
class WithProvider : public OrvanectlTest {
protected:
    StandInProvider provider{server};
};

} // namespace test
