// What a contract test needs from the libraries it is linked with: a store, a settings database,
// devices and a source of requests. host_side.cpp brings the host platform with a real redis,
// SQLite file, X server and cooling unit; double_side.cpp brings the doubles.
#pragma once

#include "platform/ossel.h"
#include "platform/plugin_host.h"

#include <memory>
#include <string>

namespace contract {

// An empty object store and one connection to it, open until the end of the test.
class Store {
public:
    Store();
    ~Store();
    Store(const Store&) = delete;
    Store& operator=(const Store&) = delete;

    redisContext* connection() const { return connection_; }
    // Closes it; tests that count connections open their own.
    void disconnect();

    // Whether the instance counts as fresh.
    bool isFresh(const std::string& key);
    // The cached ETag of an instance, which the Redfish side writes.
    void cacheETag(const std::string& key);
    bool hasCachedETag(const std::string& key);
    // Events in the stream of a source.
    int events(const std::string& source);

private:
    struct Parts;
    std::unique_ptr<Parts> parts_;
    redisContext* connection_ = nullptr;
};

// The file of a settings database that does not exist yet.
class SettingsFile {
public:
    SettingsFile();
    ~SettingsFile();
    SettingsFile(const SettingsFile&) = delete;
    SettingsFile& operator=(const SettingsFile&) = delete;

    const std::string& path() const { return path_; }

private:
    struct Parts;
    std::unique_ptr<Parts> parts_;
    std::string path_;
};

// A panel and a cooling unit that work; the unit stands at 1, metric.
class Devices {
public:
    Devices();
    ~Devices();
    Devices(const Devices&) = delete;
    Devices& operator=(const Devices&) = delete;

private:
    struct Parts;
    std::unique_ptr<Parts> parts_;
};

// Sends requests to the provider that this process registers. Made before its binding.
class Requester {
public:
    Requester();
    ~Requester();
    Requester(const Requester&) = delete;
    Requester& operator=(const Requester&) = delete;

    // After the registration, before the wait.
    void request(const RequestTriple& request);

    // Called by a worker inside the wait: asks the host for an orderly stop.
    static void stop();

private:
    struct Parts;
    std::unique_ptr<Parts> parts_;
};

} // namespace contract
