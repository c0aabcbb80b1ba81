// The bodies of the three request workers, one for each kind of request. Each opens a connection of
// its own, then takes and serves requests one at a time until the plugin host ends it from inside
// a take; it returns by itself, with null, only when it cannot connect.
//
// Not noexcept, and nothing in them may catch (...): that is how the host ends them.
#pragma once

#include <string>

void* OrvaneWebGUI_CreateObject(std::string name);
void* OrvaneWebGUI_ReadObject(std::string name);
void* OrvaneWebGUI_UpdateObject(std::string name);
