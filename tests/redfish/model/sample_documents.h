// Every document of the service, as a service with one session and one account has them.
#pragma once

#include "redfish/model/services.h"
#include "redfish/model/webgui.h"

#include <map>
#include <string>

redfish::model::ServiceFacts sampleFacts();

// The hashes that the provider writes when it starts.
redfish::model::StoredWebGui sampleTree();

// Documents by their addresses.
std::map<std::string, redfish::model::Json> sampleDocuments();
