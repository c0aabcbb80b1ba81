#include "redfish/service/document_handlers.h"

#include "redfish/http/entity_tag.h"
#include "redfish/model/addresses.h"
#include "tests/redfish/service/handlers_fixture.h"

namespace {

using redfish::Method;
using redfish::Response;
using redfish::model::Privilege;
using testing::StartsWith;

class TheDocumentHandlers : public test::HandlersFixture {
protected:
    Response get(std::string_view address, const redfish::model::Query& query = {}) {
        return ask(handlers.routes(), Method::get, std::string(address), as("looker"), {}, query);
    }
    Privilege privilegeOf(std::string_view address) {
        for (const auto& route : handlers.routes()) {
            if (route.path == address) {
                return route.privilege;
            }
        }
        ADD_FAILURE() << address;
        return Privilege::none;
    }

    redfish::Reading reading;
    redfish::DocumentHandlers handlers{
        facts, [this](const redfish::Gateway::Read& done) { done(reading); }};
};

TEST_F(TheDocumentHandlers, GiveEachDocumentWithTheTagOfItsBytes) {
    for (const std::string& address : redfish::model::fixedAddresses()) {
        const Response response = get(address);
        EXPECT_EQ(response.status, 200U) << address;
        EXPECT_EQ(test::jsonOf(response),
                  redfish::model::fixedDocument(address, facts.now()).value());
        EXPECT_EQ(test::headerOf(response, "ETag"), redfish::entityTag(test::bodyOf(response)));
    }
}

TEST_F(TheDocumentHandlers, GiveEachFileWithItsType) {
    for (const auto& [address, type, beginning] :
         {std::tuple{redfish::model::kMetadata, "application/xml", "<?xml"},
          std::tuple{redfish::model::kWebGuiCsdlFile, "application/xml", "<?xml"},
          std::tuple{redfish::model::kManagerCsdlFile, "application/xml", "<?xml"},
          std::tuple{redfish::model::kMessageRegistry, "application/json", "{"},
          std::tuple{redfish::model::kWebGuiSchema, "application/schema+json", "{"},
          std::tuple{redfish::model::kManagerSchema, "application/schema+json", "{"}}) {
        const Response response = get(address);
        EXPECT_EQ(response.status, 200U) << address;
        EXPECT_THAT(response.contentType, StartsWith(type)) << address;
        EXPECT_THAT(test::bodyOf(response), StartsWith(beginning)) << address;
        EXPECT_EQ(test::headerOf(response, "ETag"), redfish::entityTag(test::bodyOf(response)));
    }
}

TEST_F(TheDocumentHandlers, OpenToStrangersOnlyWhatTheStandardOpens) {
    std::vector<std::string> open;
    for (const auto& route : handlers.routes()) {
        if (route.privilege == Privilege::none) {
            open.push_back(route.path);
        }
    }
    EXPECT_THAT(open, testing::UnorderedElementsAre(
                          redfish::model::kVersions, redfish::model::kServiceRoot,
                          redfish::model::kOdata, redfish::model::kMetadata,
                          redfish::model::kWebGuiCsdlFile, redfish::model::kManagerCsdlFile));
    EXPECT_EQ(privilegeOf(redfish::model::kManager), Privilege::login);
}

TEST_F(TheDocumentHandlers, LookForTheProviderBeforeTheManagerIsShown) {
    EXPECT_EQ(test::jsonOf(get(redfish::model::kManager))["Status"]["State"], "Enabled");
    reading.problems = {{.message = redfish::model::Message::providerUnavailable,
                         .arguments = {"5"},
                         .property = {}}};
    EXPECT_EQ(test::jsonOf(get(redfish::model::kManager))["Status"]["State"], "UnavailableOffline");
    EXPECT_EQ(test::jsonOf(get(redfish::model::kEventService))["Status"]["State"],
              "UnavailableOffline")
        << "remembered for the other documents";
}

TEST_F(TheDocumentHandlers, CutADocumentToWhatIsSelected) {
    const Response response = get(redfish::model::kManager, {.selected = {"FirmwareVersion"}});
    EXPECT_EQ(test::jsonOf(response)["FirmwareVersion"], "1.2.3");
    EXPECT_FALSE(test::jsonOf(response).contains("Status"));
}

} // namespace
