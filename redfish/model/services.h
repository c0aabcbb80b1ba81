// The documents of the service itself: service root, sessions, accounts, roles, manager, events,
// registries, schemas. Whatever changes at run time comes in as a plain record.
//
// Every function returns a new document that is complete but for the HTTP headers; none fails, and
// any thread may call them. Addresses are those of addresses.h.
#pragma once

#include "redfish/model/json.h"
#include "redfish/model/roles.h"

#include <chrono>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace redfish::model {

// What the documents say about this installation.
struct ServiceFacts {
    // Constant over the life of the installation; empty: not shown.
    std::string uuid;
    // Of the product.
    std::string version;
    bool isProviderThere = true;
    // How long a session may be idle.
    std::chrono::seconds sessionTimeout{1800};
    // In characters.
    std::size_t minPasswordLength = 8;
    std::size_t maxPasswordLength = 128;
    // Failed sign-ins in a row.
    int lockoutThreshold = 5;
    std::chrono::seconds lockoutDuration{60};
    // After how long failures are forgotten; at most the duration.
    std::chrono::seconds lockoutReset{60};
    bool hasBasicAuthentication = true;
};

struct SessionFacts {
    std::string id;
    std::string userName;
    std::string roleId;
    // Address of the client; empty: not shown.
    std::string origin;
    // 2026-01-31T12:00:00Z
    std::string created;
};

struct AccountFacts {
    // Serves as its Id too.
    std::string userName;
    std::string roleId;
    bool isEnabled = true;
    bool isLocked = false;
};

// The versions of the protocol: where everything begins.
Json versions();
// The service root, from which links lead to all other documents.
Json serviceRoot(const ServiceFacts& facts);
// The OData service document: the entry points by name.
Json odata();

// The session service, with the time that a session may be idle.
Json sessionService(const ServiceFacts& facts);
// The collection of the sessions with these ids.
Json sessions(const std::vector<std::string>& ids);
// One session; it shows neither token nor password.
Json session(const SessionFacts& facts);

// The account service: what passwords must be, and when an account is locked.
Json accountService(const ServiceFacts& facts);
// The collection of the accounts with these names.
Json accounts(const std::vector<std::string>& userNames);
// One account; its password is null, as the standard requires.
Json account(const AccountFacts& facts);
// The collection of all roles.
Json roleCollection();
// One role with its privileges.
Json role(const RoleEntry& entry);

// The collection of the one manager.
Json managers();
// The controller; its Oem member leads to the WebGUI resource. Its state is UnavailableOffline
// while the provider is away.
Json manager(const ServiceFacts& facts);
// The event service: where the stream is, and what it can be filtered by. State as the manager's.
Json eventService(const ServiceFacts& facts);

// The collection of the one message registry.
Json registries();
// Where to get the message registry as a file.
Json registryFile();
// The collection of our own schemas.
Json jsonSchemas();
// Where to get the schema of the WebGUI resource as a file.
Json webGuiSchemaFile();
// Where to get the schema of the manager's Oem member as a file.
Json managerSchemaFile();

// The document at an address whose content depends on the facts alone. Nothing for any other
// address: sessions, accounts, the WebGUI resource and files.
std::optional<Json> fixedDocument(std::string_view address, const ServiceFacts& facts);

// Every address that fixedDocument() serves, those of the roles included.
std::vector<std::string> fixedAddresses();

} // namespace redfish::model
