#include "redfish/model/services.h"

#include "redfish/model/addresses.h"
#include "redfish/model/document.h"
#include "redfish/model/messages.h"

#include <utility>

namespace redfish::model {

namespace {

using namespace std::string_view_literals;

constexpr std::string_view kRedfishVersion = "1.15.0"; // of the protocol

Json status(bool isGood) {
    return {{"State", isGood ? "Enabled" : "UnavailableOffline"},
            {"Health", isGood ? "OK" : "Critical"}};
}

Json supportedQueries() {
    return {{"ExcerptQuery", false},
            {"FilterQuery", false},
            {"OnlyMemberQuery", false},
            {"SelectQuery", true},
            {"ExpandQuery",
             {{"ExpandAll", true},
              {"Levels", true},
              {"Links", true},
              {"NoLinks", true},
              {"MaxLevels", 1}}}};
}

} // namespace

Json versions() {
    return {{"v1", kServiceRoot}};
}

Json serviceRoot(const ServiceFacts& facts) {
    Json root = resource(kServiceRoot, "ServiceRoot.v1_15_0.ServiceRoot", "Service root",
                         "The entry point of this service.");
    root["Id"] = "RootService";
    root["RedfishVersion"] = kRedfishVersion;
    root["Vendor"] = "Orvane";
    root["Product"] = "WebGUI resource";
    root["ProtocolFeaturesSupported"] = supportedQueries();
    root["SessionService"] = linkTo(kSessionService);
    root["AccountService"] = linkTo(kAccountService);
    root["Managers"] = linkTo(kManagers);
    root["EventService"] = linkTo(kEventService);
    root["Registries"] = linkTo(kRegistries);
    root["JsonSchemas"] = linkTo(kJsonSchemas);
    root["Links"]["Sessions"] = linkTo(kSessions);
    root["Links"]["ManagerProvidingService"] = linkTo(kManager);
    if (!facts.uuid.empty()) {
        root["UUID"] = facts.uuid;
    }
    return root;
}

Json odata() {
    Json entries = Json::array();
    for (const auto& [name, address] :
         {std::pair{"Service"sv, kServiceRoot}, std::pair{"SessionService"sv, kSessionService},
          std::pair{"Sessions"sv, kSessions}, std::pair{"AccountService"sv, kAccountService},
          std::pair{"Managers"sv, kManagers}, std::pair{"EventService"sv, kEventService},
          std::pair{"Registries"sv, kRegistries}, std::pair{"JsonSchemas"sv, kJsonSchemas}}) {
        entries.push_back({{"name", name}, {"kind", "Singleton"}, {"url", address}});
    }
    return {{"@odata.context", kMetadata}, {"value", entries}};
}

Json sessionService(const ServiceFacts& facts) {
    Json service = resource(kSessionService, "SessionService.v1_1_9.SessionService",
                            "Session service", "Creates and ends sessions.");
    service["ServiceEnabled"] = true;
    service["SessionTimeout"] = facts.sessionTimeout.count();
    service["Sessions"] = linkTo(kSessions);
    service["Status"] = status(true);
    return service;
}

Json session(const SessionFacts& facts) {
    Json session = resource(memberOf(kSessions, facts.id), "Session.v1_7_2.Session",
                            "Session of " + facts.userName, "A user who is signed in.");
    session["UserName"] = facts.userName;
    session["Password"] = nullptr;
    session["SessionType"] = "Redfish";
    session["CreatedTime"] = facts.created;
    session["Roles"] = Json::array({facts.roleId});
    if (!facts.origin.empty()) {
        session["ClientOriginIPAddress"] = facts.origin;
    }
    return session;
}

Json accountService(const ServiceFacts& facts) {
    Json service = resource(kAccountService, "AccountService.v1_15_4.AccountService",
                            "Account service", "Accounts, roles, and the rules for passwords.");
    service["ServiceEnabled"] = true;
    service["Status"] = status(true);
    service["Accounts"] = linkTo(kAccounts);
    service["Roles"] = linkTo(kRoles);
    service["MinPasswordLength"] = facts.minPasswordLength;
    service["MaxPasswordLength"] = facts.maxPasswordLength;
    service["AccountLockoutThreshold"] = facts.lockoutThreshold;
    service["AccountLockoutDuration"] = facts.lockoutDuration.count();
    service["AccountLockoutCounterResetAfter"] = facts.lockoutReset.count();
    service["LocalAccountAuth"] = "Enabled";
    service["HTTPBasicAuth"] = facts.hasBasicAuthentication ? "Enabled" : "Disabled";
    service["SupportedAccountTypes"] = Json::array({"Redfish"});
    return service;
}

Json account(const AccountFacts& facts) {
    Json account =
        resource(memberOf(kAccounts, facts.userName), "ManagerAccount.v1_12_3.ManagerAccount",
                 "Account of " + facts.userName, "A user who may sign in.");
    account["UserName"] = facts.userName;
    account["Password"] = nullptr;
    account["RoleId"] = facts.roleId;
    account["Enabled"] = facts.isEnabled;
    account["Locked"] = facts.isLocked;
    account["AccountTypes"] = Json::array({"Redfish"});
    account["Links"]["Role"] = linkTo(memberOf(kRoles, facts.roleId));
    for (const RoleEntry& each : roles()) {
        account["RoleId@Redfish.AllowableValues"].push_back(each.id);
    }
    return account;
}

Json role(const RoleEntry& entry) {
    Json role = resource(memberOf(kRoles, entry.id), "Role.v1_3_3.Role",
                         "Role " + std::string(entry.id), entry.description);
    role["RoleId"] = entry.id;
    role["IsPredefined"] = true;
    for (const Privilege privilege : entry.privileges) {
        role["AssignedPrivileges"].push_back(nameOf(privilege));
    }
    role["OemPrivileges"] = Json::array();
    return role;
}

Json manager(const ServiceFacts& facts) {
    Json manager = resource(kManager, "Manager.v1_19_3.Manager", "Controller",
                            "The controller of the cooling unit, with its panel.");
    manager["ManagerType"] = "ManagementController";
    manager["FirmwareVersion"] = facts.version;
    manager["Status"] = status(facts.isProviderThere);
    manager["Oem"]["Orvane"] = {{"@odata.type", "#OrvaneManager.v1_0_0.Orvane"},
                                {"WebGUI", linkTo(kWebGui)}};
    if (!facts.uuid.empty()) {
        manager["ServiceEntryPointUUID"] = facts.uuid;
    }
    return manager;
}

Json eventService(const ServiceFacts& facts) {
    Json service = resource(kEventService, "EventService.v1_10_3.EventService", "Event service",
                            "Reports changes as a stream of server-sent events.");
    service["ServiceEnabled"] = true;
    service["Status"] = status(facts.isProviderThere);
    service["ServerSentEventUri"] = kEventStream;
    service["EventFormatTypes"] = Json::array({"Event"});
    service["RegistryPrefixes"] = Json::array({kRegistryPrefix});
    service["ResourceTypes"] = Json::array({"OrvaneWebGUI"});
    service["IncludeOriginOfConditionSupported"] = false;
    service["SubordinateResourcesSupported"] = false;
    service["SSEFilterPropertiesSupported"] = {{"EventFormatType", true},
                                               {"EventType", true},
                                               {"MessageId", true},
                                               {"OriginResource", true},
                                               {"RegistryPrefix", true},
                                               {"ResourceType", true},
                                               {"MetricReportDefinition", false},
                                               {"SubordinateResources", false}};
    return service;
}

} // namespace redfish::model
