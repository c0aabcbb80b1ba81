// The contract tests' side of the host platform, with the real thing behind each library.
#include "tests/platform/contract/side.h"

#include "tests/platform/cooling_unit_sim/cooling_unit_process.h"
#include "tests/platform/lcd_panel/x_server.h"
#include "tests/support/redis_server.h"
#include "tests/support/temporary_folder.h"

#include <csignal>
#include <cstdlib>
#include <stdexcept>
#include <unistd.h>

namespace contract {

namespace {

constexpr const char* kAddressVariable = "OSSEL_REDIS";

} // namespace

struct Store::Parts {
    test::RedisServer redis;
};

Store::Store() : parts_(std::make_unique<Parts>()) {
    ::setenv(kAddressVariable, parts_->redis.address().c_str(), 1);
    connection_ = osselRedisConnect();
}

Store::~Store() {
    disconnect();
}

void Store::disconnect() {
    osselRedisDisconnect(connection_);
    connection_ = nullptr;
}

bool Store::isFresh(const std::string& key) {
    return parts_->redis.command({"EXISTS", "TTL:" + key}) == "1";
}

void Store::cacheETag(const std::string& key) {
    parts_->redis.command({"SET", "ETag:" + key, "\"1\""});
}

bool Store::hasCachedETag(const std::string& key) {
    return parts_->redis.command({"EXISTS", "ETag:" + key}) == "1";
}

int Store::events(const std::string& source) {
    return std::stoi(parts_->redis.command({"XLEN", "Events:" + source}));
}

struct SettingsFile::Parts {
    test::TemporaryFolder folder;
};

SettingsFile::SettingsFile()
    : parts_(std::make_unique<Parts>()), path_(parts_->folder.file("webgui.db")) {}

SettingsFile::~SettingsFile() = default;

struct Devices::Parts {
    test::TemporaryFolder backlight;
    test::XServer display;
    test::CoolingUnitProcess unit;
};

Devices::Devices() : parts_(std::make_unique<Parts>()) {
    test::writeFile(parts_->backlight.file("max_brightness"), "255\n");
    test::writeFile(parts_->backlight.file("brightness"), "0\n");
    ::setenv("LCD_BACKLIGHT", parts_->backlight.path().c_str(), 1);
    ::setenv("DISPLAY", parts_->display.display().c_str(), 1);
    ::setenv("COOLING_UNIT", parts_->unit.address().c_str(), 1);
}

Devices::~Devices() {
    for (const char* const variable : {"LCD_BACKLIGHT", "DISPLAY", "COOLING_UNIT"}) {
        ::unsetenv(variable);
    }
}

struct Requester::Parts {
    test::RedisServer redis;
};

Requester::Requester() : parts_(std::make_unique<Parts>()) {
    ::setenv(kAddressVariable, parts_->redis.address().c_str(), 1);
}

Requester::~Requester() = default;

void Requester::request(const RequestTriple& request) {
    const auto& [msgId, reqArg, replyChannel] = request;
    const std::string payload =
        R"([")" + msgId + R"(",")" + reqArg + R"(",")" + replyChannel + R"("])";
    if (parts_->redis.command({"PUBLISH", "Provider", payload}) != "1") {
        throw std::runtime_error("nobody listens on the channel Provider");
    }
}

void Requester::stop() {
    ::kill(::getpid(), SIGTERM);
}

} // namespace contract
