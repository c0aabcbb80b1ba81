#include "client/discovery.h"

#include "client/errors.h"
#include "client/names.h"

#include <algorithm>
#include <charconv>
#include <sstream>

namespace client {

namespace {

constexpr const char* kCollectionField = "instanceCollection";

[[noreturn]] void throwContents(const StoreConnection& store, const std::string& what) {
    throw StoreContents("store " + store.address().text() + ": " + what);
}

std::string titleField() {
    return "title:" + std::string(kSchemaType);
}

Words readMembers(const Place& place) {
    return place.isSet ? Words{"SMEMBERS", place.collection}
                       : Words{"LRANGE", place.collection, "0", "0"};
}

// The first member of a list, the lowest of a set; empty when there are none.
std::string firstOf(const Reply& members) {
    const auto first =
        std::min_element(members.elements.begin(), members.elements.end(),
                         [](const Reply& a, const Reply& b) { return a.text < b.text; });
    return first == members.elements.end() ? std::string{} : first->text;
}

// Completes a place whose schema type is known.
void findInstanceOf(StoreConnection& store, Place& place) {
    const std::optional<std::string> collection =
        store.hashField(place.schemaType, kCollectionField);
    if (!collection || collection->empty()) {
        throwContents(store, "the schema type \"" + place.schemaType + "\" has no field \"" +
                                 kCollectionField + "\"; run orvanectl provision");
    }
    place.collection = *collection;
    const std::string kind = store.command({"TYPE", place.collection}).text;
    if (kind != "list" && kind != "set" && kind != "none") {
        throwContents(store, "the instance collection \"" + place.collection + "\" is a " + kind +
                                 ", neither list nor set; delete the key and restart the provider");
    }
    place.isSet = kind == "set";
    place.instance = firstOf(store.command(readMembers(place)));
    if (place.instance.empty()) {
        throwContents(store, "the instance collection \"" + place.collection +
                                 "\" has no members; start the provider");
    }
}

std::string providerOf(StoreConnection& store, const std::string& schemaType) {
    const std::optional<std::string> channel = store.hashField(kProviderDirectory, schemaType);
    if (!channel || channel->empty()) {
        throw NobodyThere("store " + store.address().text() + ": no provider of \"" + schemaType +
                          "\" is registered in the hash \"" + kProviderDirectory +
                          "\"; start the provider");
    }
    return *channel;
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
    const std::string field = titleField();
    const std::optional<std::string> id = store.hashField(kSchemaRegistry, field);
    if (!id || id->empty()) {
        throwContents(store, "the hash \"" + std::string(kSchemaRegistry) + "\" has no field \"" +
                                 field +
                                 "\": the schema is not provisioned; run orvanectl provision");
    }
    return *id;
}

std::string findProvider(StoreConnection& store) {
    return providerOf(store, findSchemaType(store));
}

std::string findInstance(StoreConnection& store) {
    Place place;
    place.schemaType = findSchemaType(store);
    findInstanceOf(store, place);
    return place.instance;
}

Place findPlace(StoreConnection& store) {
    Place place;
    place.schemaType = findSchemaType(store);
    place.channel = providerOf(store, place.schemaType);
    findInstanceOf(store, place);
    return place;
}

std::vector<Words> lookAgain(const Place& place) {
    return {{"HGET", kSchemaRegistry, titleField()},
            {"HGET", kProviderDirectory, place.schemaType},
            {"HGET", place.schemaType, kCollectionField},
            readMembers(place)};
}

bool isStill(const Place& place, std::span<const Reply> replies) {
    return replies[0].text == place.schemaType && replies[1].text == place.channel &&
           replies[2].text == place.collection && firstOf(replies[3]) == place.instance;
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
