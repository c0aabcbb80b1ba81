#include "redfish/model/addresses.h"
#include "tests/redfish/model/sample_documents.h"

#include <gmock/gmock.h>

namespace {

using namespace redfish::model;
using testing::ElementsAre;

TEST(Serialise, OrdersMembersAndAddsNoWhiteSpace) {
    EXPECT_EQ(serialise(Json::parse(R"({ "b": 1, "a": [1, "x"], "@odata.id": "/" })")),
              R"({"@odata.id":"/","a":[1,"x"],"b":1})");
}

TEST(Serialise, ReplacesBytesThatAreNotUtf8) {
    EXPECT_EQ(serialise(Json{{"a", "x\xff"}}), "{\"a\":\"x\xef\xbf\xbd\"}");
}

TEST(Serialise, GivesOtherBytesForEverySetting) {
    const std::string before = serialise(webGui(sampleTree()));
    EXPECT_EQ(serialise(webGui(sampleTree())), before);
    for (const char* const name : {"Language", "ScreenBrightness", "RoomAverage", "Theme"}) {
        StoredWebGui tree = sampleTree();
        tree.resource[name] = "true";
        EXPECT_NE(serialise(webGui(tree)), before) << name;
    }
}

TEST(Versions, LeadToTheServiceRoot) {
    EXPECT_EQ(serialise(versions()), R"({"v1":"/redfish/v1/"})");
}

TEST(ServiceRoot, ListsTheSupportedQueries) {
    const Json features = serviceRoot(sampleFacts())["ProtocolFeaturesSupported"];
    EXPECT_EQ(features["SelectQuery"], true);
    EXPECT_EQ(features["ExpandQuery"]["MaxLevels"], 1);
    EXPECT_EQ(features["OnlyMemberQuery"], false);
}

TEST(ServiceRoot, OmitsAMissingUuid) {
    EXPECT_EQ(serviceRoot(sampleFacts())["UUID"], sampleFacts().uuid);
    EXPECT_FALSE(serviceRoot({}).contains("UUID"));
}

TEST(Odata, NamesTheEntryPoints) {
    const Json document = odata();
    EXPECT_EQ(document["@odata.context"], "/redfish/v1/$metadata");
    EXPECT_THAT(document["value"],
                testing::Contains(Json{
                    {"name", "Managers"}, {"kind", "Singleton"}, {"url", "/redfish/v1/Managers"}}));
}

TEST(Manager, LinksToTheWebGuiAndShowsWhetherItsProviderIsThere) {
    ServiceFacts facts = sampleFacts();
    EXPECT_EQ(manager(facts)["Oem"]["Orvane"]["WebGUI"]["@odata.id"], kWebGui);
    EXPECT_EQ(manager(facts)["Status"], (Json{{"State", "Enabled"}, {"Health", "OK"}}));
    facts.isProviderThere = false;
    EXPECT_EQ(manager(facts)["Status"],
              (Json{{"State", "UnavailableOffline"}, {"Health", "Critical"}}));
}

TEST(Accounts, AreMembersByTheirNames) {
    const Json document = accounts({"admin", "joe"});
    EXPECT_EQ(document["Members@odata.count"], 2);
    EXPECT_EQ(document["Members"][1]["@odata.id"], "/redfish/v1/AccountService/Accounts/joe");
    EXPECT_EQ(accounts({})["Members"], Json::array());
}

TEST(Account, ShowsNoPasswordAndLeadsToItsRole) {
    const Json document = account({"joe", "Operator", false, true});
    EXPECT_TRUE(document["Password"].is_null());
    EXPECT_EQ(document["Enabled"], false);
    EXPECT_EQ(document["Locked"], true);
    EXPECT_EQ(document["Links"]["Role"]["@odata.id"], "/redfish/v1/AccountService/Roles/Operator");
    EXPECT_THAT(document["RoleId@Redfish.AllowableValues"],
                ElementsAre("Administrator", "Operator", "ReadOnly"));
}

TEST(AccountService, ShowsItsRules) {
    ServiceFacts facts = sampleFacts();
    facts.lockoutThreshold = 3;
    facts.lockoutDuration = std::chrono::seconds(90);
    const Json document = accountService(facts);
    EXPECT_EQ(document["MinPasswordLength"], 8);
    EXPECT_EQ(document["MaxPasswordLength"], 128);
    EXPECT_EQ(document["AccountLockoutThreshold"], 3);
    EXPECT_EQ(document["AccountLockoutDuration"], 90);
    EXPECT_EQ(document["HTTPBasicAuth"], "Enabled");
    facts.hasBasicAuthentication = false;
    EXPECT_EQ(accountService(facts)["HTTPBasicAuth"], "Disabled");
}

TEST(Session, ShowsUserAndOrigin) {
    const Json document = session({"7", "joe", "Operator", "192.0.2.1", "2026-01-31T12:00:00Z"});
    EXPECT_EQ(document["Id"], "7");
    EXPECT_EQ(document["UserName"], "joe");
    EXPECT_EQ(document["ClientOriginIPAddress"], "192.0.2.1");
    EXPECT_TRUE(document["Password"].is_null());
    EXPECT_FALSE(session({"7", "joe", "Operator", "", ""}).contains("ClientOriginIPAddress"));
}

TEST(EventService, LeadsToTheStream) {
    EXPECT_EQ(eventService(sampleFacts())["ServerSentEventUri"], kEventStream);
}

} // namespace
