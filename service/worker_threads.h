// The bodies of the three request workers, one per kind of request.
#pragma once

#include <string>

// Opens its own connection, then takes and serves one request at a time. A body that cannot connect
// logs that and returns null; otherwise it never returns: the plugin host ends it by an exception
// out of a take. A body must therefore not be noexcept, and nothing it calls may catch (...).
void* OrvaneWebGUI_CreateObject(std::string name);
void* OrvaneWebGUI_ReadObject(std::string name);
void* OrvaneWebGUI_UpdateObject(std::string name);
