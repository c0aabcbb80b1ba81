// Walks from the schema registry to the provider's channel and to the instance.
// Requests are left to client/requester.cpp, the schema's making to client/provisioning.cpp.
#include "client/discovery.h"

#include "client/errors.h"
#include "client/names.h"

#include <algorithm>
#include <charconv>
#include <sstream>

namespace client {

namespace {

[[noreturn]] void throwContents(const StoreConnection& store, const std::string& what) {
    throw StoreContents("store " + store.address().text() + ": " + what);
}

// The members of a list or set, in the order of the list or sorted.
std::vector<std::string> membersOf(StoreConnection& store, const std::string& key) {
    const std::string kind = store.command({"TYPE", key}).text;
    if (kind != "list" && kind != "set" && kind != "none") {
        throwContents(store, "the instance collection \"" + key + "\" is a " + kind +
                                 ", neither list nor set; delete the key and restart the provider");
    }
    const Reply reply = kind == "set" ? store.command({"SMEMBERS", key})
                                      : store.command({"LRANGE", key, "0", "-1"});
    std::vector<std::string> members;
    for (const Reply& element : reply.elements) {
        members.push_back(element.text);
    }
    if (kind == "set") {
        std::sort(members.begin(), members.end());
    }
    return members;
}

// The value behind "name=" in a line of CLIENT LIST.
std::string valueIn(const std::string& line, const std::string& name) {
    std::istringstream words(line);
    for (std::string word; words >> word;) {
        if (word.starts_with(name + "=")) {
            return word.substr(name.size() + 1);
        }
    }
    return {};
}

} // namespace

std::string findSchemaType(StoreConnection& store) {
    const std::string field = "title:" + std::string(kSchemaType);
    const std::optional<std::string> id = store.hashField(kSchemaRegistry, field);
    if (!id || id->empty()) {
        throwContents(store, "the hash \"" + std::string(kSchemaRegistry) + "\" has no field \"" +
                                 field +
                                 "\": the schema is not provisioned; run orvanectl provision");
    }
    return *id;
}

std::string findProvider(StoreConnection& store) {
    const std::string id = findSchemaType(store);
    const std::optional<std::string> channel = store.hashField(kProviderDirectory, id);
    if (!channel || channel->empty()) {
        throw NobodyThere("store " + store.address().text() + ": no provider of \"" + id +
                          "\" is registered in the hash \"" + kProviderDirectory +
                          "\"; start the provider");
    }
    return *channel;
}

std::string findInstance(StoreConnection& store) {
    const std::string id = findSchemaType(store);
    const std::optional<std::string> collection = store.hashField(id, "instanceCollection");
    if (!collection || collection->empty()) {
        throwContents(store, "the schema type \"" + id +
                                 "\" has no field \"instanceCollection\"; run orvanectl provision");
    }
    const std::vector<std::string> members = membersOf(store, *collection);
    if (members.empty() || members.front().empty()) {
        throwContents(store, "the instance collection \"" + *collection +
                                 "\" has no members; start the provider");
    }
    return members.front();
}

long long countListeners(StoreConnection& store, const std::string& channel) {
    const Reply reply = store.command({"PUBSUB", "NUMSUB", channel});
    return reply.elements.size() == 2 ? reply.elements[1].integer : 0;
}

std::optional<std::chrono::seconds> listeningFor(StoreConnection& store,
                                                 const std::string& channel) {
    std::istringstream lines(store.command({"CLIENT", "LIST", "TYPE", "pubsub"}).text);
    std::optional<std::chrono::seconds> longest;
    for (std::string line; std::getline(lines, line);) {
        if (valueIn(line, "name") != channel) {
            continue;
        }
        const std::string text = valueIn(line, "age");
        long long age = 0;
        std::from_chars(text.data(), text.data() + text.size(), age);
        longest = std::max(longest.value_or(std::chrono::seconds(0)), std::chrono::seconds(age));
    }
    return longest;
}

} // namespace client
