// The documents of the service itself: service root, sessions, accounts, roles, manager,
// events, registries, schemas. What changes at run time comes in as plain records. The WebGUI
// resource is told by webgui.h.
#pragma once

#include "redfish/model/json.h"

#include <chrono>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace redfish::model {

// What the documents say about this installation.
struct ServiceFacts {
    std::string uuid;    // of this service, constant over its life; empty: not said
    std::string version; // of the product
    bool isProviderThere = true;
    std::chrono::seconds sessionTimeout{1800};
    std::size_t shortestPassword = 8;
    std::size_t longestPassword = 128;
    int lockoutThreshold = 5; // failed sign-ins
    std::chrono::seconds lockoutDuration{60};
    std::chrono::seconds lockoutReset{60}; // at most the duration
    bool hasBasicAuthentication = true;
};

struct SessionFacts {
    std::string id;
    std::string userName;
    std::string roleId;
    std::string origin;  // address of the client; empty: not said
    std::string created; // 2026-01-31T12:00:00Z
};

struct AccountFacts {
    std::string userName; // its Id too
    std::string roleId;
    bool isEnabled = true;
    bool isLocked = false;
};

// A predefined role and its privileges, as the standard has them.
struct RoleEntry {
    std::string_view id;
    std::string_view description;
    std::span<const std::string_view> privileges;
};
std::span<const RoleEntry> roles();
const RoleEntry* findRole(std::string_view id); // null: there is none

Json versions();
Json serviceRoot(const ServiceFacts& facts);
Json odata();

Json sessionService(const ServiceFacts& facts);
Json sessions(const std::vector<std::string>& ids);
Json session(const SessionFacts& facts);

Json accountService(const ServiceFacts& facts);
Json accounts(const std::vector<std::string>& userNames);
Json account(const AccountFacts& facts);
Json roleCollection();
Json role(const RoleEntry& entry);

Json managers();
Json manager(const ServiceFacts& facts);
Json eventService(const ServiceFacts& facts);

Json registries();
Json registryFile();
Json jsonSchemas();
Json webGuiSchemaFile();
Json managerSchemaFile();

// The document that lies at an address and depends on nothing but the facts; nothing for other
// addresses, and for those of sessions, accounts, the WebGUI resource and files that are no JSON.
std::optional<Json> fixedDocument(std::string_view address, const ServiceFacts& facts);

// All addresses that fixedDocument() knows, roles included.
std::vector<std::string> fixedAddresses();

} // namespace redfish::model
