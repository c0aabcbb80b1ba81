// Every document of a service with one session and one account.
#pragma once

#include "redfish/model/services.h"
#include "redfish/model/webgui.h"

#include <map>
#include <string>

redfish::model::ServiceFacts sampleFacts();

// The hashes that the provider writes at its start.
redfish::model::StoredWebGui sampleTree();

// Documents by their addresses.
std::map<std::string, redfish::model::Json> sampleDocuments();
