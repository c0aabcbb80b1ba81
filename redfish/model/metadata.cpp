#include "redfish/model/schemas.h"

#include "redfish/model/addresses.h"

#include <array>

namespace redfish::model {

namespace {

// A schema file of the standard and the namespaces that our documents use: without a version, then
// with one, which may be empty.
struct Reference {
    std::string_view file;
    std::string_view first;
    std::string_view second;
};

constexpr std::string_view kPublic = "http://redfish.dmtf.org/schemas/v1/";

// clang-format off
constexpr std::array kReferences{
    Reference{"AccountService_v1.xml",                "AccountService",                "AccountService.v1_15_4"},
    Reference{"Event_v1.xml",                         "Event",                         "Event.v1_9_3"},
    Reference{"EventService_v1.xml",                  "EventService",                  "EventService.v1_10_3"},
    Reference{"JsonSchemaFile_v1.xml",                "JsonSchemaFile",                "JsonSchemaFile.v1_1_5"},
    Reference{"JsonSchemaFileCollection_v1.xml",      "JsonSchemaFileCollection",      ""},
    Reference{"Manager_v1.xml",                       "Manager",                       "Manager.v1_19_3"},
    Reference{"ManagerAccount_v1.xml",                "ManagerAccount",                "ManagerAccount.v1_12_3"},
    Reference{"ManagerAccountCollection_v1.xml",      "ManagerAccountCollection",      ""},
    Reference{"ManagerCollection_v1.xml",             "ManagerCollection",             ""},
    Reference{"Message_v1.xml",                       "Message",                       "Message.v1_1_2"},
    Reference{"MessageRegistry_v1.xml",               "MessageRegistry",               "MessageRegistry.v1_6_3"},
    Reference{"MessageRegistryFile_v1.xml",           "MessageRegistryFile",           "MessageRegistryFile.v1_1_5"},
    Reference{"MessageRegistryFileCollection_v1.xml", "MessageRegistryFileCollection", ""},
    Reference{"RedfishError_v1.xml",                  "RedfishError.v1_0_2",           ""},
    Reference{"Resource_v1.xml",                      "Resource",                      "Resource.v1_0_0"},
    Reference{"Role_v1.xml",                          "Role",                          "Role.v1_3_3"},
    Reference{"RoleCollection_v1.xml",                "RoleCollection",                ""},
    Reference{"ServiceRoot_v1.xml",                   "ServiceRoot.v1_0_0",            "ServiceRoot.v1_15_0"},
    Reference{"Session_v1.xml",                       "Session",                       "Session.v1_7_2"},
    Reference{"SessionCollection_v1.xml",             "SessionCollection",             ""},
    Reference{"SessionService_v1.xml",                "SessionService",                "SessionService.v1_1_9"},
};
// clang-format on

std::string include(std::string_view name, std::string_view alias = {}) {
    std::string text = "    <edmx:Include Namespace=\"" + std::string(name) + "\"";
    if (!alias.empty()) {
        text += " Alias=\"" + std::string(alias) + "\"";
    }
    return text + "/>\n";
}

std::string reference(const std::string& address, const std::string& includes) {
    return "  <edmx:Reference Uri=\"" + address + "\">\n" + includes + "  </edmx:Reference>\n";
}

} // namespace

std::string metadata() {
    std::string text = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                       "<edmx:Edmx xmlns:edmx=\"http://docs.oasis-open.org/odata/ns/edmx\" "
                       "Version=\"4.0\">\n";
    for (const Reference& each : kReferences) {
        text += reference(std::string(kPublic) + std::string(each.file),
                          include(each.first) +
                              (each.second.empty() ? std::string() : include(each.second)));
    }
    text += reference(std::string(kPublic) + "RedfishExtensions_v1.xml",
                      include("RedfishExtensions.v1_0_0", "Redfish"));
    text += reference(std::string(kWebGuiCsdlFile),
                      include("OrvaneWebGUI") + include("OrvaneWebGUI.1.0.0") + include("WebGUI"));
    text += reference(std::string(kManagerCsdlFile),
                      include("OrvaneManager") + include("OrvaneManager.v1_0_0"));
    return text +
           "  <edmx:DataServices>\n"
           "    <Schema xmlns=\"http://docs.oasis-open.org/odata/ns/edm\" Namespace=\"Service\">\n"
           "      <EntityContainer Name=\"Service\" "
           "Extends=\"ServiceRoot.v1_0_0.ServiceContainer\"/>\n"
           "    </Schema>\n"
           "  </edmx:DataServices>\n"
           "</edmx:Edmx>\n";
}

} // namespace redfish::model
