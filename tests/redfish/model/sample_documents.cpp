#include "tests/redfish/model/sample_documents.h"

#include "client/settings.h"
#include "redfish/model/addresses.h"
#include "redfish/model/messages.h"
#include "redfish/model/schemas.h"

using namespace redfish::model;

ServiceFacts sampleFacts() {
    ServiceFacts facts;
    facts.uuid = "12345678-1234-4234-8234-123456789abc";
    facts.version = "0.1.0";
    return facts;
}

StoredWebGui sampleTree() {
    Fields resource{{"@odata.context", ""},
                    {"@odata.id", ""},
                    {"@odata.type", ""},
                    {"Id", ""},
                    {"Name", "Zolan CMS Web GUI Settings"},
                    {"Language", "English"},
                    {"ScreenBrightness", "5"},
                    {"InitialBoot", "true"},
                    {"Actions", "80000000-0000-0000-0000-008000000001"},
                    {"typeId", "SchemaType:OrvaneWebGUI.1.0.0.WebGUI"},
                    {"typeID", "Definition:OrvaneWebGUI.1.0.0.WebGUI"}};
    for (const client::Setting& setting : client::settings()) {
        resource.emplace(setting.name,
                         setting.allowed.empty() ? "any text" : setting.allowed.back());
    }
    return {resource,
            {{"title", "This action is used to turn off the LCD."}, {"target", ""}},
            {{"target", ""}}};
}

std::map<std::string, Json> sampleDocuments() {
    std::map<std::string, Json> documents;
    for (const std::string& address : fixedAddresses()) {
        documents[address] = *fixedDocument(address, sampleFacts());
    }
    documents[std::string(kMessageRegistry)] = messageRegistry();
    documents[std::string(kWebGuiSchema)] = Json::parse(webGuiJsonSchema());
    documents[std::string(kManagerSchema)] = Json::parse(kManagerJsonSchema);
    documents[std::string(kSessions)] = sessions({"1"});
    documents[memberOf(kSessions, "1")] =
        session({"1", "admin", "Administrator", "192.0.2.1", "2026-01-31T12:00:00Z"});
    documents[std::string(kAccounts)] = accounts({"admin"});
    documents[memberOf(kAccounts, "admin")] = account({"admin", "Administrator", true, false});
    documents[std::string(kWebGui)] = webGui(sampleTree());
    return documents;
}
