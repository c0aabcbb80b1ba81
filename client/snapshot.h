// The stored instance as it stood at one moment, read in one round trip.
#pragma once

#include "client/connection.h"

namespace client {

using HashFields = std::map<std::string, std::string>;

struct Snapshot {
    std::string instance; // its key
    HashFields fields;
    // What the store keeps of the actions; empty unless the reader was made for them.
    HashFields turnOffLcd;
    HashFields guiReady;
    std::chrono::milliseconds freshFor{}; // from that moment on it may be served as it stands
    bool isFresh = false;                 // and the instance is there
};

// What a reading is about.
enum class Scope { settings, settingsAndActions };

// Not for two threads at once.
class SnapshotReader {
public:
    explicit SnapshotReader(Scope scope) : scope_(scope) {}

    // Commands that only read, to be sent in one go, alone or with others.
    std::vector<Words> commands(const std::string& instance) const;

    // What the replies to them say. The keys of the actions are those of the last reading; where
    // they have changed, the actions are read anew: `store` is used for that alone.
    // Throws as StoreConnection.
    Snapshot take(StoreConnection& store, const std::string& instance,
                  std::span<const Reply> replies);

private:
    void takeActions(StoreConnection& store, Snapshot& snapshot, std::span<const Reply> replies);

    Scope scope_;
    // Keys, as last read; empty: not known.
    std::string actions_;
    std::string turnOffLcd_;
    std::string guiReady_;
};

} // namespace client
