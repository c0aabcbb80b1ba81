// Every link leads to a document, and every document is reached by links.
#include "redfish/model/addresses.h"
#include "redfish/model/schemas.h"
#include "tests/redfish/model/csdl.h"
#include "tests/redfish/model/sample_documents.h"

#include <gmock/gmock.h>

#include <set>

namespace {

using namespace redfish::model;

// Served beside the documents: not JSON, or not read with GET.
const std::set<std::string, std::less<>> kOthers{
    std::string(kMetadata),       std::string(kEventStream),    std::string(kTurnOffLcdTarget),
    std::string(kGuiReadyTarget), std::string(kWebGuiCsdlFile), std::string(kManagerCsdlFile),
};

// Every string of a document that is an address of this service, without its fragment.
std::set<std::string> addressesIn(const Json& document) {
    std::set<std::string> addresses;
    const Json flat = document.flatten();
    for (const auto& [pointer, value] : flat.items()) {
        if (value.is_string() && value.get<std::string>().starts_with("/redfish")) {
            addresses.insert(
                value.get<std::string>().substr(0, value.get<std::string>().find('#')));
        }
    }
    return addresses;
}

std::set<std::string> addressesIn(const std::string& xml) {
    std::set<std::string> addresses;
    parseXml(xml)->visit([&addresses](const Element& each) {
        if (each.attribute("Uri").starts_with("/redfish")) {
            addresses.insert(each.attribute("Uri"));
        }
    });
    return addresses;
}

TEST(Crawl, FindsSomethingBehindEveryLink) {
    const auto documents = sampleDocuments();
    for (const auto& [address, document] : documents) {
        for (const std::string& link : addressesIn(document)) {
            EXPECT_TRUE(documents.contains(link) || kOthers.contains(link))
                << address << " leads to " << link;
        }
    }
    for (const std::string& link : addressesIn(metadata())) {
        EXPECT_TRUE(kOthers.contains(link)) << link;
    }
}

TEST(Crawl, ReachesEverythingFromTheFirstAddress) {
    const auto documents = sampleDocuments();
    std::set<std::string> reached{std::string(kVersions), std::string(kOdata)};
    std::vector<std::string> toDo(reached.begin(), reached.end());
    while (!toDo.empty()) {
        const std::string address = toDo.back();
        toDo.pop_back();
        std::set<std::string> links;
        if (address == kMetadata) {
            links = addressesIn(metadata());
        } else if (documents.contains(address)) {
            links = addressesIn(documents.at(address));
        }
        for (const std::string& link : links) {
            if (reached.insert(link).second) {
                toDo.push_back(link);
            }
        }
    }
    for (const auto& [address, document] : documents) {
        EXPECT_TRUE(reached.contains(address)) << address;
    }
    for (const std::string& address : kOthers) {
        EXPECT_TRUE(reached.contains(address)) << address;
    }
}

TEST(Crawl, FindsEachDocumentAtTheAddressThatItNames) {
    for (const auto& [address, document] : sampleDocuments()) {
        if (document.contains("@odata.id")) {
            EXPECT_EQ(document["@odata.id"], address);
        }
    }
}

TEST(Crawl, FindsNothingElsewhere) {
    for (const char* const address :
         {"", "/", "/redfish/", "/redfish/v1", "/redfish/v1/Systems", "/redfish/v1/Managers/",
          "/redfish/v1/AccountService/Roles/", "/redfish/v1/AccountService/Roles/Root",
          "/redfish/v1/AccountService/Roles/Operator/"}) {
        EXPECT_EQ(fixedDocument(address, sampleFacts()), std::nullopt) << address;
    }
}

} // namespace
