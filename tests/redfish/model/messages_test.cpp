#include "redfish/model/messages.h"

#include <gmock/gmock.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <regex>
#include <set>

namespace {

using namespace redfish::model;

TEST(Messages, HaveNamesOfTheirOwn) {
    std::set<std::string_view> names;
    for (const MessageEntry& entry : messages()) {
        EXPECT_TRUE(names.insert(entry.name).second) << entry.name;
        EXPECT_TRUE(std::regex_match(std::string(entry.name), std::regex("[A-Z][A-Za-z0-9]+")))
            << entry.name;
        EXPECT_EQ(&entryOf(entry.message), &entry);
    }
}

TEST(Messages, AreComplete) {
    for (const MessageEntry& entry : messages()) {
        EXPECT_FALSE(entry.text.empty()) << entry.name;
        EXPECT_TRUE(entry.resolution.ends_with(".")) << entry.name;
        EXPECT_TRUE(entry.description.ends_with(".")) << entry.name;
        EXPECT_GE(entry.status, 200) << entry.name;
        EXPECT_LT(entry.status, 600) << entry.name;
        EXPECT_EQ(entry.severity == "OK", entry.status < 300) << entry.name;
    }
}

// Except for the provider's event, whose text does not show its argument.
TEST(Messages, ShowEachOfTheirArgumentsAndNoOther) {
    for (const MessageEntry& entry : messages()) {
        if (entry.message == Message::resourceUpdated) {
            continue;
        }
        for (std::size_t i = 1; i <= 9; ++i) {
            EXPECT_EQ(entry.text.find("%" + std::to_string(i)) != std::string_view::npos,
                      i <= entry.arguments.size())
                << entry.name << " %" << i;
        }
    }
}

TEST(Messages, AreFoundByNameAndById) {
    EXPECT_EQ(findMessage("Success"), &entryOf(Message::success));
    EXPECT_EQ(findMessage("Orvane.1.0.Msg000"), &entryOf(Message::resourceUpdated));
    EXPECT_EQ(findMessage("Other.1.0.Success"), nullptr);
    EXPECT_EQ(findMessage("success"), nullptr);
    EXPECT_EQ(findMessage(""), nullptr);
}

TEST(Messages, HaveIdsOfRegistryVersionAndName) {
    EXPECT_EQ(messageId(Message::malformedJson), "Orvane.1.0.MalformedJSON");
}

TEST(TextOf, PutsArgumentsInTheirPlaces) {
    EXPECT_EQ(
        textOf(Message::propertyValueNotInList, std::vector<std::string>{"\"blue\"", "Theme"}),
        "The value \"blue\" is not allowed for the property Theme.");
}

TEST(TextOf, TakesAnArgumentAsItIs) {
    EXPECT_EQ(textOf(Message::propertyUnknown, std::vector<std::string>{"%1%2"}),
              "The resource has no property %1%2.");
}

TEST(TextOf, KeepsThePlaceholderOfAMissingArgument) {
    EXPECT_EQ(textOf(Message::propertyUnknown, {}), "The resource has no property %1.");
}

TEST(MessageRegistry, HoldsEveryMessage) {
    const Json registry = messageRegistry();
    EXPECT_EQ(registry["Messages"].size(), messages().size());
    const Json& entry = registry["Messages"]["PasswordLength"];
    EXPECT_EQ(entry["NumberOfArgs"], 2);
    EXPECT_EQ(entry["ParamTypes"], Json::array({"number", "number"}));
    EXPECT_EQ(entry["ArgDescriptions"].size(), 2U);
    EXPECT_EQ(entry["MessageSeverity"], "Warning");
    EXPECT_FALSE(registry["Messages"]["Success"].contains("ParamTypes"));
}

// The enumerators that the sources of the service use, the table itself excluded.
std::set<std::string> messagesInSources() {
    std::set<std::string> found;
    const std::regex use(R"(Message::([a-z]\w+))");
    for (const auto& entry :
         std::filesystem::recursive_directory_iterator(ORVANE_SOURCE_FOLDER "/redfish")) {
        if (entry.path().extension() != ".cpp" || entry.path().filename() == "messages.cpp") {
            continue;
        }
        std::ifstream stream(entry.path());
        const std::string text(std::istreambuf_iterator<char>(stream), {});
        for (std::sregex_iterator each(text.begin(), text.end(), use), end; each != end; ++each) {
            found.insert((*each)[1]);
        }
    }
    return found;
}

// Enumerator and key of each row, as messages.cpp pairs them.
std::map<std::string, std::string> enumeratorsOfTable() {
    std::ifstream stream(ORVANE_SOURCE_FOLDER "/redfish/model/messages.cpp");
    const std::string text(std::istreambuf_iterator<char>(stream), {});
    const std::regex row(R"re(MessageEntry\{Message::(\w+), "(\w+)")re");
    std::map<std::string, std::string> found;
    for (std::sregex_iterator each(text.begin(), text.end(), row), end; each != end; ++each) {
        found[(*each)[1]] = (*each)[2];
    }
    return found;
}

// A message that nothing sends would promise clients an error that never comes.
TEST(MessageRegistry, HoldsNoMessageThatNothingSends) {
    const std::set<std::string> used = messagesInSources();
    const auto table = enumeratorsOfTable();
    ASSERT_EQ(table.size(), messages().size());
    for (const auto& [enumerator, key] : table) {
        // The provider sends this one, with its events.
        EXPECT_TRUE(used.contains(enumerator) || key == "Msg000") << key;
    }
}

// The messages that the daemon sends; a new one there must be added here.
TEST(MessageRegistry, HoldsWhatTheProviderSends) {
    for (const char* const name :
         {"Success", "InternalError", "InvalidObject", "ActionNotSupported", "Orvane.1.0.Msg000"}) {
        EXPECT_NE(findMessage(name), nullptr) << name;
    }
}

} // namespace
