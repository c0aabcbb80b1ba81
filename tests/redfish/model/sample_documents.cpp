#include "tests/redfish/model/sample_documents.h"

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
    return {{{"@odata.context", ""},
             {"@odata.id", ""},
             {"@odata.type", ""},
             {"Id", ""},
             {"Name", "Zolan CMS Web GUI Settings"},
             {"InitialBoot", "true"},
             {"Language", "English"},
             {"ScreenBrightness", "5"},
             {"BacklightOff", "Never"},
             {"ActiveAlarmScreensaver", "Enabled"},
             {"InactivityTimer", "5 Minutes"},
             {"MeasurementSystem", "Metric"},
             {"DateFormat", "YYYY-MM-DD"},
             {"TimeFormat", "24 Hour"},
             {"RoomAverage", "false"},
             {"HiLoPeriod", "24 Hours"},
             {"Theme", "light"},
             {"EventUserName", "somebody"},
             {"Actions", "80000000-0000-0000-0000-008000000001"},
             {"typeId", "SchemaType:OrvaneWebGUI.1.0.0.WebGUI"},
             {"typeID", "Definition:OrvaneWebGUI.1.0.0.WebGUI"}},
            {{"title", "This action is used to turn off the LCD."}, {"target", ""}},
            {{"target", ""}}};
}

std::map<std::string, Json> sampleDocuments() {
    std::map<std::string, Json> documents;
    for (const std::string& address : fixedAddresses()) {
        documents[address] = *fixedDocument(address, sampleFacts());
    }
    documents[std::string(kMessageRegistry)] = messageRegistry();
    documents[std::string(kWebGuiSchema)] = Json::parse(kWebGuiJsonSchema);
    documents[std::string(kManagerSchema)] = Json::parse(kManagerJsonSchema);
    documents[std::string(kSessions)] = sessions({"1"});
    documents[memberOf(kSessions, "1")] =
        session({"1", "admin", "Administrator", "192.0.2.1", "2026-01-31T12:00:00Z"});
    documents[std::string(kAccounts)] = accounts({"admin"});
    documents[memberOf(kAccounts, "admin")] = account({"admin", "Administrator", true, false});
    documents[std::string(kWebGui)] = webGui(sampleTree());
    return documents;
}
