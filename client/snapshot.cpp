// The instance refers to a hash of its actions, and that one to a hash for each. Their keys last as
// long as the provider runs, so that they are remembered and all hashes read at once.
#include "client/snapshot.h"

#include "client/names.h"

#include <algorithm>

namespace client {

namespace {

// What PTTL says of a missing key.
constexpr long long kMissing = -2;

// The replies to `commands`, in their order.
enum Position : std::size_t { kMarkAt, kInstanceAt, kActionsAt, kTurnOffLcdAt, kGuiReadyAt };

std::string fieldOf(const HashFields& fields, const std::string& name) {
    const auto found = fields.find(name);
    return found == fields.end() ? std::string{} : found->second;
}

HashFields hashAt(StoreConnection& store, const std::string& key) {
    return key.empty() ? HashFields{} : store.hash(key);
}

} // namespace

// The mark comes first, so that the fields are never older than the time left implies.
std::vector<Words> SnapshotReader::commands(const std::string& instance) const {
    std::vector<Words> commands{{"PTTL", freshnessKey(instance)}, {"HGETALL", instance}};
    if (!actions_.empty()) {
        for (const std::string* const key : {&actions_, &turnOffLcd_, &guiReady_}) {
            commands.push_back({"HGETALL", *key});
        }
    }
    return commands;
}

// A mark without an end counts as one that ends now.
Snapshot SnapshotReader::take(StoreConnection& store, const std::string& instance,
                              std::span<const Reply> replies) {
    const long long left = replies[kMarkAt].integer;
    Snapshot snapshot;
    snapshot.instance = instance;
    snapshot.fields = hashIn(replies[kInstanceAt]);
    snapshot.freshFor = std::chrono::milliseconds(std::max(0LL, left));
    snapshot.isFresh = replies[kMarkAt].kind == Reply::Kind::integer && left != kMissing &&
                       !snapshot.fields.empty();
    if (scope_ == Scope::settingsAndActions) {
        takeActions(store, snapshot, replies);
    }
    return snapshot;
}

void SnapshotReader::takeActions(StoreConnection& store, Snapshot& snapshot,
                                 std::span<const Reply> replies) {
    const std::string actions = fieldOf(snapshot.fields, "Actions");
    if (!actions.empty() && actions == actions_ && replies.size() > kGuiReadyAt) {
        const HashFields keys = hashIn(replies[kActionsAt]);
        if (fieldOf(keys, kTurnOffLcdField) == turnOffLcd_ &&
            fieldOf(keys, kGuiReadyField) == guiReady_) {
            snapshot.turnOffLcd = hashIn(replies[kTurnOffLcdAt]);
            snapshot.guiReady = hashIn(replies[kGuiReadyAt]);
            return;
        }
    }
    const HashFields keys = hashAt(store, actions);
    const std::string turnOffLcd = fieldOf(keys, kTurnOffLcdField);
    const std::string guiReady = fieldOf(keys, kGuiReadyField);
    snapshot.turnOffLcd = hashAt(store, turnOffLcd);
    snapshot.guiReady = hashAt(store, guiReady);
    const bool isComplete = !turnOffLcd.empty() && !guiReady.empty();
    actions_ = isComplete ? actions : std::string{};
    turnOffLcd_ = turnOffLcd;
    guiReady_ = guiReady;
}

} // namespace client
